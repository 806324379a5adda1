// Compiles a model text onto a NonlinearRegression: the step that user models
// and the catalogue's pre-defined models share.
#pragma once

#include "tessarix/foundation/enums.hpp"
#include "tessarix/language/model_definition.hpp"

namespace tessarix::detail {

struct NonlinearRegressionImpl;

// Prepares the definition (English and local forms, sub-definitions), compiles
// it, and on success installs its parameters (estimate 1.0, in sorted order)
// and marks the model valid. The definition errors reach the caller as they
// are; any other failure leaves no model and raises 10001 with the failure's
// description, which is also stored as the last error text. The caller has
// reset the object and set the model kind.
void InstallTextModel(NonlinearRegressionImpl& r, const tessarix::ModelDefinition& definition, InputLocaleEnum locale);

}  // namespace tessarix::detail
