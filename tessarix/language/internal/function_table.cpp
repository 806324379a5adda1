#include "tessarix/language/internal/function_table.hpp"

#include <array>
#include <cmath>

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

// The library's PI, not the full precision of a double.
constexpr double kPi = 3.14159265358979;
// "arccotan" adds this short constant, as the language has always done.
constexpr double kShortHalfPi = 1.570796327;

double Sign(double v) { return v > 0.0 ? 1.0 : (v < 0.0 ? -1.0 : 0.0); }
double Limit707(double v) { return v > 707.0 ? 707.0 : (v < -707.0 ? -707.0 : v); }
// Arguments marked "int" are rounded half to even into 16 bits; outside that
// range the conversion faults ("Overflow").
double Int16Argument(double v) { return static_cast<double>(RoundToInt16(v)); }

// The elementary words, each step checked.
double Abs(double v) { return std::fabs(v); }
double Fix(double v) { return std::trunc(v); }
double Int(double v) { return std::floor(v); }
double Fract(double v) { return (Num(v) - std::trunc(v)).value(); }
double Ln(double v) { return log(Num(v)).value(); }
double Log10(double v) { return (log(Num(v)) / log(Num(10.0))).value(); }
double Sqr(double v) { return sqrt(Num(v)).value(); }
double Exp(double v) { return exp(Num(v)).value(); }
double Cos(double v) { return cos(Num(v)).value(); }
double Sin(double v) { return sin(Num(v)).value(); }
double Tan(double v) { return tan(Num(v)).value(); }
Num HalfPiByAtan() { return 2.0 * atan(Num(1.0)); }
double ArcSin(double v) { return Atan2(v, sqrt(1.0 - Num(v) * v).value()); }
double ArcCos(double v) { return (Num(Atan2(-v, sqrt(1.0 - Num(v) * v).value())) + HalfPiByAtan()).value(); }
double ArcTan(double v) { return atan(Num(v)).value(); }
double Sec(double v) { return (1.0 / cos(Num(v))).value(); }
double Cosec(double v) { return (1.0 / sin(Num(v))).value(); }
double Cotan(double v) { return (1.0 / tan(Num(v))).value(); }
double ArcSec(double v) {
  const Num t = 1.0 / Num(v);
  return (Num(Atan2((-t).value(), sqrt(1.0 - t * t).value())) + HalfPiByAtan()).value();
}
double ArcCosec(double v) {
  const Num t = 1.0 / Num(v);
  return Atan2(t.value(), sqrt(1.0 - t * t).value());
}
double ArcCotan(double v) { return (atan(Num(v)) + kShortHalfPi).value(); }
// The hyperbolic words limit their argument to 707 instead of overflowing.
double HSin(double v) {
  const Num w = Limit707(v);
  return ((exp(w) - exp(-w)) / 2.0).value();
}
double HCos(double v) {
  const Num w = Limit707(v);
  return ((exp(w) + exp(-w)) / 2.0).value();
}
double HTan(double d) {
  if (d > 707.0) return 1.0;
  if (d < -707.0) return -1.0;
  const Num v = d;
  return ((exp(v) - exp(-v)) / (exp(v) + exp(-v))).value();
}
double HSec(double d) {
  if (std::fabs(d) > 707.0) return 0.0;
  const Num v = d;
  return (2.0 / (exp(v) + exp(-v))).value();
}
double HCosec(double d) {
  if (std::fabs(d) > 707.0) return 0.0;
  const Num v = d;
  return (2.0 / (exp(v) - exp(-v))).value();
}
double HCotan(double d) {
  if (d > 707.0) return 1.0;
  if (d < -707.0) return -1.0;
  const Num v = d;
  return ((exp(v) + exp(-v)) / (exp(v) - exp(-v))).value();
}
double HArcSin(double d) {
  const Num v = d;
  return log(v + sqrt(v * v + 1.0)).value();
}
double HArcCos(double d) {
  const Num v = d;
  return log(v + sqrt(v * v - 1.0)).value();
}
double HArcTan(double d) {
  const Num v = d;
  return (log((1.0 + v) / (1.0 - v)) / 2.0).value();
}
double HArcSec(double d) {
  const Num v = d;
  return log((sqrt(1.0 - v * v) + 1.0) / v).value();
}
double HArcCosec(double d) {
  const Num v = d;
  return log((Sign(d) * sqrt(v * v + 1.0) + 1.0) / v).value();
}
double HArcCotan(double d) {
  const Num v = d;
  return (log((v + 1.0) / (v - 1.0)) / 2.0).value();
}
double RToD(double v) { return (Num(v) * 180.0 / kPi).value(); }
double DToR(double v) { return (Num(v) * kPi / 180.0).value(); }

