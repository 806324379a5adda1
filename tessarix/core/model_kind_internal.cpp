// Pre-defined models: the catalogue's formula, analytic derivatives and
// least-squares starting values, selected by the model's evaluation code.
//
// This is the seam of the catalogue of pre-defined models: it fills these
// three functions from ModelState (the evaluation code and the estimate term
// count that DefineInternalModel stores there). Until it does, no pre-defined
// model can be defined (only DefineInternalModel sets the kind
// tsxModelInternal together with the valid flag), so they are never reached
// with a valid model.
#include "tessarix/core/internal/nonlinear_regression_impl.hpp"

namespace tessarix::detail {

bool EvaluateInternalModel(NonlinearRegressionImpl& /*r*/, double /*x*/, double& /*y*/) { return false; }

bool InternalModelDerivatives(NonlinearRegressionImpl& /*r*/, double /*x*/, double* /*dyda*/) { return false; }

bool ObtainInternalEstimates(NonlinearRegressionImpl& /*r*/) { return false; }

}  // namespace tessarix::detail
