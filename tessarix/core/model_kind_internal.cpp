// Pre-defined models: the catalogue's formula, analytic derivatives and
// least-squares starting values, selected by the evaluation code that
// DefineInternalModel stores in ModelState.
#include <vector>

#include "tessarix/core/internal/nonlinear_regression_impl.hpp"
#include "tessarix/core/internal/parameter_access.hpp"
#include "tessarix/models/least_squares_estimates.hpp"
#include "tessarix/models/predefined_formulas.hpp"

namespace tessarix::detail {

bool EvaluateInternalModel(NonlinearRegressionImpl& r, double x, double& y) {
  return EvaluatePredefined(r.model.evaluation_code, r.core.parameter_values.data(), x, y);
}

// Analytic for every parameter: the flags of the fixed parameters are not
// looked at, a fixed parameter's derivative is simply not used.
bool InternalModelDerivatives(NonlinearRegressionImpl& r, double x, double* dyda) {
  return PredefinedDerivatives(r.model.evaluation_code, r.core.parameter_values.data(), x, dyda);
}

// The estimates of the run's observations, written into the parameters as
// library estimates (the caller-set mark stays clear). The chain writes
// nothing on a failure, except for the models with more estimator terms than
// parameters: their first coefficients stand although the chain failed.
bool ObtainInternalEstimates(NonlinearRegressionImpl& r) {
  tessarix::RegressionParameters& parameters = r.core.Parameters();
  const std::int32_t count = parameters.Count();
  std::vector<double> estimates(static_cast<std::size_t>(count));
  for (std::int32_t l = 1; l <= count; ++l) {
    estimates[static_cast<std::size_t>(l - 1)] = ParameterAccess::At(parameters, l).InitialEstimate();
  }
  const auto n = static_cast<std::int32_t>(r.x.size()) - 1;
  const bool ok = ObtainLeastSquaresEstimates(r.model.evaluation_code, r.model.estimate_term_count, r.x.data(),
                                              r.core.y.data(), r.core.weights.data(), n, estimates);
  for (std::int32_t l = 1; l <= count; ++l) {
    ParameterAccess::SetDefaultEstimate(ParameterAccess::At(parameters, l), estimates[static_cast<std::size_t>(l - 1)]);
  }
  return ok;
}

}  // namespace tessarix::detail
