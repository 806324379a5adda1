// The run of IDs 75 to 298: the models a+b*T(i) and a+b*T(i)+c*T(j) over a
// list of 21 terms, made by one rule. The term list is the one declaration:
// the definition texts are written from it, and so is the arithmetic, which
// follows each text operator by operator so that coefficient times term is
// computed as the model language computes it ("b*x*log(x)" is (b*x)*log(x),
// "c/x^2" is c/x^2, not c*(1/x^2)).
//
// Included by model_catalogue.cpp only.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "tessarix/models/internal/model_row.hpp"
#include "tessarix/numerics/power.hpp"

namespace tessarix::detail {

// The term list. ORDER: the numbering 1..21 is the catalogue's; slot 0 is unused.
inline constexpr std::array<std::string_view, 22> kRunTerms = {
    "",
    "x",            // 1
    "x*log(x)",     // 2
    "x^1.5",        // 3
    "x^2",          // 4
    "x^2*log(x)",   // 5
    "x^2.5",        // 6
    "x^3",          // 7
    "exp(x)",       // 8
    "x^.5*log(x)",  // 9
    "log(x)^2",     // 10
    "x/log(x)",     // 11
    "x^.5",         // 12
    "log(x)",       // 13
    "1/log(x)",     // 14
    "1/x^.5",       // 15
    "log(x)/x",     // 16
    "1/x",          // 17
    "1/x^1.5",      // 18
    "log(x)/x^2",   // 19
    "1/x^2",        // 20
    "exp(-x)",      // 21
};
inline constexpr std::int32_t kRunTermCount = static_cast<std::int32_t>(kRunTerms.size()) - 1;

// ---- the arithmetic of a term, read from its text ----------------------------

// A factor of a term, as computation and as text. ORDER: the texts follow the
// enumerators.
enum class TermFactor : std::uint8_t { X, LogX, SqrtX, X1_5, X2, X2_5, X3, LogXSq, ExpX, ExpMinusX };
inline constexpr std::array<std::string_view, 10> kFactorTexts = {
    "x", "log(x)", "x^.5", "x^1.5", "x^2", "x^2.5", "x^3", "log(x)^2", "exp(x)", "exp(-x)",
};

// How a factor joins what stands to its left.
enum class TermJoin : std::uint8_t { Times, Over };

// A term as computed behind its coefficient: coefficient join1 factor1
// [join2 factor2]. A leading "1/" makes the first join a division.
struct TermRecipe {
  TermJoin join1 = TermJoin::Times;
  TermFactor factor1 = TermFactor::X;
  bool has_second = false;
  TermJoin join2 = TermJoin::Times;
  TermFactor factor2 = TermFactor::X;
};

constexpr TermFactor FactorOfText(std::string_view text) {
  for (std::size_t k = 0; k < kFactorTexts.size(); ++k) {
    if (kFactorTexts[k] == text) return static_cast<TermFactor>(k);
  }
  throw "a term of the run holds a factor of no known kind";
}

constexpr TermRecipe RecipeOfText(std::string_view text) {
  TermRecipe recipe;
  if (text.starts_with("1/")) {
    recipe.join1 = TermJoin::Over;
    text.remove_prefix(2);
  }
  const std::size_t split = text.find_first_of("*/");
  recipe.factor1 = FactorOfText(text.substr(0, split));
  if (split != std::string_view::npos) {
    recipe.has_second = true;
    recipe.join2 = text[split] == '*' ? TermJoin::Times : TermJoin::Over;
    recipe.factor2 = FactorOfText(text.substr(split + 1));
  }
  return recipe;
}

constexpr std::array<TermRecipe, kRunTerms.size()> BuildRecipes() {
  std::array<TermRecipe, kRunTerms.size()> recipes{};
  for (std::size_t k = 1; k < kRunTerms.size(); ++k) recipes[k] = RecipeOfText(kRunTerms[k]);
  return recipes;
}

inline constexpr std::array<TermRecipe, kRunTerms.size()> kRunRecipes = BuildRecipes();

template <class N>
N RunFactorValue(TermFactor factor, N x) {
  switch (factor) {
    case TermFactor::X:
      return x;
    case TermFactor::LogX:
      return log(x);
    case TermFactor::SqrtX:
      return Power(x, 0.5);
    case TermFactor::X1_5:
      return Power(x, 1.5);
    case TermFactor::X2:
      return Power(x, 2.0);
    case TermFactor::X2_5:
      return Power(x, 2.5);
    case TermFactor::X3:
      return Power(x, 3.0);
    case TermFactor::LogXSq:
      return Power(log(x), 2.0);
    case TermFactor::ExpX:
      return exp(x);
    case TermFactor::ExpMinusX:
      return exp(-x);
  }
  return x;  // not reached: the switch names every factor
}

template <class N>
N RunJoin(N left, TermJoin join, N right) {
  return join == TermJoin::Times ? left * right : left / right;
}

// coefficient times term `term` at x, in the order of the text. With
// coefficient 1 it is the term's value, the derivative by the coefficient.
template <class N>
N ApplyRunTerm(N coefficient, std::int32_t term, N x) {
  const TermRecipe& t = kRunRecipes[static_cast<std::size_t>(term)];
  N v = RunJoin(coefficient, t.join1, RunFactorValue(t.factor1, x));
  if (t.has_second) {
    v = RunJoin(v, t.join2, RunFactorValue(t.factor2, x));
  }
  return v;
}

struct RunFormulas {
  template <class N>
  static N Value(const ModelRow& row, const double* p, N x) {
    N v = N(p[1]) + ApplyRunTerm(N(p[2]), row.run_terms[0], x);
    if (row.run_terms[1] != 0) {
      v = v + ApplyRunTerm(N(p[3]), row.run_terms[1], x);
    }
    return v;
  }

