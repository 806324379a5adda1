// User models: the model language's compiled program, run for one x with the
// parameter values r.core.parameter_values (one-based) and the data words
// r.core.data_statistics. Their parameter derivatives are the numerical ones
// of model_dispatch.cpp, through this same evaluation.
#include "tessarix/core/internal/nonlinear_regression_impl.hpp"

namespace tessarix::detail {

bool EvaluateUserModel(NonlinearRegressionImpl& r, double x, double& y) {
  return r.model.text.Evaluate(r.core.parameter_values.data(), x, r.core.data_statistics, y);
}

}  // namespace tessarix::detail
