// The catalogue of the 298 pre-defined models with one variable.
//
// An entry is chosen by ModelID (1..298) and holds the definition text (what
// the user reads back as ModelDefinition.Y, what the compiler parses for the
// parameter names), the description, the label of the fit file, the number of
// linear terms of the estimator and the evaluation code that selects the
// hand-written formula, its derivatives and its estimator.
#pragma once

#include <cstdint>
#include <string_view>

namespace tessarix::detail {

inline constexpr std::int32_t kFirstInternalModelId = 1;
inline constexpr std::int32_t kLastInternalModelId = 298;
// Evaluation codes run from 1 to 313; 65..69, 75..79 and 85..89 are unused.
inline constexpr std::int32_t kLastEvaluationCode = 313;

struct InternalModelEntry {
  std::string_view definition;
  std::string_view description;  // empty for the models without one
  std::string_view file_label;   // the definition, except for IDs 6 to 25
  std::int32_t estimate_term_count = 0;
  std::int32_t evaluation_code = 0;
};

// The entry of a ModelID, or nullptr outside 1..298.
const InternalModelEntry* FindInternalModel(std::int32_t model_id) noexcept;

// The number of parameters of the formula of an evaluation code (the letters
// a, b, ... of its definition), 0 for a code that belongs to no model. Equal
// to the estimate term count except for the two trigonometric models.
std::int32_t ParameterCountOfCode(std::int32_t evaluation_code) noexcept;

}  // namespace tessarix::detail
