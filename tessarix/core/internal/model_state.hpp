// What a definition leaves of a model beside its kind: how the log and the
// getters name it, and the compiled text that outlives redefinitions.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tessarix/foundation/enums.hpp"
#include "tessarix/language/model_definition.hpp"
#include "tessarix/language/text_model.hpp"

namespace tessarix::detail {

struct ModelState {
  ModelTypeEnum type = tsxModelUser;

  // The model's text as the log prints it in the line that opens a run
  // (element 0); user models keep their sub-definitions after it.
  std::vector<std::string> model_text;
  // "User Model: " + definition for a user model, the catalogue's label for a
  // pre-defined model.
  std::string model_file_label;

  // The stored definitions in English and in the caller's local form; the
  // ModelDefinition getters hand out copies.
  tessarix::ModelDefinition definition_english;
  tessarix::ModelDefinition definition_local;

  // Pre-defined models: the code that selects the formula, its derivatives
  // and its estimator, and the number of the estimator's terms; both 0 when
  // no catalogue entry was found.
  std::int32_t evaluation_code = 0;
  std::int32_t estimate_term_count = 0;

  // The compiled model text. It outlives every redefinition on the object: a
  // new definition appends to it, and the sub-definition marks stay (the
  // language's rules).
  TextModel text;
};

}  // namespace tessarix::detail
