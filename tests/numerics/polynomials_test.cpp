#include "tessarix/numerics/polynomials.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <initializer_list>

#include "numerics/numerics_test_support.hpp"

using namespace tessarix::detail;
using tessarix::test::FailureOf;

TEST(LegendreP, CondonShortleyPhaseAgainstTheStandardLibrary) {
  // std::assoc_legendre leaves out the (-1)^m phase that LegendreP carries.
  for (const int l : {0, 1, 2, 3, 7, 20}) {
    for (int m = 0; m <= l && m <= 6; ++m) {
      for (const double x : {-1.0, -0.73, -0.2, 0.0, 0.5, 0.91, 1.0}) {
        const double expected = ((m % 2) == 1 ? -1.0 : 1.0) * std::assoc_legendre(l, m, x);
        EXPECT_NEAR(LegendreP(l, m, x), expected, 1e-12 * std::fmax(1.0, std::fabs(expected)))
            << l << " " << m << " " << x;
      }
    }
  }
  EXPECT_EQ(LegendreP(0, 0, 0.3), 1.0);
  EXPECT_EQ(LegendreP(1, 0, -0.3), -0.3);
  EXPECT_EQ(LegendreP(1, 1, 0.5), -std::sqrt(0.75));
  EXPECT_NEAR(LegendreP(30, 0, 0.6), std::legendre(30, 0.6), 1e-14);
}

TEST(LegendreP, RejectedArgumentsAndSixteenBitSteps) {
  EXPECT_EQ(FailureOf([] { (void)LegendreP(2, 3, 0.5); }), "internal 5000");
  EXPECT_EQ(FailureOf([] { (void)LegendreP(2, 1, 1.5); }), "internal 5000");
  EXPECT_EQ(FailureOf([] { (void)LegendreP(2, -1, 0.5); }), "internal 5000");
  // 2*l - 1 = 32767 still fits; one order more does not.
  EXPECT_EQ(FailureOf([] { (void)LegendreP(16384, 0, 0.5); }), "none");
  EXPECT_EQ(FailureOf([] { (void)LegendreP(16385, 0, 0.5); }), "Overflow");
  // The phase product overflows long before that for large m.
  EXPECT_EQ(FailureOf([] { (void)LegendreP(200, 200, 0.0); }), "Overflow");
}

TEST(LibraryHelpers, FloorCeilMaxMinMagnitude) {
  EXPECT_EQ(Floor(-0.5), -1.0);
  EXPECT_EQ(Floor(2.7), 2.0);
  EXPECT_EQ(Ceil(2.0), 2.0);
  EXPECT_EQ(Ceil(2.1), 3.0);
  EXPECT_EQ(Ceil(-2.1), -2.0);
  EXPECT_EQ(Ceil(-3.0), -3.0);
  EXPECT_EQ(Ceil(-0.5), 0.0);
  EXPECT_FALSE(std::signbit(Ceil(-0.5)));
  // Equal arguments: max gives the first, min the second (visible with the
  // two zeros).
  EXPECT_FALSE(std::signbit(MaxOf(0.0, -0.0)));
  EXPECT_TRUE(std::signbit(MaxOf(-0.0, 0.0)));
  EXPECT_TRUE(std::signbit(MinOf(0.0, -0.0)));
  EXPECT_EQ(MaxOf(1.0, 2.0), 2.0);
  EXPECT_EQ(MinOf(1.0, 2.0), 1.0);
  EXPECT_EQ(Magnitude(3.0, -4.0), 5.0);
  EXPECT_EQ(Magnitude(1e-200, 1e-200), 0.0);
  EXPECT_EQ(FailureOf([] { (void)Magnitude(1e200, 1.0); }), "Overflow");
}
