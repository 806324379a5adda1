#include "tessarix/language/internal/derivative_rules.hpp"

#include <cmath>
#include <limits>

#include "tessarix/numerics/airy_spherical.hpp"
#include "tessarix/numerics/bessel_integer.hpp"
#include "tessarix/numerics/bessel_real_order.hpp"
#include "tessarix/numerics/extrapolated_derivative.hpp"
#include "tessarix/numerics/internal_failure.hpp"
#include "tessarix/platform/rounding.hpp"

namespace tessarix::detail {

namespace {

// The language's PI (the words rtod and dtor use it) and the full one.
constexpr double kShortPi = 3.14159265358979;
constexpr double kPi = 3.141592653589793;
constexpr double kTwoBySqrtPi = 1.1283791670955126;
constexpr double kLn10 = 2.302585092994046;
// The hyperbolic words hold their value beyond this argument.
constexpr double kHyperbolicLimit = 707.0;

using V = double;

constexpr PartialKind Z = PartialKind::Zero;
constexpr PartialKind C = PartialKind::Closed;
constexpr PartialKind N = PartialKind::Numerical;

constexpr DerivativeRule One(std::string_view word, Partial1 d) { return {word, {C, Z, Z}, d, {}, {}}; }
constexpr DerivativeRule Flat(std::string_view word) { return {word, {Z, Z, Z}, nullptr, {}, {}}; }
constexpr DerivativeRule Two(std::string_view word, PartialKind ka, Partial2 da, PartialKind kb, Partial2 db) {
  return {word, {ka, kb, Z}, nullptr, {da, db}, {}};
}
constexpr DerivativeRule Three(std::string_view word, std::array<PartialKind, 3> kinds, std::array<Partial3, 3> d) {
  return {word, kinds, nullptr, {}, d};
}

double Inside(double u, double g) { return std::fabs(u) > kHyperbolicLimit ? 0.0 : g; }

// The integer orders as the words compute them: orders 0 and 1 by their own
// routines, the others by the recurrences.
double J(std::int32_t n, double x) { return n == 0 ? BesselJ0(x) : n == 1 ? BesselJ1(x) : BesselJn(n, x); }
double Y(std::int32_t n, double x) { return n == 0 ? BesselY0(x) : n == 1 ? BesselY1(x) : BesselYn(n, x); }
double I(std::int32_t n, double x) { return n == 0 ? BesselI0(x) : n == 1 ? BesselI1(x) : BesselIn(n, x); }
double K(std::int32_t n, double x) { return n == 0 ? BesselK0(x) : n == 1 ? BesselK1(x) : BesselKn(n, x); }

// The library's I0 above 3.75 keeps a third coefficient of 0.0225319 in its
// polynomial (the published one is 0.00225319): it is the true I0 plus this
// slip, whose derivative its own derivative carries. The orders above 1 are
// normalised by that I0 and are differentiated numerically there.
constexpr double kI0Switch = 3.75;
double I0Slip(double x) {
  const double a = std::fabs(x);
  const double y = kI0Switch / a;
  return std::exp(a) / std::sqrt(a) * (0.0225319 - 0.00225319) * y * y;
}
double I0Slope(double x) {
  if (std::fabs(x) < kI0Switch) return BesselI1(x);
  const double slip = I0Slip(x) * (1.0 - 2.5 / std::fabs(x));
  return BesselI1(x) + (x < 0.0 ? -slip : slip);
}
double I1Slope(double x, double f) {
  if (x == 0.0) return 0.5;
  const double i0 = std::fabs(x) < kI0Switch ? BesselI0(x) : BesselI0(x) - I0Slip(x);
  return i0 - f / x;
}
constexpr double kNumerically = std::numeric_limits<double>::quiet_NaN();

// The densities behind the x-derivatives of the incomplete functions.
double GammaDensity(double a, double x) {
  if (x == 0.0) return a > 1.0 ? 0.0 : (a == 1.0 ? 1.0 : std::numeric_limits<double>::infinity());
  return std::exp((a - 1.0) * std::log(x) - x - std::lgamma(a));
}
double BetaDensity(double a, double b, double x) {
  const double ln_beta = std::lgamma(a) + std::lgamma(b) - std::lgamma(a + b);
  if (x <= 0.0 || x >= 1.0) return std::pow(x, a - 1.0) * std::pow(1.0 - x, b - 1.0) / std::exp(ln_beta);
  return std::exp((a - 1.0) * std::log(x) + (b - 1.0) * std::log1p(-x) - ln_beta);
}

// ORDER: the rows of the function table.
constexpr std::array kRules = {
    One("abs", [](V u, V) { return u > 0.0 ? 1.0 : (u < 0.0 ? -1.0 : 0.0); }),
    One("exp", [](V, V f) { return f; }),
    Flat("fix"),
    Flat("int"),
    One("fract", [](V, V) { return 1.0; }),
    One("log", [](V u, V) { return 1.0 / u; }),
    One("ln", [](V u, V) { return 1.0 / u; }),
    One("log10", [](V u, V) { return 1.0 / (u * kLn10); }),
    Flat("rnd"),
    Flat("sgn"),
    One("sqr", [](V, V f) { return 0.5 / f; }),
    One("cos", [](V u, V) { return -std::sin(u); }),
    One("sin", [](V u, V) { return std::cos(u); }),
    One("tan", [](V, V f) { return 1.0 + f * f; }),
    One("arcsin", [](V u, V) { return 1.0 / std::sqrt(1.0 - u * u); }),
    One("arccos", [](V u, V) { return -1.0 / std::sqrt(1.0 - u * u); }),
    One("arctan", [](V u, V) { return 1.0 / (1.0 + u * u); }),
    One("sec", [](V u, V f) { return f * std::tan(u); }),
    One("cosec", [](V u, V f) { return -f / std::tan(u); }),
    One("cotan", [](V, V f) { return -(1.0 + f * f); }),
    // arcsec v = arccos(1/v), arccosec v = arcsin(1/v).
    One("arcsec", [](V u, V) { return 1.0 / (u * u * std::sqrt(1.0 - 1.0 / (u * u))); }),
    One("arccosec", [](V u, V) { return -1.0 / (u * u * std::sqrt(1.0 - 1.0 / (u * u))); }),
    // The language's arccotan is arctan plus a constant.
    One("arccotan", [](V u, V) { return 1.0 / (1.0 + u * u); }),
    One("hsin", [](V u, V) { return Inside(u, std::cosh(u)); }),
    One("hcos", [](V u, V) { return Inside(u, std::sinh(u)); }),
    One("htan", [](V u, V f) { return Inside(u, 1.0 - f * f); }),
    One("hsec", [](V u, V f) { return Inside(u, -f * std::tanh(u)); }),
    One("hcosec", [](V u, V f) { return Inside(u, -f / std::tanh(u)); }),
    One("hcotan", [](V u, V f) { return Inside(u, 1.0 - f * f); }),
    One("harcsin", [](V u, V) { return 1.0 / std::sqrt(u * u + 1.0); }),
    One("harccos", [](V u, V) { return 1.0 / std::sqrt(u * u - 1.0); }),
    One("harctan", [](V u, V) { return 1.0 / (1.0 - u * u); }),
    One("harcsec", [](V u, V) { return -1.0 / (u * std::sqrt(1.0 - u * u)); }),
    One("harccosec", [](V u, V) { return -1.0 / (std::fabs(u) * std::sqrt(1.0 + u * u)); }),
    One("harccotan", [](V u, V) { return 1.0 / (1.0 - u * u); }),
    One("rtod", [](V, V) { return 180.0 / kShortPi; }),
    One("dtor", [](V, V) { return kShortPi / 180.0; }),
    One("erf", [](V u, V) { return kTwoBySqrtPi * std::exp(-u * u); }),
    One("erfc", [](V u, V) { return -kTwoBySqrtPi * std::exp(-u * u); }),
    Flat("fact"),
    Flat("factln"),
    One("gamma", [](V u, V f) { return f * RealDigamma(u); }),
    One("gammaln", [](V u, V) { return RealDigamma(u); }),
    Flat("psi"),
    Flat("if"),
    Flat("endtrue"),
    Flat("endif"),
    Two("igamma", N, nullptr, C, [](V a, V x, V) { return GammaDensity(a, x); }),
    Two("igammac", N, nullptr, C, [](V a, V x, V) { return -GammaDensity(a, x); }),
    Two(
        "beta", C, [](V z, V w, V f) { return f * (RealDigamma(z) - RealDigamma(z + w)); }, C,
        [](V z, V w, V f) { return f * (RealDigamma(w) - RealDigamma(z + w)); }),
    Two("poisson", N, nullptr, C, [](V a, V x, V) { return -GammaDensity(a, x); }),
    // 1 - I_y(n/2, 1/2) with y = n / (n + t^2): symmetric in t, with a kink at 0.
    Two(
        "student", C,
        [](V t, V n, V) {
          const double s = n + t * t;
          const double slope = 2.0 * n * std::fabs(t) / (s * s) * BetaDensity(n / 2.0, 0.5, n / s);
          return t > 0.0 ? slope : (t < 0.0 ? -slope : 0.0);
        },
        N, nullptr),
    Two("chi2", C, [](V c, V n, V) { return 0.5 * GammaDensity(n * n / 2.0, c / 2.0); }, N, nullptr),
    Two("chi2c", C, [](V c, V n, V) { return -0.5 * GammaDensity(n / 2.0, c / 2.0); }, N, nullptr),
    // (order, x): J'n = (J(n-1) - J(n+1)) / 2, J'0 = -J1, and alike.
    Two("jn", Z, nullptr, C,
        [](V order, V x, V) {
          const std::int16_t n = RoundToInt16(order);
          if (n == 0) return -BesselJ1(x);
          if (n == 1) return x == 0.0 ? 0.5 : BesselJ0(x) - BesselJ1(x) / x;
          // Up to |x| = n the orders above 1 come from a Miller recurrence
          // whose start may collect the wrong orders (the library's defined
          // behaviour), which no recurrence describes.
          if (std::fabs(x) <= n + 1.0) return kNumerically;
          return (J(n - 1, x) - J(n + 1, x)) / 2.0;
        }),
    Two("yn", Z, nullptr, C,
        [](V order, V x, V) {
          const std::int16_t n = RoundToInt16(order);
          return n == 0 ? -BesselY1(x) : (Y(n - 1, x) - Y(n + 1, x)) / 2.0;
        }),
    Two("in", Z, nullptr, C,
        [](V order, V x, V) {
          const std::int16_t n = RoundToInt16(order);
          if (n == 0) return I0Slope(x);
          if (std::fabs(x) >= kI0Switch) return kNumerically;
          return n == 1 ? I1Slope(x, BesselI1(x)) : (I(n - 1, x) + I(n + 1, x)) / 2.0;
        }),
    Two("kn", Z, nullptr, C,
        [](V order, V x, V) {
          const std::int16_t n = RoundToInt16(order);
          return n == 0 ? -BesselK1(x) : -(K(n - 1, x) + K(n + 1, x)) / 2.0;
        }),
    // Real order (x, nu): the x-derivatives come with the values, the second
    // ones from Bessel's equation; the order is differentiated numerically.
    Two("jnu", C, [](V x, V nu, V) { return BesselJY(x, nu).dj; }, N, nullptr),
    Two("ynu", C, [](V x, V nu, V) { return BesselJY(x, nu).dy; }, N, nullptr),
    Two(
        "djnu", C,
        [](V x, V nu, V f) { return -f / x - (1.0 - nu * nu / (x * x)) * BesselJY(x, nu).j; }, N, nullptr),
    Two(
        "dynu", C,
        [](V x, V nu, V f) { return -f / x - (1.0 - nu * nu / (x * x)) * BesselJY(x, nu).y; }, N, nullptr),
    Two("inu", C, [](V x, V nu, V) { return BesselIK(x, nu).di; }, N, nullptr),
    Two("knu", C, [](V x, V nu, V) { return BesselIK(x, nu).dk; }, N, nullptr),
    Two(
        "dinu", C,
        [](V x, V nu, V f) { return -f / x + (1.0 + nu * nu / (x * x)) * BesselIK(x, nu).i; }, N, nullptr),
    Two(
        "dknu", C,
        [](V x, V nu, V f) { return -f / x + (1.0 + nu * nu / (x * x)) * BesselIK(x, nu).k; }, N, nullptr),
    // Spherical (n, x).
    Two("sphjn", Z, nullptr, C, [](V n, V x, V) { return SphericalBessel(RoundToInt16(n), x).dsj; }),
    Two("sphyn", Z, nullptr, C, [](V n, V x, V) { return SphericalBessel(RoundToInt16(n), x).dsy; }),
    Two("dsphjn", Z, nullptr, C,
        [](V n, V x, V f) {
          const double k = RoundToInt16(n);
          return -2.0 * f / x - (1.0 - k * (k + 1.0) / (x * x)) * SphericalBessel(RoundToInt16(n), x).sj;
        }),
    Two("dsphyn", Z, nullptr, C,
        [](V n, V x, V f) {
          const double k = RoundToInt16(n);
          return -2.0 * f / x - (1.0 - k * (k + 1.0) / (x * x)) * SphericalBessel(RoundToInt16(n), x).sy;
        }),
    Two(
        "max", C, [](V a, V b, V) { return a >= b ? 1.0 : 0.0; }, C, [](V a, V b, V) { return a >= b ? 0.0 : 1.0; }),
    Two(
        "min", C, [](V a, V b, V) { return a >= b ? 0.0 : 1.0; }, C, [](V a, V b, V) { return a >= b ? 1.0 : 0.0; }),
    Two(
        "mag", C, [](V a, V, V f) { return a / f; }, C, [](V, V b, V f) { return b / f; }),
    Three("legendre", {Z, Z, N}, {}),
    // I_p(k, n - k + 1).
    Three("binomial", {N, N, C},
          {nullptr, nullptr, [](V k, V n, V p, V) { return BetaDensity(k, n - k + 1.0, p); }}),
    Three("ibeta", {N, N, C}, {nullptr, nullptr, [](V a, V b, V x, V) { return BetaDensity(a, b, x); }}),
    // I_y(p/2, q/2) with y = p / (p + q f).
    Three("fdist", {N, N, C},
          {nullptr, nullptr,
           [](V p, V q, V f, V) {
             const double s = p + q * f;
             return -p * q / (s * s) * BetaDensity(p / 2.0, q / 2.0, p / s);
           }}),
    One("j0", [](V u, V) { return -BesselJ1(u); }),
    One("j1", [](V u, V f) { return u == 0.0 ? 0.5 : BesselJ0(u) - f / u; }),
    One("y0", [](V u, V) { return -BesselY1(u); }),
    One("y1", [](V u, V f) { return BesselY0(u) - f / u; }),
    One("i0", [](V u, V) { return I0Slope(u); }),
    One("i1", [](V u, V f) { return I1Slope(u, f); }),
    One("k0", [](V u, V) { return -BesselK1(u); }),
    One("k1", [](V u, V f) { return -BesselK0(u) - f / u; }),
    One("airya", [](V u, V) { return Airy(u).dai; }),
    One("airyb", [](V u, V) { return Airy(u).dbi; }),
    // Airy's equation: w'' = x w.
    One("dairya", [](V u, V) { return u * Airy(u).ai; }),
    One("dairyb", [](V u, V) { return u * Airy(u).bi; }),
    Flat("floor"),
    Flat("ceil"),
};
static_assert(kRules.size() == 91 && kRules[44].word == "if" && kRules[90].word == "ceil");

double Call(const FunctionRow& row, const double* args) {
  switch (row.arity) {
    case 1:
      return row.f1(args[0]);
    case 2:
      return row.f2(args[0], args[1]);
    default:
      return row.f3(args[0], args[1], args[2]);
  }
}

}  // namespace

std::span<const DerivativeRule> DerivativeRules() { return kRules; }

const DerivativeRule& RuleOf(const FunctionRow& row) { return kRules[static_cast<std::size_t>(FunctionCode(row) - 1)]; }

bool WordPartial(const FunctionRow& row, const DerivativeRule& rule, std::int32_t which, const double* args, double f,
                 Matrix1& table, double& out) noexcept {
  PartialKind kind = rule.kinds[static_cast<std::size_t>(which)];
  if (kind == PartialKind::Zero || row.control != Control::Call) {
    out = 0.0;
    return true;
  }
  double result = 0.0;
  bool ok = true;
  if (kind == PartialKind::Closed) {
    ok = SucceedsWithoutFault([&] {
      const auto w = static_cast<std::size_t>(which);
      result = row.arity == 1   ? rule.d1(args[0], f)
               : row.arity == 2 ? rule.d2[w](args[0], args[1], f)
                                : rule.d3[w](args[0], args[1], args[2], f);
    });
    // A rule that cannot be had there (NaN) leaves it to the numerical one.
    if (ok && std::isnan(result)) ok = false;
  }
  if (!ok && kind == PartialKind::Closed) {
    ok = true;
    kind = PartialKind::Numerical;
  }
  if (kind == PartialKind::Numerical) {
    // The word alone, moved in the one argument.
    double moved[3] = {args[0], row.arity > 1 ? args[1] : 0.0, row.arity > 2 ? args[2] : 0.0};
    const auto word = [&](double t, double& y) {
      moved[which] = t;
      double v = 0.0;
      const bool ran = SucceedsWithoutFault([&] { v = Call(row, moved); });
      if (!ran || !std::isfinite(v)) return false;
      y = v;
      return true;
    };
    try {
      ok = ExtrapolatedDerivative(word, args[which], kDerivativeStepShrinkSquared, table, result);
    } catch (...) {
      ok = false;
    }
  }
  if (!ok || !std::isfinite(result)) return false;
  out = result;
  return true;
}

double RealDigamma(double x) {
  if (x <= 0.0 && x == std::floor(x)) return std::numeric_limits<double>::quiet_NaN();
  if (x < 0.0) return RealDigamma(1.0 - x) - kPi / std::tan(kPi * x);
  double result = 0.0;
  while (x < 6.0) {
    result -= 1.0 / x;
    x += 1.0;
  }
  const double f = 1.0 / (x * x);
  return result + std::log(x) - 0.5 / x -
         f * (1.0 / 12.0 - f * (1.0 / 120.0 - f * (1.0 / 252.0 - f * (1.0 / 240.0 - f / 132.0))));
}

}  // namespace tessarix::detail
