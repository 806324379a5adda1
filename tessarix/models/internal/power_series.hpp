// The power series of the one-variable catalogue, IDs 1 to 25: polynomials in
// x, in log(x), in 1/x and in 1/log(x), degree 1 and up. One rule per family
// makes the rows: definition, description, label, evaluation code, and the
// one nested loop that evaluates every member.
//
// The nesting is part of the arithmetic and so of the last bits: the
// polynomials run Horner's scheme from `a`, ((a*x+b)*x+c)*x+d; the others
// nest from the last coefficient, ((d*L+c)*L+b)*L+a with L = log(x), and by
// division for the inverse ones, ((d/x+c)/x+b)/x+a.
//
// Included by model_catalogue.cpp only.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "tessarix/models/internal/model_row.hpp"
#include "tessarix/numerics/power.hpp"

namespace tessarix::detail {

// The shape of a family: its powers are of x or of log(x), its coefficients
// multiply or divide them, and the polynomials list the highest power first.
struct SeriesForm {
  bool in_log = false;
  bool divide = false;
  bool highest_first = false;
};

// Coefficient of the power k (0 for the constant) among n parameters.
template <SeriesForm kForm>
constexpr std::int32_t CoefficientOfPower(std::int32_t k, std::int32_t n) {
  return kForm.highest_first ? n - k : k + 1;
}

// The value and the derivatives (the terms themselves: 1, the base, and higher
// powers through the power routine) of every member of a family of this form.
template <SeriesForm kForm>
struct SeriesFormulas {
  template <class N>
  static N Value(const ModelRow& row, const double* p, N x) {
    const std::int32_t n = row.parameter_count;
    const N base = kForm.in_log ? log(x) : x;
    N v = p[CoefficientOfPower<kForm>(n - 1, n)];
    for (std::int32_t k = n - 2; k >= 0; --k) {
      v = (kForm.divide ? v / base : v * base) + p[CoefficientOfPower<kForm>(k, n)];
    }
    return v;
  }