  // The term values, with 1 for `a`: no parameter is read.
  template <class N>
  static void Derivatives(const ModelRow& row, const double* /*p*/, N x, double* d) {
    d[1] = 1.0;
    d[2] = ApplyRunTerm(N(1.0), row.run_terms[0], x).value();
    if (row.run_terms[1] != 0) {
      d[3] = ApplyRunTerm(N(1.0), row.run_terms[1], x).value();
    }
  }
};

// ---- the rule ------------------------------------------------------------------

inline constexpr std::int32_t kRunFirstId = 75;
inline constexpr std::int32_t kRunLastId = 298;
inline constexpr std::int32_t kRunCodeOffset = 15;  // evaluation code = ID + 15
inline constexpr std::size_t kRunSize = kRunLastId - kRunFirstId + 1;

// Two-parameter models over the terms in order, without the ones that exist
// elsewhere in the catalogue (x, log(x), 1/log(x), 1/x: IDs 1, 11, 21, 16);
// then every pair i < j, without (1,4), (1,20) and (17,20), which are IDs 2, 55
// and 17 in other notation.
constexpr bool RunSingleExcluded(std::int32_t i) { return i == 1 || i == 13 || i == 14 || i == 17; }
constexpr bool RunPairExcluded(std::int32_t i, std::int32_t j) {
  return (i == 1 && j == 4) || (i == 1 && j == 20) || (i == 17 && j == 20);
}

constexpr std::array<std::array<std::uint8_t, 2>, kRunSize> BuildRunPairs() {
  std::array<std::array<std::uint8_t, 2>, kRunSize> pairs{};
  std::size_t k = 0;
  auto add = [&](std::int32_t i, std::int32_t j) {
    if (k == pairs.size()) throw "the run overflows IDs 75 to 298";
    pairs[k++] = {static_cast<std::uint8_t>(i), static_cast<std::uint8_t>(j)};
  };
  for (std::int32_t i = 1; i <= kRunTermCount; ++i) {
    if (!RunSingleExcluded(i)) add(i, 0);
  }
  for (std::int32_t i = 1; i <= kRunTermCount; ++i) {
    for (std::int32_t j = i + 1; j <= kRunTermCount; ++j) {
      if (!RunPairExcluded(i, j)) add(i, j);
    }
  }
  // Any other count would shift every later ID.
  if (k != pairs.size()) throw "the run does not fill IDs 75 to 298";
  return pairs;
}

inline constexpr std::array<std::array<std::uint8_t, 2>, kRunSize> kRunPairs = BuildRunPairs();

// A coefficient and its term: "b*x*log(x)", but "b/x" for "1/x".
constexpr void AppendRunTerm(GeneratedText<32>& text, char coefficient, std::string_view term) {
  text += coefficient;
  if (term.starts_with("1/")) {
    text += term.substr(1);
  } else {
    text += '*';
    text += term;
  }
}

constexpr std::array<GeneratedText<32>, kRunSize> BuildRunTexts() {
  std::array<GeneratedText<32>, kRunSize> texts{};
  for (std::size_t k = 0; k < kRunSize; ++k) {
    texts[k] += "a+";
    AppendRunTerm(texts[k], 'b', kRunTerms[kRunPairs[k][0]]);
    if (kRunPairs[k][1] == 0) continue;
    texts[k] += '+';
    AppendRunTerm(texts[k], 'c', kRunTerms[kRunPairs[k][1]]);
  }
  return texts;
}

inline constexpr std::array<GeneratedText<32>, kRunSize> kRunTexts = BuildRunTexts();

// The rows of IDs 75 to 298, in ID order.
constexpr std::array<ModelRow, kRunSize> RunRows() {
  std::array<ModelRow, kRunSize> rows{};
  for (std::size_t k = 0; k < kRunSize; ++k) {
    ModelRow& row = rows[k];
    row.id = kRunFirstId + static_cast<std::int32_t>(k);
    row.parameter_count = kRunPairs[k][1] == 0 ? 2 : 3;
    row.entry.definition = kRunTexts[k].View();
    row.entry.file_label = row.entry.definition;
    row.entry.estimate_term_count = EstimateTermCount(kLinearInParameters, row.parameter_count);
    row.entry.evaluation_code = row.id + kRunCodeOffset;
    row.value = &CheckedValue<RunFormulas>;
    row.derivatives = &CheckedDerivatives<RunFormulas>;
    row.block = &FlaggedBlock<RunFormulas>;
    row.estimate = kLinearInParameters;
    row.run_terms = kRunPairs[k];
  }
  return rows;
}

}  // namespace tessarix::detail
