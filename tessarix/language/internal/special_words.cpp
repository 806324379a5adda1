// The words that rest on the special functions of the numerics module.
// Arguments marked "int" in the dictionary are rounded half to even into 16
// bits; outside that range the conversion faults ("Overflow").
#include <cmath>

#include "tessarix/foundation/fault.hpp"
#include "tessarix/language/internal/function_table.hpp"
#include "tessarix/numerics/airy_spherical.hpp"
#include "tessarix/numerics/bessel_integer.hpp"
#include "tessarix/numerics/bessel_real_order.hpp"
#include "tessarix/numerics/distributions.hpp"
#include "tessarix/numerics/gamma.hpp"
#include "tessarix/numerics/polynomials.hpp"
#include "tessarix/platform/checked.hpp"
#include "tessarix/platform/rounding.hpp"

namespace tessarix::detail {

namespace {
double Int16Argument(double v) { return static_cast<double>(RoundToInt16(v)); }

// Integer orders 0 and 1 take the routines of those orders, with their
// single-precision accuracy; the others the recurrences.
double IntegerOrder(std::int16_t code, double order, double x) {
  const std::int16_t n = RoundToInt16(order);
  switch (code) {
    case 55:
      return n == 0 ? BesselJ0(x) : n == 1 ? BesselJ1(x) : BesselJn(n, x);
    case 56:
      return n == 0 ? BesselY0(x) : n == 1 ? BesselY1(x) : BesselYn(n, x);
    case 57:
      return n == 0 ? BesselI0(x) : n == 1 ? BesselI1(x) : BesselIn(n, x);
    default:
      return n == 0 ? BesselK0(x) : n == 1 ? BesselK1(x) : BesselKn(n, x);
  }
}
}  // namespace

double SpecialFunction1(std::int16_t code, double v) {
  switch (code) {
    case 38:
      return Erf(v);
    case 39:
      return Erfc(v);
    case 40:
      return Factorial(Int16Argument(v));
    case 41:
      return FactorialLn(Int16Argument(v));
    case 42:
      return CheckedExp(GammaLn(v));
    case 43:
      return GammaLn(v);
    case 44:
      return Digamma(Int16Argument(v));
    case 78:
      return BesselJ0(v);
    case 79:
      return BesselJ1(v);
    case 80:
      return BesselY0(v);
    case 81:
      return BesselY1(v);
    case 82:
      return BesselI0(v);
    case 83:
      return BesselI1(v);
    case 84:
      return BesselK0(v);
    case 85:
      return BesselK1(v);
    case 86:
      return Airy(v).ai;
    case 87:
      return Airy(v).bi;
    case 88:
      return Airy(v).dai;
    case 89:
      return Airy(v).dbi;
    default:
      break;
  }
  RaiseFault(FaultKind::InvalidCall);
}

double SpecialFunction2(std::int16_t code, double a, double b) {
  const Num x = a, y = b;
  switch (code) {
    case 48:
      return GammaP(a, b);
    case 49:
      return GammaQ(a, b);
    case 50:
      return BetaFunction(a, b);
    case 51:
      return GammaQ(a, b);  // the Poisson cumulative: count below a, mean b
    case 52:
      return (Num(1.0) - IncompleteBeta((y / 2.0).value(), 0.5, (y / (y + x * x)).value())).value();
    // "chi2" squares its second argument and "chi2c" does not: the language
    // has always read them so.
    case 53:
      return GammaP((y * y / 2.0).value(), (x / 2.0).value());
    case 54:
      return GammaQ((y / 2.0).value(), (x / 2.0).value());
    case 55:
    case 56:
    case 57:
    case 58:
      return IntegerOrder(code, a, b);
    // Real order: (x, nu).
    case 59:
      return BesselJY(a, b).j;
    case 60:
      return BesselJY(a, b).y;
    case 61:
      return BesselJY(a, b).dj;
    case 62:
      return BesselJY(a, b).dy;
    case 63:
      return BesselIK(a, b).i;
    case 64:
      return BesselIK(a, b).k;
    case 65:
      return BesselIK(a, b).di;
    case 66:
      return BesselIK(a, b).dk;
    // Spherical: (n int, x).
    case 67:
      return SphericalBessel(RoundToInt16(a), b).sj;
    case 68:
      return SphericalBessel(RoundToInt16(a), b).sy;
    case 69:
      return SphericalBessel(RoundToInt16(a), b).dsj;
    case 70:
      return SphericalBessel(RoundToInt16(a), b).dsy;
    default:
      break;
  }
  RaiseFault(FaultKind::InvalidCall);
}

double SpecialFunction3(std::int16_t code, double a, double b, double c) {
  const Num p = a, q = b, r = c;
  switch (code) {
    case 74:
      return LegendreP(RoundToInt16(a), RoundToInt16(b), c);
    case 75:
      return IncompleteBeta(a, (q - p + 1.0).value(), c);
    case 76:
      return IncompleteBeta(a, b, c);
    case 77:
      return IncompleteBeta((p / 2.0).value(), (q / 2.0).value(), (p / (p + q * r)).value());
    default:
      break;
  }
  RaiseFault(FaultKind::InvalidCall);
}

}  // namespace tessarix::detail
