// The arithmetic of the natural cubic spline: knots from sorted points, the
// second derivatives at the knots, the value at an x and the cubic of an
// interval. Arrays are one-based (numerics/one_based.hpp).
//
// Every step is checked: an overflow or an invalid operation raises a
// RuntimeFault, so no NaN or infinity ever enters the knots or a result.
// The order of the operations is fixed; results must not change in the last
// bit when the code is rearranged, so do not simplify the formulas.
#pragma once

#include <cstdint>

#include "tessarix/numerics/one_based.hpp"

namespace tessarix::detail {

// The solution of a spline: m knots with strictly ascending x, their y and
// the spline's second derivatives there, all at indexes 1..m.
struct SplineKnots {
  Vector1 x;
  Vector1 y;
  Vector1 y2;
  std::int32_t m = 0;

  // Releases the arrays (m = 0).
  void Clear();
};

// The smallest and largest knot x and knot y.
struct SplineRanges {
  double x_min = 0.0;
  double x_max = 0.0;
  double y_min = 0.0;
  double y_max = 0.0;
};

// Builds the knots from x[1..n] sorted ascending with their y: each run of
// exactly equal x (no tolerance) becomes one knot with the mean of its y,
// summed in the order of the run. True when some run held more than one
// point. `knots.y2` is left empty. A sum that overflows raises a fault.
bool AverageDuplicatePoints(const Vector1& x, const Vector1& y, std::int32_t n, SplineKnots& knots);

// The second derivatives of the natural spline through knots.x, knots.y
// (m >= 3) into knots.y2, by one forward and one backward sweep of the
// tridiagonal system with y2(1) = y2(m) = 0; and the ranges of the knots.
void BuildSecondDerivatives(SplineKnots& knots, SplineRanges& ranges);

// The spline at t on the interval [x(lo), x(lo + 1)] with lo the last knot
// below m with x(lo) <= t (1 below the knots): outside the knots the first or
// last cubic goes on (extrapolation), which the derivative's differences at
// the end knots rely on. Faults on overflow.
double EvaluateSpline(const SplineKnots& knots, double t);

// EvaluateSpline with a fault of the arithmetic reported as false.
[[nodiscard]] bool TryEvaluateSpline(const SplineKnots& knots, double t, double& value) noexcept;

// Coefficients of interval i (1 .. m - 1) in t = x - x(i):
// a t^3 + b t^2 + c t + d. Faults on overflow.
struct CubicCoefficients {
  double a = 0.0;
  double b = 0.0;
  double c = 0.0;
  double d = 0.0;
};
CubicCoefficients CubicOfInterval(const SplineKnots& knots, std::int32_t i);

}  // namespace tessarix::detail
