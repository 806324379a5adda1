// The questions a solved spline answers: values, the cubic of an interval,
// derivative, integral and roots. Only the value and the cubic come from the
// polynomial pieces; the derivative, the integral and the roots see the
// spline as a function of x and use the shared numerical routines of the
// regression queries. None of them changes the object.
#include <algorithm>
#include <cstdint>
#include <vector>

#include "tessarix/foundation/error_catalogue.hpp"
#include "tessarix/foundation/error_handler.hpp"
#include "tessarix/foundation/fault.hpp"
#include "tessarix/queries/find_roots.hpp"
#include "tessarix/queries/ridder_derivative.hpp"
#include "tessarix/queries/romberg_integrate.hpp"
#include "tessarix/spline/cubic_spline.hpp"
#include "tessarix/spline/internal/cubic_spline_impl.hpp"

namespace tessarix {

using detail::RaiseLibraryError;

namespace {

using Impl = detail::CubicSplineImpl;

// The spline as the numerical routines take it. It goes on beyond the end
// knots, where the derivative's differences step.
auto Curve(const Impl& s) {
  return [&s](double x, double& y) { return detail::TryEvaluateSpline(s.knots, x, y); };
}

double ValueAt(const Impl& s, double x) {
  s.GuardInRange(x);
  double y = 0.0;
  if (!detail::TryEvaluateSpline(s.knots, x, y)) RaiseLibraryError(ErrorCode::ModelEvaluationError);
  return y;
}

// The handler of the array forms: their own catalogue errors reach the
// caller as they are; an input without elements (or with two dimensions) is
// 10005; anything else 10001.
template <class Body>
decltype(auto) RunArrayQuery(Body&& body) {
  try {
    return body();
  } catch (const Error&) {
    throw;
  } catch (const detail::RuntimeFault& fault) {
    if (fault.Kind() == detail::FaultKind::SubscriptOutOfRange) RaiseLibraryError(ErrorCode::ArgumentExceedsArraySize);
    detail::RaiseGeneralError(fault.Description());
  } catch (...) {
    detail::RaiseGeneralError(detail::CurrentFailureDescription());
  }
}

std::vector<double> Roots(const Impl& s, double y, double lower, double upper, std::int32_t intervals) {
  s.GuardSolved();
  s.GuardInRange(lower);
  s.GuardInRange(upper);
  if (intervals < 3) RaiseLibraryError(ErrorCode::InvalidArgument);
  return detail::RunUnderHandler([&] { return detail::FindRoots(Curve(s), lower, upper, y, intervals); });
}

}  // namespace

std::int32_t CubicSpline::NumIntervals() const {
  impl_->GuardSolved();
  return impl_->knots.m - 1;
}

CubicInformation CubicSpline::GetCubicByInterval(std::int32_t Interval) {
  const Impl& s = *impl_;
  s.GuardSolved();
  if (Interval < 1 || Interval > s.knots.m - 1) RaiseLibraryError(ErrorCode::SplineXOutOfRange);
  return detail::RunUnderHandler([&] {
    const detail::CubicCoefficients cubic = detail::CubicOfInterval(s.knots, Interval);
    const auto i = static_cast<std::size_t>(Interval);
    return CubicInformation(cubic.a, cubic.b, cubic.c, cubic.d, s.knots.x[i], s.knots.x[i + 1], Interval);
  });
}

CubicInformation CubicSpline::GetCubicByValue(double XValue) {
  const Impl& s = *impl_;
  s.GuardSolved();
  s.GuardInRange(XValue);
  // The first interval i with x(i) <= XValue <= x(i + 1): as the knots
  // ascend and XValue is not below x(1), the first i with XValue <= x(i + 1).
  const auto first_upper = s.knots.x.begin() + 2;
  const auto last_upper = s.knots.x.begin() + s.knots.m + 1;
  const auto upper = std::lower_bound(first_upper, last_upper, XValue);
  const auto interval = static_cast<std::int32_t>(upper - s.knots.x.begin()) - 1;
  return GetCubicByInterval(interval);
}

double CubicSpline::PredictValue(double XValue) {
  impl_->GuardSolved();
  return ValueAt(*impl_, XValue);
}

std::vector<double> CubicSpline::PredictArray(std::span<const double> XValues) {
  const Impl& s = *impl_;
  s.GuardSolved();
  return RunArrayQuery([&] {
    // An array without elements has no upper bound to size the result by.
    if (XValues.empty()) detail::RaiseFault(detail::FaultKind::SubscriptOutOfRange);
    std::vector<double> result(XValues.size());
    for (std::size_t i = 0; i < XValues.size(); ++i) result[i] = ValueAt(s, XValues[i]);
    return result;
  });
}

Variant CubicSpline::PredictArrayAlt(const Variant& XValues) {
  const Impl& s = *impl_;
  s.GuardSolved();
  if (!XValues.IsArray()) RaiseLibraryError(ErrorCode::ExpectedVariantArray);
  return RunArrayQuery([&] {
    if (XValues.Dimensions() == 0) detail::RaiseFault(detail::FaultKind::SubscriptOutOfRange);
    const std::int32_t upper = XValues.UpperBound();
    std::vector<Variant> result;
    result.reserve(static_cast<std::size_t>(upper) + 1);
    for (std::int32_t i = 0; i <= upper; ++i) result.emplace_back(ValueAt(s, XValues.At(i).ToDouble()));
    return Variant::Array(std::move(result));
  });
}

double CubicSpline::CalculateDerivative(double XValue) {
  const Impl& s = *impl_;
  s.GuardSolved();
  s.GuardInRange(XValue);
  double derivative = 0.0;
  if (!detail::RidderDerivative(Curve(s), XValue, derivative)) RaiseLibraryError(ErrorCode::DerivativeError);
  return derivative;
}

double CubicSpline::CalculateIntegral(double XLowerBound, double XUpperBound) {
  const Impl& s = *impl_;
  s.GuardSolved();
  s.GuardInRange(XLowerBound);
  s.GuardInRange(XUpperBound);
  try {
    return detail::RombergIntegrate(Curve(s), XLowerBound, XUpperBound);
  } catch (...) {
    // A point where the spline cannot be evaluated, or a fault of the
    // arithmetic of the method itself.
    RaiseLibraryError(ErrorCode::IntegralError);
  }
}

std::vector<double> CubicSpline::CalculateRoots(double YValue, double XLowerBound, double XUpperBound,
                                                std::int32_t NumIntervals) {
  return Roots(*impl_, YValue, XLowerBound, XUpperBound, NumIntervals);
}

Variant CubicSpline::CalculateRootsAlt(double YValue, double XLowerBound, double XUpperBound,
                                       std::int32_t NumIntervals) {
  const std::vector<double> roots = Roots(*impl_, YValue, XLowerBound, XUpperBound, NumIntervals);
  if (roots.empty()) return Variant();
  std::vector<Variant> elements;
  elements.reserve(roots.size());
  for (double root : roots) elements.emplace_back(root);
  return Variant::Array(std::move(elements));
}

}  // namespace tessarix
