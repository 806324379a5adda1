#include "tessarix/numerics/airy_spherical.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <initializer_list>

#include "numerics/numerics_test_support.hpp"

using namespace tessarix::detail;
using tessarix::test::FailureOf;

// References: std::sph_bessel / std::sph_neumann, tabulated Airy values, and
// the Airy functions written through std Bessel functions with full-precision
// constants. Tolerances follow the library's short constants: 1.2533141 for
// sqrt(pi/2) (3e-8), 0.57735027 and 1.15470054 for 1/sqrt(3), 2/sqrt(3) (2e-9).

TEST(SphericalBessel, AgainstTheStandardLibrary) {
  for (const int n : {0, 1, 2, 5, 12}) {
    for (const double x : {0.1, 0.9, 2.0, 7.0, 25.0}) {
      const SphericalBesselResult r = SphericalBessel(n, x);
      const double j = std::sph_bessel(n, x);
      const double y = std::sph_neumann(n, x);
      const double scale = std::fmax(std::fabs(j), std::fabs(y));
      EXPECT_NEAR(r.sj, j, 5e-8 * scale) << n << " " << x;
      EXPECT_NEAR(r.sy, y, 5e-8 * scale) << n << " " << x;
      const double dj = n / x * j - std::sph_bessel(n + 1, x);
      const double dy = n / x * y - std::sph_neumann(n + 1, x);
      EXPECT_NEAR(r.dsj, dj, 5e-8 * std::fmax(scale, std::fabs(dy))) << n << " " << x;
      EXPECT_NEAR(r.dsy, dy, 5e-8 * std::fmax(scale, std::fabs(dy))) << n << " " << x;
    }
  }
  EXPECT_EQ(FailureOf([] { (void)SphericalBessel(-1, 1.0); }), "internal 5000");
  EXPECT_EQ(FailureOf([] { (void)SphericalBessel(2, 0.0); }), "internal 5000");
}

TEST(Airy, TabulatedValues) {
  const AiryResult zero = Airy(0.0);
  EXPECT_EQ(zero.ai, 0.35502805);
  EXPECT_EQ(zero.dai, -0.2588194);
  EXPECT_EQ(zero.bi, 0.35502805 / 0.57735027);
  EXPECT_EQ(zero.dbi, 0.2588194 / 0.57735027);
  const AiryResult p = Airy(1.0);
  EXPECT_REL_NEAR(p.ai, 0.1352924163128814, 3e-9);
  EXPECT_REL_NEAR(p.bi, 1.2074235949528713, 3e-9);
  EXPECT_REL_NEAR(p.dai, -0.1591474412967932, 3e-9);
  EXPECT_REL_NEAR(p.dbi, 0.9324359333927756, 3e-9);
  const AiryResult m = Airy(-1.0);
  EXPECT_REL_NEAR(m.ai, 0.5355608832923521, 3e-9);
  EXPECT_REL_NEAR(m.bi, 0.1039973894969446, 3e-8);
  EXPECT_REL_NEAR(m.dai, -0.0101605671166456, 3e-7);
  EXPECT_REL_NEAR(m.dbi, 0.5923756264227923, 3e-9);
}

TEST(Airy, ThroughBesselFunctionsOnBothSides) {
  const double pi = 3.141592653589793;
  const double c = 1.0 / std::sqrt(3.0);
  for (const double x : {0.3, 2.5, 6.0, 20.0}) {
    const double z = 2.0 / 3.0 * x * std::sqrt(x);
    const AiryResult r = Airy(x);
    EXPECT_REL_NEAR(r.ai, std::sqrt(x) * c * std::cyl_bessel_k(1.0 / 3.0, z) / pi, 3e-9) << x;
    EXPECT_REL_NEAR(r.dai, -x * c * std::cyl_bessel_k(2.0 / 3.0, z) / pi, 3e-9) << x;
    // Bi = sqrt(x/3) (I_(-1/3) + I_(1/3)), with I_(-nu) = I_nu + 2/pi sin(nu pi) K_nu.
    const double i3 = std::cyl_bessel_i(1.0 / 3.0, z);
    const double k3 = std::cyl_bessel_k(1.0 / 3.0, z);
    EXPECT_REL_NEAR(r.bi, std::sqrt(x / 3.0) * (2.0 * i3 + 2.0 / pi * std::sin(pi / 3.0) * k3), 3e-9) << x;
    const AiryResult n = Airy(-x);
    const double j3 = std::cyl_bessel_j(1.0 / 3.0, z);
    const double y3 = std::cyl_neumann(1.0 / 3.0, z);
    const double j23 = std::cyl_bessel_j(2.0 / 3.0, z);
    const double y23 = std::cyl_neumann(2.0 / 3.0, z);
    const double scale = std::sqrt(x) * (std::fabs(j3) + std::fabs(y3));
    EXPECT_NEAR(n.ai, 0.5 * std::sqrt(x) * (j3 - c * y3), 3e-9 * scale) << x;
    EXPECT_NEAR(n.bi, -0.5 * std::sqrt(x) * (y3 + c * j3), 3e-9 * scale) << x;
    const double dscale = x * (std::fabs(j23) + std::fabs(y23));
    EXPECT_NEAR(n.dai, 0.5 * x * (c * y23 + j23), 3e-9 * dscale) << x;
    EXPECT_NEAR(n.dbi, 0.5 * x * (c * j23 - y23), 3e-9 * dscale) << x;
  }
  // Bi and Bi' take 2c as its own stored value 1.15470054, not twice
  // 0.57735027 nor 2/sqrt(3); the library's values follow it to full precision.
  for (const double x : {0.5, 1.0, 2.0}) {
    const double z = 2.0 / 3.0 * x * std::sqrt(x);
    const double lib_pi = 3.14159265358979;
    const AiryResult r = Airy(x);
    EXPECT_REL_NEAR(
        r.bi, std::sqrt(x) * (std::cyl_bessel_k(1.0 / 3.0, z) / lib_pi + 1.15470054 * std::cyl_bessel_i(1.0 / 3.0, z)),
        1e-13)
        << x;
    EXPECT_REL_NEAR(
        r.dbi, x * (std::cyl_bessel_k(2.0 / 3.0, z) / lib_pi + 1.15470054 * std::cyl_bessel_i(2.0 / 3.0, z)), 1e-13)
        << x;
  }
  // Far out, K_(1/3)(z) underflows to 0 and the modified Bessel routine
  // fails dividing by it: Ai and Bi are not representable together any more.
  EXPECT_EQ(FailureOf([] { (void)Airy(120.0); }), "Division by zero");
  EXPECT_EQ(FailureOf([] { (void)Airy(-1e5); }), "internal 5000");
}
