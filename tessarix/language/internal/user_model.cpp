#include "tessarix/language/internal/user_model.hpp"

#include "tessarix/foundation/error_catalogue.hpp"
#include "tessarix/language/internal/compiler.hpp"
#include "tessarix/language/internal/locale_forms.hpp"

namespace tessarix::detail {

void ResetLanguageFlags(ModelProgram& program) {
  program.model_has_conditional = false;
  program.model_syntax_flag = false;
  program.cyclic_flag = false;
  program.undefined_sub_flag = false;
}

void PrepareDefinition(ModelProgram& program, const tessarix::ModelDefinition& definition, InputLocaleEnum locale,
                       const SystemSeparators& separators, tessarix::ModelDefinition& english,
                       tessarix::ModelDefinition& local) {
  program.sub_texts.assign(10, std::string());
  english.SetDescription(definition.Description());
  local.SetDescription(definition.Description());
  if (definition.Y().empty()) {
    // The compiler reports the empty text as a syntax fault.
    program.sub_texts.resize(1);
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
    program.sub_texts[static_cast<std::size_t>(k)] = std::move(text);
    highest = k;
  }
  program.sub_texts.resize(static_cast<std::size_t>(highest) + 1);
  // A gap in the numbering is a fault even where nothing refers to it.
  for (int k = 1; k <= highest; ++k) {
    if (program.sub_texts[static_cast<std::size_t>(k)].empty()) {
      throw ErrorFactory::Make(ErrorCode::ModelMissingSub,
                               ErrorMessage(ErrorCode::ModelMissingSub) + " F" + std::to_string(k));
    }
  }
}

std::vector<std::string> CompileUserModel(ModelProgram& program, const SystemSeparators& separators) {
  std::string names;
  const std::string text = program.sub_texts.empty() ? std::string() : program.sub_texts[0];
  const bool compiled = Compiler::CompileDefinition(program, text, separators.SystemDecimalSeparator,
                                                    separators.SystemListSeparator, names);
  std::vector<std::string> parameters;
  bool x_seen = false;
  bool valid = false;
  if (compiled) {
    program.model_syntax_flag = false;
    x_seen = StripIndependentVariable(names);
    if (!names.empty()) parameters = CollectParameters(program, names);
    valid = !parameters.empty() && x_seen;
    if (program.model_has_conditional) BuildJumpTable(program);
  } else {
    program.model_syntax_flag = true;
  }
  if (valid) {
    FinishProgram(program, static_cast<std::int32_t>(parameters.size()));
    return parameters;
  }
  if (program.cyclic_flag) RaiseLibraryError(ErrorCode::ModelCyclic);
  if (program.undefined_sub_flag) RaiseLibraryError(ErrorCode::ModelUndefinedSubReference);
  if (program.model_syntax_flag) RaiseLibraryError(ErrorCode::ModelSyntax);
  if (!x_seen) RaiseLibraryError(ErrorCode::ModelNoIndependentVariables);
  if (!parameters.empty()) RaiseLibraryError(ErrorCode::ModelSyntax);
  RaiseLibraryError(ErrorCode::ModelNoParameters);
}

}  // namespace tessarix::detail
