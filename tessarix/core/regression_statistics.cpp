// The goodness-of-fit values of a run. Their computation also decides
// whether the run is kept: any failure here rejects it.
#include <cmath>

#include "tessarix/core/internal/marquardt.hpp"
#include "tessarix/numerics/distributions.hpp"
#include "tessarix/platform/checked.hpp"

namespace tessarix::detail {

namespace {

// The running sums of the pass over the residuals.
struct ResidualSums {
  double residual = 0.0;
  double sse = 0.0;
  double sse_norm = 0.0;
  double dw_numerator = 0.0;
  double weighted_y = 0.0;
  double previous_e = 0.0;
};

// Adds observations first..first+count-1 (y and w one-based, the model's
// values f[0..count-1]) in their order, the sums held in registers for the
// block. The first observation of all has no predecessor for Durbin-Watson.
void AddResiduals(const double* f, const double* y, const double* w, std::int32_t first, std::int32_t count,
                  ResidualSums& sums) {
  double residual = sums.residual;
  double sse = sums.sse;
  double sse_norm = sums.sse_norm;
  double dw_numerator = sums.dw_numerator;
  double weighted_y = sums.weighted_y;
  double previous_e = sums.previous_e;
  for (std::int32_t r = 0; r < count; ++r) {
    const auto ui = static_cast<std::size_t>(first + r);
    const double e = y[ui] - f[r];
    residual = residual + e;
    sse = sse + e * e;
    sse_norm = sse_norm + w[ui] * (e * e);
    if (first + r >= 2) dw_numerator = dw_numerator + (e - previous_e) * (e - previous_e);
    weighted_y = weighted_y + y[ui] * w[ui];
    previous_e = e;
  }
  sums = {residual, sse, sse_norm, dw_numerator, weighted_y, previous_e};
}

}  // namespace

bool CalculateStatistics(RegressionCore& core, RunModel& model, std::int32_t n, std::int32_t fitted_count,
                         const double* known_values) {
  try {
    // One pass at the model's current values (or over the values the run
    // already has there). The residuals are plain, SSENorm and the mean of y
    // are weighted, Durbin-Watson is not.
    //
    // The sums run without a test per step: every step's result goes into
    // one of them, and a sum that has met a value that is not finite stays
    // so, so a step that would fault leaves a sum that is not finite, and any
    // fault here rejects the run in any case.
    MarquardtState& state = core.marquardt;
    const std::int32_t block = known_values != nullptr ? n : model.BlockRows();
    ResidualSums sums;
    for (std::int32_t first = 1; first <= n; first += block) {
      const std::int32_t count = block < n - first + 1 ? block : n - first + 1;
      const double* values = known_values != nullptr ? known_values + first : state.block_values.data();
      RowFailure failure;
      if (known_values == nullptr &&
          !model.EvaluateRows(first, count, nullptr, state.block_values.data(), nullptr, 0, failure)) {
        return false;
      }
      AddResiduals(values, core.y.data(), core.weights.data(), first, count, sums);
    }
    const double sse = sums.sse;
    const double sse_norm = sums.sse_norm;
    if (!std::isfinite(sums.residual) || !std::isfinite(sse) || !std::isfinite(sse_norm) ||
        !std::isfinite(sums.dw_numerator) || !std::isfinite(sums.weighted_y)) {
      return false;
    }
    const Num count = static_cast<double>(n);
    const Num ybar = Num(sums.weighted_y) / count;
    const Num residual_average = Num(sums.residual) / count;
    double sst_sum = 0.0;
    for (std::int32_t i = 1; i <= n; ++i) {
      const auto ui = static_cast<std::size_t>(i);
      const double d = core.y[ui] - ybar.value();
      sst_sum = sst_sum + core.weights[ui] * (d * d);
    }
    if (!std::isfinite(sst_sum)) return false;
    const Num sst = sst_sum;

    const std::int32_t dof_regression = fitted_count - 1 < 1 ? 1 : fitted_count - 1;
    const std::int32_t dof_error = n - fitted_count < 1 ? 1 : n - fitted_count;
    const std::int32_t dof_total = dof_error + dof_regression;
    const Num nu_regression = static_cast<double>(dof_regression);
    const Num nu_error = static_cast<double>(dof_error);

    const Num standard_error = sqrt(abs(Num(sse_norm) / nu_error));
    // A constant y makes SST zero, and this division rejects the run.
    const Num r = 1.0 - Num(sse_norm) / sst;
    const Num r_adjust = r - (nu_regression / nu_error) * (1.0 - r);
    const Num durbin_watson = sse == 0.0 ? Num(0.0) : Num(sums.dw_numerator) / sse;
    const Num msr = (sst - sse_norm) / nu_regression;
    const Num mse = Num(sse_norm) / nu_error;
    double prob_f = 0.0;
    if (mse.value() != 0.0) {
      // A fit worse than the mean gives a negative F, an x outside [0, 1]
      // that IncompleteBeta refuses, and so a rejected run.
      const Num f_value = msr / mse;
      prob_f = IncompleteBeta((nu_error / 2.0).value(), (nu_regression / 2.0).value(),
                              (nu_error / (nu_error + nu_regression * f_value)).value());
    }

    RegressionStatistics& s = core.statistics;
    s.residual_sum = sums.residual;
    s.residual_average = residual_average.value();
    s.sse = sse;
    s.sse_norm = sse_norm;
    s.sst = sst.value();
    s.fitted_count = fitted_count;
    s.dof_regression = dof_regression;
    s.dof_error = dof_error;
    s.dof_total = dof_total;
    s.standard_error = standard_error.value();
    s.r2 = r.value() < 0.0 ? 0.0 : r.value();
    s.r2_adjust = r_adjust.value() < 0.0 ? 0.0 : r_adjust.value();
    s.durbin_watson = durbin_watson.value();
    s.prob_f = prob_f;
    return true;
  } catch (...) {
    return false;
  }
}

}  // namespace tessarix::detail
