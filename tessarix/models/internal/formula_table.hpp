// The shapes of the formula table behind the evaluation of the pre-defined
// models, and the families that are loops over coefficients or terms rather
// than formulas of their own.
#pragma once

#include <cstdint>

#include "tessarix/models/internal/linear_terms.hpp"
#include "tessarix/platform/checked.hpp"

namespace tessarix::detail {

// One model's value and derivatives. p holds the parameters from index 1;
// d receives the derivatives from index 1. Failures raise RuntimeFault, which
// the entry points turn into false.
using ValueFormula = Num (*)(std::int32_t code, const double* p, Num x);
using DerivativeFormula = void (*)(std::int32_t code, const double* p, Num x, double* d);

struct FormulaEntry {
  ValueFormula value;
  DerivativeFormula derivatives;
};

// Polynomials, codes 1..10, degree = code: Horner's scheme from `a`.
Num PolynomialValue(std::int32_t code, const double* p, Num x);
void PolynomialDerivatives(std::int32_t code, const double* p, Num x, double* d);
// Inverse polynomials, codes 60..64: nested division from the last coefficient.
Num InversePolynomialValue(std::int32_t code, const double* p, Num x);
void InversePolynomialDerivatives(std::int32_t code, const double* p, Num x, double* d);
// Inverse logarithmic polynomials, codes 70..74: nested division in log(x).
Num InverseLogarithmValue(std::int32_t code, const double* p, Num x);
void InverseLogarithmDerivatives(std::int32_t code, const double* p, Num x, double* d);
// Logarithmic polynomials, codes 80..84: Horner's scheme in log(x) from the last.
Num LogarithmValue(std::int32_t code, const double* p, Num x);
void LogarithmDerivatives(std::int32_t code, const double* p, Num x, double* d);
// The linear run, codes 90..313: a+b*T(i) and a+b*T(i)+c*T(j).
Num LinearRunValue(std::int32_t code, const double* p, Num x);
void LinearRunDerivatives(std::int32_t code, const double* p, Num x, double* d);

// First codes of the families; each family holds five codes except the
// polynomials (ten) and the linear run.
inline constexpr std::int32_t kPolynomialFirstCode = 1;
inline constexpr std::int32_t kPolynomialLastCode = 10;
inline constexpr std::int32_t kInversePolynomialFirstCode = 60;
inline constexpr std::int32_t kInverseLogarithmFirstCode = 70;
inline constexpr std::int32_t kLogarithmFirstCode = 80;
inline constexpr std::int32_t kFamilySize = 5;

// coefficient times term i of the list, in the order of its text ("b*x*log(x)"
// is (b*x)*log(x), "b/x^2" a division). With coefficient 1 it is the term's
// value, the derivative by the coefficient.
Num ApplyLinearTerm(Num coefficient, std::int32_t term, Num x);

}  // namespace tessarix::detail
