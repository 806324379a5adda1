// The words that rest on the special functions of the numerics module.
// Arguments marked "int" in the dictionary are rounded half to even into 16
// bits; outside that range the conversion faults ("Overflow").
#include <cmath>

#include "tessarix/language/internal/function_table.hpp"
#include "tessarix/numerics/distributions.hpp"
#include "tessarix/numerics/gamma.hpp"
#include "tessarix/platform/checked.hpp"
#include "tessarix/platform/fault.hpp"
#include "tessarix/platform/rounding.hpp"

namespace tessarix::detail {

namespace {
double Int16Argument(double v) { return static_cast<double>(RoundToInt16(v)); }
}  // namespace

double SpecialFunction1(std::int16_t code, double v) {
  switch (code) {
    case 38: return Erf(v);
    case 39: return Erfc(v);
    case 40: return Factorial(Int16Argument(v));
    case 41: return FactorialLn(Int16Argument(v));
    case 42: return CheckedExp(GammaLn(v));
    case 43: return GammaLn(v);
    case 44: return Digamma(Int16Argument(v));
    default: break;
  }
  RaiseFault(FaultKind::InvalidCall);
}

double SpecialFunction2(std::int16_t code, double a, double b) {
  const Num x = a, y = b;
  switch (code) {
    case 48: return GammaP(a, b);
    case 49: return GammaQ(a, b);
    case 50: return BetaFunction(a, b);
    case 51: return GammaQ(a, b);  // the Poisson cumulative: count below a, mean b
    case 52: return (Num(1.0) - IncompleteBeta((y / 2.0).value(), 0.5, (y / (y + x * x)).value())).value();
    // "chi2" squares its second argument and "chi2c" does not: the language
    // has always read them so.
    case 53: return GammaP((y * y / 2.0).value(), (x / 2.0).value());
    case 54: return GammaQ((y / 2.0).value(), (x / 2.0).value());
    default: break;
  }
  RaiseFault(FaultKind::InvalidCall);
}

double SpecialFunction3(std::int16_t code, double a, double b, double c) {
  const Num p = a, q = b, r = c;
  switch (code) {
    case 75: return IncompleteBeta(a, (q - p + 1.0).value(), c);
    case 76: return IncompleteBeta(a, b, c);
    case 77: return IncompleteBeta((p / 2.0).value(), (q / 2.0).value(), (p / (p + q * r)).value());
    default: break;
  }
  RaiseFault(FaultKind::InvalidCall);
}

}  // namespace tessarix::detail
