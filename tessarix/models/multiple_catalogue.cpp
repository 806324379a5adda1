// The catalogue of the pre-defined models with several variables, made once
// from its rules, and the arithmetic of its rows.
//
// The texts and the formulas come from the same term lists: a polynomial row
// holds its terms, its text is written from them and its value computed from
// them term by term in the order of the text, every power through the power
// routine, so each value is what the model language computes for the text.
#include "tessarix/models/multiple_catalogue.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "tessarix/models/internal/flagged_num.hpp"
#include "tessarix/models/internal/multiple_row.hpp"
#include "tessarix/models/predefined_models.hpp"
#include "tessarix/numerics/internal_failure.hpp"
#include "tessarix/numerics/power.hpp"
#include "tessarix/platform/checked.hpp"
#include "tessarix/platform/float_flags.hpp"

namespace tessarix::detail {
namespace {

constexpr std::int32_t kFewestLinearVariables = 3;
constexpr std::int32_t kMostLinearVariables = 50;

// a to z, then aa, bb, ... yy.
std::string ParameterName(std::int32_t index) {
  const char letter = static_cast<char>('a' + (index - 1) % 26);
  return index <= 26 ? std::string(1, letter) : std::string(2, letter);
}

// Texts are joined piece by piece (g++ 12 warns wrongly on a literal added to
// a temporary string).
std::string Join(std::initializer_list<std::string_view> pieces) {
  std::string text;
  for (std::string_view piece : pieces) text.append(piece);
  return text;
}

std::string VariableName(std::int32_t variable) { return Join({"x", std::to_string(variable)}); }

std::string FactorText(const Factor& f) {
  std::string text = VariableName(f.variable);
  if (f.shape == Shape::Log) text = Join({"log(", text, ")"});
  if (f.power > 1) text = Join({text, "^", std::to_string(f.power)});
  return text;
}

// "b*x1", "c/x1^2", "f*x2/x1", "f/(x1*x2)".
std::string TermText(const PolynomialTerm& term, const std::string& parameter) {
  std::string numerator = parameter;
  std::vector<std::string> denominator;
  for (const Factor& f : term.factors) {
    if (f.power == 0) continue;
    if (f.shape == Shape::Inverse) {
      denominator.push_back(FactorText(f));
    } else {
      numerator = Join({numerator, "*", FactorText(f)});
    }
  }
  if (denominator.size() == 1) return Join({numerator, "/", denominator[0]});
  if (denominator.size() == 2) return Join({numerator, "/(", denominator[0], "*", denominator[1], ")"});
  return numerator;
}

std::string PolynomialText(const MultipleRow& row) {
  std::string text = "a";
  for (std::int32_t k = 1; k < row.parameter_count; ++k) {
    text = Join({text, "+", TermText(row.terms[static_cast<std::size_t>(k - 1)], ParameterName(k + 1))});
  }
  return text;
}

constexpr std::array<const char*, 12> kCountWords = {"",    "",      "",      "Three", "Four", "Five",
                                                     "Six", "Seven", "Eight", "Nine",  "Ten",  "Eleven"};

MultipleRow PolynomialRow(std::int32_t id, std::int32_t parameters, const std::vector<PolynomialTerm>& terms,
                          std::string description) {
  MultipleRow row;
  row.id = id;
  row.parameter_count = parameters;
  row.variable_count = 2;
  row.formula = Formula::Polynomial;
  std::copy(terms.begin(), terms.end(), row.terms.begin());
  row.definition = PolynomialText(row);
  row.description = std::move(description);
  row.entry.evaluation_code = id <= 224 ? id - 3 : id + 25;
  return row;
}

// A block of degree k in one variable: its k terms.
void AppendBlock(std::vector<PolynomialTerm>& terms, std::uint8_t variable, Shape shape, std::int32_t degree) {
  for (std::int32_t k = 1; k <= degree; ++k) {
    PolynomialTerm term;
    term.factors[0] = {variable, shape, static_cast<std::uint8_t>(k)};
    terms.push_back(term);
  }
}

// The combinations that the catalogue lacks: (P, x1 block, x2 block).
bool IsHole(std::int32_t p, Shape s1, std::int32_t i, Shape s2, std::int32_t j) {
  return (p == 6 && s1 == Shape::Log && i == 4 && s2 == Shape::Log && j == 1) ||
         (p == 6 && s1 == Shape::Inverse && i == 4 && s2 == Shape::Plain && j == 1) ||
         (p == 7 && s1 == Shape::Inverse && i == 4 && s2 == Shape::Plain && j == 2) ||
         (p == 8 && s1 == Shape::Inverse && i == 2 && s2 == Shape::Plain && j == 5);
}

constexpr std::array<Shape, 3> kShapes = {Shape::Plain, Shape::Log, Shape::Inverse};

// IDs 4 to 224.
void AppendPolynomialCombinations(std::vector<MultipleRow>& rows) {
  std::int32_t id = 4;
  for (std::int32_t p = 3; p <= 11; ++p) {
    std::vector<std::vector<PolynomialTerm>> models;
    for (Shape s1 : kShapes) {
      for (std::int32_t i = 1; i <= 5; ++i) {
        const std::int32_t j = p - 1 - i;
        if (j < 1 || j > 5) continue;
        for (Shape s2 : kShapes) {
          if (IsHole(p, s1, i, s2, j)) continue;
          std::vector<PolynomialTerm> terms;
          AppendBlock(terms, 1, s1, i);
          AppendBlock(terms, 2, s2, j);
          models.push_back(std::move(terms));
        }
      }
    }
    if (p == 6) {
      // The inverse block of degree 2 with the plain block of degree 3 stands
      // after the inverse-3 with plain-2 model (ID 87) rather than first of
      // its group (ID 84).
      const auto first = models.begin() + (84 - id);
      std::rotate(first, first + 1, first + 4);
    }
    for (const auto& terms : models) {
      rows.push_back(
          PolynomialRow(id++, p, terms, Join({kCountWords[static_cast<std::size_t>(p)], " Parameter Polynomial"})));
    }
  }
}

// IDs 225 to 242: u in {x1, log(x1), 1/x1}, v likewise in x2, v outer.
void AppendTaylorSeries(std::vector<MultipleRow>& rows) {
  // Powers of u and v of the terms after the constant, in the order of the text.
  constexpr std::array<std::array<std::uint8_t, 2>, 9> kPowers = {
      {{1, 0}, {0, 1}, {2, 0}, {0, 2}, {1, 1}, {3, 0}, {0, 3}, {1, 2}, {2, 1}}};
  std::int32_t id = 225;
  for (std::int32_t order = 2; order <= 3; ++order) {
    const std::int32_t parameters = order == 2 ? 6 : 10;
    for (Shape v : kShapes) {
      for (Shape u : kShapes) {
        std::vector<PolynomialTerm> terms;
        for (std::int32_t k = 0; k < parameters - 1; ++k) {
          const auto& pw = kPowers[static_cast<std::size_t>(k)];
          PolynomialTerm term;
          term.factors[0] = {1, u, pw[0]};
          term.factors[1] = {2, v, pw[1]};
          terms.push_back(term);
        }
        rows.push_back(PolynomialRow(
            id++, parameters, terms,
            order == 2 ? "Six Parameter Taylor Series Polynomial" : "Ten Parameter Taylor Series Polynomial"));
      }
    }
  }
}

MultipleRow PowerRow(std::int32_t id, const char* definition, Formula formula) {
  MultipleRow row;
  row.id = id;
  row.definition = definition;
  row.description = "Three Parameter Power";
  row.parameter_count = 3;
  row.variable_count = 2;
  row.formula = formula;
  row.log_transform = true;
  row.entry.evaluation_code = 267 + id;
  return row;
}

// IDs 1000 to 5702: three linear forms for each n.
void AppendLinearForms(std::vector<MultipleRow>& rows) {
  for (std::int32_t n = kFewestLinearVariables; n <= kMostLinearVariables; ++n) {
    const std::int32_t base = 100 * n + 700;
    const std::int32_t code = n <= 10 ? 100 * n : 1003 + 3 * (n - 11);
    std::string sum;
    std::string sum_shown;  // the text of base + 1 from 34 variables: "hh+x34"
    for (std::int32_t i = 1; i <= n; ++i) {
      const std::string_view plus = i == 1 ? "" : "+";
      sum = Join({sum, plus, ParameterName(i), "*", VariableName(i)});
      sum_shown = Join({sum_shown, plus, ParameterName(i), i == 34 ? "+" : "*", VariableName(i)});
    }
    const std::string constant = ParameterName(n + 1);
    const std::array<std::string, 3> texts = {sum, Join({sum_shown, "+", constant}),
                                              Join({"exp(", sum, "+", constant, ")"})};
    const std::array<Formula, 3> formulas = {Formula::LinearSum, Formula::LinearSumPlusConstant, Formula::ExpLinearSum};
    for (std::int32_t k = 0; k < 3; ++k) {
      MultipleRow row;
      row.id = base + k;
      row.definition = texts[static_cast<std::size_t>(k)];
      row.parameter_count = k == 0 ? n : n + 1;
      row.description = Join({std::to_string(row.parameter_count),
                              k == 2 ? " Parameter Exponential Polynomial" : " Parameter Polynomial"});
      row.variable_count = n;
      // ID 1302 is exponential by its text and its estimate, and yet its value
      // and derivatives are the plain sum with a constant.
      row.formula = row.id == 1302 ? Formula::LinearSumPlusConstant : formulas[static_cast<std::size_t>(k)];
      row.log_transform = k == 2;
      row.entry.evaluation_code = code + k;
      rows.push_back(std::move(row));
    }
  }
}

struct Table {
  std::vector<MultipleRow> rows;
  std::vector<const MultipleRow*> by_code;
};

const Table& TheTable() {
  static const Table table = [] {
    Table t;
    t.rows.push_back(PowerRow(1, "a*x1^b*x2^c", Formula::PowerX1X2));
    t.rows.push_back(PowerRow(2, "a*b^x1*x2^c", Formula::ExponentX1PowerX2));
    t.rows.push_back(PowerRow(3, "a*x1^b*c^x2", Formula::PowerX1ExponentX2));
    AppendPolynomialCombinations(t.rows);
    AppendTaylorSeries(t.rows);
    AppendLinearForms(t.rows);
    t.by_code.assign(static_cast<std::size_t>(kLastMultipleEvaluationCode) + 1, nullptr);
    // The views are taken once the rows no longer move.
    for (MultipleRow& row : t.rows) {
      std::vector<std::string> sorted;
      for (std::int32_t i = 1; i <= row.parameter_count; ++i) sorted.push_back(ParameterName(i));
      std::sort(sorted.begin(), sorted.end());
      for (std::int32_t i = 1; i <= row.parameter_count; ++i) {
        const auto at = std::find(sorted.begin(), sorted.end(), ParameterName(i)) - sorted.begin();
        row.slot[static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(at + 1);
      }
      row.entry.definition = row.definition;
      row.entry.description = row.description;
      row.entry.file_label = row.definition;
      row.entry.estimate_term_count = row.parameter_count;
      t.by_code[static_cast<std::size_t>(row.entry.evaluation_code)] = &row;
    }
    return t;
  }();
  return table;
}

// ---- the arithmetic ----------------------------------------------------------

template <class N>
N FactorValue(const Factor& f, std::span<const double> point) {
  const N x = point[f.variable - 1u];
  const N base = f.shape == Shape::Log ? log(x) : x;
  return f.power == 1 ? base : Power(base, N(f.power));
}

// The term with its parameter value p: (p * numerator factors) / denominator.
template <class N>
N TermValue(const PolynomialTerm& term, N p, std::span<const double> point) {
  N numerator = p;
  N denominator = 1.0;
  int inverse = 0;
  for (const Factor& f : term.factors) {
    if (f.power == 0) continue;
    const N v = FactorValue<N>(f, point);
    if (f.shape == Shape::Inverse) {
      denominator = inverse++ == 0 ? v : denominator * v;
    } else {
      numerator = numerator * v;
    }
  }
  return inverse == 0 ? numerator : numerator / denominator;
}

// The i-th parameter of the text.
double Parameter(const MultipleRow& row, const double* p, std::int32_t i) {
  return p[row.slot[static_cast<std::size_t>(i)]];
}

// p(1)*x(1) + ... + p(count)*x(count).
template <class N>
N Sum(const MultipleRow& row, const double* p, std::span<const double> point, std::int32_t count) {
  N y = 0.0;
  for (std::int32_t i = 1; i <= count; ++i) {
    y = y + N(Parameter(row, p, i)) * point[static_cast<std::size_t>(i - 1)];
  }
  return y;
}

template <class N>
N RowValue(const MultipleRow& row, const double* p, std::span<const double> x) {
  const std::int32_t n = row.parameter_count;
  switch (row.formula) {
    case Formula::PowerX1X2:
      return N(p[1]) * Power(N(x[0]), N(p[2])) * Power(N(x[1]), N(p[3]));
    case Formula::ExponentX1PowerX2:
      return N(p[1]) * Power(N(p[2]), N(x[0])) * Power(N(x[1]), N(p[3]));
    case Formula::PowerX1ExponentX2:
      return N(p[1]) * Power(N(x[0]), N(p[2])) * Power(N(p[3]), N(x[1]));
    case Formula::Polynomial: {
      N y = p[1];
      for (std::int32_t k = 2; k <= n; ++k) y = y + TermValue(row.terms[static_cast<std::size_t>(k - 2)], N(p[k]), x);
      return y;
    }
    case Formula::LinearSum:
      return Sum<N>(row, p, x, n);
    case Formula::LinearSumPlusConstant:
      return Sum<N>(row, p, x, n - 1) + Parameter(row, p, n);
    case Formula::ExpLinearSum:
      return exp(Sum<N>(row, p, x, n - 1) + Parameter(row, p, n));
  }
  return 0.0;  // not reached: the switch names every formula
}

template <class N>
void RowDerivatives(const MultipleRow& row, const double* p, std::span<const double> x, double* d) {
  const std::int32_t n = row.parameter_count;
  switch (row.formula) {
    case Formula::PowerX1X2: {
      const N x1 = x[0], x2 = x[1];
      const N u = Power(x1, N(p[2])), v = Power(x2, N(p[3]));
      const N y = N(p[1]) * u * v;
      d[1] = (u * v).value();
      d[2] = (y * log(x1)).value();
      d[3] = (y * log(x2)).value();
      return;
    }
    case Formula::ExponentX1PowerX2: {
      const N x1 = x[0], x2 = x[1], b = p[2];
      const N u = Power(b, x1), v = Power(x2, N(p[3]));
      const N y = N(p[1]) * u * v;
      d[1] = (u * v).value();
      d[2] = (y * (x1 / b)).value();
      d[3] = (y * log(x2)).value();
      return;
    }
    case Formula::PowerX1ExponentX2: {
      const N x1 = x[0], x2 = x[1], c = p[3];
      const N u = Power(x1, N(p[2])), v = Power(c, x2);
      const N y = N(p[1]) * u * v;
      d[1] = (u * v).value();
      d[2] = (y * log(x1)).value();
      d[3] = (y * (x2 / c)).value();
      return;
    }
    case Formula::Polynomial:
      d[1] = 1.0;
      for (std::int32_t k = 2; k <= n; ++k) {
        d[k] = TermValue(row.terms[static_cast<std::size_t>(k - 2)], N(1.0), x).value();
      }
      return;
    case Formula::LinearSum:
      for (std::int32_t i = 1; i <= n; ++i)
        d[row.slot[static_cast<std::size_t>(i)]] = x[static_cast<std::size_t>(i - 1)];
      return;
    case Formula::LinearSumPlusConstant:
      for (std::int32_t i = 1; i < n; ++i)
        d[row.slot[static_cast<std::size_t>(i)]] = x[static_cast<std::size_t>(i - 1)];
      d[row.slot[static_cast<std::size_t>(n)]] = 1.0;
      return;
    case Formula::ExpLinearSum: {
      const N e = exp(Sum<N>(row, p, x, n - 1) + Parameter(row, p, n));
      for (std::int32_t i = 1; i < n; ++i)
        d[row.slot[static_cast<std::size_t>(i)]] = (e * x[static_cast<std::size_t>(i - 1)]).value();
      d[row.slot[static_cast<std::size_t>(n)]] = e.value();
      return;
    }
  }
}

// The formulas on FlaggedNum over n points of `width` values each, from a
// local copy of the parameters (see FlaggedBlock of the one-variable rows).
[[gnu::noinline]] void FlaggedRowBlock(const MultipleRow& row, const double* p, const double* points,
                                       std::int32_t width, std::int32_t n, double* y, double* d, std::int32_t stride) {
  std::array<double, kMostMultipleParameters + 1> q{};
  for (std::int32_t l = 1; l <= row.parameter_count; ++l) q[static_cast<std::size_t>(l)] = p[l];
  const auto size = static_cast<std::size_t>(width);
  for (std::int32_t r = 0; r < n; ++r) {
    const std::span<const double> x(points + static_cast<std::ptrdiff_t>(r) * width, size);
    y[r] = RowValue<FlaggedNum>(row, q.data(), x).value();
    if (d != nullptr) RowDerivatives<FlaggedNum>(row, q.data(), x, d + static_cast<std::ptrdiff_t>(r) * stride);
  }
}

// The row of the code if the point carries every variable it reads, all finite.
const MultipleRow* Lookup(std::int32_t code, std::span<const double> point) noexcept {
  const MultipleRow* row = MultipleRowOfCode(code);
  if (row == nullptr || point.size() < static_cast<std::size_t>(row->variable_count)) return nullptr;
  for (std::int32_t k = 0; k < row->variable_count; ++k) {
    if (!std::isfinite(point[static_cast<std::size_t>(k)])) return nullptr;
  }
  return row;
}

}  // namespace

bool EvaluateMultiplePredefinedBlock(std::int32_t evaluation_code, const double* a, const double* points,
                                     std::int32_t width, std::int32_t n, double* y, double* d,
                                     std::int32_t stride) noexcept {
  const MultipleRow* row = MultipleRowOfCode(evaluation_code);
  if (row == nullptr || width < row->variable_count || n < 0) return false;
  // Steps on operands that are not finite raise no flag: such a block takes
  // the checked routines.
  bool finite = AllFinite(a + 1, row->parameter_count);
  for (std::int32_t r = 0; r < n && finite; ++r) {
    finite = AllFinite(points + static_cast<std::ptrdiff_t>(r) * width, row->variable_count);
  }
  if (!finite) return false;
  if (!FlagsCanBeWatched()) return false;
  const FlagWatch watch;
  // A step through a checked routine raises instead of setting a flag; the
  // rows then fail one by one the same way.
  return SucceedsWithoutFault([&] { FlaggedRowBlock(*row, a, points, width, n, y, d, stride); }) && watch.Clean();
}

const std::vector<MultipleRow>& MultipleRows() { return TheTable().rows; }

const MultipleRow* MultipleRowOfCode(std::int32_t evaluation_code) noexcept {
  if (evaluation_code < 0 || evaluation_code > kLastMultipleEvaluationCode) return nullptr;
  return TheTable().by_code[static_cast<std::size_t>(evaluation_code)];
}

const InternalModelEntry* FindMultipleInternalModel(std::int32_t model_id) noexcept {
  const std::vector<MultipleRow>& rows = MultipleRows();
  const auto it = std::lower_bound(rows.begin(), rows.end(), model_id,
                                   [](const MultipleRow& row, std::int32_t id) { return row.id < id; });
  return it == rows.end() || it->id != model_id ? nullptr : &it->entry;
}

bool EvaluateMultiplePredefined(std::int32_t evaluation_code, const double* a, std::span<const double> point,
                                double& y) noexcept {
  const MultipleRow* row = Lookup(evaluation_code, point);
  if (row == nullptr) return false;
  return SucceedsWithoutFault([&] { y = RowValue<Num>(*row, a, point).value(); });
}

bool MultiplePredefinedDerivatives(std::int32_t evaluation_code, const double* a, std::span<const double> point,
                                   double* d) noexcept {
  const MultipleRow* row = Lookup(evaluation_code, point);
  if (row == nullptr) return false;
  return SucceedsWithoutFault([&] { RowDerivatives<Num>(*row, a, point, d); });
}

}  // namespace tessarix::detail

namespace tessarix {

const std::vector<PredefinedModelInfo>& PredefinedMultipleModels() {
  static const std::vector<PredefinedModelInfo> listing = [] {
    std::vector<PredefinedModelInfo> models;
    for (const detail::MultipleRow& row : detail::MultipleRows()) {
      models.push_back({row.id, row.definition, row.description, row.parameter_count, row.variable_count});
    }
    return models;
  }();
  return listing;
}

}  // namespace tessarix
