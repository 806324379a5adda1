// The linearisation of each pre-defined model with one variable. Every rule is
// exact: with error-free data the coefficients reproduce the parameters.
#include "tessarix/models/internal/estimate_rules.hpp"

#include "tessarix/models/internal/formula_table.hpp"
#include "tessarix/numerics/power.hpp"

namespace tessarix::detail {

Num TransformObservation(std::int32_t code, Num x, Num y) {
  switch (code) {
    case 11:  // 1/(1+a*x)
      return 1.0 / y - 1.0;
    case 12:  // exp(x-a)
      return log(y) - x;
    case 13:  // log(x-a)
      return exp(y) - x;
    case 14:  // 1/(x+a)
      return 1.0 / y - x;
    case 17:  // 1-1/(x^a)
      return log(1.0 / (1.0 - y));
    case 18:  // log(a+b*x)
      return exp(y);
    case 15: case 16: case 19: case 20: case 21: case 22: case 23: case 29: case 34: case 35:
    case 36: case 37: case 38: case 42: case 46: case 48: case 49: case 50: case 51:
      return log(y);
    case 24: case 25: case 26: case 27: case 30: case 31: case 33: case 44: case 47: case 52:
      return 1.0 / y;
    case 39:  // cos(x+a): the arc cosine, written with the arc tangent
      return atan(-y / sqrt(1.0 - y * y)) + 2.0 * atan(Num(1.0));
    case 40:  // sin(x+a): the arc sine
      return atan(y / sqrt(1.0 - y * y));
    case 41:  // 1-exp(-a*x^2)
      return log(1.0 - y);
    case 55: case 57: case 58:  // 1-exp(-x^a), 1-exp(-a*x^b), 1-exp(-a*b^x)
      return log(-log(1.0 - y));
    case 56: case 59:  // exp(-x^a), exp(-exp(a-b*x))
      return log(-log(y));
    default:  // the models linear in their parameters
      return y;
  }
}

void EstimateBasisTerms(std::int32_t code, Num x, double* b) {
  switch (code) {
    case 11:
      b[1] = x.value();
      return;
    case 12: case 13:
      b[1] = -1.0;
      return;
    case 14:
      b[1] = 1.0;
      return;
    case 15: case 17: case 55: case 56:
      b[1] = log(x).value();
      return;
    case 16:
      b[1] = (1.0 / x).value();
      return;
    case 18: case 19: case 20: case 22: case 26: case 27: case 39: case 40: case 58:
      b[1] = 1.0;
      b[2] = x.value();
      return;
    case 21: case 24: case 25: case 52: case 53:
      b[1] = 1.0;
      b[2] = (1.0 / x).value();
      return;
    case 23: case 32: case 33: case 57:
      b[1] = 1.0;
      b[2] = log(x).value();
      return;
    case 28:  // a*(x-b) = a*x - a*b
      b[1] = x.value();
      b[2] = -1.0;
      return;
    case 29:
      b[1] = 1.0;
      b[2] = log(x + 1.0).value();
      return;
    case 35:
      b[1] = 1.0;
      b[2] = (x * log(x)).value();
      return;
    case 36:
      b[1] = 1.0;
      b[2] = (log(x) / x).value();
      return;
    case 59:
      b[1] = 1.0;
      b[2] = (-x).value();
      return;
    case 41: case 42:
      b[1] = (-Power(x, 2.0)).value();
      return;
    case 43:
      b[1] = cos(x).value();
      b[2] = sin(x).value();
      return;
    case 30: case 31: case 46: case 51:
      b[1] = 1.0;
      b[2] = x.value();
      b[3] = Power(x, 2.0).value();
      return;
    case 34: case 38:
      b[1] = 1.0;
      b[2] = (1.0 / x).value();
      b[3] = log(x).value();
      return;
    case 37:
      b[1] = 1.0;
      b[2] = x.value();
      b[3] = log(x).value();
      return;
    case 44:
      b[1] = (1.0 / x).value();
      b[2] = 1.0;
      b[3] = (-x).value();
      return;
    case 45:
      b[1] = 1.0;
      b[2] = cos(x).value();
      b[3] = sin(x).value();
      return;
    case 47:
      b[1] = (1.0 / x).value();
      b[2] = 1.0;
      b[3] = (sqrt(x) / x).value();
      return;
    case 48:
      b[1] = 1.0;
      b[2] = log(x).value();
      b[3] = (-x).value();
      return;
    case 49:
      b[1] = log(x).value();
      b[2] = 1.0;
      b[3] = (-x).value();
      return;
    case 50:
      b[1] = 1.0;
      b[2] = log(x).value();
      b[3] = log(1.0 - x).value();
      return;
    case 54:
      b[1] = 1.0;
      b[2] = x.value();
      b[3] = (1.0 / Power(x, 2.0)).value();
      return;
    default:
      break;
  }
  // The linear families: their terms are their derivatives, which read no
  // parameter.
  if (code >= kPolynomialFirstCode && code <= kPolynomialLastCode) {
    PolynomialDerivatives(code, nullptr, x, b);
  } else if (code >= kInversePolynomialFirstCode && code < kInversePolynomialFirstCode + kFamilySize) {
    InversePolynomialDerivatives(code, nullptr, x, b);
  } else if (code >= kInverseLogarithmFirstCode && code < kInverseLogarithmFirstCode + kFamilySize) {
    InverseLogarithmDerivatives(code, nullptr, x, b);
  } else if (code >= kLogarithmFirstCode && code < kLogarithmFirstCode + kFamilySize) {
    LogarithmDerivatives(code, nullptr, x, b);
  } else if (code >= kLinearRunFirstCode && code <= kLinearRunLastCode) {
    LinearRunDerivatives(code, nullptr, x, b);
  } else {
    RaiseFault(FaultKind::InvalidCall);  // a code of no model
  }
}

void RecoverParameters(std::int32_t code, double* c) {
  switch (code) {
    case 16: case 20: case 21: case 23: case 29: case 35: case 36: case 48: case 50: case 57:
      c[1] = exp(Num(c[1])).value();
      return;
    case 19: case 37: case 38: case 58:
      c[1] = exp(Num(c[1])).value();
      c[2] = exp(Num(c[2])).value();
      return;
    case 24: {  // a*b*x/(1+b*x): 1/y = 1/a + 1/(a*b) * 1/x
      const Num a = 1.0 / Num(c[1]);
      c[1] = a.value();
      c[2] = (1.0 / (a * c[2])).value();
      return;
    }
    case 27: case 52: {  // a/(1+b*x), a*x/(b+x)
      const Num a = 1.0 / Num(c[1]);
      c[1] = a.value();
      c[2] = (a * c[2]).value();
      return;
    }
    case 28: {  // a*(x-b)
      const Num a = c[1];
      c[2] = (c[2] / a).value();
      return;
    }
    case 31: {  // a/(1+b*x+c*x^2)
      const Num a = 1.0 / Num(c[1]);
      c[1] = a.value();
      c[2] = (a * c[2]).value();
      c[3] = (a * c[3]).value();
      return;
    }
    case 51: {  // the Gaussian: log(y) = c1 + c2*x + c3*x^2
      const Num gc = sqrt(-1.0 / (2.0 * Num(c[3])));
      const Num gc2 = Power(gc, 2.0);
      const Num gb = gc2 * c[2];
      const Num ga = exp(c[1] + Power(gb, 2.0) / (2.0 * gc2));
      c[1] = ga.value();
      c[2] = gb.value();
      c[3] = gc.value();
      return;
    }
    default:
      return;
  }
}

}  // namespace tessarix::detail
