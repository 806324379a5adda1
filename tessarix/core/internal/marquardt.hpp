// The Levenberg-Marquardt iteration: one trial step per call, with
// Marquardt's multiplicative damping of the diagonal and fixed parameters
// kept out of the normal equations.
#pragma once

#include <cstdint>
#include <vector>

#include "tessarix/core/internal/regression_core.hpp"
#include "tessarix/numerics/one_based.hpp"

namespace tessarix::detail {

// One step. `a` holds the best values, `ia[l]` != 0 marks a fitted
// parameter (both 1..parameter_count). `lambda` < 0 starts the iteration
// (damping 0.001, merit at `a`); `lambda` == 0 ends it, leaving the full
// covariance matrix (unscaled, zero rows and columns for fixed parameters) in
// `covar` without a new evaluation. Otherwise the trial step is accepted when
// it lowers the merit (damping / 10) and rejected when it does not or the
// model fails at the trial values (damping * 10, `chisq` back to the best).
// A failed first evaluation, failed derivatives or a singular matrix raise
// InternalFailure 5000 with the reason in core.last_error.
void MarquardtStep(RegressionCore& core, RunModel& model, std::int32_t n, Vector1& a,
                   const std::vector<std::int32_t>& ia, std::int32_t parameter_count, Matrix1& covar, Matrix1& alpha,
                   double& chisq, double& lambda);

// One pass over the data at `values` (1..parameter_count): the normal
// equations of the fitted parameters into the matrix (fitted x fitted) and
// the gradient, the weighted merit into `chisq`, the predicted values and
// residuals into the core. The values become the model's current values. A
// failed evaluation sets `failed` and returns; failed derivatives raise 5000.
void BuildNormalEquations(RegressionCore& core, RunModel& model, std::int32_t n, const double* values,
                          const std::vector<std::int32_t>& ia, std::int32_t parameter_count, Matrix1& matrix,
                          Vector1& gradient, double& chisq, bool& failed);

// The goodness-of-fit values of the run at the model's current values into
// core.statistics; false when the model fails at an observation or any step
// faults (a constant y, a fit worse than the mean). `known_values` (1..n),
// when not null, are the model's values there already, and the model is not
// asked again.
[[nodiscard]] bool CalculateStatistics(RegressionCore& core, RunModel& model, std::int32_t n, std::int32_t fitted_count,
                                       const double* known_values = nullptr);

}  // namespace tessarix::detail
