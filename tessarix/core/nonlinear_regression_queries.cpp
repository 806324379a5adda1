// The questions a solved model answers: values, derivative by x, roots and
// integral of the fitted curve. All of them run on the model at a point, so they
// work alike for every kind of model; none of them changes the object.
#include <cmath>
#include <vector>

#include "tessarix/core/internal/regression_engine.hpp"
#include "tessarix/core/nonlinear_regression.hpp"
#include "tessarix/foundation/error_catalogue.hpp"
#include "tessarix/foundation/error_handler.hpp"
#include "tessarix/queries/find_roots.hpp"
#include "tessarix/queries/ridder_derivative.hpp"
#include "tessarix/queries/romberg_integrate.hpp"

namespace tessarix {

using detail::RaiseLibraryError;

namespace {

using Impl = detail::RegressionEngine;

void GuardQuery(const Impl& r) { r.GuardQuery(); }

// The fitted curve as the numerical routines take it.
auto Curve(Impl& r) {
  return [&r](double x, double& y) { return r.ValueAt(std::span<const double>(&x, 1), y); };
}

double ValueAt(Impl& r, double x) {
  double y = 0.0;
  if (!r.ValueAt(std::span<const double>(&x, 1), y)) RaiseLibraryError(ErrorCode::ModelEvaluationError);
  return y;
}

std::vector<double> Roots(Impl& r, double y, double lower, double upper, std::int32_t intervals) {
  GuardQuery(r);
  if (intervals < 3) RaiseLibraryError(ErrorCode::InvalidArgument);
  return detail::RunUnderHandler([&] { return detail::FindRoots(Curve(r), lower, upper, y, intervals); },
                                 [](const std::string&) {});
}

}  // namespace

double NonlinearRegression::PredictValue(double XValue) {
  GuardQuery(*engine_);
  return ValueAt(*engine_, XValue);
}

std::vector<double> NonlinearRegression::PredictArray(std::span<const double> XValues) {
  GuardQuery(*engine_);
  return detail::RunUnderHandler(
      [&] {
        std::vector<double> result(XValues.size());
        detail::PointModel* kind = engine_->kind.get();
        if (kind != nullptr && engine_->model.type == tsxModelUser && kind->BlockRows() > 1 && !XValues.empty()) {
          // A text model that runs by blocks: the whole array at once, with
          // the failure at the value where a loop of PredictValue stops.
          detail::PointTable points;
          points.Allocate(static_cast<std::int32_t>(XValues.size()), 1);
          for (std::size_t i = 0; i < XValues.size(); ++i) points.At(static_cast<std::int32_t>(i) + 1, 1) = XValues[i];
          detail::RowFailure failure;
          if (!kind->EvaluateRows(points, 1, points.Count(), engine_->core.parameter_values.data(), nullptr, 0,
                                  result.data(), nullptr, 0, failure)) {
            RaiseLibraryError(ErrorCode::ModelEvaluationError);
          }
          return result;
        }
        for (std::size_t i = 0; i < XValues.size(); ++i) result[i] = ValueAt(*engine_, XValues[i]);
        return result;
      },
      [](const std::string&) {}, detail::LibraryErrors::PassThrough);
}

Variant NonlinearRegression::PredictArrayAlt(const Variant& XValues) {
  GuardQuery(*engine_);
  if (!XValues.IsArray()) RaiseLibraryError(ErrorCode::ExpectedVariantArray);
  return detail::RunUnderHandler(
      [&] {
        const std::int32_t count = XValues.Dimensions() == 0 ? 0 : XValues.UpperBound() + 1;
        std::vector<Variant> result(static_cast<std::size_t>(count));
        for (std::int32_t i = 0; i < count; ++i) {
          result[static_cast<std::size_t>(i)] = Variant(ValueAt(*engine_, XValues.At(i).ToDouble()));
        }
        return Variant::Array(std::move(result));
      },
      [](const std::string&) {}, detail::LibraryErrors::PassThrough);
}

double NonlinearRegression::CalculateDerivative(double XValue) {
  GuardQuery(*engine_);
  double derivative = 0.0;
  if (!detail::RidderDerivative(Curve(*engine_), XValue, derivative)) RaiseLibraryError(ErrorCode::DerivativeError);
  return derivative;
}

std::vector<double> NonlinearRegression::CalculateRoots(double YValue, double XLowerBound, double XUpperBound,
                                                        std::int32_t NumIntervals) {
  return Roots(*engine_, YValue, XLowerBound, XUpperBound, NumIntervals);
}

Variant NonlinearRegression::CalculateRootsAlt(double YValue, double XLowerBound, double XUpperBound,
                                               std::int32_t NumIntervals) {
  const std::vector<double> roots = Roots(*engine_, YValue, XLowerBound, XUpperBound, NumIntervals);
  if (roots.empty()) return Variant();
  std::vector<Variant> elements;
  elements.reserve(roots.size());
  for (double root : roots) elements.emplace_back(root);
  return Variant::Array(std::move(elements));
}

double NonlinearRegression::CalculateIntegral(double XLowerBound, double XUpperBound) {
  GuardQuery(*engine_);
  try {
    return detail::RombergIntegrate(Curve(*engine_), XLowerBound, XUpperBound);
  } catch (...) {
    // Whatever its origin: a point where the model fails, a fault of the
    // arithmetic, an exception of a host's handler.
    RaiseLibraryError(ErrorCode::IntegralError);
  }
}

}  // namespace tessarix
