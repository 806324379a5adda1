#include "tessarix/numerics/distributions.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <initializer_list>

#include "numerics/numerics_test_support.hpp"

using namespace tessarix::detail;
using tessarix::test::FailureOf;

// References: closed forms of I_x(a, b): I_x(1, b) = 1 - (1 - x)^b,
// I_x(a, 1) = x^a, I_x(2, 3) = 6x^2 - 8x^3 + 3x^4, I_x(1/2, 1/2) = 2/pi asin(sqrt x);
// and tabulated Student t quantiles.

TEST(IncompleteBeta, ClosedFormsToSevenDigits) {
  for (const double x : {0.001, 0.1, 0.25, 0.5, 0.7, 0.9, 0.999}) {
    EXPECT_NEAR(IncompleteBeta(1.0, 4.5, x), 1.0 - std::pow(1.0 - x, 4.5), 3e-7) << x;
    EXPECT_NEAR(IncompleteBeta(3.5, 1.0, x), std::pow(x, 3.5), 3e-7) << x;
    EXPECT_NEAR(IncompleteBeta(2.0, 3.0, x), 6 * x * x - 8 * x * x * x + 3 * x * x * x * x, 3e-7) << x;
    EXPECT_NEAR(IncompleteBeta(0.5, 0.5, x), 2.0 / 3.141592653589793 * std::asin(std::sqrt(x)), 3e-7) << x;
  }
  // Both branches of the symmetry agree: I_x(a, b) = 1 - I_{1-x}(b, a).
  EXPECT_NEAR(IncompleteBeta(12.0, 30.0, 0.3), 1.0 - IncompleteBeta(30.0, 12.0, 0.7), 1e-7);
  EXPECT_EQ(IncompleteBeta(2.0, 3.0, 0.0), 0.0);
  EXPECT_EQ(IncompleteBeta(2.0, 3.0, 1.0), 1.0);
}

TEST(IncompleteBeta, FractionStopsAtSinglePrecision) {
  // I_0.5(1/2, 1/2) is exactly 1/2. The fraction stops at the relative
  // tolerance 3e-7 and leaves an error of about 2e-8, which is the function's
  // value; a tighter stop would change it.
  const double error = IncompleteBeta(0.5, 0.5, 0.5) - 0.5;
  EXPECT_GT(std::fabs(error), 1e-10);
  EXPECT_LT(std::fabs(error), 3e-7);
}

TEST(IncompleteBeta, RejectedArgumentsAndTheTermLimit) {
  EXPECT_EQ(FailureOf([] { (void)IncompleteBeta(2.0, 3.0, 1.5); }), "internal 5000");
  EXPECT_EQ(FailureOf([] { (void)IncompleteBeta(2.0, 3.0, -0.01); }), "internal 5000");
  // Very large a and b need more than 100 terms of the fraction.
  EXPECT_EQ(FailureOf([] { (void)IncompleteBeta(1e6, 1e6, 0.5); }), "internal 5000");
  EXPECT_NE(FailureOf([] { (void)IncompleteBeta(0.0, 3.0, 0.5); }), "none");
}

TEST(StudentTCritical, BisectionRoundedToFourDecimals) {
  EXPECT_EQ(StudentTCritical(0.975, 10), 2.2281);
  EXPECT_EQ(StudentTCritical(0.975, 1), 12.7062);
  EXPECT_EQ(StudentTCritical(0.95, 5), 2.015);
  EXPECT_EQ(StudentTCritical(0.995, 30), 2.75);
  EXPECT_EQ(StudentTCritical(0.975, 1000), 1.9623);
  // Outside the bracket: a quantile below 0.25 stays near 0.25, one above 320
  // saturates.
  EXPECT_NEAR(StudentTCritical(0.55, 20), 0.25, 1e-4);
  EXPECT_EQ(StudentTCritical(0.9999999, 1), 320.0);
}
