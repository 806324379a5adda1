#include "tessarix/language/text_model.hpp"

#include "tessarix/language/internal/block_evaluator.hpp"
#include "tessarix/language/internal/compiler.hpp"
#include "tessarix/language/internal/compiler_state.hpp"
#include "tessarix/language/internal/derivative_evaluator.hpp"
#include "tessarix/language/internal/evaluator.hpp"
#include "tessarix/language/internal/model_program.hpp"
#include "tessarix/language/internal/user_model.hpp"

namespace tessarix::detail {

struct TextModelState {
  CompilerState compiler;
  ModelProgram program;
  EvaluationScratch scratch;
  std::int32_t variables = 0;
  BlockPlan plan;
  bool planned = false;  // plan matches the program
  DerivativePlan rules;  // with the plan
  DerivativeScratch derivative_scratch;
};

TextModel::TextModel() : state_(std::make_unique<TextModelState>()) {}
TextModel::~TextModel() = default;

void TextModel::ResetFlags() { ResetLanguageFlags(state_->compiler); }

std::vector<std::string> TextModel::Define(const tessarix::ModelDefinition& definition, InputLocaleEnum locale,
                                           const SystemSeparators& separators, tessarix::ModelDefinition& english,
                                           tessarix::ModelDefinition& local, std::int32_t independent_variables) {
  TextModelState& s = *state_;
  s.variables = 0;
  s.planned = false;  // a failed compile changes the program too
  s.compiler.several_variables = independent_variables >= 1;
  PrepareDefinition(s.compiler, definition, locale, separators, english, local);
  CompiledModel model = CompileUserModel(s.compiler, s.program, separators);
  PrepareScratch(s.program, s.scratch);
  s.variables = model.variables;
  return std::move(model.parameters);
}

std::int32_t TextModel::IndependentVariables() const noexcept { return state_->variables; }

bool TextModel::Evaluate(const double* parameters, std::span<const double> point, const DataStatistics& words,
                         double& y) noexcept {
  return EvaluateProgram(state_->program, state_->scratch, parameters, point, words, y);
}

bool TextModel::Evaluate(const double* parameters, double x, const DataStatistics& words, double& y) noexcept {
  return EvaluateProgram(state_->program, state_->scratch, parameters, x, words, y);
}

bool TextModel::RunsByBlocks() noexcept {
  TextModelState& s = *state_;
  if (!s.planned) {
    s.plan = PlanBlocks(s.program);
    s.rules = {};
    if (s.plan.usable) {
      try {
        s.rules = PlanDerivatives(s.program);
      } catch (...) {
        s.plan.usable = false;  // no memory for the rules: the model runs row by row
      }
    }
    s.planned = true;
  }
  return s.plan.usable;
}

bool TextModel::PointsIndependent() noexcept { return RunsByBlocks() && state_->plan.independent; }

bool TextModel::DifferentiatesByBlocks() noexcept { return RunsByBlocks() && state_->plan.differentiable; }

std::int32_t TextModel::EvaluateBlock(const double* parameters, const double* points, std::int32_t width,
                                      std::int32_t count, const DataStatistics& words, double* y,
                                      bool vector_math) noexcept {
  (void)RunsByBlocks();
  TextModelState& s = *state_;
  return EvaluateProgramBlock(s.program, s.plan, s.scratch, parameters, points, width, count, words, y, vector_math);
}

bool TextModel::EvaluateBlockDerivatives(const double* parameters, const std::int32_t* ia, std::int32_t parameter_count,
                                         const double* points, std::int32_t width, std::int32_t count,
                                         const DataStatistics& words, double* y, double* dyda, std::int32_t stride,
                                         std::int32_t& failed_row, bool& in_derivatives, bool vector_math) noexcept {
  (void)RunsByBlocks();
  TextModelState& s = *state_;
  DerivativeStop stop;
  if (EvaluateProgramDerivatives(s.program, s.plan, s.rules, s.scratch, s.derivative_scratch, parameters, ia,
                                 parameter_count, points, width, count, words, y, dyda, stride, stop, vector_math)) {
    return true;
  }
  failed_row = stop.row;
  in_derivatives = stop.in_derivatives;
  return false;
}

std::string TextModel::Dump() const { return DumpProgram(state_->program); }

}  // namespace tessarix::detail
