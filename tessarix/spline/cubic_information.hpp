// CubicInformation: the polynomial of one interval of a solved CubicSpline.
//
// On the interval from LowerBound() to UpperBound() the spline is
//   a() * t^3 + b() * t^2 + c() * t + d()   with t = x - LowerBound(),
// so the coefficients are local to the interval, not coefficients in x:
// d() is the y of the interval's lower knot, c() the slope there, 2 * b() the
// second derivative there (0 at the first knot of a natural spline).
//
// Made only by CubicSpline::GetCubicByInterval and GetCubicByValue; a copy
// is an independent value that does not follow later fits of the spline.
#pragma once

#include <cstdint>

#include "tessarix/foundation/export.hpp"

namespace tessarix {

class CubicSpline;

class TESSARIX_API CubicInformation {
 public:
  CubicInformation(const CubicInformation&) = default;
  CubicInformation& operator=(const CubicInformation&) = default;
  CubicInformation(CubicInformation&&) = default;
  CubicInformation& operator=(CubicInformation&&) = default;
  ~CubicInformation() = default;

  // Coefficient of t^3.
  double a() const noexcept { return a_; }
  // Coefficient of t^2: half the second derivative at the lower knot.
  double b() const noexcept { return b_; }
  // Coefficient of t: the first derivative at the lower knot.
  double c() const noexcept { return c_; }
  // Constant term: the y of the lower knot.
  double d() const noexcept { return d_; }
  // x of the knot at the upper end of the interval.
  double UpperBound() const noexcept { return upper_bound_; }
  // x of the knot at the lower end of the interval (where t = 0).
  double LowerBound() const noexcept { return lower_bound_; }
  // Index of the interval, from 1 to CubicSpline::NumIntervals().
  std::int32_t Interval() const noexcept { return interval_; }

 private:
  friend class CubicSpline;
  CubicInformation(double a, double b, double c, double d, double lower_bound, double upper_bound,
                   std::int32_t interval) noexcept
      : a_(a), b_(b), c_(c), d_(d), upper_bound_(upper_bound), lower_bound_(lower_bound), interval_(interval) {}

  double a_;
  double b_;
  double c_;
  double d_;
  double upper_bound_;
  double lower_bound_;
  std::int32_t interval_;
};

}  // namespace tessarix
