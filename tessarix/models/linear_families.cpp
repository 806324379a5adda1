// The arithmetic of the families linear in their parameters: the power series
// of IDs 1 to 25, one nested loop for each form, and the run of IDs 75 to 298,
// a+b*T(i)[+c*T(j)] with each coefficient joined to its term's factors in the
// order of the text.
#include "tessarix/models/internal/linear_run.hpp"
#include "tessarix/models/internal/power_series.hpp"
#include "tessarix/numerics/power.hpp"

namespace tessarix::detail {

// ---- the power series --------------------------------------------------------

namespace {

// Coefficient of the power k (0 for the constant) among n parameters.
template <SeriesForm kForm>
constexpr std::int32_t CoefficientOfPower(std::int32_t k, std::int32_t n) {
  return kForm.highest_first ? n - k : k + 1;
}

}  // namespace

template <SeriesForm kForm>
Num SeriesValue(const ModelRow& row, const double* p, Num x) {
  const std::int32_t n = row.parameter_count;
  const Num base = kForm.in_log ? log(x) : x;
  Num v = p[CoefficientOfPower<kForm>(n - 1, n)];
  for (std::int32_t k = n - 2; k >= 0; --k) {
    v = (kForm.divide ? v / base : v * base) + p[CoefficientOfPower<kForm>(k, n)];
  }
  return v;
}

template <SeriesForm kForm>
void SeriesDerivatives(const ModelRow& row, const double* /*p*/, Num x, double* d) {
  const std::int32_t n = row.parameter_count;
  const Num base = kForm.in_log ? log(x) : x;
  d[CoefficientOfPower<kForm>(0, n)] = 1.0;
  d[CoefficientOfPower<kForm>(1, n)] = (kForm.divide ? 1.0 / base : base).value();
  for (std::int32_t k = 2; k < n; ++k) {
    const Num power = Power(base, static_cast<double>(k));
    d[CoefficientOfPower<kForm>(k, n)] = (kForm.divide ? 1.0 / power : power).value();
  }
}

template Num SeriesValue<kPolynomial>(const ModelRow&, const double*, Num);
template Num SeriesValue<kLogarithm>(const ModelRow&, const double*, Num);
template Num SeriesValue<kInversePolynomial>(const ModelRow&, const double*, Num);
template Num SeriesValue<kInverseLogarithm>(const ModelRow&, const double*, Num);
template void SeriesDerivatives<kPolynomial>(const ModelRow&, const double*, Num, double*);
template void SeriesDerivatives<kLogarithm>(const ModelRow&, const double*, Num, double*);
template void SeriesDerivatives<kInversePolynomial>(const ModelRow&, const double*, Num, double*);
template void SeriesDerivatives<kInverseLogarithm>(const ModelRow&, const double*, Num, double*);

// ---- the run of IDs 75 to 298 ---------------------------------------------------

namespace {

Num FactorValue(TermFactor factor, Num x) {
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

Num ApplyRunTerm(Num coefficient, std::int32_t term, Num x) {
  const TermRecipe& t = kRunRecipes[static_cast<std::size_t>(term)];
  Num v = Join(coefficient, t.join1, FactorValue(t.factor1, x));
  if (t.has_second) {
    v = Join(v, t.join2, FactorValue(t.factor2, x));
  }
  return v;
}

Num RunValue(const ModelRow& row, const double* p, Num x) {
  Num v = Num(p[1]) + ApplyRunTerm(p[2], row.run_terms[0], x);
  if (row.run_terms[1] != 0) {
    v = v + ApplyRunTerm(p[3], row.run_terms[1], x);
  }
  return v;
}

// The term values, with 1 for `a`: no parameter is read.
void RunDerivatives(const ModelRow& row, const double* /*p*/, Num x, double* d) {
  d[1] = 1.0;
  d[2] = ApplyRunTerm(1.0, row.run_terms[0], x).value();
  if (row.run_terms[1] != 0) {
    d[3] = ApplyRunTerm(1.0, row.run_terms[1], x).value();
  }
}

}  // namespace tessarix::detail
