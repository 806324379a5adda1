// The solution driver: from prepared observations to a solved (or failed)
// model, writing the log as it goes. A failed run is not an error: the
// driver's handler records why and returns normally.
#include <cmath>
#include <vector>

#include "tessarix/core/internal/marquardt.hpp"
#include "tessarix/core/internal/parameter_access.hpp"
#include "tessarix/core/internal/trust_region.hpp"
#include "tessarix/core/regression_parameters.hpp"
#include "tessarix/foundation/global_constants.hpp"
#include "tessarix/numerics/distributions.hpp"
#include "tessarix/platform/checked.hpp"
#include "tessarix/platform/clock.hpp"
#include "tessarix/platform/number_text.hpp"
#include "tessarix/platform/rounding.hpp"

namespace tessarix::detail {

namespace {

void AppendOpening(RegressionCore& core, RunModel& model) {
  core.AppendLine("Tessarix version " + IntegerText(GlobalConstants::tsxMajorVersion()) + "." +
                  IntegerText(GlobalConstants::tsxMinorVersion()) + "." + IntegerText(GlobalConstants::tsxRevision()) +
                  " (" + std::string(model.ClassName()) + " object)");
  core.AppendLine("Date/Time: " + CurrentDateTimeText());
  switch (model.Type()) {
    case tsxModelUser:
      core.AppendLine("Beginning solution for user defined model " + model.ModelText());
      break;
    case tsxModelInternal:
      core.AppendLine("Beginning solution for pre-defined model " + model.ModelText());
      break;
    case tsxModelExternal:
      core.AppendLine("Beginning solution for external model");
      break;
  }
}

// How an iteration ended: its count of iterations (trial steps), of
// unchanged ones at the end, and the reason.
struct IterationEnd {
  std::int32_t iterations = 0;
  std::int32_t unchanged = 0;
  ConvergenceReasonEnum reason = tsxFailed;
};

// The reason of a Marquardt run's end, in the order its log tells it. An abort
// by the host stops the run before convergence, as the limit does.
ConvergenceReasonEnum EndReason(bool converged, bool at_limit, bool aborted) {
  if (converged) return tsxConvergedReduction;
  if (at_limit) return tsxIterationLimit;
  if (!aborted) return tsxStalled;
  return tsxIterationLimit;
}

// Values, standard errors and t probabilities of the parameters of a run the
// statistics accepted. `a` are the best values (not the model's current
// values, which may be those of a last rejected trial).
void PublishParameters(RegressionCore& core, const Vector1& a, const Matrix1& covar, std::int32_t count) {
  tessarix::RegressionParameters& parameters = core.Parameters();
  const double s = core.statistics.standard_error;
  const std::int32_t nu = core.statistics.dof_error;
  ParameterAccess::SetSolved(parameters, true);
  ParameterAccess::SetCovarianceMatrix(parameters, covar, count);
  for (std::int32_t i = 1; i <= count; ++i) {
    RegressionParameter& p = ParameterAccess::At(parameters, i);
    const double value = a[static_cast<std::size_t>(i)];
    const Num se = sqrt(abs(Num(covar(i, i)))) * s;
    double prob_t = 0.0;
    if (se.value() != 0.0) {
      const Num t = Num(value) / se;
      const Num dof = static_cast<double>(nu);
      prob_t = IncompleteBeta((dof / 2.0).value(), 0.5, (dof / (t * t + dof)).value());
    }
    ParameterAccess::SetValue(p, value);
    ParameterAccess::SetVariance(p, covar(i, i));
    ParameterAccess::SetStandardError(p, se.value());
    ParameterAccess::SetProbT(p, prob_t);
    ParameterAccess::SetRegressionStandardError(p, s);
    ParameterAccess::SetDofError(p, nu);
  }
}

// The Marquardt iterations from the estimates in `a` to the end of the loop,
// the covariance in `covar` and the log's line of how the loop ended.
IterationEnd MarquardtIterations(RegressionCore& core, RunModel& model, std::int32_t n, Vector1& a,
                                 const std::vector<std::int32_t>& ia, std::int32_t count, Matrix1& covar,
                                 Matrix1& alpha, double& chisq) {
  double lambda = -1.0;
  MarquardtStep(core, model, n, a, ia, count, covar, alpha, chisq, lambda);

  std::int16_t unchanged = 0;
  double ochisq = chisq;
  bool converged = false;
  bool abort = false;
  std::int16_t iteration = 1;
  for (;;) {
    if (unchanged > core.max_unchanged_iterations || iteration > core.max_iterations) break;
    MarquardtStep(core, model, n, a, ia, count, covar, alpha, chisq, lambda);
    model.IterationComplete(iteration, chisq, abort);
    if (chisq == 0.0) {
      converged = true;
      break;
    }
    if (ochisq == chisq) {
      // A rejected step restores the merit exactly.
      IncrementCounter16(unchanged);
    } else {
      unchanged = 0;
      const Num change = Num(100.0) * (Num(ochisq) - chisq) / chisq;
      if (change < core.regression_tolerance) {
        converged = true;
        break;
      }
      ochisq = chisq;
    }
    if (abort) {
      core.AppendLine("Solution process aborted");
      break;
    }
    IncrementCounter16(iteration);
  }

  lambda = 0.0;
  MarquardtStep(core, model, n, a, ia, count, covar, alpha, chisq, lambda);

  const std::string tolerance = NumberText(core.regression_tolerance);
  if (converged) {
    core.AppendLine("Solution converged to residual change less than " + tolerance + "%");
  } else if (iteration >= core.max_iterations) {
    core.AppendLine("Reached iteration limit of " + IntegerText(core.max_iterations));
    core.AppendLine("Solution failed to converge to residual change of " + tolerance + "%");
  } else if (!abort) {
    core.AppendLine("Merit Function unchanged during last " + IntegerText(core.max_unchanged_iterations) + " of " +
                    IntegerText(iteration) + " iterations");
    core.AppendLine("Solution converged to residual change of 0.0%");
  }
  return {iteration, unchanged, EndReason(converged, iteration >= core.max_iterations, abort)};
}

}  // namespace

void SolveModel(RegressionCore& core, RunModel& model, std::int32_t n) {
  Vector1 a;
  std::vector<std::int32_t> ia;
  Matrix1 covar;
  Matrix1 alpha;
  double chisq = 0.0;
  core.convergence_reason = tsxFailed;
  try {
    AppendOpening(core, model);

    tessarix::RegressionParameters& parameters = core.Parameters();
    const std::int32_t count = parameters.Count();
    // Every parameter, fixed ones too, must leave a degree of freedom.
    if (count >= n) {
      core.AppendLine("Solution failed: not enough data points");
      core.AppendLine("");
      core.last_error = "Solution failed: not enough data points";
      return;
    }

    // The model reads its values from here; a definition sizes it, and the
    // run makes sure of it before writing into it.
    if (core.parameter_values.size() != static_cast<std::size_t>(count) + 1) {
      core.parameter_values = MakeVector1(count);
    }
    a = MakeVector1(count);
    ia.assign(static_cast<std::size_t>(count) + 1, 0);
    covar.Resize(count, count);
    alpha.Resize(count, count);
    const auto block = static_cast<std::size_t>(model.BlockRows());
    core.marquardt.block_stride = count + 1;
    core.marquardt.block_values.assign(block, 0.0);
    core.marquardt.block_derivatives.assign(block * (static_cast<std::size_t>(count) + 1), 0.0);

    core.AppendLine("Obtaining initial estimates");
    model.ComputeDataStatistics();
    if (model.Type() == tsxModelInternal && ParameterAccess::AllEstimatesDefault(parameters)) {
      core.AppendLine(model.ObtainLeastSquaresEstimates() ? "Least Squares estimates successful"
                                                          : "Least Squares estimates failed, using defaults");
    } else {
      core.AppendLine("Using user defined estimates");
    }

    core.AppendLine("Initial parameter estimates:");
    std::int16_t fitted = 0;
    for (std::int32_t l = 1; l <= count; ++l) {
      const RegressionParameter& p = ParameterAccess::At(parameters, l);
      a[static_cast<std::size_t>(l)] = p.InitialEstimate();
      ia[static_cast<std::size_t>(l)] = p.InitialEstimateType();
      if (ia[static_cast<std::size_t>(l)] != 0) IncrementCounter16(fitted);
      core.AppendLine(p.Name() + " = " + NumberText(p.InitialEstimate()) +
                      (ia[static_cast<std::size_t>(l)] != 0 ? " (fitted)" : " (constant)"));
    }

    const bool trust_region = core.solver_method == tsxSolverTrustRegion;
    core.AppendLine(trust_region ? "Beginning non-linear iterations (trust-region Levenberg-Marquardt)"
                                 : "Beginning non-linear iterations");
    core.last_error.clear();
    IterationEnd end;
    if (trust_region) {
      const TrustRegionOutcome outcome = RunTrustRegion(core, model, n, a, ia, count, covar);
      end = {outcome.iterations, outcome.unchanged, outcome.reason};
      chisq = outcome.chisq;
    } else {
      end = MarquardtIterations(core, model, n, a, ia, count, covar, alpha, chisq);
    }
    core.AppendLine("Final Merit Function = " + NumberText(chisq));
    core.AppendLine("Total number of non-linear iterations = " + IntegerText(end.iterations));

    // The trust region ends with the model's values at its best point in the
    // predicted column: the statistics read them there rather than ask the
    // model (and a host's events) for them once more.
    if (!CalculateStatistics(core, model, n, fitted, trust_region ? core.predicted.data() : nullptr)) {
      core.num_observations = 0;
      core.AppendLine("Solution rejected based on poor goodness of fit statistics.");
      core.last_error = "Solution rejected based on poor goodness of fit statistics";
      AppendParameterValues(core, a, true);
      core.AppendLine("Solution failed");
      core.AppendLine("");
      return;
    }

    PublishParameters(core, a, covar, count);
    core.solved = true;
    core.num_iterations = end.iterations;
    core.num_unchanged_iterations = end.unchanged;
    core.convergence_reason = end.reason;
    core.num_observations = n;
    core.AppendLine("Residual Sum of Squares = " + NumberText(core.statistics.sse));
    AppendParameterValues(core, a, false);
    core.AppendLine("Solution complete");
    core.AppendLine("");
    core.last_error.clear();
  } catch (...) {
    // Whatever ended the run (a failed first evaluation, failed derivatives,
    // a singular matrix, a fault in the driver's arithmetic, a counter past
    // 32767, an exception from an event handler) ends it here.
    core.num_observations = 0;
    core.solved = false;
    ParameterAccess::SetSolved(core.Parameters(), false);
    if (!core.last_error.empty()) {
      // The evaluation texts carry their own line end; the others stand as they are.
      core.solution_log += core.last_error;
    } else {
      core.last_error = "Solution failed";
    }
    AppendParameterValues(core, a, true);
    core.AppendLine("Solution failed");
    core.AppendLine("");
  }
}

}  // namespace tessarix::detail
