#include "tessarix/numerics/airy_spherical.hpp"

#include <cmath>

#include "tessarix/numerics/bessel_real_order.hpp"
#include "tessarix/numerics/internal_failure.hpp"
#include "tessarix/platform/checked.hpp"

namespace tessarix::detail {

SphericalBesselResult SphericalBessel(std::int32_t n, double x) {
  if (n < 0 || x <= 0.0) {
    RaiseInternalFailure(5000);
  }
  const double order = static_cast<double>(n) + 0.5;
  const BesselJYResult b = BesselJY(x, order);
  const Num nx = x;
  const Num factor = 1.2533141 / sqrt(nx);
  SphericalBesselResult out;
  const Num sj = factor * b.j;
  const Num sy = factor * b.y;
  out.sj = sj.value();
  out.sy = sy.value();
  out.dsj = (factor * b.dj - sj / (2.0 * nx)).value();
  out.dsy = (factor * b.dy - sy / (2.0 * nx)).value();
  return out;
}

AiryResult Airy(double x) {
  constexpr double kPi = 3.14159265358979;
  const Num third = 1.0 / Num(3.0);
  const Num twothird = 2.0 * third;
  constexpr double kC = 0.57735027;     // 1/sqrt(3)
  constexpr double kTwoC = 1.15470054;  // 2/sqrt(3), stored as its own value
  const Num nx = x;
  const Num absx = abs(nx);
  const Num rootx = sqrt(absx);
  const Num z = twothird * absx * rootx;
  AiryResult out;
  if (x > 0.0) {
    BesselIKResult b = BesselIK(z.value(), third.value());
    out.ai = (rootx * kC * b.k / kPi).value();
    out.bi = (rootx * (Num(b.k) / kPi + kTwoC * Num(b.i))).value();
    b = BesselIK(z.value(), twothird.value());
    out.dai = (-nx * kC * b.k / kPi).value();
    out.dbi = (nx * (Num(b.k) / kPi + kTwoC * Num(b.i))).value();
  } else if (x < 0.0) {
    BesselJYResult b = BesselJY(z.value(), third.value());
    out.ai = (0.5 * rootx * (Num(b.j) - kC * Num(b.y))).value();
    out.bi = (-0.5 * rootx * (Num(b.y) + kC * Num(b.j))).value();
    b = BesselJY(z.value(), twothird.value());
    out.dai = (0.5 * absx * (kC * Num(b.y) + b.j)).value();
    out.dbi = (0.5 * absx * (kC * Num(b.j) - b.y)).value();
  } else {
    out.ai = 0.35502805;
    out.bi = (Num(out.ai) / kC).value();
    out.dai = -0.2588194;
    out.dbi = (-Num(out.dai) / kC).value();
  }
  return out;
}

}  // namespace tessarix::detail
