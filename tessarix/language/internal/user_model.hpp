// The language side of a user-model definition: from the caller's
// ModelDefinition to a finished program and its sorted parameter names, with
// the definition errors in their order. The regression objects wrap it with
// their guard, their model reset and the registration of the parameters.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tessarix/foundation/enums.hpp"
#include "tessarix/language/internal/compiler_state.hpp"
#include "tessarix/language/internal/model_program.hpp"
#include "tessarix/language/model_definition.hpp"
#include "tessarix/platform/separators.hpp"

namespace tessarix::detail {

// The part of the object's model reset that belongs to the language: the
// conditional and error flags. Records and sub-definition marks stay.
void ResetLanguageFlags(CompilerState& state);

// Fills state.sub_texts with the local form of Y and F1..Fk (k the highest
// sub-definition given) and the two member definitions with both forms.
// Raises 10018 "... missing sub-definition Fj" for a gap below k.
void PrepareDefinition(CompilerState& state, const tessarix::ModelDefinition& definition, InputLocaleEnum locale,
                       const SystemSeparators& separators, tessarix::ModelDefinition& english,
                       tessarix::ModelDefinition& local);

struct CompiledModel {
  std::vector<std::string> parameters;  // in their sorted order
  std::int32_t variables = 0;           // elements of a point: 1 for x, m for x1..xm
};

// Compiles state.sub_texts[0] with its sub-definitions in the state's mode,
// and on success returns the parameters and variables with the program
// finished for them. Otherwise raises, first that applies: 10016 (cycle),
// 10017 (undefined sub-definition), 10015 (syntax), 10019 (no independent
// variable), 10020 (x1..xm not all present, several variables only), 10015
// (parameters but no valid model), 10021 (no parameters). Faults of the
// jump-table builder propagate as run-time faults.
CompiledModel CompileUserModel(CompilerState& state, ModelProgram& program, const SystemSeparators& separators);

}  // namespace tessarix::detail
