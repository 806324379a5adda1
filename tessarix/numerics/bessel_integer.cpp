#include "tessarix/numerics/bessel_integer.hpp"

#include <array>
#include <cmath>

#include "tessarix/numerics/internal_failure.hpp"
#include "tessarix/numerics/power.hpp"
#include "tessarix/platform/checked.hpp"

namespace tessarix::detail {
namespace {

// The coefficient tables are the library's values, a few of them differing in
// their last digits from the published tables; the stored values define the
// functions. Each polynomial is a sum of explicit powers (PowerSum).

// Asymptotic forms for x >= 8, shared by J0/Y0 and J1/Y1.
constexpr std::array<double, 5> kA0 = {1, -0.001098628627, 2.734510407e-05, -2.073370639e-06, 2.093887211e-07};
constexpr std::array<double, 5> kB0 = {-0.01562499995, 0.0001430488765, -6.91114765e-06, 7.621095161e-07,
                                       -9.34945152e-08};
constexpr std::array<double, 5> kA1 = {1, 0.00183105, -3.516396496e-05, 2.457520174e-06, -2.40337019e-07};
constexpr std::array<double, 5> kB1 = {0.04687499995, -0.0002002690873, 8.449199096e-06, -8.8228987e-07,
                                       1.05787412e-07};
constexpr double kTwoOverPi = 0.636619772;

Num Poly(const auto& coefficients, Num y) { return PowerSum(coefficients, y.value()); }

// sqrt(0.636619772/ax) * (cos(xx)*A(y) -/+ z*sin(xx)*B(y)) and its Y twin.
struct Asymptotic {
  Num root, xx, z, a, b;
};
Asymptotic AsymptoticTerms(Num ax, double phase, const std::array<double, 5>& ca, const std::array<double, 5>& cb) {
  const Num z = 8.0 / ax;
  const Num y = Power(z, 2.0);
  return {sqrt(kTwoOverPi / ax), ax - phase, z, Poly(ca, y), Poly(cb, y)};
}

constexpr std::int32_t kMillerAccuracy = 40;
constexpr double kBig = 1e+10;
constexpr double kBigInverse = 1e-10;

std::int32_t MillerOffset(std::int32_t n) {
  return static_cast<std::int32_t>(std::floor(std::sqrt(static_cast<double>(kMillerAccuracy) * n)));
}

}  // namespace

double BesselJ0(double x) {
  static constexpr std::array<double, 6> kP = {57568490574.0, -13362590354.0, 651619640.7,
                                               -11214424.18,  77392.33017,    -184.9052456};
  static constexpr std::array<double, 6> kQ = {57568490411.0, 1029532985.0, 9494680.718, 59272.64853, 267.8532712, 1.0};
  const Num ax = abs(Num(x));
  if (ax < 8.0) {
    const Num y = Power(Num(x), 2.0);
    return (Poly(kP, y) / Poly(kQ, y)).value();
  }
  const Asymptotic t = AsymptoticTerms(ax, 0.785398164, kA0, kB0);
  return (t.root * (cos(t.xx) * t.a - t.z * sin(t.xx) * t.b)).value();
}

double BesselJ1(double x) {
  static constexpr std::array<double, 6> kP = {72362614232.0, -7895059235.0, 242396853.1,
                                               -2972611.439,  15704.4826,    -30.16036606};
  static constexpr std::array<double, 6> kQ = {144725228442.0, 2300535178.0, 18583304.74,
                                               99447.43394,    376.9991397,  1.0};
  const Num ax = abs(Num(x));
  if (ax < 8.0) {
    const Num y = Power(Num(x), 2.0);
    return (x * Poly(kP, y) / Poly(kQ, y)).value();
  }
  const Asymptotic t = AsymptoticTerms(ax, 2.356194491, kA1, kB1);
  const Num ans = t.root * (cos(t.xx) * t.a - t.z * sin(t.xx) * t.b);
  return (x < 0.0 ? -ans : ans).value();
}

double BesselY0(double x) {
  static constexpr std::array<double, 6> kP = {-2957821389.0, 7062834065.0, -512359803.6,
                                               10879881.29,   -86327.92757, 228.4622733};
  static constexpr std::array<double, 6> kQ = {40076544269.0, 745249964.8, 7189466.438, 47447.2647, 226.1030244, 1.0};
  if (x < 8.0) {
    const Num y = Power(Num(x), 2.0);
    // 0.636619722 here, against 0.636619772 elsewhere: the library's value.
    return (Poly(kP, y) / Poly(kQ, y) + 0.636619722 * Num(BesselJ0(x)) * log(Num(x))).value();
  }
  const Asymptotic t = AsymptoticTerms(Num(x), 0.785398164, kA0, kB0);
  return (t.root * (sin(t.xx) * t.a + t.z * cos(t.xx) * t.b)).value();
}

double BesselY1(double x) {
  static constexpr std::array<double, 6> kP = {-4900604943000.0, 1275274390000.0, -51534381390.0,
                                               734926455.1,      -4237922.726,    8511.937935};
  static constexpr std::array<double, 7> kQ = {24995805700000.0, 424441966400.0, 3733650367.0, 22459040.02,
                                               102042.605,       354.9632885,    1.0};
  if (x < 8.0) {
    const Num y = Power(Num(x), 2.0);
    return (x * Poly(kP, y) / Poly(kQ, y) + kTwoOverPi * (Num(BesselJ1(x)) * log(Num(x)) - 1.0 / Num(x))).value();
  }
  const Asymptotic t = AsymptoticTerms(Num(x), 2.356194491, kA1, kB1);
  return (t.root * (sin(t.xx) * t.a + t.z * cos(t.xx) * t.b)).value();
}

double BesselI0(double x) {
  static constexpr std::array<double, 7> kSmall = {1.0,       3.5156229, 3.0899424, 1.2067492,
                                                   0.2659732, 0.0360768, 0.0045813};
  static constexpr std::array<double, 9> kLarge = {0.39894228,  0.01328592, 0.0225319,   -0.00157565, 0.00916281,
                                                   -0.02057706, 0.02635537, -0.01647633, 0.00392377};
  const Num ax = abs(Num(x));
  if (ax < 3.75) {
    const Num y = Power(Num(x) / 3.75, 2.0);
    return Poly(kSmall, y).value();
  }
  const Num y = 3.75 / ax;
  return (exp(ax) / sqrt(ax) * Poly(kLarge, y)).value();
}

double BesselI1(double x) {
  static constexpr std::array<double, 7> kSmall = {0.5,        0.87890594, 0.51498869, 0.15084934,
                                                   0.02658733, 0.00301532, 0.00032411};
  static constexpr std::array<double, 9> kLarge = {0.39894228, -0.03988024, -0.00362018, 0.00163801, -0.01031555,
                                                   0.02282967, -0.02895312, 0.01787654,  -0.00420059};
  const Num ax = abs(Num(x));
  Num ans;
  if (ax < 3.75) {
    const Num y = Power(Num(x) / 3.75, 2.0);
    ans = ax * Poly(kSmall, y);
  } else {
    const Num y = 3.75 / ax;
    ans = exp(ax) / sqrt(ax) * Poly(kLarge, y);
  }
  return (x < 0.0 ? -ans : ans).value();
}

double BesselK0(double x) {
  static constexpr std::array<double, 7> kSmall = {-0.57721566, 0.4227842, 0.23069756, 0.0348859,
                                                   0.00262698,  0.0001075, 7.4e-06};
  static constexpr std::array<double, 7> kLarge = {1.25331414, -0.07832358, 0.02189568, -0.01062446,
                                                   0.00587872, -0.0025154,  0.00053208};
  const Num nx = x;
  if (x <= 2.0) {
    const Num y = Power(nx, 2.0) / 4.0;
    return (-log(nx / 2.0) * BesselI0(x) + Poly(kSmall, y)).value();
  }
  const Num y = 2.0 / nx;
  return (exp(-nx) / sqrt(nx) * Poly(kLarge, y)).value();
}

double BesselK1(double x) {
  static constexpr std::array<double, 7> kSmall = {1.0,         0.15443144,  -0.67278579, -0.18156897,
                                                   -0.01919402, -0.00110404, -4.686e-05};
  static constexpr std::array<double, 7> kLarge = {1.25331414,  0.23498619, -0.0365562, 0.01504268,
                                                   -0.00780353, 0.00325614, -0.00068245};
  const Num nx = x;
  if (x <= 2.0) {
    const Num y = Power(nx, 2.0) / 4.0;
    return (log(nx / 2.0) * BesselI1(x) + (1.0 / nx) * Poly(kSmall, y)).value();
  }
  const Num y = 2.0 / nx;
  return (exp(-nx) / sqrt(nx) * Poly(kLarge, y)).value();
}

double BesselJn(std::int32_t n, double x) {
  if (n < 2) {
    RaiseInternalFailure(5000);
  }
  const Num ax = abs(Num(x));
  if (ax == 0.0) {
    return 0.0;
  }
  const Num tox = 2.0 / ax;
  Num ans;
  if (ax > static_cast<double>(n)) {
    Num previous = BesselJ0(ax.value());
    Num current = BesselJ1(ax.value());
    for (std::int32_t j = 1; j <= n - 1; ++j) {
      const Num next = static_cast<double>(j) * tox * current - previous;
      previous = current;
      current = next;
    }
    ans = current;
  } else {
    // Miller's start m = ((n + Int(sqrt(40 n))) / 2) * 2, divided and
    // multiplied in floating point, so it keeps its parity and is not forced
    // to be even. With an odd start the sum below collects the odd orders
    // instead of the even ones; that is the defined behaviour.
    const std::int32_t m = n + MillerOffset(n);
    bool add_to_sum = false;
    Num current = 1.0;
    Num previous = 0.0;
    Num sum = 0.0;
    ans = 0.0;
    for (std::int32_t j = m; j >= 1; --j) {
      const Num next = static_cast<double>(j) * tox * current - previous;
      previous = current;
      current = next;
      if (abs(current) > kBig) {
        current = current * kBigInverse;
        previous = previous * kBigInverse;
        ans = ans * kBigInverse;
        sum = sum * kBigInverse;
      }
      if (add_to_sum) {
        sum = sum + current;
      }
      add_to_sum = !add_to_sum;
      if (j == n) {
        ans = previous;
      }
    }
    sum = 2.0 * sum - current;
    ans = ans / sum;
  }
  return (x < 0.0 && (n % 2) == 1 ? -ans : ans).value();
}

double BesselYn(std::int32_t n, double x) {
  if (n < 2) {
    RaiseInternalFailure(5000);
  }
  const Num tox = 2.0 / Num(x);
  Num current = BesselY1(x);
  Num previous = BesselY0(x);
  for (std::int32_t j = 1; j <= n - 1; ++j) {
    const Num next = static_cast<double>(j) * tox * current - previous;
    previous = current;
    current = next;
  }
  return current.value();
}

double BesselKn(std::int32_t n, double x) {
  if (n < 2) {
    RaiseInternalFailure(5000);
  }
  const Num tox = 2.0 / Num(x);
  Num previous = BesselK0(x);
  Num current = BesselK1(x);
  for (std::int32_t j = 1; j <= n - 1; ++j) {
    const Num next = previous + static_cast<double>(j) * tox * current;
    previous = current;
    current = next;
  }
  return current.value();
}

double BesselIn(std::int32_t n, double x) {
  if (n < 2) {
    RaiseInternalFailure(5000);
  }
  if (x == 0.0) {
    return 0.0;
  }
  const Num tox = 2.0 / abs(Num(x));
  const std::int32_t m = 2 * (n + MillerOffset(n));
  Num current = 1.0;
  Num previous = 0.0;
  Num ans = 0.0;
  for (std::int32_t j = m; j >= 1; --j) {
    const Num next = previous + static_cast<double>(j) * tox * current;
    previous = current;
    current = next;
    if (abs(current) > kBig) {
      ans = ans * kBigInverse;
      current = current * kBigInverse;
      previous = previous * kBigInverse;
    }
    if (j == n) {
      ans = previous;
    }
  }
  ans = ans * BesselI0(x) / current;
  return (x < 0.0 && (n % 2) == 1 ? -ans : ans).value();
}

}  // namespace tessarix::detail
