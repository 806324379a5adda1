// The Marquardt step and the pass over the data that builds its normal
// equations. The pass is the hot path of a fit: it allocates nothing, and
// every arithmetic step is checked, so that an overflow ends the run instead
// of spreading a NaN. A block of rows is first added without a test per step
// and the sums looked at once; only a block where a step failed runs through
// the checked loop, which raises the fault at its step.
#include "tessarix/core/internal/marquardt.hpp"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string>

#include "tessarix/foundation/fault.hpp"
#include "tessarix/numerics/internal_failure.hpp"
#include "tessarix/numerics/linear_algebra.hpp"
#include "tessarix/platform/checked.hpp"
#include "tessarix/platform/float_flags.hpp"  // AllFinite
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

// Shorter blocks (a model evaluated point by point hands over one row at a
// time) go through the checked loop: the flag tests would cost more than the
// tests per step they save.
constexpr std::int32_t kFewestUncheckedRows = 16;

// Where the rows of a block go and what they are added to.
struct BlockRowsIn {
  const double* y;
  const double* weights;
  double* predicted;
  double* residuals;
  std::int32_t first;  // the observation of row 0
  std::int32_t rows;
  const double* values;
  const double* derivatives;
  std::int32_t stride;
  const std::int32_t* fitted;  // the parameter of each fitted index, from 0
  std::int32_t fitted_count;
};

// Adds the rows to `sums` (the triangle row by row, the gradient, the merit)
// with the steps of the checked loop below in the same order, without a test
// per step. Every step's result is added into a sum, directly or through a
// product (a value that is not finite times a zero is a NaN), and a sum that
// has met a value that is not finite stays so: a step that the checked loop
// refuses leaves a sum that is not finite, and nothing else does.
//
// kFitted > 0 fixes the number of fitted parameters: every loop is unrolled
// and each sum is a variable of its own that stays in a register (an array
// indexed in a loop was kept in memory, each row's additions then waiting on
// a store and a load). 0 reads the number from `in` and adds into `sums`.
template <std::int32_t kFitted>
[[gnu::noinline]] void AddRowsUnchecked(const BlockRowsIn& in, double* sums) {
  constexpr std::int32_t kTriangle = kFitted * (kFitted + 1) / 2;
  constexpr std::int32_t kSums = kTriangle + kFitted + 1;
  double s[kSums];
  std::int32_t fit[kFitted];
#pragma GCC unroll 16
  for (std::int32_t i = 0; i < kSums; ++i) s[i] = sums[i];
#pragma GCC unroll 16
  for (std::int32_t j = 0; j < kFitted; ++j) fit[j] = in.fitted[j];
  for (std::int32_t r = 0; r < in.rows; ++r) {
    const auto ui = static_cast<std::size_t>(in.first + r);
    const double y_model = in.values[r];
    const double* const dyda = in.derivatives + static_cast<std::ptrdiff_t>(r) * in.stride;
    const double dy = in.y[ui] - y_model;
    in.predicted[ui] = y_model;
    in.residuals[ui] = dy;
    const double w = in.weights[ui];
    double d[kFitted];
#pragma GCC unroll 16
    for (std::int32_t j = 0; j < kFitted; ++j) d[j] = dyda[fit[j]];
#pragma GCC unroll 16
    for (std::int32_t j = 0; j < kFitted; ++j) {
      const double wt = d[j] * w;
#pragma GCC unroll 16
      for (std::int32_t k = 0; k <= j; ++k) s[j * (j + 1) / 2 + k] = s[j * (j + 1) / 2 + k] + wt * d[k];
      s[kTriangle + j] = s[kTriangle + j] + dy * wt;
    }
    s[kTriangle + kFitted] = s[kTriangle + kFitted] + dy * dy * w;
  }
#pragma GCC unroll 16
  for (std::int32_t i = 0; i < kSums; ++i) sums[i] = s[i];
}

template <>
[[gnu::noinline]] void AddRowsUnchecked<0>(const BlockRowsIn& in, double* s) {
  const std::int32_t f = in.fitted_count;
  double* const gradient = s + f * (f + 1) / 2;
  for (std::int32_t r = 0; r < in.rows; ++r) {
    const auto ui = static_cast<std::size_t>(in.first + r);
    const double y_model = in.values[r];
    const double* const dyda = in.derivatives + static_cast<std::ptrdiff_t>(r) * in.stride;
    const double dy = in.y[ui] - y_model;
    in.predicted[ui] = y_model;
    in.residuals[ui] = dy;
    const double w = in.weights[ui];
    std::int32_t at = 0;
    for (std::int32_t j = 0; j < f; ++j) {
      const double wt = dyda[in.fitted[j]] * w;
      for (std::int32_t k = 0; k <= j; ++k, ++at) s[at] = s[at] + wt * dyda[in.fitted[k]];
      gradient[j] = gradient[j] + dy * wt;
    }
    gradient[f] = gradient[f] + dy * dy * w;
  }
}

