// A text model on its own, through the language's door, without a regression
// object: definition as the objects do it, evaluation on a one-based
// parameter array.
#pragma once

#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <optional>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "support/test_helpers.hpp"
#include "tessarix/language/internal/function_table.hpp"
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
  std::optional<double> At(const std::vector<double>& point, std::initializer_list<double> values = {}) {
    std::size_t i = 1;
    for (double v : values) {
      if (i < parameters_.size()) parameters_[i] = v;
      ++i;
    }
    double y = -12345.0;
    if (!model_.Evaluate(parameters_.data(), point, stats_, y)) return std::nullopt;
    return y;
  }
  std::optional<double> Eval(double x, std::initializer_list<double> values = {}) { return At({x}, values); }

  // The parameter values (sorted order) for Block.
  void SetParameters(std::initializer_list<double> values) {
    std::size_t i = 1;
    for (double v : values) {
      if (i < parameters_.size()) parameters_[i] = v;
      ++i;
    }
  }
  // The block evaluator over rows of `width` values; the rows done.
  std::int32_t Block(const std::vector<double>& points, std::int32_t width, std::vector<double>& y,
                     bool vector_math = false) {
    const auto count = static_cast<std::int32_t>(points.size() / static_cast<std::size_t>(width));
    y.assign(static_cast<std::size_t>(count), -12345.0);
    return model_.EvaluateBlock(parameters_.data(), points.data(), width, count, stats_, y.data(), vector_math);
  }
  bool RunsByBlocks() { return model_.RunsByBlocks(); }
  // The exact derivatives over rows of `width` values: y[r] and
  // dyda[r * (parameters + 1) + l]; `ia` the fitted flags (one-based; empty:
  // all fitted). False with the failing row and its kind.
  bool Exact(const std::vector<double>& points, std::int32_t width, std::vector<double>& y, std::vector<double>& dyda,
             std::int32_t& row, bool& in_derivatives, std::vector<std::int32_t> ia = {}, bool vector_math = false) {
    const auto count = static_cast<std::int32_t>(points.size() / static_cast<std::size_t>(width));
    const auto n = static_cast<std::int32_t>(parameters_.size()) - 1;
    if (ia.empty()) ia.assign(parameters_.size(), 1);
    y.assign(static_cast<std::size_t>(count), -12345.0);
    dyda.assign(static_cast<std::size_t>(count) * parameters_.size(), -12345.0);
    return model_.EvaluateBlockDerivatives(parameters_.data(), ia.data(), n, points.data(), width, count, stats_,
                                           y.data(), dyda.data(), n + 1, row, in_derivatives, vector_math);
  }
  // Parameter l (one-based) for the numerical derivatives of tests.
  double& Parameter(std::size_t l) { return parameters_[l]; }
  std::size_t ParameterCount() const { return parameters_.size() - 1; }

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

using Words = std::vector<std::string>;

// Pieces joined by appending (g++ 12 warns wrongly about "text" + string).
inline std::string Cat(std::initializer_list<std::string> pieces) {
  std::string out;
  for (const std::string& p : pieces) out += p;
  return out;
}

// Mostly well-formed expressions over the whole language (every function
// word), with a junk piece spliced in now and then.
inline std::string RandomExpr(std::mt19937& gen, int depth, bool several) {
  static const Words kOperands = {"x",  "a",  "b",  "c",  "1",     "2.5",   "1e5-3", "0", "xmean",
                                  "pi", "F1", "F2", "f3", "endif", "ENDIF", "e",     ".", "1.2.3"};
  // With several variables, "x" is a parameter.
  static const Words kSeveral = {"x1", "X02", "x3", "x", "a", "x2min", "yatx1max", "ymean", "F1", "x51"};
  static const Words kBinary = {"+", "-",  "*",  "/",  "^",     "\\",   " mod ", "=",     "<",
                                ">", "<>", "<=", ">=", " and ", " or ", " xor ", " eqv ", " imp "};
  static const Words kJunk = {"(", ")", ",", ";", "#", "AND", "Mod", ">>", "2 x", "", "-", "not "};
  const auto pick = [&](const Words& v) { return v[std::uniform_int_distribution<std::size_t>(0, v.size() - 1)(gen)]; };
  const auto sub = [&] { return RandomExpr(gen, depth + 1, several); };
  const int choice = std::uniform_int_distribution<int>(0, depth > 4 ? 1 : 8)(gen);
  std::string e;
  if (choice <= 1) {
    e = pick(several ? kSeveral : kOperands);
  } else if (choice == 2) {
    e = Cat({"-", sub()});
  } else if (choice == 3) {
    e = Cat({"not ", sub()});
  } else if (choice == 4) {
    e = Cat({"(", sub(), ")"});
  } else if (choice == 5) {
    const auto rows = detail::FunctionRows();
    const detail::FunctionRow& w = rows[std::uniform_int_distribution<std::size_t>(0, rows.size() - 1)(gen)];
    e = Cat({std::string(w.word), "(", sub()});
    for (int i = 1; i < w.arity; ++i) e += Cat({",", sub()});
    e += ")";
  } else {
    e = Cat({sub(), pick(kBinary), sub()});
  }
  if (std::uniform_int_distribution<int>(0, 19)(gen) == 0) e += pick(kJunk);
  return e;
}

// Value of a constant expression with x given (the model needs a parameter and
// x to be valid, so "+0*zz+0*x" is added; zz stays 0).
inline std::optional<double> Calc(const std::string& expr, double x = 0.0) {
  LanguageModel m;
  m.Define("(" + expr + ")+0*zz+0*x");
  return m.Eval(x, {0.0});
}

// Checks a table of expressions and their values, one case per line or
// between "|": "expr => value" (exactly), "expr => value ~tol" (within tol
// times max(1, |value|)) or "expr => fails". Each is computed by Calc at x.
inline void CheckTable(const std::string& table, double x = 0.0) {
  std::size_t begin = 0;
  while (begin < table.size()) {
    const std::size_t end = std::min(table.find_first_of("|\n", begin), table.size());
    const std::string item = table.substr(begin, end - begin);
    begin = end + 1;
    if (item.find_first_not_of(' ') == std::string::npos) continue;
    const std::size_t arrow = item.find(" => ");
    ASSERT_NE(arrow, std::string::npos) << item;
    const std::string expr = item.substr(item.find_first_not_of(' '), arrow - item.find_first_not_of(' '));
    std::istringstream rest(item.substr(arrow + 4));
    std::string value, tolerance;
    rest >> value >> tolerance;
    const std::optional<double> got = Calc(expr, x);
    if (value == "fails") {
      EXPECT_EQ(got, std::nullopt) << expr;
      continue;
    }
    const double expected = std::stod(value);
    if (!got) {
      ADD_FAILURE() << expr << " fails, expected " << value;
    } else if (tolerance.empty()) {
      EXPECT_EQ(*got, expected) << expr;
    } else {
      EXPECT_NEAR(*got, expected, std::stod(tolerance.substr(1)) * std::max(1.0, std::fabs(expected))) << expr;
    }
  }
}

}  // namespace tessarix::test
