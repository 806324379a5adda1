// One row of the catalogue: everything the library knows of a pre-defined
// model, in one place. The texts and numbers the regression object reads
// (InternalModelEntry), the number of parameters, the hand-written value and
// its analytic derivatives, and the change of variables behind the
// least-squares estimates.
//
// Rows come from two sources: models written out one by one (the nonlinear
// models) and generating rules that make a whole family (the power series, the
// run of IDs 75 to 298). model_catalogue.cpp gathers them into the table by ID and
// by evaluation code, at compile time.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <type_traits>

#include "tessarix/models/internal/flagged_num.hpp"
#include "tessarix/models/model_catalogue.hpp"
#include "tessarix/platform/checked.hpp"
#include "tessarix/platform/float_flags.hpp"

namespace tessarix::detail {

struct ModelRow;

// A model's arithmetic. p holds the parameters from index 1, d receives the
// derivatives from index 1. A failed step raises RuntimeFault, which the entry
// points turn into false. The row is handed in so that one routine serves all
// members of a family (it reads their parameter count and terms).
using ValueFormula = Num (*)(const ModelRow& row, const double* p, Num x);
using DerivativeFormula = void (*)(const ModelRow& row, const double* p, Num x, double* d);
// Values and, when d is not null, derivatives of n points x[0..n-1] on
// FlaggedNum: y[r] and d[r * stride + l]. A failed step leaves its flag set;
// false when a point is not finite (the steps on it raise nothing).
using BlockFormula = bool (*)(const ModelRow& row, const double* p, const double* x, std::int32_t n, double* y,
                              double* d, std::int32_t stride);

// The most parameters of a row (the tenth order polynomial).
inline constexpr std::int32_t kMostRowParameters = 11;

// ---- the vocabulary of the estimate rules ---------------------------------

// The transformed observation T that is linear in the coefficients.
enum class Transform : std::uint8_t {
  Y,                   // y
  LogY,                // log(y)
  InverseY,            // 1/y
  InverseYMinus1,      // 1/y-1
  InverseYMinusX,      // 1/y-x
  LogYMinusX,          // log(y)-x
  ExpYMinusX,          // exp(y)-x
  ExpY,                // exp(y)
  LogInverse1MinusY,   // log(1/(1-y))
  Log1MinusY,          // log(1-y)
  LogMinusLogY,        // log(-log(y))
  LogMinusLog1MinusY,  // log(-log(1-y))
  ArcCosY,             // atan(-y/sqr(1-y*y))+2*atan(1)
  ArcSinY,             // atan(y/sqr(1-y*y))
};

// One basis term of the linear problem, a function of x.
enum class Term : std::uint8_t {
  None,  // the end of a shorter list
  // The model is linear in its parameters: its derivatives, which read no
  // parameter, are the terms, one per parameter.
  Derivatives,
  One,
  MinusOne,
  X,
  MinusX,
  InverseX,
  LogX,
  LogXPlus1,
  XLogX,
  LogXOverX,
  X2,
  MinusX2,
  InverseX2,
  CosX,
  SinX,
  SqrtXOverX,
  Log1MinusX,
};

// The way back from the coefficients c1, c2, c3 to the parameters.
enum class Recovery : std::uint8_t {
  AsTheyStand,
  ExpA,         // a=exp(c1)
  ExpAB,        // a=exp(c1), b=exp(c2)
  Hyperbola,    // a=1/c1, b=1/(a*c2)
  ReciprocalA,  // a=1/c1, b=a*c2 (and c=a*c3 with three terms)
  Slope,        // a=c1, b=c2/a
  Gaussian,     // c=sqr(-1/(2*c3)), b=c^2*c2, a=exp(c1+b^2/(2*c^2))
};

struct EstimateRule {
  Transform transform = Transform::Y;
  std::array<Term, 3> terms{};  // in order; the count of terms is the estimate term count
  Recovery recovery = Recovery::AsTheyStand;
};

// The rule of every model that is linear in its parameters as it stands.
inline constexpr EstimateRule kLinearInParameters{Transform::Y, {Term::Derivatives}, Recovery::AsTheyStand};

// ---- the row ---------------------------------------------------------------

struct ModelRow {
  std::int32_t id = 0;
  // Texts, label, estimate term count and evaluation code; the estimate term
  // count follows from the rule (the number of its terms).
  InternalModelEntry entry;
  std::int32_t parameter_count = 0;
  ValueFormula value = nullptr;
  DerivativeFormula derivatives = nullptr;
  BlockFormula block = nullptr;
  EstimateRule estimate;
  // Members of the run of IDs 75 to 298: the positions of the terms of b and
  // c in the 21-term list (c's is 0 for the two-parameter models).
  std::array<std::uint8_t, 2> run_terms{};
};

// The number of linear terms of the estimator of a row with this rule.
constexpr std::int32_t EstimateTermCount(const EstimateRule& rule, std::int32_t parameter_count) {
  if (rule.terms[0] == Term::Derivatives) return parameter_count;
  std::int32_t count = 0;
  for (Term term : rule.terms) count += term == Term::None ? 0 : 1;
  return count;
}

// ---- models written out one by one -----------------------------------------
//
// Each value is its definition text read as algebra, operator by operator, so
// it computes what the model language computes for the text; every power goes
// through the power routine and nothing is guarded. The derivatives are the
// exact partial derivatives of the same formula. Where a parameter is the base
// of a power the derivative keeps it in a denominator, as the power rule gives
// it after factoring the value, so such a derivative fails at a zero base
// parameter although the value may exist. Elsewhere the squares of
// denominators are formed from the reciprocal (y*y rather than 1/u^2) so that
// a large denominator does not overflow where the derivative itself is small.

// The formulas of a row as templates on the number type: Num for the checked
// routines, FlaggedNum for the block. Formulas has static member templates
// Value(row, p, x) -> N and Derivatives(row, p, x, d).
template <class Formulas>
Num CheckedValue(const ModelRow& row, const double* p, Num x) {
  return Formulas::Value(row, p, x);
}

template <class Formulas>
void CheckedDerivatives(const ModelRow& row, const double* p, Num x, double* d) {
  Formulas::Derivatives(row, p, x, d);
}

// The same formulas over a block, point after point. The parameters are
// copied first: the outputs cannot alias a local copy, so the compiler may
// share a step of the value with the same step of the derivatives.
template <class Formulas>
[[gnu::noinline]] bool FlaggedBlock(const ModelRow& row, const double* p, const double* x, std::int32_t n, double* y,
                                    double* d, std::int32_t stride) {
  std::array<double, kMostRowParameters + 1> q{};
  for (std::int32_t l = 1; l <= row.parameter_count && l <= kMostRowParameters; ++l) {
    q[static_cast<std::size_t>(l)] = p[l];
  }
  FiniteTally points;
  for (std::int32_t r = 0; r < n; ++r) {
    const FlaggedNum xr = x[r];
    points.Add(x[r]);
    y[r] = Formulas::Value(row, q.data(), xr).value();
    if (d != nullptr) Formulas::Derivatives(row, q.data(), xr, d + static_cast<std::ptrdiff_t>(r) * stride);
  }
  return points.AllFinite();
}

template <class ValueLambda, class DerivativeLambda>
struct WrittenFormulas {
  template <class N>
  static N Value(const ModelRow& /*row*/, const double* p, N x) {
    static_assert(std::is_same_v<decltype(ValueLambda{}(p, x)), N>, "a formula computes on its number type");
    return ValueLambda{}(p, x);
  }
  template <class N>
  static void Derivatives(const ModelRow& /*row*/, const double* p, N x, double* d) {
    DerivativeLambda{}(p, x, d);
  }
};

// A row written out: ID, evaluation code, definition, description, number of
// parameters, value, derivatives, estimate rule. value and derivatives are
// template lambdas without captures on the number type N:
// (const double* p, N x) -> N and (const double* p, N x, double* d).
template <class Value, class Derivatives>
constexpr ModelRow Written(std::int32_t id, std::int32_t code, std::string_view definition,
                           std::string_view description, std::int32_t parameters, Value /*value*/,
                           Derivatives /*derivatives*/, EstimateRule estimate) {
  ModelRow row;
  row.id = id;
  row.entry = {definition, description, definition, EstimateTermCount(estimate, parameters), code};
  row.parameter_count = parameters;
  using Formulas = WrittenFormulas<Value, Derivatives>;
  row.value = &CheckedValue<Formulas>;
  row.derivatives = &CheckedDerivatives<Formulas>;
  row.block = &FlaggedBlock<Formulas>;
  row.estimate = estimate;
  return row;
}

// ---- texts made at compile time --------------------------------------------

template <std::size_t kCapacity>
struct GeneratedText {
  std::array<char, kCapacity> chars{};
  std::size_t size = 0;

  constexpr GeneratedText& operator+=(std::string_view s) {
    for (char ch : s) {
      if (size == chars.size()) throw "generated text longer than its buffer";
      chars[size++] = ch;
    }
    return *this;
  }
  constexpr GeneratedText& operator+=(char ch) { return *this += std::string_view(&ch, 1); }
  constexpr std::string_view View() const { return std::string_view(chars.data(), size); }
};

// ---- the table ---------------------------------------------------------------

// The rows by evaluation code, nullptr for a code of no model (0, 65..69,
// 75..79, 85..89). Built at compile time in model_catalogue.cpp.
extern const std::array<const ModelRow*, kLastEvaluationCode + 1> kRowByCode;

// The row of an evaluation code, nullptr for a code of no model or out of range.
inline const ModelRow* RowOfCode(std::int32_t evaluation_code) noexcept {
  if (evaluation_code < 0 || evaluation_code > kLastEvaluationCode) return nullptr;
  return kRowByCode[static_cast<std::size_t>(evaluation_code)];
}

}  // namespace tessarix::detail
