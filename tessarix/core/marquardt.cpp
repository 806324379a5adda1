// The Marquardt step and the pass over the data that builds its normal
// equations. The pass is the hot path of a fit: it allocates nothing, and
// every arithmetic step is checked, so that an overflow ends the run instead
// of spreading a NaN.
#include "tessarix/core/internal/marquardt.hpp"

#include <string>

#include "tessarix/foundation/fault.hpp"
#include "tessarix/numerics/internal_failure.hpp"
#include "tessarix/numerics/linear_algebra.hpp"
#include "tessarix/platform/checked.hpp"
#include "tessarix/platform/rounding.hpp"

namespace tessarix::detail {

namespace {

// The fixed vectors of the step hold 100 parameters.
void CheckFixedIndex(std::int32_t index) {
  if (index > kMaxFittedParameters) RaiseFault(FaultKind::SubscriptOutOfRange);
}

std::int16_t CountFitted(const std::vector<std::int32_t>& ia, std::int32_t parameter_count) {
  std::int16_t fitted = 0;
  for (std::int32_t l = 1; l <= parameter_count; ++l) {
    if (ia[static_cast<std::size_t>(l)] != 0) IncrementCounter16(fitted);
  }
  return fitted;
}

}  // namespace

void BuildNormalEquations(RegressionCore& core, RunModel& model, std::int32_t n, const double* values,
                          const std::vector<std::int32_t>& ia, std::int32_t parameter_count, Matrix1& matrix,
                          Vector1& gradient, double& chisq, bool& failed) {
  failed = false;
  const std::int16_t fitted = CountFitted(ia, parameter_count);
  CheckFixedIndex(fitted);
  for (std::int32_t j = 1; j <= fitted; ++j) {
    for (std::int32_t k = 1; k <= j; ++k) matrix(j, k) = 0.0;
    gradient[static_cast<std::size_t>(j)] = 0.0;
  }
  chisq = 0.0;
  for (std::int32_t l = 1; l <= parameter_count; ++l) core.parameter_values[static_cast<std::size_t>(l)] = values[l];

  const std::int32_t* const fit = ia.data();
  MarquardtState& state = core.marquardt;
  const std::int32_t block = model.BlockRows();
  const std::int32_t stride = state.block_stride;
  for (std::int32_t first = 1; first <= n; first += block) {
    const std::int32_t count = block < n - first + 1 ? block : n - first + 1;
    RowFailure failure;
    const bool evaluated = model.EvaluateRows(first, count, fit, state.block_values.data(),
                                              state.block_derivatives.data(), stride, failure);
    const std::int32_t complete = evaluated ? count : failure.row - first;
    for (std::int32_t r = 0; r < complete; ++r) {
      const auto ui = static_cast<std::size_t>(first + r);
      const double y_model = state.block_values[static_cast<std::size_t>(r)];
      const double* const dyda = state.block_derivatives.data() + static_cast<std::ptrdiff_t>(r) * stride;
      const double dy = Checked(core.y[ui] - y_model);
      core.predicted[ui] = y_model;
      core.residuals[ui] = dy;
      const double w = core.weights[ui];
      std::int32_t j = 0;
      for (std::int32_t l = 1; l <= parameter_count; ++l) {
        if (fit[l] == 0) continue;
        ++j;
        const double wt = Checked(dyda[l] * w);
        std::int32_t k = 0;
        for (std::int32_t m = 1; m <= l; ++m) {
          if (fit[m] == 0) continue;
          ++k;
          matrix(j, k) = Checked(matrix(j, k) + Checked(wt * dyda[m]));
        }
        gradient[static_cast<std::size_t>(j)] = Checked(gradient[static_cast<std::size_t>(j)] + Checked(dy * wt));
      }
      chisq = Checked(chisq + Checked(Checked(dy * dy) * w));
    }
    if (!evaluated) {
      if (!failure.in_derivatives) {
        core.last_error =
            "Error evaluating the function at X = " + model.PointText(failure.row) + std::string(kLineEnd);
        failed = true;
        return;
      }
      core.last_error =
          "Error taking parameter derivatives at X = " + model.PointText(failure.row) + std::string(kLineEnd);
      RaiseInternalFailure();
    }
  }
  for (std::int32_t j = 2; j <= fitted; ++j) {
    for (std::int32_t k = 1; k < j; ++k) matrix(k, j) = matrix(j, k);
  }
}

void MarquardtStep(RegressionCore& core, RunModel& model, std::int32_t n, Vector1& a,
                   const std::vector<std::int32_t>& ia, std::int32_t parameter_count, Matrix1& covar, Matrix1& alpha,
                   double& chisq, double& lambda) {
  MarquardtState& s = core.marquardt;
  bool failed = false;
  if (lambda < 0.0) {
    s.fitted_count = CountFitted(ia, parameter_count);
    lambda = 0.001;
    BuildNormalEquations(core, model, n, a.data(), ia, parameter_count, alpha, s.beta, chisq, failed);
    if (failed) RaiseInternalFailure();
    s.old_merit = chisq;
    CheckFixedIndex(parameter_count);
    for (std::int32_t j = 1; j <= parameter_count; ++j)
      s.atry[static_cast<std::size_t>(j)] = a[static_cast<std::size_t>(j)];
  }
  const std::int32_t fitted = s.fitted_count;
  for (std::int32_t j = 1; j <= fitted; ++j) {
    for (std::int32_t k = 1; k <= fitted; ++k) covar(j, k) = alpha(j, k);
    covar(j, j) = Checked(alpha(j, j) * Checked(1.0 + lambda));
    s.da[static_cast<std::size_t>(j)] = s.beta[static_cast<std::size_t>(j)];
  }
  GaussJordanSolve(covar, fitted, s.da, 1, core.last_error);
  if (lambda == 0.0) {
    ExpandCovariance(covar, parameter_count, ia, fitted);
    return;
  }
  std::int32_t j = 0;
  for (std::int32_t l = 1; l <= parameter_count; ++l) {
    if (ia[static_cast<std::size_t>(l)] == 0) continue;
    ++j;
    s.atry[static_cast<std::size_t>(l)] = Checked(a[static_cast<std::size_t>(l)] + s.da[static_cast<std::size_t>(j)]);
  }
  BuildNormalEquations(core, model, n, s.atry.data(), ia, parameter_count, covar, s.da, chisq, failed);
  if (failed) {
    lambda = Checked(lambda * 10.0);
    chisq = s.old_merit;
    return;
  }
  if (chisq < s.old_merit) {
    lambda = Checked(lambda * 0.1);
    s.old_merit = chisq;
    for (std::int32_t jj = 1; jj <= fitted; ++jj) {
      for (std::int32_t k = 1; k <= fitted; ++k) alpha(jj, k) = covar(jj, k);
      s.beta[static_cast<std::size_t>(jj)] = s.da[static_cast<std::size_t>(jj)];
    }
    for (std::int32_t l = 1; l <= parameter_count; ++l)
      a[static_cast<std::size_t>(l)] = s.atry[static_cast<std::size_t>(l)];
  } else {
    lambda = Checked(lambda * 10.0);
    chisq = s.old_merit;
  }
}

}  // namespace tessarix::detail
