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
  // The parameters of the model (a, b, c, ... in this order).
  std::int32_t NumParameters = 0;
  std::int32_t NumIndependentVariables = 1;
};

// Every model of the catalogue for one independent variable (IDs 1 to 298),
// in ID order. The listing is built once and lives as long as the program.
TESSARIX_API const std::vector<PredefinedModelInfo>& PredefinedModels();

}  // namespace tessarix