// Integer orders 0 and 1 take the routines of those orders, with their
// single-precision accuracy; the others the recurrences.
template <double (*Order0)(double), double (*Order1)(double), double (*OrderN)(std::int32_t, double)>
double IntegerOrder(double order, double x) {
  const std::int16_t n = RoundToInt16(order);
  return n == 0 ? Order0(x) : n == 1 ? Order1(x) : OrderN(n, x);
}

constexpr FunctionRow Word(std::string_view word, Function1 f, InlineCall in = InlineCall::None) {
  return {word, 1, Control::Call, in, f, nullptr, nullptr};
}
constexpr FunctionRow Word(std::string_view word, Function2 f) {
  return {word, 2, Control::Call, InlineCall::None, nullptr, f, nullptr};
}
constexpr FunctionRow Word(std::string_view word, Function3 f) {
  return {word, 3, Control::Call, InlineCall::None, nullptr, nullptr, f};
}
constexpr FunctionRow Marker(std::string_view word, std::int8_t arity, Control control) {
  return {word, arity, control, InlineCall::None, nullptr, nullptr, nullptr};
}

using V = double;

// ORDER: the code of a word is its position + 1, and the compiled records of
// existing programs carry those codes.
constexpr std::array kRows = {
    Word("abs", Abs),
    Word("exp", Exp, InlineCall::Exp),
    Word("fix", Fix),
    Word("int", Int),
    Word("fract", Fract),
    Word("log", Ln, InlineCall::Ln),  // natural, the same as "ln"
    Word("ln", Ln, InlineCall::Ln),
    Word("log10", Log10),
    Word("rnd", RandomNumber),
    Word("sgn", Sign),
    Word("sqr", Sqr, InlineCall::Sqrt),
    Word("cos", Cos, InlineCall::Cos),
    Word("sin", Sin, InlineCall::Sin),
    Word("tan", Tan),
    Word("arcsin", ArcSin),
    Word("arccos", ArcCos),
    Word("arctan", ArcTan),
    Word("sec", Sec),
    Word("cosec", Cosec),
    Word("cotan", Cotan),
    Word("arcsec", ArcSec),
    Word("arccosec", ArcCosec),
    Word("arccotan", ArcCotan),
    Word("hsin", HSin),
    Word("hcos", HCos),
    Word("htan", HTan),
    Word("hsec", HSec),
    Word("hcosec", HCosec),
    Word("hcotan", HCotan),
    Word("harcsin", HArcSin),
    Word("harccos", HArcCos),
    Word("harctan", HArcTan),
    Word("harcsec", HArcSec),
    Word("harccosec", HArcCosec),
    Word("harccotan", HArcCotan),
    Word("rtod", RToD),
    Word("dtor", DToR),
    Word("erf", Erf),
    Word("erfc", Erfc),
    Word("fact", [](V v) { return Factorial(Int16Argument(v)); }),
    Word("factln", [](V v) { return FactorialLn(Int16Argument(v)); }),
    Word("gamma", [](V v) { return CheckedExp(GammaLn(v)); }),
    Word("gammaln", GammaLn),
    Word("psi", [](V v) { return Digamma(Int16Argument(v)); }),
    Marker("if", 3, Control::If),
    Marker("endtrue", 0, Control::EndTrue),
    Marker("endif", 0, Control::EndIf),
    Word("igamma", GammaP),
    Word("igammac", GammaQ),
    Word("beta", BetaFunction),
    Word("poisson", GammaQ),  // the cumulative for a count below a with mean b
    Word("student",
         [](V t, V n) {
           const Num x = t, y = n;
           return (Num(1.0) - IncompleteBeta((y / 2.0).value(), 0.5, (y / (y + x * x)).value())).value();
         }),
    // "chi2" squares its second argument and "chi2c" does not: the language
    // has always read them so.
    Word("chi2", [](V c, V n) { return GammaP((Num(n) * n / 2.0).value(), (Num(c) / 2.0).value()); }),
    Word("chi2c", [](V c, V n) { return GammaQ((Num(n) / 2.0).value(), (Num(c) / 2.0).value()); }),
    Word("jn", IntegerOrder<BesselJ0, BesselJ1, BesselJn>),
    Word("yn", IntegerOrder<BesselY0, BesselY1, BesselYn>),
    Word("in", IntegerOrder<BesselI0, BesselI1, BesselIn>),
    Word("kn", IntegerOrder<BesselK0, BesselK1, BesselKn>),
    // Real order: (x, nu).
    Word("jnu", [](V x, V nu) { return BesselJY(x, nu).j; }),
    Word("ynu", [](V x, V nu) { return BesselJY(x, nu).y; }),
    Word("djnu", [](V x, V nu) { return BesselJY(x, nu).dj; }),
    Word("dynu", [](V x, V nu) { return BesselJY(x, nu).dy; }),
    Word("inu", [](V x, V nu) { return BesselIK(x, nu).i; }),
    Word("knu", [](V x, V nu) { return BesselIK(x, nu).k; }),
    Word("dinu", [](V x, V nu) { return BesselIK(x, nu).di; }),
    Word("dknu", [](V x, V nu) { return BesselIK(x, nu).dk; }),
    // Spherical: (n int, x).
    Word("sphjn", [](V n, V x) { return SphericalBessel(RoundToInt16(n), x).sj; }),
    Word("sphyn", [](V n, V x) { return SphericalBessel(RoundToInt16(n), x).sy; }),
    Word("dsphjn", [](V n, V x) { return SphericalBessel(RoundToInt16(n), x).dsj; }),
    Word("dsphyn", [](V n, V x) { return SphericalBessel(RoundToInt16(n), x).dsy; }),
    Word("max", MaxOf),
    Word("min", MinOf),
    Word("mag", Magnitude),
    Word("legendre", [](V l, V m, V x) { return LegendreP(RoundToInt16(l), RoundToInt16(m), x); }),
    Word("binomial", [](V k, V n, V p) { return IncompleteBeta(k, (Num(n) - k + 1.0).value(), p); }),
    Word("ibeta", IncompleteBeta),
    Word("fdist",
         [](V a, V b, V f) {
           const Num p = a, q = b, r = f;
           return IncompleteBeta((p / 2.0).value(), (q / 2.0).value(), (p / (p + q * r)).value());
         }),
    Word("j0", BesselJ0),
    Word("j1", BesselJ1),
    Word("y0", BesselY0),
    Word("y1", BesselY1),
    Word("i0", BesselI0),
    Word("i1", BesselI1),
    Word("k0", BesselK0),
    Word("k1", BesselK1),
    Word("airya", [](V v) { return Airy(v).ai; }),
    Word("airyb", [](V v) { return Airy(v).bi; }),
    Word("dairya", [](V v) { return Airy(v).dai; }),
    Word("dairyb", [](V v) { return Airy(v).dbi; }),
    Word("floor", Floor),
    Word("ceil", Ceil),
};

constexpr bool RowsConsistent() {
  for (const FunctionRow& r : kRows) {
    const int set = (r.f1 != nullptr) + (r.f2 != nullptr) + (r.f3 != nullptr);
    if (r.control == Control::Call && (set != 1 || (r.arity == 1) != (r.f1 != nullptr) ||
                                       (r.arity == 2) != (r.f2 != nullptr) || (r.arity == 3) != (r.f3 != nullptr))) {
      return false;
    }
    if (r.control != Control::Call && set != 0) return false;
  }
  return true;
}
static_assert(kRows.size() == 91 && RowsConsistent(), "every word calls one routine of its arity");
// Codes that compiled programs and listings show.
static_assert(kRows[44].word == "if" && kRows[45].word == "endtrue" && kRows[46].word == "endif" &&
              kRows[90].word == "ceil");

}  // namespace

std::span<const FunctionRow> FunctionRows() { return kRows; }

const FunctionRow* FindFunctionRow(std::string_view lower) {
  for (const FunctionRow& row : kRows) {
    if (row.word == lower) return &row;
  }
  return nullptr;
}

std::int16_t FunctionCode(const FunctionRow& row) { return static_cast<std::int16_t>(&row - kRows.data() + 1); }

}  // namespace tessarix::detail
