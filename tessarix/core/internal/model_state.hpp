// The per-kind state of a regression model: what a definition leaves for the
// evaluation, kept in one place so that each kind of model adds its own
// members here without touching the engine.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tessarix/foundation/enums.hpp"
#include "tessarix/language/model_definition.hpp"
#include "tessarix/language/text_model.hpp"
#include "tessarix/numerics/one_based.hpp"
#include "tessarix/platform/variant.hpp"

namespace tessarix::detail {

// The extrapolation table of the numerical parameter derivatives: indexes
// 0..10 in both dimensions, rows and columns 1..10 used.
inline constexpr std::int32_t kDerivativeTableSize = 10;

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

  // Set while a definition runs and it fails part-way.
  bool definition_failed = false;

  // External models: the caller's derivatives or numerical ones; the Alt
  // events instead of the plain ones; the arrays handed to the events,
  // zero-based, sized once by the definition.
  bool external_derivatives = false;
  bool alternative_events = false;
  std::vector<double> event_values;
  std::vector<double> event_derivatives;
  Variant event_values_alt;
  Variant event_derivatives_alt;

  // The table of the numerical parameter derivatives (user models and
  // external models without derivatives), allocated by the definition.
  Matrix1 derivative_table;

  // ---- pre-defined models (the catalogue) ---------------------------------
  // The code that selects the formula, its derivatives and its estimator,
  // and the number of the estimator's terms; both 0 when no entry was found.
  std::int32_t evaluation_code = 0;
  std::int32_t estimate_term_count = 0;

  // ---- user models (the language) -------------------------------------------
  // The compiled model text. It outlives every redefinition on the object: a
  // new definition appends to it, and the sub-definition marks stay (the
  // language's rules).
  TextModel text;
};

}  // namespace tessarix::detail
