#include "tessarix/numerics/polynomials.hpp"

#include <cmath>

#include "tessarix/numerics/internal_failure.hpp"
#include "tessarix/numerics/power.hpp"
#include "tessarix/platform/checked.hpp"

namespace tessarix::detail {
namespace {

// An integer step of the recurrence, computed in 16 bits.
double Int16Step(std::int32_t value) {
  if (value > 32767 || value < -32768) {
    RaiseFault(FaultKind::Overflow);
  }
  return static_cast<double>(value);
}

}  // namespace

double LegendreP(std::int32_t l, std::int32_t m, double x) {
  if (m < 0 || m > l || std::fabs(x) > 1.0) {
    RaiseInternalFailure(5000);
  }
  const Num nx = x;
  Num pmm = 1.0;
  if (m > 0) {
    const Num somx2 = sqrt((1.0 - nx) * (1.0 + nx));
    Num fact = 1.0;
    for (std::int32_t i = 1; i <= m; ++i) {
      // The minus sign is the Condon-Shortley phase.
      pmm = -pmm * fact * somx2;
      fact = fact + 2.0;
    }
  }
  if (l == m) {
    return pmm.value();
  }
  Num pmmp1 = nx * Int16Step(2 * m + 1) * pmm;
  if (l == m + 1) {
    return pmmp1.value();
  }
  Num pll = 0.0;
  for (std::int32_t ll = m + 2; ll <= l; ++ll) {
    pll = (nx * Int16Step(2 * ll - 1) * pmmp1 - Int16Step(ll + m - 1) * pmm) / Int16Step(ll - m);
    pmm = pmmp1;
    pmmp1 = pll;
  }
  return pll.value();
}

double Floor(double v) { return std::floor(v); }

double Ceil(double v) {
  const double integer_part = std::floor(v);
  if (v == integer_part) {
    return v;
  }
  if (v > 0.0) {
    return integer_part + 1.0;
  }
  // + 0.0 turns the -0 of a truncated -0.5 into 0.
  return std::trunc(v) + 0.0;
}

double MaxOf(double a, double b) { return a >= b ? a : b; }

double MinOf(double a, double b) { return a >= b ? b : a; }

double Magnitude(double a, double b) { return sqrt(Power(Num(a), 2.0) + Power(Num(b), 2.0)).value(); }

}  // namespace tessarix::detail
