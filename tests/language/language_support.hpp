// A user model on its own, without a regression object: definition through
// the same steps the objects use, evaluation on a one-based parameter array.
#pragma once

#include <initializer_list>
#include <optional>
#include <string>
#include <vector>

#include "support/test_helpers.hpp"
#include "tessarix/language/internal/compiler.hpp"
#include "tessarix/language/internal/evaluator.hpp"
#include "tessarix/language/internal/user_model.hpp"
#include "tessarix/platform/separators.hpp"

namespace tessarix::test {

class LanguageModel {
 public:
  explicit LanguageModel(SystemSeparators separators = EnglishSeparators()) : separators_(std::move(separators)) {}

  // Defines Y (and F1.. in order) in English form; raises the definition
  // errors like the objects do.
  std::vector<std::string> Define(const std::string& y, std::initializer_list<std::string> subs = {},
                                  InputLocaleEnum locale = tsxLocaleEnglish) {
    ModelDefinition d;
    d.SetY(y);
    int k = 1;
    for (const std::string& f : subs) detail::ModelDefinitionAccess::Formula(d, k++) = f;
    return DefineSub(d, locale);
  }
  std::vector<std::string> DefineSub(const ModelDefinition& d, InputLocaleEnum locale = tsxLocaleEnglish) {
    detail::ResetLanguageFlags(program_);
    parameters_.clear();
    detail::PrepareDefinition(program_, d, locale, separators_, english_, local_);
    names_ = detail::CompileUserModel(program_, separators_);
    parameters_.assign(names_.size() + 1, 0.0);
    detail::PrepareScratch(program_, scratch_);
    return names_;
  }

  // The model at x with parameter values in sorted order; nullopt when the
  // evaluation fails.
  std::optional<double> Eval(double x, std::initializer_list<double> values = {}) {
    std::size_t i = 1;
    for (double v : values) {
      if (i < parameters_.size()) parameters_[i] = v;
      ++i;
    }
    double y = -12345.0;
    if (!detail::EvaluateProgram(program_, scratch_, parameters_.data(), x, stats_, y)) return std::nullopt;
    return y;
  }

  std::string Dump() const { return detail::DumpProgram(program_); }
  detail::ModelProgram& Program() { return program_; }
  detail::DataStatistics& Stats() { return stats_; }
  const ModelDefinition& English() const { return english_; }
  const ModelDefinition& Local() const { return local_; }

 private:
  SystemSeparators separators_;
  detail::ModelProgram program_;
  detail::EvaluationScratch scratch_;
  detail::DataStatistics stats_;
  std::vector<double> parameters_;
  std::vector<std::string> names_;
  ModelDefinition english_, local_;
};

// Value of a constant expression with x given (the model needs a parameter and
// x to be valid, so "+0*p+0*x" is added; p stays 0).
inline std::optional<double> Calc(const std::string& expr, double x = 0.0) {
  LanguageModel m;
  m.Define("(" + expr + ")+0*zz+0*x");
  return m.Eval(x, {0.0});
}

}  // namespace tessarix::test
