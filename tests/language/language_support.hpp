// A text model on its own, through the language's door, without a regression
// object: definition as the objects do it, evaluation on a one-based
// parameter array.
#pragma once

#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "support/test_helpers.hpp"
#include "tessarix/language/text_model.hpp"

namespace tessarix::test {

class LanguageModel {
 public:
  // `variables` 0: the model of one variable x; 1 or more: x1, x2, ...
  explicit LanguageModel(SystemSeparators separators = EnglishSeparators(), std::int32_t variables = 0)
      : separators_(std::move(separators)), variables_(variables) {}

  // Defines Y (and F1.. in order); raises the definition errors like the
  // objects do.
  std::vector<std::string> Define(const std::string& y, const std::vector<std::string>& subs = {},
                                  InputLocaleEnum locale = tsxLocaleEnglish) {
    ModelDefinition d;
    d.SetY(y);
    int k = 1;
    for (const std::string& f : subs) detail::ModelDefinitionAccess::Formula(d, k++) = f;
    model_.ResetFlags();
    parameters_.clear();
    const std::vector<std::string> names = model_.Define(d, locale, separators_, english_, local_, variables_);
    parameters_.assign(names.size() + 1, 0.0);
    return names;
  }

  // The model at a point with parameter values in sorted order; nullopt when
  // the evaluation fails.
  std::optional<double> At(std::initializer_list<double> point, std::initializer_list<double> values = {}) {
    std::size_t i = 1;
    for (double v : values) {
      if (i < parameters_.size()) parameters_[i] = v;
      ++i;
    }
    double y = -12345.0;
    if (!model_.Evaluate(parameters_.data(), std::span<const double>(point.begin(), point.size()), stats_, y)) {
      return std::nullopt;
    }
    return y;
  }
  std::optional<double> Eval(double x, std::initializer_list<double> values = {}) { return At({x}, values); }

  std::string Dump() const { return model_.Dump(); }
  std::int32_t Variables() const { return model_.IndependentVariables(); }
  detail::DataStatistics& Stats() { return stats_; }
  const ModelDefinition& English() const { return english_; }
  const ModelDefinition& Local() const { return local_; }

 private:
  SystemSeparators separators_;
  std::int32_t variables_;
  detail::TextModel model_;
  detail::DataStatistics stats_;
  std::vector<double> parameters_;
  ModelDefinition english_, local_;
};

// Value of a constant expression with x given (the model needs a parameter and
// x to be valid, so "+0*zz+0*x" is added; zz stays 0).
inline std::optional<double> Calc(const std::string& expr, double x = 0.0) {
  LanguageModel m;
  m.Define("(" + expr + ")+0*zz+0*x");
  return m.Eval(x, {0.0});
}

// Expressions and their values (nullopt: the evaluation fails), checked
// exactly or within a tolerance relative to max(1, |expected|).
struct ValueCase {
  const char* expr;
  std::optional<double> expected;
  double tolerance = 0.0;
};
inline void CheckValues(std::initializer_list<ValueCase> cases, double x = 0.0) {
  for (const ValueCase& c : cases) {
    const std::optional<double> got = Calc(c.expr, x);
    if (!c.expected) {
      EXPECT_EQ(got, std::nullopt) << c.expr;
    } else if (!got) {
      ADD_FAILURE() << c.expr << " fails, expected " << *c.expected;
    } else if (c.tolerance == 0.0) {
      EXPECT_EQ(*got, *c.expected) << c.expr;
    } else {
      EXPECT_NEAR(*got, *c.expected, c.tolerance * std::max(1.0, std::fabs(*c.expected))) << c.expr;
    }
  }
}

}  // namespace tessarix::test
