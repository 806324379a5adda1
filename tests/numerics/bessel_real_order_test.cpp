#include "tessarix/numerics/bessel_real_order.hpp"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <initializer_list>

#include "numerics/numerics_test_support.hpp"

using namespace tessarix::detail;
using tessarix::test::FailureOf;

// References: std::cyl_bessel_j/i/k, std::cyl_neumann, and the derivative
// identities Z'_nu(x) = nu/x Z_nu(x) - Z_(nu+1)(x) for J, Y, I (with a plus
// sign for I) and K (with -K_(nu+1)).

TEST(BesselJY, FullPrecisionAcrossOrdersAndBothBranches) {
  for (const double nu : {0.0, 0.3, 0.5, 1.0, 1.7, 2.5, 5.0, 10.3, 30.0}) {
    for (const double x : {0.01, 0.1, 0.7, 1.5, 1.99, 2.0, 3.3, 7.5, 15.0, 40.0, 100.0}) {
      const BesselJYResult r = BesselJY(x, nu);
      const double j = std::cyl_bessel_j(nu, x);
      const double y = std::cyl_neumann(nu, x);
      // Scale of the pair: J alone can sit at a zero or underflow for large nu.
      const double scale = std::fmax(std::fabs(j), std::fabs(y));
      EXPECT_NEAR(r.j, j, 1e-13 * scale) << nu << " " << x;
      EXPECT_NEAR(r.y, y, 1e-13 * scale) << nu << " " << x;
      const double dj = nu / x * j - std::cyl_bessel_j(nu + 1.0, x);
      const double dy = nu / x * y - std::cyl_neumann(nu + 1.0, x);
      EXPECT_NEAR(r.dj, dj, 1e-13 * std::fmax(scale, std::fabs(dy))) << nu << " " << x;
      EXPECT_NEAR(r.dy, dy, 1e-13 * std::fmax(scale, std::fabs(dy))) << nu << " " << x;
    }
  }
}

TEST(BesselIK, FullPrecisionAcrossOrdersAndBothBranches) {
  for (const double nu : {0.0, 0.3, 0.5, 1.0, 1.7, 2.5, 5.0, 10.3, 30.0}) {
    for (const double x : {0.01, 0.1, 0.7, 1.5, 1.99, 2.0, 3.3, 7.5, 15.0, 40.0, 100.0}) {
      const BesselIKResult r = BesselIK(x, nu);
      const double i = std::cyl_bessel_i(nu, x);
      const double k = std::cyl_bessel_k(nu, x);
      EXPECT_REL_NEAR(r.i, i, 1e-12) << nu << " " << x;
      EXPECT_REL_NEAR(r.k, k, 1e-12) << nu << " " << x;
      EXPECT_REL_NEAR(r.di, nu / x * i + std::cyl_bessel_i(nu + 1.0, x), 1e-12) << nu << " " << x;
      EXPECT_REL_NEAR(r.dk, nu / x * k - std::cyl_bessel_k(nu + 1.0, x), 1e-12) << nu << " " << x;
    }
  }
}

TEST(BesselRealOrder, RejectedArgumentsAndLimits) {
  // x = 0 is refused although J_1(0) = 0 exists.
  EXPECT_EQ(FailureOf([] { (void)BesselJY(0.0, 1.0); }), "internal 5000");
  EXPECT_EQ(FailureOf([] { (void)BesselJY(-1.0, 1.0); }), "internal 5000");
  EXPECT_EQ(FailureOf([] { (void)BesselJY(1.0, -0.5); }), "internal 5000");
  EXPECT_EQ(FailureOf([] { (void)BesselIK(0.0, 1.0); }), "internal 5000");
  EXPECT_EQ(FailureOf([] { (void)BesselIK(1.0, -2.0); }), "internal 5000");
  // CF1 needs about x steps: far beyond its 10000 the routine gives up.
  EXPECT_EQ(FailureOf([] { (void)BesselJY(1e6, 0.5); }), "internal 5000");
  EXPECT_EQ(FailureOf([] { (void)BesselJY(1.0, 1e5); }), "Overflow");
  // K underflows to 0 past x of about 745, and I is then a division by it.
  EXPECT_EQ(FailureOf([] { (void)BesselIK(1000.0, 0.5); }), "Division by zero");
}

TEST(ChebyshevValue, ClenshawSumAndRange) {
  // c(1)/2 + c(2) T1(y) + c(3) T2(y), y = (2x - a - b)/(b - a).
  const std::array<double, 4> c = {99.0, 2.0, 0.5, 0.25};  // c[0] is not read
  for (const double x : {0.0, 1.0, 2.5, 4.0}) {
    const double y = (2.0 * x - 4.0) / 4.0;
    EXPECT_NEAR(ChebyshevValue(0.0, 4.0, c, 3, x), 1.0 + 0.5 * y + 0.25 * (2 * y * y - 1), 1e-15) << x;
  }
  EXPECT_EQ(ChebyshevValue(-1.0, 1.0, c, 1, 0.3), 1.0);
  EXPECT_EQ(FailureOf([&] { (void)ChebyshevValue(0.0, 4.0, c, 3, 4.5); }), "internal 500");
  EXPECT_EQ(FailureOf([&] { (void)ChebyshevValue(-1.0, 1.0, c, 3, -1.01); }), "internal 500");
}

TEST(GammaSeriesTerms, ReciprocalGammaQuantities) {
  for (const double x : {-0.5, -0.2, 0.3, 0.5}) {
    const GammaTerms t = GammaSeriesTerms(x);
    const double gampl = 1.0 / std::tgamma(1.0 + x);
    const double gammi = 1.0 / std::tgamma(1.0 - x);
    EXPECT_NEAR(t.gampl, gampl, 1e-14) << x;
    EXPECT_NEAR(t.gammi, gammi, 1e-14) << x;
    EXPECT_NEAR(t.gam1, (gammi - gampl) / (2.0 * x), 1e-13) << x;
    EXPECT_NEAR(t.gam2, (gammi + gampl) / 2.0, 1e-14) << x;
  }
  // At 0, gam1 is its limit: 1/Gamma(1 -+ x) = 1 -+ gamma x + ..., so -gamma.
  EXPECT_NEAR(GammaSeriesTerms(0.0).gam1, -0.5772156649015329, 1e-14);
  EXPECT_EQ(FailureOf([] { (void)GammaSeriesTerms(0.6); }), "internal 500");
}
