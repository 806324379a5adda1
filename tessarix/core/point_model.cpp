// What every kind of model shares: the fault guard of an evaluation, the
// numerical parameter derivatives, and the row-by-row block that the engine
// runs when a kind has no faster one.
#include "tessarix/core/internal/point_model.hpp"

#include <cstddef>

#include "tessarix/numerics/extrapolated_derivative.hpp"

namespace tessarix::detail {

namespace {
// The extrapolation table of the numerical parameter derivatives: rows and
// columns 1..10 used.
constexpr std::int32_t kDerivativeTableSize = 10;
}  // namespace

bool PointModel::Value(std::span<const double> point, const double* parameters, double& y) {
  return GuardedValue([&](double& value) { return RawValue(point, parameters, value); }, y);
}

bool PointModel::Derivatives(std::span<const double> point, double* parameters, const std::int32_t* ia,
                             std::int32_t count, double* dyda) {
  return NumericalDerivatives(point, parameters, ia, count, dyda);
}

// Each fitted parameter in turn is moved in place, the point fixed; the value
// held before is stored back after each derivative. On a failure the
// parameter is left at its last trial value: the caller abandons the pass in
// any case.
bool PointModel::NumericalDerivatives(std::span<const double> point, double* parameters, const std::int32_t* ia,
                                      std::int32_t count, double* dyda) {
  if (derivative_table_.Rows() < kDerivativeTableSize) {
    derivative_table_.Resize(kDerivativeTableSize, kDerivativeTableSize);
  }
  for (std::int32_t l = 1; l <= count; ++l) {
    if (ia[l] == 0) {
      dyda[l] = 0.0;
      continue;
    }
    double& variable = parameters[l];
    const double held = variable;
    const auto f = [&](double trial, double& y) {
      variable = trial;
      return Value(point, parameters, y);
    };
    const double floor =
        static_cast<std::size_t>(l) < step_floors_.size() ? step_floors_[static_cast<std::size_t>(l)] : 0.0;
    if (!ExtrapolatedDerivative(f, held, kDerivativeStepShrinkSquared, derivative_table_, dyda[l], floor)) {
      return false;
    }
    variable = held;
  }
  return true;
}

double* PointModel::ValueScratch(double* values, std::int32_t count) {
  if (values != nullptr) return values;
  if (value_scratch_.size() < static_cast<std::size_t>(count)) value_scratch_.resize(static_cast<std::size_t>(count));
  return value_scratch_.data();
}

bool PointModel::EvaluateRows(const PointTable& points, std::int32_t first, std::int32_t count, double* parameters,
                              const std::int32_t* ia, std::int32_t parameter_count, double* values, double* derivatives,
                              std::int32_t stride, RowFailure& failure) {
  values = ValueScratch(values, count);
  for (std::int32_t r = 0; r < count; ++r) {
    const std::span<const double> point = points.Row(first + r);
    if (!Value(point, parameters, values[r])) {
      failure = {first + r, false};
      return false;
    }
    if (ia != nullptr &&
        !Derivatives(point, parameters, ia, parameter_count, derivatives + static_cast<std::ptrdiff_t>(r) * stride)) {
      failure = {first + r, true};
      return false;
    }
  }
  return true;
}

}  // namespace tessarix::detail
