#include "tessarix/numerics/gamma.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <initializer_list>

#include "numerics/numerics_test_support.hpp"

using namespace tessarix::detail;
using tessarix::test::FailureOf;

// References: std::lgamma, std::tgamma, std::erf/erfc, and closed forms of the
// incomplete gamma function (P(1, x) = 1 - e^-x; Q(n, x) = e^-x sum_{k<n} x^k/k!
// for integer n; P(1/2, x^2) = erf(x)).

TEST(GammaLn, LanczosAccuracyOverTheRange) {
  for (const double x : {0.01, 0.1, 0.5, 1.5, 2.5, 3.7, 10.0, 33.3, 100.0, 1234.5, 1e6}) {
    EXPECT_REL_NEAR(GammaLn(x), std::lgamma(x), 1e-10) << x;
  }
  EXPECT_NEAR(GammaLn(1.0), 0.0, 1e-10);
  EXPECT_NEAR(GammaLn(2.0), 0.0, 1e-10);
  EXPECT_EQ(FailureOf([] { (void)GammaLn(0.0); }), "Division by zero");
  EXPECT_NE(FailureOf([] { (void)GammaLn(-0.5); }), "none");
  EXPECT_NE(FailureOf([] { (void)GammaLn(-2.5); }), "none");
  // Where Gamma is positive the formula itself goes on.
  EXPECT_NEAR(GammaLn(-1.5), std::lgamma(-1.5), 1e-9);
  EXPECT_NE(FailureOf([] { (void)GammaLn(-3.0); }), "none");
  EXPECT_EQ(FailureOf([] { (void)GammaLn(1e307); }), "Overflow");
}

TEST(Factorial, ExactTableUpTo32ThenGammaLn) {
  EXPECT_EQ(Factorial(0.0), 1.0);
  EXPECT_EQ(Factorial(1.0), 1.0);
  EXPECT_EQ(Factorial(3.9), 6.0);  // integer part
  EXPECT_EQ(Factorial(20.0), 2432902008176640000.0);
  // 32! as the upward product of doubles, which here is the true
  // 263130836933693530167218012160000000 correctly rounded.
  EXPECT_EQ(Factorial(32.0), 263130836933693530167218012160000000.0);
  // 33! comes from the approximation, good to about nine digits.
  const double f33 = Factorial(33.0);
  EXPECT_REL_NEAR(f33, 8683317618811886495518194401280000000.0, 1e-8);
  EXPECT_EQ(f33, std::exp(GammaLn(34.0)));
  EXPECT_EQ(FailureOf([] { (void)Factorial(-1.0); }), "internal 5000");
  EXPECT_EQ(FailureOf([] { (void)Factorial(-0.5); }), "internal 5000");
  EXPECT_EQ(FailureOf([] { (void)Factorial(171.0); }), "Overflow");
  EXPECT_REL_NEAR(FactorialLn(100.0), std::lgamma(101.0), 1e-10);
  EXPECT_NEAR(FactorialLn(0.0), 0.0, 1e-10);
  EXPECT_EQ(FailureOf([] { (void)FactorialLn(-2.0); }), "internal 5000");
}

TEST(Digamma, HarmonicSumLessEulersConstant) {
  EXPECT_EQ(Digamma(1.0), -0.5772156649);
  EXPECT_EQ(Digamma(0.0), -0.5772156649);  // empty sum below 1
  EXPECT_EQ(Digamma(-7.0), -0.5772156649);
  EXPECT_NEAR(Digamma(2.0), 1.0 - 0.5772156649, 1e-15);
  // psi(n) = H(n-1) - gamma, with gamma truncated to ten digits.
  EXPECT_NEAR(Digamma(10.0), 2.251752589066721, 1e-9);
  EXPECT_NEAR(Digamma(1000.0), 6.907255195648812, 1e-9);
  EXPECT_EQ(FailureOf([] { (void)Digamma(40000.0); }), "Overflow");
}

