// User models: the model language's compiled program, run for one x.
//
// This is the seam of the model language: it fills EvaluateUserModel with the
// evaluation of the compiled program stored in ModelState, with the
// parameter values r.core.parameter_values (one-based) and the data words
// r.core.data_statistics. Until it does, no user model can be defined (only
// DefineUserModel... sets the kind tsxModelUser together with the valid
// flag), so this function is never reached with a valid model.
#include "tessarix/core/internal/nonlinear_regression_impl.hpp"

namespace tessarix::detail {

bool EvaluateUserModel(NonlinearRegressionImpl& /*r*/, double /*x*/, double& /*y*/) { return false; }

}  // namespace tessarix::detail