void AddRowsUnchecked(const BlockRowsIn& in, double* sums) {
  switch (in.fitted_count) {
    case 1:
      return AddRowsUnchecked<1>(in, sums);
    case 2:
      return AddRowsUnchecked<2>(in, sums);
    case 3:
      return AddRowsUnchecked<3>(in, sums);
    case 4:
      return AddRowsUnchecked<4>(in, sums);
    default:
      return AddRowsUnchecked<0>(in, sums);
  }
}

// The rows of a block added without a test per step; false, with the normal
// equations untouched, when a step failed, and the checked loop then adds
// them again to raise its fault at its step (the outputs it writes before are
// those written here).
bool AddRowsFast(const BlockRowsIn& in, std::vector<double>& sums, Matrix1& matrix, Vector1& gradient, double& chisq) {
  const std::int32_t f = in.fitted_count;
  const auto size = static_cast<std::size_t>(f * (f + 1) / 2 + f + 1);
  if (sums.size() < size) sums.resize(size);
  std::size_t at = 0;
  for (std::int32_t j = 1; j <= f; ++j) {
    for (std::int32_t k = 1; k <= j; ++k) sums[at++] = matrix(j, k);
  }
  for (std::int32_t j = 1; j <= f; ++j) sums[at++] = gradient[static_cast<std::size_t>(j)];
  sums[at] = chisq;
  AddRowsUnchecked(in, sums.data());
  if (!AllFinite(sums.data(), static_cast<long>(size))) return false;
  at = 0;
  for (std::int32_t j = 1; j <= f; ++j) {
    for (std::int32_t k = 1; k <= j; ++k) matrix(j, k) = sums[at++];
  }
  for (std::int32_t j = 1; j <= f; ++j) gradient[static_cast<std::size_t>(j)] = sums[at++];
  chisq = sums[at];
  return true;
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
  std::array<std::int32_t, kMaxFittedParameters> fitted_parameters{};
  for (std::int32_t l = 1, j = 0; l <= parameter_count; ++l) {
    if (fit[l] != 0) fitted_parameters[static_cast<std::size_t>(j++)] = l;
  }
  const std::int32_t block = model.BlockRows();
  const std::int32_t stride = state.block_stride;
  for (std::int32_t first = 1; first <= n; first += block) {
    const std::int32_t count = block < n - first + 1 ? block : n - first + 1;
    RowFailure failure;
    const bool evaluated = model.EvaluateRows(first, count, fit, state.block_values.data(),
                                              state.block_derivatives.data(), stride, failure);
    const std::int32_t complete = evaluated ? count : failure.row - first;
    const BlockRowsIn rows{core.y.data(),
                           core.weights.data(),
                           core.predicted.data(),
                           core.residuals.data(),
                           first,
                           complete,
                           state.block_values.data(),
                           state.block_derivatives.data(),
                           stride,
                           fitted_parameters.data(),
                           fitted};
    const bool added = complete >= kFewestUncheckedRows && AddRowsFast(rows, state.block_sums, matrix, gradient, chisq);
    for (std::int32_t r = 0; r < complete && !added; ++r) {
      const auto ui = static_cast<std::size_t>(first + r);
      const double y_model = state.block_values[static_cast<std::size_t>(r)];
      const double* const dyda = state.block_derivatives.data() + static_cast<std::ptrdiff_t>(r) * stride;
      const double dy = Checked(core.y[ui] - y_model);
      core.predicted[ui] = y_model;
      core.residuals[ui] = dy;
      const double w = core.weights[ui];
      for (std::int32_t j = 1; j <= fitted; ++j) {
        const double wt = Checked(dyda[fitted_parameters[static_cast<std::size_t>(j - 1)]] * w);
        double* const triangle_row = &matrix(j, 0);
        for (std::int32_t k = 1; k <= j; ++k) {
          triangle_row[k] =
              Checked(triangle_row[k] + Checked(wt * dyda[fitted_parameters[static_cast<std::size_t>(k - 1)]]));
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
