// The questions a solved multi-variable model answers: values at points,
// and the derivative and roots along one variable with the others held.
#include <vector>

#include "tessarix/core/internal/regression_engine.hpp"
#include "tessarix/core/multiple_nonlinear_regression.hpp"
#include "tessarix/foundation/error_catalogue.hpp"
#include "tessarix/foundation/error_handler.hpp"
#include "tessarix/foundation/fault.hpp"
#include "tessarix/queries/find_roots.hpp"
#include "tessarix/queries/ridder_derivative.hpp"

namespace tessarix {

using detail::RaiseLibraryError;

namespace {

using Engine = detail::RegressionEngine;

// The first m values of the caller's point; fewer fail at the missing one.
std::vector<double> PointOf(const Engine& e, std::span<const double> values) {
  const auto m = static_cast<std::size_t>(e.variables);
  if (values.size() < m) detail::RaiseFault(detail::FaultKind::SubscriptOutOfRange);
  return std::vector<double>(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(m));
}

std::vector<double> PointOf(const Engine& e, const Variant& values) {
  std::vector<double> point(static_cast<std::size_t>(e.variables));
  for (std::int32_t k = 0; k < e.variables; ++k) point[static_cast<std::size_t>(k)] = values.At(k).ToDouble();
  return point;
}

double ValueAt(Engine& e, const std::vector<double>& point) {
  double y = 0.0;
  if (!e.ValueAt(point, y)) RaiseLibraryError(ErrorCode::ModelEvaluationError);
  return y;
}

// The surface along variable `index` (0-based), the others held at `point`.
auto Line(Engine& e, std::vector<double>& point, std::size_t index) {
  return [&e, &point, index](double t, double& y) {
    point[index] = t;
    return e.ValueAt(point, y);
  };
}

template <class Body>
auto Handled(Body&& body) {
  return detail::RunUnderHandler(
      std::forward<Body>(body), [](const std::string&) {}, detail::LibraryErrors::PassThrough);
}

double Derivative(Engine& e, std::vector<double> point, std::int32_t index) {
  if (index < 0 || index >= e.variables) RaiseLibraryError(ErrorCode::InvalidArgument);
  const auto k = static_cast<std::size_t>(index);
  double derivative = 0.0;
  const double start = point[k];
  if (!detail::RidderDerivative(Line(e, point, k), start, derivative)) {
    RaiseLibraryError(ErrorCode::DerivativeError);
  }
  return derivative;
}

std::vector<double> Roots(Engine& e, std::vector<double> point, std::int32_t index, double y, double lower,
                          double upper, std::int32_t intervals) {
  // No range rule of its own: an index outside the point fails at the access.
  if (index < 0 || index >= e.variables) detail::RaiseFault(detail::FaultKind::SubscriptOutOfRange);
  const auto k = static_cast<std::size_t>(index);
  return detail::FindRoots(Line(e, point, k), lower, upper, y, intervals);
}

Variant RootsVariant(const std::vector<double>& roots) {
  if (roots.empty()) return Variant();
  std::vector<Variant> elements;
  elements.reserve(roots.size());
  for (double root : roots) elements.emplace_back(root);
  return Variant::Array(std::move(elements));
}

}  // namespace

double MultipleNonlinearRegression::PredictValue(std::span<const double> XValues) {
  engine_->GuardQuery();
  return Handled([&] { return ValueAt(*engine_, PointOf(*engine_, XValues)); });
}

double MultipleNonlinearRegression::PredictValueAlt(const Variant& XValues) {
  engine_->GuardQuery();
  if (!XValues.IsArray()) RaiseLibraryError(ErrorCode::ExpectedVariantArray);
  return Handled([&] { return ValueAt(*engine_, PointOf(*engine_, XValues)); });
}

std::vector<double> MultipleNonlinearRegression::PredictArray(const Matrix& XValues) {
  engine_->GuardQuery();
  return Handled([&] {
    std::vector<double> result(static_cast<std::size_t>(XValues.Rows()));
    if (XValues.Rows() > 0 && XValues.Cols() < engine_->variables) {
      detail::RaiseFault(detail::FaultKind::SubscriptOutOfRange);
    }
    std::vector<double> point(static_cast<std::size_t>(engine_->variables));
    for (std::int32_t i = 0; i < XValues.Rows(); ++i) {
      for (std::int32_t k = 0; k < engine_->variables; ++k) point[static_cast<std::size_t>(k)] = XValues(i, k);
      result[static_cast<std::size_t>(i)] = ValueAt(*engine_, point);
    }
    return result;
  });
}

Variant MultipleNonlinearRegression::PredictArrayAlt(const Variant& XValues) {
  engine_->GuardQuery();
  if (!XValues.IsArray()) RaiseLibraryError(ErrorCode::ExpectedVariantArray);
  return Handled([&] {
    const std::int32_t count = XValues.Dimensions() == 0 ? 0 : XValues.UpperBound(1) + 1;
    std::vector<Variant> result(static_cast<std::size_t>(count));
    std::vector<double> point(static_cast<std::size_t>(engine_->variables));
    for (std::int32_t i = 0; i < count; ++i) {
      for (std::int32_t k = 0; k < engine_->variables; ++k) {
        point[static_cast<std::size_t>(k)] = XValues.At(i, k).ToDouble();
      }
      result[static_cast<std::size_t>(i)] = Variant(ValueAt(*engine_, point));
    }
    return Variant::Array(std::move(result));
  });
}

double MultipleNonlinearRegression::CalculateDerivative(std::span<const double> XValues, std::int32_t XIndex) {
  engine_->GuardQuery();
  // No array at all is an invalid argument, like an index out of range.
  if (XValues.empty()) RaiseLibraryError(ErrorCode::InvalidArgument);
  if (XIndex < 0 || XIndex >= engine_->variables) RaiseLibraryError(ErrorCode::InvalidArgument);
  return Handled([&] { return Derivative(*engine_, PointOf(*engine_, XValues), XIndex); });
}

double MultipleNonlinearRegression::CalculateDerivativeAlt(const Variant& XValues, std::int32_t XIndex) {
  engine_->GuardQuery();
  if (!XValues.IsArray()) RaiseLibraryError(ErrorCode::ExpectedVariantArray);
  // An array without elements has no bound to read: the same invalid
  // argument as an empty span.
  if (XValues.Dimensions() == 0) RaiseLibraryError(ErrorCode::InvalidArgument);
  if (XIndex < 0 || XIndex >= engine_->variables) RaiseLibraryError(ErrorCode::InvalidArgument);
  return Handled([&] { return Derivative(*engine_, PointOf(*engine_, XValues), XIndex); });
}

std::vector<double> MultipleNonlinearRegression::CalculateRoots(double YValue, std::span<const double> XValues,
                                                                std::int32_t XIndex, double XLowerBound,
                                                                double XUpperBound, std::int32_t NumIntervals) {
  engine_->GuardQuery();
  if (NumIntervals < 3) RaiseLibraryError(ErrorCode::InvalidArgument);
  return detail::RunUnderHandler([&] {
    return Roots(*engine_, PointOf(*engine_, XValues), XIndex, YValue, XLowerBound, XUpperBound, NumIntervals);
  });
}

Variant MultipleNonlinearRegression::CalculateRootsAlt(double YValue, const Variant& XValues, std::int32_t XIndex,
                                                       double XLowerBound, double XUpperBound,
                                                       std::int32_t NumIntervals) {
  engine_->GuardQuery();
  if (!XValues.IsArray()) RaiseLibraryError(ErrorCode::ExpectedVariantArray);
  if (NumIntervals < 3) RaiseLibraryError(ErrorCode::InvalidArgument);
  return RootsVariant(detail::RunUnderHandler([&] {
    return Roots(*engine_, PointOf(*engine_, XValues), XIndex, YValue, XLowerBound, XUpperBound, NumIntervals);
  }));
}

}  // namespace tessarix
