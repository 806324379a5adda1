// The vocabulary of the estimate rules: what each transform, term and way back
// computes. Every rule of the catalogue is exact: with error-free data the
// coefficients reproduce the parameters. The rows themselves say which of
// these each model uses.
#include "tessarix/models/internal/estimate_rules.hpp"

#include "tessarix/numerics/power.hpp"

namespace tessarix::detail {
namespace {

using enum Transform;
using enum Term;
using enum Recovery;

Num TermValue(Term term, Num x) {
  switch (term) {
    case None:
    case Derivatives:
      break;
    case One:
      return 1.0;
    case MinusOne:
      return -1.0;
    case X:
      return x;
    case MinusX:
      return -x;
    case InverseX:
      return 1.0 / x;
    case LogX:
      return log(x);
    case LogXPlus1:
      return log(x + 1.0);
    case XLogX:
      return x * log(x);
    case LogXOverX:
      return log(x) / x;
    case X2:
      return Power(x, 2.0);
    case MinusX2:
      return -Power(x, 2.0);
    case InverseX2:
      return 1.0 / Power(x, 2.0);
    case CosX:
      return cos(x);
    case SinX:
      return sin(x);
    case SqrtXOverX:
      return sqrt(x) / x;
    case Log1MinusX:
      return log(1.0 - x);
  }
  RaiseFault(FaultKind::InvalidCall);  // a row that names fewer terms than asked for
}

}  // namespace

Num TransformObservation(Transform transform, Num x, Num y) {
  switch (transform) {
    case Y:
      return y;
    case LogY:
      return log(y);
    case InverseY:
      return 1.0 / y;
    case InverseYMinus1:
      return 1.0 / y - 1.0;
    case InverseYMinusX:
      return 1.0 / y - x;
    case LogYMinusX:
      return log(y) - x;
    case ExpYMinusX:
      return exp(y) - x;
    case ExpY:
      return exp(y);
    case LogInverse1MinusY:
      return log(1.0 / (1.0 - y));
    case Log1MinusY:
      return log(1.0 - y);
    case LogMinusLogY:
      return log(-log(y));
    case LogMinusLog1MinusY:
      return log(-log(1.0 - y));
    case ArcCosY:
      return atan(-y / sqrt(1.0 - y * y)) + 2.0 * atan(Num(1.0));
    case ArcSinY:
      return atan(y / sqrt(1.0 - y * y));
  }
  return y;  // not reached: the switch names every transform
}

void EstimateBasisTerms(const ModelRow& row, Num x, double* b) {
  const EstimateRule& rule = row.estimate;
  if (rule.terms[0] == Derivatives) {
    // A model linear in its parameters: its derivatives read no parameter.
    row.derivatives(row, nullptr, x, b);
    return;
  }
  for (std::size_t j = 0; j < rule.terms.size() && rule.terms[j] != None; ++j) {
    b[j + 1] = TermValue(rule.terms[j], x).value();
  }
}

void RecoverParameters(const ModelRow& row, double* c) {
  switch (row.estimate.recovery) {
    case AsTheyStand:
      return;
    case ExpA:
      c[1] = exp(Num(c[1])).value();
      return;
    case ExpAB:
      c[1] = exp(Num(c[1])).value();
      c[2] = exp(Num(c[2])).value();
      return;
    case Hyperbola: {  // 1/y = 1/a + 1/(a*b) * 1/x
      const Num a = 1.0 / Num(c[1]);
      c[1] = a.value();
      c[2] = (1.0 / (a * c[2])).value();
      return;
    }
    case ReciprocalA: {  // 1/y = 1/a + (b/a)*T2 [+ (c/a)*T3]
      const Num a = 1.0 / Num(c[1]);
      c[1] = a.value();
      c[2] = (a * c[2]).value();
      if (row.entry.estimate_term_count == 3) c[3] = (a * c[3]).value();
      return;
    }
    case Slope: {  // a*(x-b) = a*x + (a*b)*(-1)
      const Num a = c[1];
      c[2] = (c[2] / a).value();
      return;
    }
    case Gaussian: {  // log(y) = c1 + c2*x + c3*x^2
      const Num gc = sqrt(-1.0 / (2.0 * Num(c[3])));
      const Num gc2 = Power(gc, 2.0);
      const Num gb = gc2 * c[2];
      const Num ga = exp(c[1] + Power(gb, 2.0) / (2.0 * gc2));
      c[1] = ga.value();
      c[2] = gb.value();
      c[3] = gc.value();
      return;
    }
  }
}

}  // namespace tessarix::detail
