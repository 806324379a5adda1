// The trust-region Levenberg-Marquardt iteration, the opt-in alternative to
// the Marquardt step (SetSolverMethod(tsxSolverTrustRegion)). It follows the
// design of MINPACK's lmder (Moré 1978): the variables scaled by the column
// norms of the Jacobian, each step from a QR factorisation with column
// pivoting of the weighted Jacobian, the Levenberg-Marquardt parameter chosen
// for a trust radius, the radius adapted by the ratio of actual to predicted
// reduction, and the tests on relative reduction, step and gradient.
// Ends are told in the log and by ConvergenceReason.
//
// What it does differently from the Marquardt iteration, on purpose:
//   * it always holds the best point found, and ends there;
//   * a singular or rank-deficient Jacobian gives a least-squares step, and a
//     step that cannot be computed or evaluated is a rejected step (the
//     radius shrinks), not the end of the run;
//   * numerical parameter derivatives start from a step of at least 3.684e-6
//     times the parameter's typical size (its initial estimate's magnitude,
//     1 for an estimate of 0), so that a parameter at or near 0 gets a real
//     derivative;
//   * an accepted point where the derivatives fail, or where a parameter no
//     longer acts on the model at all, is given up for the point before it;
//   * each trial costs one pass over the data for the values, and each
//     accepted point one pass for the derivatives, folded block by block into
//     the triangular factor: the Jacobian is never held whole.
//
// The merit's reduction is tested at the precision of a Double (the actual
// reduction at that times the root of the number of observations, the
// rounding of a sum over them) rather than at RegressionTolerance, which
// instead bounds the change of the parameters: a reduction test at 1E-12
// stops large-residual problems (NIST's ENSO) with only five correct digits
// in their smallest parameters.
#pragma once

#include <cstdint>
#include <vector>

#include "tessarix/core/internal/regression_core.hpp"
#include "tessarix/foundation/enums.hpp"
#include "tessarix/numerics/one_based.hpp"

namespace tessarix::detail {

// The tests that end the iteration, besides the merit reaching 0 and the
// iteration limit: the predicted relative reduction of the merit at the
// precision of a Double and the actual one at that times sqrt(n)
// (reduction); the trust radius below RegressionTolerance percent of the
// scaled parameters (step); the largest cosine between the residuals and a
// column of the Jacobian below this (gradient).
inline constexpr double kTrustGradientTolerance = 1e-14;
// The first radius: this multiple of the scaled initial parameters (or of 1
// when they are all 0).
inline constexpr double kTrustInitialRadiusFactor = 100.0;

struct TrustRegionOutcome {
  ConvergenceReasonEnum reason = tsxNotRun;
  bool aborted = false;                // the host's IterationComplete asked to stop
  std::int32_t iterations = 0;         // trial steps
  std::int32_t unchanged = 0;          // rejected trial steps since the last accepted one
  double chisq = 0.0;                  // the merit at the best point
  std::int64_t value_passes = 0;       // passes over the data for model values
  std::int64_t derivative_passes = 0;  // passes for derivatives (values included)
};

// Runs the iteration from the parameter values `a` (1..parameter_count, the
// fitted ones marked in `ia`), writing its end to the log. Afterwards `a`
// holds the best point, the model's current values are that point, the
// predicted values and residuals of the core are those there, and `covar`
// holds the unscaled covariance (J^T W J)^-1 at that point, with zero rows
// and columns for fixed parameters.
//
// Raises InternalFailure 5000 with the reason in core.last_error when the
// model cannot be evaluated or differentiated at the initial values, or when
// the covariance cannot be formed at the best point (a zero column in the
// Jacobian there). Faults of the host's handlers propagate.
TrustRegionOutcome RunTrustRegion(RegressionCore& core, RunModel& model, std::int32_t n, Vector1& a,
                                  const std::vector<std::int32_t>& ia, std::int32_t parameter_count, Matrix1& covar);

}  // namespace tessarix::detail
