// The linearisation of each pre-defined model with one variable. Every rule is
// exact: with error-free data the coefficients reproduce the parameters.
//
// The models of IDs 26 to 74 are one table, a row per model as the rule reads:
// transformed value, basis terms in order, way back to the parameters. The
// linear families need no row: y as it stands, their terms being their
// derivatives, the coefficients their parameters.
#include "tessarix/models/internal/estimate_rules.hpp"

#include <array>

#include "tessarix/models/internal/formula_table.hpp"
#include "tessarix/numerics/power.hpp"

namespace tessarix::detail {
namespace {

enum class Transform : std::uint8_t {
  Y,                   // y
  LogY,                // log(y)
  InverseY,            // 1/y
  InverseYMinus1,      // 1/y-1
  InverseYMinusX,      // 1/y-x
  LogYMinusX,          // log(y)-x
  ExpYMinusX,          // exp(y)-x
  ExpY,                // exp(y)
  LogInverse1MinusY,   // log(1/(1-y))
  Log1MinusY,          // log(1-y)
  LogMinusLogY,        // log(-log(y))
  LogMinusLog1MinusY,  // log(-log(1-y))
  ArcCosY,             // atan(-y/sqr(1-y*y))+2*atan(1)
  ArcSinY,             // atan(y/sqr(1-y*y))
};

enum class Term : std::uint8_t {
  None,
  One,
  MinusOne,
  X,
  MinusX,
  InverseX,
  LogX,
  LogXPlus1,
  XLogX,
  LogXOverX,
  X2,
  MinusX2,
  InverseX2,
  CosX,
  SinX,
  SqrtXOverX,
  Log1MinusX,
};

enum class Recovery : std::uint8_t {
  AsTheyStand,
  ExpA,         // a=exp(c1)
  ExpAB,        // a=exp(c1), b=exp(c2)
  Hyperbola,    // a=1/c1, b=1/(a*c2)
  ReciprocalA,  // a=1/c1, b=a*c2 (and c=a*c3 with three terms)
  Slope,        // a=c1, b=c2/a
  Gaussian,     // c=sqr(-1/(2*c3)), b=c^2*c2, a=exp(c1+b^2/(2*c^2))
};

struct EstimateRule {
  std::int32_t code = 0;
  Transform transform = Transform::Y;
  std::array<Term, 3> terms{};
  Recovery recovery = Recovery::AsTheyStand;
};

using enum Transform;
using enum Term;
using enum Recovery;

// ModelIDs 26 to 74, in order, with their evaluation codes.
constexpr std::array<EstimateRule, 49> kRules = {{
    {13, ExpYMinusX, {MinusOne}, AsTheyStand},                 // 26 log(x-a)
    {11, InverseYMinus1, {X}, AsTheyStand},                    // 27 1/(1+a*x)
    {12, LogYMinusX, {MinusOne}, AsTheyStand},                 // 28 exp(x-a)
    {15, LogY, {LogX}, AsTheyStand},                           // 29 x^a
    {16, LogY, {InverseX}, ExpA},                              // 30 a^(1/x)
    {14, InverseYMinusX, {One}, AsTheyStand},                  // 31 1/(x+a)
    {17, LogInverse1MinusY, {LogX}, AsTheyStand},              // 32 1-1/(x^a)
    {18, ExpY, {One, X}, AsTheyStand},                         // 33 log(a+b*x)
    {23, LogY, {One, LogX}, ExpA},                             // 34 a*x^b
    {19, LogY, {One, X}, ExpAB},                               // 35 a*b^x
    {20, LogY, {One, X}, ExpA},                                // 36 a*exp(b*x)
    {21, LogY, {One, InverseX}, ExpA},                         // 37 a*exp(b/x)
    {22, LogY, {One, X}, AsTheyStand},                         // 38 exp(a+b*x)
    {24, InverseY, {One, InverseX}, Hyperbola},                // 39 a*b*x/(1+b*x)
    {25, InverseY, {One, InverseX}, AsTheyStand},              // 40 x/(a*x+b)
    {26, InverseY, {One, X}, AsTheyStand},                     // 41 1/(a+b*x)
    {27, InverseY, {One, X}, ReciprocalA},                     // 42 a/(1+b*x)
    {28, Y, {X, MinusOne}, Slope},                             // 43 a*(x-b)
    {29, LogY, {One, LogXPlus1}, ExpA},                        // 44 a*(1+x)^b
    {32, Y, {One, LogX}, AsTheyStand},                         // 45 a+b*log(x)
    {33, InverseY, {One, LogX}, AsTheyStand},                  // 46 1/(a+b*log(x))
    {35, LogY, {One, XLogX}, ExpA},                            // 47 a*x^(b*x)
    {36, LogY, {One, LogXOverX}, ExpA},                        // 48 a*x^(b/x)
    {52, InverseY, {One, InverseX}, ReciprocalA},              // 49 a*x/(b+x)
    {53, Y, {One, InverseX}, AsTheyStand},                     // 50 a+b/x
    {37, LogY, {One, X, LogX}, ExpAB},                         // 51 a*b^x*x^c
    {38, LogY, {One, InverseX, LogX}, ExpAB},                  // 52 a*b^(1/x)*x^c
    {30, InverseY, {One, X, X2}, AsTheyStand},                 // 53 1/(a+b*x+c*x^2)
    {34, LogY, {One, InverseX, LogX}, AsTheyStand},            // 54 exp(a+b/x+c*log(x))
    {54, Y, {One, X, InverseX2}, AsTheyStand},                 // 55 a+b*x+c/x^2
    {31, InverseY, {One, X, X2}, ReciprocalA},                 // 56 a/(1+b*x+c*x^2)
    {39, ArcCosY, {One, X}, AsTheyStand},                      // 57 cos(x+a)
    {40, ArcSinY, {One, X}, AsTheyStand},                      // 58 sin(x+a)
    {41, Log1MinusY, {MinusX2}, AsTheyStand},                  // 59 1-exp(-a*x^2)
    {42, LogY, {MinusX2}, AsTheyStand},                        // 60 exp(-a*x^2)
    {43, Y, {CosX, SinX}, AsTheyStand},                        // 61 a*cos(x)+b*sin(x)
    {44, InverseY, {InverseX, One, MinusX}, AsTheyStand},      // 62 x/(a+b*x-c*x^2)
    {45, Y, {One, CosX, SinX}, AsTheyStand},                   // 63 a+b*cos(x)+c*sin(x)
    {46, LogY, {One, X, X2}, AsTheyStand},                     // 64 exp(a+b*x+c*x^2)
    {47, InverseY, {InverseX, One, SqrtXOverX}, AsTheyStand},  // 65 x/(a+b*x+c*sqr(x))
    {48, LogY, {One, LogX, MinusX}, ExpA},                     // 66 a*x^b*exp(-c*x)
    {49, LogY, {LogX, One, MinusX}, AsTheyStand},              // 67 x^a*exp(b-c*x)
    {50, LogY, {One, LogX, Log1MinusX}, ExpA},                 // 68 a*x^b*(1-x)^c
    {51, LogY, {One, X, X2}, Gaussian},                        // 69 the Gaussian
    {55, LogMinusLog1MinusY, {LogX}, AsTheyStand},             // 70 1-exp(-x^a)
    {56, LogMinusLogY, {LogX}, AsTheyStand},                   // 71 exp(-x^a)
    {57, LogMinusLog1MinusY, {One, LogX}, ExpA},               // 72 1-exp(-a*x^b)
    {58, LogMinusLog1MinusY, {One, X}, ExpAB},                 // 73 1-exp(-a*b^x)
    {59, LogMinusLogY, {One, MinusX}, AsTheyStand},            // 74 exp(-exp(a-b*x))
}};

// The rows by evaluation code (11..59), for one lookup per observation.
constexpr std::int32_t kFirstRuleCode = 11;
constexpr std::int32_t kLastRuleCode = 59;
constexpr std::array<const EstimateRule*, kLastRuleCode + 1> BuildRuleIndex() {
  std::array<const EstimateRule*, kLastRuleCode + 1> index{};
  for (const EstimateRule& rule : kRules) {
    if (index[static_cast<std::size_t>(rule.code)] != nullptr) throw "two estimate rules for one code";
    index[static_cast<std::size_t>(rule.code)] = &rule;
  }
  for (std::int32_t code = kFirstRuleCode; code <= kLastRuleCode; ++code) {
    if (index[static_cast<std::size_t>(code)] == nullptr) throw "a nonlinear code without an estimate rule";
  }
  return index;
}
constexpr std::array<const EstimateRule*, kLastRuleCode + 1> kRuleIndex = BuildRuleIndex();

const EstimateRule* RuleOf(std::int32_t code) {
  return code >= kFirstRuleCode && code <= kLastRuleCode ? kRuleIndex[static_cast<std::size_t>(code)] : nullptr;
}

Num TermValue(Term term, Num x) {
  switch (term) {
    case None:
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

Num TransformObservation(std::int32_t code, Num x, Num y) {
  const EstimateRule* rule = RuleOf(code);
  switch (rule == nullptr ? Y : rule->transform) {
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

void EstimateBasisTerms(std::int32_t code, Num x, double* b) {
  if (const EstimateRule* rule = RuleOf(code)) {
    for (std::size_t j = 0; j < rule->terms.size() && rule->terms[j] != None; ++j) {
      b[j + 1] = TermValue(rule->terms[j], x).value();
    }
    return;
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
  const EstimateRule* rule = RuleOf(code);
  if (rule == nullptr) return;
  switch (rule->recovery) {
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
      if (rule->terms[2] != None) c[3] = (a * c[3]).value();
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
