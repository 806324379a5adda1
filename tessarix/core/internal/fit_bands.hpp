// The bands of a solved fit, computed once for both regression classes on the
// model at a point (one x, or x1..xm).
#pragma once

#include <span>
#include <vector>

#include "tessarix/core/internal/regression_engine.hpp"

namespace tessarix::detail {

enum class BandKind {
  Confidence,  // of the fitted curve: t s sqrt(g' C g)
  Prediction,  // of one new observation: t s sqrt(1 + g' C g)
};

// The half-width of the band at `point` (the engine's number of values) at
// `percent` percent. Raises 10023, then 10029, 10028 for a level outside
// (0, 100), 10030 where the model or its derivatives fail at the point, and
// 10001 for a fault of the arithmetic.
[[nodiscard]] double BandHalfWidth(RegressionEngine& engine, std::span<const double> point, double percent,
                                   BandKind kind);

// The covariance matrix of the fit as the parameters keep it: count x count,
// row-major, in model order. Raises 10029 unless solved.
[[nodiscard]] std::vector<double> FitCovariance(const RegressionEngine& engine);

}  // namespace tessarix::detail