  template <class N>
  static void Derivatives(const ModelRow& row, const double* /*p*/, N x, double* d) {
    const std::int32_t n = row.parameter_count;
    const N base = kForm.in_log ? log(x) : x;
    d[CoefficientOfPower<kForm>(0, n)] = 1.0;
    d[CoefficientOfPower<kForm>(1, n)] = (kForm.divide ? 1.0 / base : base).value();
    for (std::int32_t k = 2; k < n; ++k) {
      const N power = Power(base, static_cast<double>(k));
      d[CoefficientOfPower<kForm>(k, n)] = (kForm.divide ? 1.0 / power : power).value();
    }
  }
};

// A family: members of degree 1 to `degrees` from `first_id` and `first_code`
// on. The description is "<Ordinal> Order <name>", with `first_note` added to
// the first member's; the fit file's label is the description in small
// letters from the first word on, without the note, for members of degree
// `first_labelled_degree` and higher, the definition for the others.
struct SeriesFamily {
  std::int32_t first_id;
  std::int32_t first_code;
  std::int32_t degrees;
  std::string_view name;
  std::string_view first_note;
  std::int32_t first_labelled_degree;
  SeriesForm form;
  ValueFormula value;
  DerivativeFormula derivatives;
  BlockFormula block;
};

template <SeriesForm kForm>
constexpr SeriesFamily MakeSeriesFamily(std::int32_t first_id, std::int32_t first_code, std::int32_t degrees,
                                        std::string_view name, std::string_view first_note,
                                        std::int32_t first_labelled_degree) {
  using Formulas = SeriesFormulas<kForm>;
  return {first_id,
          first_code,
          degrees,
          name,
          first_note,
          first_labelled_degree,
          kForm,
          &CheckedValue<Formulas>,
          &CheckedDerivatives<Formulas>,
          &FlaggedBlock<Formulas>};
}

inline constexpr SeriesForm kPolynomial{.in_log = false, .divide = false, .highest_first = true};
inline constexpr SeriesForm kLogarithm{.in_log = true, .divide = false, .highest_first = false};
inline constexpr SeriesForm kInversePolynomial{.in_log = false, .divide = true, .highest_first = false};
inline constexpr SeriesForm kInverseLogarithm{.in_log = true, .divide = true, .highest_first = false};

inline constexpr std::array<SeriesFamily, 4> kSeriesFamilies = {
    MakeSeriesFamily<kPolynomial>(1, 1, 10, "Polynomial", "", 6),
    MakeSeriesFamily<kLogarithm>(11, 80, 5, "Logarithm", "", 1),
    MakeSeriesFamily<kInversePolynomial>(16, 60, 5, "Inverse Polynomial", " (Hyperbolic)", 1),
    MakeSeriesFamily<kInverseLogarithm>(21, 70, 5, "Inverse Logarithm", "", 1),
};

inline constexpr std::size_t kSeriesModelCount = [] {
  std::size_t count = 0;
  for (const SeriesFamily& family : kSeriesFamilies) count += static_cast<std::size_t>(family.degrees);
  return count;
}();

struct SeriesTexts {
  GeneratedText<64> definition;
  GeneratedText<48> description;
  GeneratedText<32> label;
};

// "a*x^3+b*x^2+c*x+d", "a+b*log(x)+c*log(x)^2", "a+b/x+c/x^2".
constexpr GeneratedText<64> SeriesDefinition(const SeriesForm& form, std::int32_t degree) {
  GeneratedText<64> text;
  for (std::int32_t j = 0; j <= degree; ++j) {
    const std::int32_t power = form.highest_first ? degree - j : j;
    if (j > 0) text += '+';
    text += static_cast<char>('a' + j);
    if (power == 0) continue;
    text += form.divide ? '/' : '*';
    text += form.in_log ? "log(x)" : "x";
    if (power < 2) continue;
    text += '^';
    if (power >= 10) text += static_cast<char>('0' + power / 10);
    text += static_cast<char>('0' + power % 10);
  }
  return text;
}

constexpr SeriesTexts SeriesTextsOf(const SeriesFamily& family, std::int32_t degree) {
  constexpr std::array<std::string_view, 10> kOrdinals = {"First", "Second",  "Third",  "Fourth", "Fifth",
                                                          "Sixth", "Seventh", "Eighth", "Ninth",  "Tenth"};
  const std::string_view ordinal = kOrdinals[static_cast<std::size_t>(degree - 1)];
  SeriesTexts t;
  t.definition = SeriesDefinition(family.form, degree);
  t.description += ordinal;
  t.description += " Order ";
  t.description += family.name;
  if (degree == 1) t.description += family.first_note;
  if (degree >= family.first_labelled_degree) {
    t.label += ordinal;
    t.label += " order ";
    for (char ch : family.name) t.label += ch >= 'A' && ch <= 'Z' ? static_cast<char>(ch - 'A' + 'a') : ch;
  }
  return t;  // an empty label stands for the definition
}

constexpr std::array<SeriesTexts, kSeriesModelCount> BuildSeriesTexts() {
  std::array<SeriesTexts, kSeriesModelCount> texts{};
  for (const SeriesFamily& family : kSeriesFamilies) {
    for (std::int32_t degree = 1; degree <= family.degrees; ++degree) {
      texts[static_cast<std::size_t>(family.first_id + degree - 2)] = SeriesTextsOf(family, degree);
    }
  }
  return texts;
}

inline constexpr std::array<SeriesTexts, kSeriesModelCount> kSeriesTexts = BuildSeriesTexts();

// The rows of IDs 1 to 25, in ID order.
constexpr std::array<ModelRow, kSeriesModelCount> SeriesRows() {
  std::array<ModelRow, kSeriesModelCount> rows{};
  for (const SeriesFamily& family : kSeriesFamilies) {
    for (std::int32_t degree = 1; degree <= family.degrees; ++degree) {
      const std::int32_t id = family.first_id + degree - 1;
      const SeriesTexts& t = kSeriesTexts[static_cast<std::size_t>(id - 1)];
      ModelRow& row = rows[static_cast<std::size_t>(id - 1)];
      row.id = id;
      row.parameter_count = degree + 1;
      row.entry.definition = t.definition.View();
      row.entry.description = t.description.View();
      row.entry.file_label = t.label.size == 0 ? t.definition.View() : t.label.View();
      row.entry.estimate_term_count = EstimateTermCount(kLinearInParameters, row.parameter_count);
      row.entry.evaluation_code = family.first_code + degree - 1;
      row.value = family.value;
      row.derivatives = family.derivatives;
      row.block = family.block;
      row.estimate = kLinearInParameters;
    }
  }
  return rows;
}

}  // namespace tessarix::detail
