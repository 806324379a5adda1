// The linear families of the one-variable catalogue: polynomials, logarithmic
// and inverse polynomials and the run of IDs 75 to 298. Each is one loop over
// its coefficients or its terms; the nesting of each family is part of its
// arithmetic and so of its last bits.
#include "tessarix/models/internal/formula_table.hpp"
#include "tessarix/numerics/power.hpp"

namespace tessarix::detail {
namespace {

// Number of parameters of a family member: degree + 1.
constexpr std::int32_t FamilyParameters(std::int32_t code, std::int32_t first_code) { return code - first_code + 2; }

Num TermFactorValue(TermFactor factor, Num x) {
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

Num Join(Num left, TermJoin join, Num right) { return join == TermJoin::Times ? left * right : left / right; }

}  // namespace

Num ApplyLinearTerm(Num coefficient, std::int32_t term, Num x) {
  const LinearTerm& t = kLinearTerms[static_cast<std::size_t>(term)];
  Num v = Join(coefficient, t.join1, TermFactorValue(t.factor1, x));
  if (t.has_second) {
    v = Join(v, t.join2, TermFactorValue(t.factor2, x));
  }
  return v;
}

// ---- polynomials: ((a*x+b)*x+c)*x+d ----------------------------------------

Num PolynomialValue(std::int32_t code, const double* p, Num x) {
  const std::int32_t n = FamilyParameters(code, kPolynomialFirstCode);
  Num v = p[1];
  for (std::int32_t k = 2; k <= n; ++k) {
    v = v * x + p[k];
  }
  return v;
}

// x^(n-1), ..., x^2, x, 1: the powers through the power routine.
void PolynomialDerivatives(std::int32_t code, const double* /*p*/, Num x, double* d) {
  const std::int32_t n = FamilyParameters(code, kPolynomialFirstCode);
  for (std::int32_t j = 1; j <= n - 2; ++j) {
    d[j] = Power(x, static_cast<double>(n - j)).value();
  }
  d[n - 1] = x.value();
  d[n] = 1.0;
}

// ---- inverse polynomials: ((d/x+c)/x+b)/x+a --------------------------------

Num InversePolynomialValue(std::int32_t code, const double* p, Num x) {
  const std::int32_t n = FamilyParameters(code, kInversePolynomialFirstCode);
  Num v = p[n];
  for (std::int32_t k = n - 1; k >= 1; --k) {
    v = v / x + p[k];
  }
  return v;
}

// 1, 1/x, 1/x^2, ...
void InversePolynomialDerivatives(std::int32_t code, const double* /*p*/, Num x, double* d) {
  const std::int32_t n = FamilyParameters(code, kInversePolynomialFirstCode);
  d[1] = 1.0;
  d[2] = (1.0 / x).value();
  for (std::int32_t k = 3; k <= n; ++k) {
    d[k] = (1.0 / Power(x, static_cast<double>(k - 1))).value();
  }
}

// ---- inverse logarithmic polynomials: ((d/L+c)/L+b)/L+a, L = log(x) --------

Num InverseLogarithmValue(std::int32_t code, const double* p, Num x) {
  const std::int32_t n = FamilyParameters(code, kInverseLogarithmFirstCode);
  const Num l = log(x);
  Num v = p[n];
  for (std::int32_t k = n - 1; k >= 1; --k) {
    v = v / l + p[k];
  }
  return v;
}

void InverseLogarithmDerivatives(std::int32_t code, const double* /*p*/, Num x, double* d) {
  const std::int32_t n = FamilyParameters(code, kInverseLogarithmFirstCode);
  const Num l = log(x);
  d[1] = 1.0;
  d[2] = (1.0 / l).value();
  for (std::int32_t k = 3; k <= n; ++k) {
    d[k] = (1.0 / Power(l, static_cast<double>(k - 1))).value();
  }
}

// ---- logarithmic polynomials: ((d*L+c)*L+b)*L+a, L = log(x) ----------------

Num LogarithmValue(std::int32_t code, const double* p, Num x) {
  const std::int32_t n = FamilyParameters(code, kLogarithmFirstCode);
  const Num l = log(x);
  Num v = p[n];
  for (std::int32_t k = n - 1; k >= 1; --k) {
    v = v * l + p[k];
  }
  return v;
}

void LogarithmDerivatives(std::int32_t code, const double* /*p*/, Num x, double* d) {
  const std::int32_t n = FamilyParameters(code, kLogarithmFirstCode);
  const Num l = log(x);
  d[1] = 1.0;
  d[2] = l.value();
  for (std::int32_t k = 3; k <= n; ++k) {
    d[k] = Power(l, static_cast<double>(k - 1)).value();
  }
}

// ---- the run of IDs 75 to 298: terms as written in the definition ----------

Num LinearRunValue(std::int32_t code, const double* p, Num x) {
  const LinearRunEntry& run = LinearRunForCode(code);
  Num v = Num(p[1]) + ApplyLinearTerm(p[2], run.first, x);
  if (run.second != 0) {
    v = v + ApplyLinearTerm(p[3], run.second, x);
  }
  return v;
}

void LinearRunDerivatives(std::int32_t code, const double* /*p*/, Num x, double* d) {
  const LinearRunEntry& run = LinearRunForCode(code);
  d[1] = 1.0;
  d[2] = ApplyLinearTerm(1.0, run.first, x).value();
  if (run.second != 0) {
    d[3] = ApplyLinearTerm(1.0, run.second, x).value();
  }
}

}  // namespace tessarix::detail
