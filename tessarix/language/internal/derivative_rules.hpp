// The derivative of every function word, argument by argument, for the exact
// parameter derivatives: a closed form where the word has one (through its
// neighbours: the Bessel recurrences, the digamma function for the gamma
// family, the densities of the incomplete functions), 0 for the integer
// words and integer arguments, and otherwise a numerical derivative of that
// one word (Ridders' method), never of the whole model.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string_view>

#include "tessarix/language/internal/function_table.hpp"
#include "tessarix/numerics/one_based.hpp"

namespace tessarix::detail {

// d f / d (argument) given the arguments and f, the word's value there.
using Partial1 = double (*)(double u, double f);
using Partial2 = double (*)(double a, double b, double f);
using Partial3 = double (*)(double a, double b, double c, double f);

enum class PartialKind : std::uint8_t {
  Zero,       // the result does not move with this argument (integer words and arguments)
  Closed,     // the rule's function
  Numerical,  // Ridders' method on the word alone
};

struct DerivativeRule {
  std::string_view word;  // the row of FunctionRows() at the same position
  std::array<PartialKind, 3> kinds{};
  Partial1 d1 = nullptr;
  std::array<Partial2, 2> d2{};
  std::array<Partial3, 3> d3{};
};

// One rule per row of FunctionRows(), in the same order.
[[nodiscard]] std::span<const DerivativeRule> DerivativeRules();
// The rule of a row of the function table.
[[nodiscard]] const DerivativeRule& RuleOf(const FunctionRow& row);

// The partial derivative of the word by argument `which` (0-based) at `args`
// (arity elements), where the word's value is f. False when it cannot be had
// (a closed form that is infinite, a numerical derivative that failed). A
// closed form that faults or gives NaN at a point (a rule with no form
// there) falls back on the numerical derivative of the word.
// `table` is the work table of the numerical derivative (10 x 10 one-based).
// Never throws.
[[nodiscard]] bool WordPartial(const FunctionRow& row, const DerivativeRule& rule, std::int32_t which,
                               const double* args, double f, Matrix1& table, double& out) noexcept;

// psi(x) = d ln Gamma(x) / dx for real x (not a pole): recurrence up to 6,
// then the asymptotic series, about 1e-13 relative; reflection below 0.
[[nodiscard]] double RealDigamma(double x);

}  // namespace tessarix::detail
