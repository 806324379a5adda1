// Confidence and prediction bands of a solved fit by the delta method: the
// variance of the model at a point is g' C g times the residual variance,
// g being the derivatives of the model by its parameters there.
#include "tessarix/core/internal/fit_bands.hpp"

#include <cmath>

#include "tessarix/core/multiple_nonlinear_regression.hpp"
#include "tessarix/core/nonlinear_regression.hpp"
#include "tessarix/core/regression_parameters.hpp"
#include "tessarix/foundation/error_catalogue.hpp"
#include "tessarix/foundation/error_handler.hpp"
#include "tessarix/numerics/distributions.hpp"
#include "tessarix/platform/checked.hpp"

namespace tessarix::detail {

namespace {

// The derivatives by the parameters marked in `ia` at `point`, with the
// fitted values; false where the model cannot give them. The values are a
// copy, since numerical derivatives move them in place.
bool ParameterGradient(RegressionEngine& engine, std::span<const double> point, const std::vector<std::int32_t>& ia,
                       std::vector<double>& dyda) {
  Vector1 values = engine.core.parameter_values;
  const auto count = static_cast<std::int32_t>(ia.size()) - 1;
  if (static_cast<std::int32_t>(values.size()) != count + 1 || engine.kind == nullptr) return false;
  try {
    if (!engine.kind->Derivatives(point, values.data(), ia.data(), count, dyda.data())) return false;
  } catch (...) {
    // A fault inside the model (or a host's handler) at this point: the band
    // cannot be had here, as the value could not.
    return false;
  }
  for (std::int32_t l = 1; l <= count; ++l) {
    if (ia[static_cast<std::size_t>(l)] != 0 && !std::isfinite(dyda[static_cast<std::size_t>(l)])) return false;
  }
  return true;
}

}  // namespace

std::vector<double> FitCovariance(const RegressionEngine& engine) {
  const tessarix::RegressionParameters& parameters = engine.core.Parameters();
  const std::int32_t count = parameters.Count();
  std::vector<double> c(static_cast<std::size_t>(count) * static_cast<std::size_t>(count));
  for (std::int32_t i = 0; i < count; ++i) {
    for (std::int32_t j = 0; j < count; ++j) {
      c[static_cast<std::size_t>(i * count + j)] = parameters.CalculateCovariance(Variant(i + 1), Variant(j + 1));
    }
  }
  return c;
}

double BandHalfWidth(RegressionEngine& engine, std::span<const double> point, double percent, BandKind kind) {
  engine.GuardQuery();
  if (!(percent > 0.0 && percent < 100.0)) RaiseLibraryError(ErrorCode::InvalidArgument);
  double y = 0.0;
  if (!engine.ValueAt(point, y)) RaiseLibraryError(ErrorCode::ModelEvaluationError);
  return RunUnderHandler(
      [&] {
        const std::vector<double> c = FitCovariance(engine);
        const std::int32_t count = engine.core.Parameters().Count();
        const auto at = [&](std::int32_t i, std::int32_t j) { return c[static_cast<std::size_t>(i * count + j)]; };
        // A parameter held constant has a zero row in C: it needs no derivative.
        std::vector<std::int32_t> ia(static_cast<std::size_t>(count) + 1, 0);
        for (std::int32_t l = 1; l <= count; ++l) ia[static_cast<std::size_t>(l)] = at(l - 1, l - 1) != 0.0 ? 1 : 0;
        std::vector<double> dyda(static_cast<std::size_t>(count) + 1, 0.0);
        if (!ParameterGradient(engine, point, ia, dyda)) RaiseLibraryError(ErrorCode::ModelEvaluationError);

        Num quadratic = 0.0;
        for (std::int32_t j = 1; j <= count; ++j) {
          if (ia[static_cast<std::size_t>(j)] == 0) continue;
          Num row = 0.0;
          for (std::int32_t k = 1; k <= count; ++k) {
            if (ia[static_cast<std::size_t>(k)] != 0) row += Num(at(j - 1, k - 1)) * dyda[static_cast<std::size_t>(k)];
          }
          quadratic += row * dyda[static_cast<std::size_t>(j)];
        }
        // C is positive semi-definite; rounding may leave a tiny negative.
        const Num spread = kind == BandKind::Confidence ? abs(quadratic) : Num(1.0) + abs(quadratic);
        // The quantile exactly as CalculateCIDelta takes it.
        const Num p = Num(percent) / 100.0 * 0.5 + 0.5;
        const double t = StudentTCritical(p.value(), engine.core.statistics.dof_error);
        return (Num(t) * engine.core.statistics.standard_error * sqrt(spread)).value();
      },
      [](const std::string&) {}, LibraryErrors::PassThrough);
}

}  // namespace tessarix::detail

namespace tessarix {

double NonlinearRegression::ConfidenceBand(double XValue, double Percent) {
  return detail::BandHalfWidth(*engine_, std::span<const double>(&XValue, 1), Percent, detail::BandKind::Confidence);
}

double NonlinearRegression::PredictionBand(double XValue, double Percent) {
  return detail::BandHalfWidth(*engine_, std::span<const double>(&XValue, 1), Percent, detail::BandKind::Prediction);
}

namespace {

double SurfaceBand(detail::RegressionEngine& engine, std::span<const double> point, double percent,
                   detail::BandKind kind) {
  engine.GuardQuery();
  const auto m = static_cast<std::size_t>(engine.variables);
  if (point.size() < m) detail::RaiseLibraryError(ErrorCode::InvalidArgument);
  return detail::BandHalfWidth(engine, point.first(m), percent, kind);
}

}  // namespace

double MultipleNonlinearRegression::ConfidenceBand(std::span<const double> XValues, double Percent) {
  return SurfaceBand(*engine_, XValues, Percent, detail::BandKind::Confidence);
}

double MultipleNonlinearRegression::PredictionBand(std::span<const double> XValues, double Percent) {
  return SurfaceBand(*engine_, XValues, Percent, detail::BandKind::Prediction);
}

}  // namespace tessarix
