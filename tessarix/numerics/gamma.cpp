#include "tessarix/numerics/gamma.hpp"

#include <array>
#include <cmath>
#include <cstdint>

#include "tessarix/numerics/internal_failure.hpp"
#include "tessarix/numerics/power.hpp"
#include "tessarix/platform/checked.hpp"

namespace tessarix::detail {
namespace {

// Convergence of both incomplete-gamma expansions: single-precision accuracy,
// which is what the statistics and the language are specified with.
constexpr double kGammaTolerance = 3e-07;
constexpr int kGammaTermLimit = 100;
// Lentz's replacement for a zero denominator.
constexpr double kTiny = 1e-30;
constexpr double kEuler = 0.5772156649;

}  // namespace

double GammaLn(double xx) {
  // The coefficients, the series start 1.00000000019001 and sqrt(2 pi) as
  // 2.506628274631 are the library's values, shorter than the published ones.
  static constexpr std::array<double, 6> kCoefficients = {76.1800917294715,  -86.5053203294168,   24.0140982408309,
                                                          -1.23173957245015, 0.00120865097386618, -5.395239384953e-06};
  const Num x = xx;
  Num tmp = x + 5.5;
  tmp = tmp - (x + 0.5) * log(tmp);
  Num ser = 1.00000000019001;
  Num y = x;
  for (const double c : kCoefficients) {
    y = y + 1.0;
    ser = ser + c / y;
  }
  return (-tmp + log(2.506628274631 * ser / x)).value();
}

double Factorial(double n) {
  const double k = std::floor(n);
  if (k < 0.0) {
    RaiseInternalFailure(5000);
  }
  if (k <= 32.0) {
    // Built afresh at every call: no state survives between calls.
    std::array<double, 33> table{};
    table[0] = 1.0;
    for (std::size_t j = 1; j < table.size(); ++j) {
      table[j] = static_cast<double>(j) * table[j - 1];
    }
    return table[static_cast<std::size_t>(k)];
  }
  return CheckedExp(GammaLn(k + 1.0));
}

double FactorialLn(double n) {
  const double k = std::floor(n);
  if (k < 0.0) {
    RaiseInternalFailure(5000);
  }
  return GammaLn(k + 1.0);
}

double Digamma(double n) {
  const double k = std::floor(n);
  if (k > 32767.0 || k < -32768.0) {
    RaiseFault(FaultKind::Overflow);
  }
  const auto count = static_cast<std::int32_t>(k);
  Num sum = 0.0;
  for (std::int32_t j = 1; j <= count - 1; ++j) {
    sum = sum + 1.0 / Num(static_cast<double>(j));
  }
  return (sum - kEuler).value();
}

double GammaP(double a, double x) {
  if (!(x >= 0.0 && a > 0.0)) {
    RaiseInternalFailure(5000);
  }
  if (x < a + 1.0) {
    return GammaSeries(a, x);
  }
  return (1.0 - Num(GammaFraction(a, x))).value();
}

double GammaQ(double a, double x) {
  if (!(x >= 0.0 && a > 0.0)) {
    RaiseInternalFailure(5000);
  }
  if (x < a + 1.0) {
    return (1.0 - Num(GammaSeries(a, x))).value();
  }
  return GammaFraction(a, x);
}

double GammaSeries(double a, double x) {
  const Num gln = GammaLn(a);
  if (x <= 0.0) {
    if (x < 0.0) {
      RaiseInternalFailure(5000);
    }
    return 0.0;
  }
  Num ap = a;
  Num sum = 1.0 / Num(a);
  Num del = sum;
  for (int n = 1; n <= kGammaTermLimit; ++n) {
    ap = ap + 1.0;
    del = del * x / ap;
    sum = sum + del;
    if (abs(del) < abs(sum) * kGammaTolerance) {
      return (sum * exp(-Num(x) + a * log(Num(x)) - gln)).value();
    }
  }
  RaiseInternalFailure(5000);
}

double GammaFraction(double a, double x) {
  const Num gln = GammaLn(a);
  Num b = Num(x) + 1.0 - a;
  Num c = 1.0 / Num(kTiny);
  Num d = 1.0 / b;
  Num h = d;
  for (int i = 1; i <= kGammaTermLimit; ++i) {
    const Num an = -Num(static_cast<double>(i)) * (Num(static_cast<double>(i)) - a);
    b = b + 2.0;
    d = an * d + b;
    if (abs(d) < kTiny) {
      d = kTiny;
    }
    c = b + an / c;
    if (abs(c) < kTiny) {
      c = kTiny;
    }
    d = 1.0 / d;
    const Num del = d * c;
    h = h * del;
    if (abs(del - 1.0) < kGammaTolerance) {
      return (exp(-Num(x) + a * log(Num(x)) - gln) * h).value();
    }
  }
  RaiseInternalFailure(5000);
}

double Erf(double x) {
  const double s = Power(x, 2.0);
  if (x < 0.0) {
    return -GammaP(0.5, s);
  }
  return GammaP(0.5, s);
}

double Erfc(double x) {
  const double s = Power(x, 2.0);
  if (x < 0.0) {
    return (1.0 + Num(GammaP(0.5, s))).value();
  }
  return GammaQ(0.5, s);
}

double BetaFunction(double z, double w) {
  return exp(Num(GammaLn(z)) + GammaLn(w) - GammaLn((Num(z) + w).value())).value();
}

}  // namespace tessarix::detail
