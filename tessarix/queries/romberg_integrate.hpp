// Definite integrals of a curve by Romberg's method: trapezoid stages with
// step sizes falling by 4, extrapolated to step 0 over the last five.
#pragma once

#include <array>
#include <cmath>
#include <cstdint>

#include "tessarix/numerics/internal_failure.hpp"
#include "tessarix/numerics/one_based.hpp"
#include "tessarix/platform/checked.hpp"

namespace tessarix::detail {

inline constexpr std::int32_t kRombergStages = 20;
inline constexpr std::int32_t kRombergPoints = 5;
inline constexpr double kRombergTolerance = 1e-6;

// Neville's interpolation through (xa[1..n], ya[1..n]) evaluated at x into
// y, dy being the last correction applied (the error estimate). The walk
// through the tableau starts at the point nearest to x and keeps to the
// middle. Two equal xa raise InternalFailure 5000; a fault of the
// arithmetic raises a RuntimeFault.
void PolynomialExtrapolate(const double* xa, const double* ya, std::int32_t n, double x, double& y, double& dy);

// Stage n of the trapezoid rule on [a, b]: stage 1 uses the two ends, stage
// n >= 2 refines `s` (the previous stage) with 2^(n-2) new midpoints. A
// point where f fails raises InternalFailure 5000.
template <class F>
void TrapezoidStage(F&& f, double a, double b, double& s, std::int32_t n) {
  const auto value_at = [&f](double x) {
    double y = 0.0;
    if (!f(x, y)) RaiseInternalFailure();
    return Num(y);
  };
  if (n == 1) {
    const Num fa = value_at(a);
    const Num fb = value_at(b);
    s = (Num(0.5) * (Num(b) - a) * (fa + fb)).value();
    return;
  }
  std::int64_t points = 1;
  for (std::int32_t k = 1; k < n - 1; ++k) points *= 2;
  const Num count = static_cast<double>(points);
  const Num del = (Num(b) - a) / count;
  Num x = Num(a) + Num(0.5) * del;
  Num sum = 0.0;
  for (std::int64_t j = 1; j <= points; ++j) {
    sum += value_at(x.value());
    x += del;
  }
  s = (Num(0.5) * (Num(s) + (Num(b) - a) * sum / count)).value();
}

// The integral of f from a to b (reversed bounds give the negated value). It
// stops when the extrapolation's error estimate falls to 1e-6 of the value;
// after 20 stages (2^19 + 1 evaluations) the last extrapolated value is the
// result, without an error. A point where f fails anywhere, the bounds
// included, raises InternalFailure 5000; a fault of the arithmetic raises a
// RuntimeFault.
template <class F>
double RombergIntegrate(F&& f, double a, double b) {
  std::array<double, kRombergStages + 2> h{};
  std::array<double, kRombergStages + 2> s{};
  double value = 0.0;
  double error = 0.0;
  h[1] = 1.0;
  for (std::int32_t j = 1; j <= kRombergStages; ++j) {
    TrapezoidStage(f, a, b, s[static_cast<std::size_t>(j)], j);
    if (j >= kRombergPoints) {
      const std::size_t first = static_cast<std::size_t>(j - kRombergPoints);
      // One-based views of the last five pairs: element 1 is pair j - 4.
      PolynomialExtrapolate(&h[first], &s[first], kRombergPoints, 0.0, value, error);
      if (std::fabs(value) * kRombergTolerance >= std::fabs(error)) return value;
    }
    s[static_cast<std::size_t>(j) + 1] = s[static_cast<std::size_t>(j)];
    h[static_cast<std::size_t>(j) + 1] = 0.25 * h[static_cast<std::size_t>(j)];
  }
  return value;
}

}  // namespace tessarix::detail
