#include "tessarix/language/text_model.hpp"

#include "tessarix/language/internal/compiler.hpp"
#include "tessarix/language/internal/evaluator.hpp"
#include "tessarix/language/internal/model_program.hpp"
#include "tessarix/language/internal/user_model.hpp"

namespace tessarix::detail {

struct TextModelState {
  ModelProgram program;
  EvaluationScratch scratch;
};

TextModel::TextModel() : state_(std::make_unique<TextModelState>()) {}
TextModel::~TextModel() = default;

void TextModel::ResetFlags() { ResetLanguageFlags(state_->program); }

std::vector<std::string> TextModel::Define(const tessarix::ModelDefinition& definition, InputLocaleEnum locale,
                                           const SystemSeparators& separators, tessarix::ModelDefinition& english,
                                           tessarix::ModelDefinition& local) {
  PrepareDefinition(state_->program, definition, locale, separators, english, local);
  std::vector<std::string> names = CompileUserModel(state_->program, separators);
  PrepareScratch(state_->program, state_->scratch);
  return names;
}

bool TextModel::Evaluate(const double* parameters, double x, const DataStatistics& words, double& y) noexcept {
  return EvaluateProgram(state_->program, state_->scratch, parameters, x, words, y);
}

std::string TextModel::Dump() const { return DumpProgram(state_->program); }

}  // namespace tessarix::detail