TEST(IncompleteGamma, ClosedFormsToSevenDigits) {
  for (const double x : {0.0, 0.01, 0.3, 1.0, 1.99, 2.0, 5.0, 20.0}) {
    EXPECT_REL_NEAR(GammaP(1.0, x), -std::expm1(-x), 3e-7) << x;
    EXPECT_REL_NEAR(GammaQ(1.0, x), std::exp(-x), 3e-7) << x;
  }
  for (const double n : {2.0, 3.0, 7.0, 15.0}) {
    for (const double x : {0.5, 2.0, 6.0, 14.0, 30.0}) {
      double term = 1.0;
      double sum = 0.0;
      for (int k = 0; k < static_cast<int>(n); ++k) {
        sum += term;
        term *= x / (k + 1);
      }
      const double q = std::exp(-x) * sum;
      EXPECT_NEAR(GammaQ(n, x), q, 3e-7 * q + 1e-12) << n << " " << x;
      EXPECT_NEAR(GammaP(n, x), 1.0 - q, 3e-7) << n << " " << x;
    }
  }
  EXPECT_EQ(GammaP(1.0, 0.0), 0.0);
  EXPECT_EQ(GammaQ(3.0, 0.0), 1.0);
  EXPECT_EQ(GammaSeries(2.0, 0.0), 0.0);
}

TEST(IncompleteGamma, ExpansionsStopAtSinglePrecision) {
  // Both expansions stop once a term changes the result by less than 3e-7 of
  // it, so they leave errors of some 1e-8 where double precision would give
  // 1e-16. Those errors are the functions' values; a tighter stop changes them.
  const double series = GammaP(1.0, 1.2) + std::expm1(-1.2);             // x < a + 1: the series
  const double fraction = GammaQ(0.5, 2.0) - std::erfc(std::sqrt(2.0));  // x >= a + 1: the fraction
  for (const double error : {series, fraction}) {
    EXPECT_GT(std::fabs(error), 1e-10);
    EXPECT_LT(std::fabs(error), 3e-7);
  }
}

TEST(IncompleteGamma, RejectedArgumentsAndExhaustedExpansions) {
  EXPECT_EQ(FailureOf([] { (void)GammaP(0.0, 1.0); }), "internal 5000");
  EXPECT_EQ(FailureOf([] { (void)GammaP(-1.0, 1.0); }), "internal 5000");
  EXPECT_EQ(FailureOf([] { (void)GammaP(1.0, -1.0); }), "internal 5000");
  EXPECT_EQ(FailureOf([] { (void)GammaQ(0.0, 1.0); }), "internal 5000");
  EXPECT_EQ(FailureOf([] { (void)GammaQ(2.0, -0.1); }), "internal 5000");
  EXPECT_EQ(FailureOf([] { (void)GammaSeries(2.0, -0.1); }), "internal 5000");
  // A large a close to x needs more than the 100 terms of either expansion.
  EXPECT_EQ(FailureOf([] { (void)GammaP(1000.0, 1000.0); }), "internal 5000");
  EXPECT_EQ(FailureOf([] { (void)GammaQ(10000.0, 10001.0); }), "internal 5000");
}

TEST(ErrorFunction, AgainstTheStandardLibrary) {
  EXPECT_EQ(Erf(0.0), 0.0);
  EXPECT_EQ(Erfc(0.0), 1.0);
  for (const double x : {-3.0, -1.2, -0.4, 0.05, 0.5, 1.0, 1.5, 2.5, 4.0}) {
    EXPECT_NEAR(Erf(x), std::erf(x), 3e-7 * std::fabs(std::erf(x)) + 1e-15) << x;
    EXPECT_NEAR(Erfc(x), std::erfc(x), 3e-7 * std::erfc(x) + 1e-15) << x;
  }
  EXPECT_EQ(FailureOf([] { (void)Erf(1e200); }), "Overflow");
}

TEST(BetaFunction, AgainstGammaQuotients) {
  EXPECT_REL_NEAR(BetaFunction(2.0, 3.0), 1.0 / 12.0, 1e-9);
  EXPECT_REL_NEAR(BetaFunction(0.5, 0.5), 3.141592653589793, 1e-9);
  EXPECT_REL_NEAR(BetaFunction(7.5, 2.25), std::tgamma(7.5) * std::tgamma(2.25) / std::tgamma(9.75), 1e-9);
  EXPECT_NE(FailureOf([] { (void)BetaFunction(0.0, 1.0); }), "none");
}
