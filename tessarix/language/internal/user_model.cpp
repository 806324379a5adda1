#include "tessarix/language/internal/user_model.hpp"

#include "tessarix/foundation/error_catalogue.hpp"
#include "tessarix/language/internal/compiler.hpp"
#include "tessarix/language/internal/locale_forms.hpp"

namespace tessarix::detail {

void ResetLanguageFlags(CompilerState& state) {
  state.model_has_conditional = false;
  state.model_syntax_flag = false;
  state.cyclic_flag = false;
  state.undefined_sub_flag = false;
}

void PrepareDefinition(CompilerState& state, const tessarix::ModelDefinition& definition, InputLocaleEnum locale,
                       const SystemSeparators& separators, tessarix::ModelDefinition& english,
                       tessarix::ModelDefinition& local) {
  state.sub_texts.assign(10, std::string());
  english.SetDescription(definition.Description());
  local.SetDescription(definition.Description());
  if (definition.Y().empty()) {
    // The compiler reports the empty text as a syntax fault.
    state.sub_texts.resize(1);
    return;
  }
  int highest = 0;
  for (int k = 0; k <= 9; ++k) {
    std::string text = ModelDefinitionAccess::Formula(definition, k);
    if (k > 0 && text.empty()) continue;
    if (locale == tsxLocaleLocal) {
      ModelDefinitionAccess::Formula(english, k) = ToEnglishForm(text, separators);
      ModelDefinitionAccess::Formula(local, k) = text;
    } else {
      ModelDefinitionAccess::Formula(english, k) = text;
      text = ToLocalForm(text, separators);
      ModelDefinitionAccess::Formula(local, k) = text;
    }
    state.sub_texts[static_cast<std::size_t>(k)] = std::move(text);
    highest = k;
  }
  state.sub_texts.resize(static_cast<std::size_t>(highest) + 1);
  // A gap in the numbering is a fault even where nothing refers to it.
  for (int k = 1; k <= highest; ++k) {
    if (state.sub_texts[static_cast<std::size_t>(k)].empty()) {
      throw ErrorFactory::Make(ErrorCode::ModelMissingSub,
                               ErrorMessage(ErrorCode::ModelMissingSub) + " F" + std::to_string(k));
    }
  }
}

namespace {
// The variables met, as the number of elements of a point: 1 for x; m when
// x1..xm all appear; 0 when none does, -1 when one below the highest is
// missing.
std::int32_t VariableCount(const CompilerState& state) {
  if (!state.several_variables) return state.variables_seen[0] ? 1 : 0;
  std::int32_t highest = 0;
  for (std::int32_t k = 1; k <= kMaxIndependentVariables; ++k) {
    if (state.variables_seen[static_cast<std::size_t>(k)]) highest = k;
  }
  for (std::int32_t k = 1; k < highest; ++k) {
    if (!state.variables_seen[static_cast<std::size_t>(k)]) return -1;
  }
  return highest;
}
}  // namespace

CompiledModel CompileUserModel(CompilerState& state, ModelProgram& program, const SystemSeparators& separators) {
  const std::string text = state.sub_texts.empty() ? std::string() : state.sub_texts[0];
  const bool compiled = Compiler::CompileDefinition(state, program, text, separators.SystemDecimalSeparator,
                                                    separators.SystemListSeparator);
  CompiledModel model;
  bool valid = false;
  if (compiled) {
    state.model_syntax_flag = false;
    model.variables = VariableCount(state);
    model.parameters = state.parameters.Collect(program);
    valid = !model.parameters.empty() && model.variables > 0;
    if (state.model_has_conditional) BuildJumpTable(program);
  } else {
    state.model_syntax_flag = true;
  }
  if (valid) {
    FinishProgram(program, static_cast<std::int32_t>(model.parameters.size()));
    return model;
  }
  if (state.cyclic_flag) RaiseLibraryError(ErrorCode::ModelCyclic);
  if (state.undefined_sub_flag) RaiseLibraryError(ErrorCode::ModelUndefinedSubReference);
  if (state.model_syntax_flag) RaiseLibraryError(ErrorCode::ModelSyntax);
  if (model.variables == 0) RaiseLibraryError(ErrorCode::ModelNoIndependentVariables);
  if (model.variables < 0) RaiseLibraryError(ErrorCode::ModelIndependentVariableMissing);
  if (!model.parameters.empty()) RaiseLibraryError(ErrorCode::ModelSyntax);
  RaiseLibraryError(ErrorCode::ModelNoParameters);
}

}  // namespace tessarix::detail
