// The public listing of the pre-defined models: what a host shows a user who
// picks a model by number (DefineInternalModel), in ID order.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tessarix/foundation/export.hpp"

namespace tessarix {

struct PredefinedModelInfo {
  std::int32_t ID = 0;
  // The definition text in English form, as ModelDefinition().Y() reads it
  // back after DefineInternalModel(ID).
  std::string Definition;
  // Empty for the models that have none.
  std::string Description;
  // The parameters of the model: a, b, c, ... in this order; past z (models
  // of 26 variables and more) aa, bb, ..., which RegressionParameters()
  // holds sorted as text (a, aa, b, bb, ...).
  std::int32_t NumParameters = 0;
  // The independent variables the model takes: x alone (1) for every model
  // of NonlinearRegression's catalogue; x1, x2, ... for a model of a
  // catalogue of several variables, which this same record describes.
  std::int32_t NumIndependentVariables = 1;
};

// Every model of NonlinearRegression's catalogue (IDs 1 to 298, one
// independent variable), in ID order: the IDs that its DefineInternalModel
// takes. The listing is made once from the catalogue itself and lives as long
// as the program.
TESSARIX_API const std::vector<PredefinedModelInfo>& PredefinedModels();

// Every model of MultipleNonlinearRegression's catalogue, in ID order: IDs 1
// to 242 (x1 and x2) and, for n from 3 to 50 variables, IDs 100*n+700 to
// 100*n+702 (x1 to xn). Made once, lives as long as the program.
TESSARIX_API const std::vector<PredefinedModelInfo>& PredefinedMultipleModels();

}  // namespace tessarix
