// The arithmetic of the run of IDs 75 to 298: a+b*T(i)[+c*T(j)], each
// coefficient joined to its term's factors in the order of the text.
#include "tessarix/models/internal/linear_run.hpp"

#include "tessarix/numerics/power.hpp"

namespace tessarix::detail {
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
