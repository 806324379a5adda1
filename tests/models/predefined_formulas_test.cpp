// The hand-written formulas against independent evaluations in plain double
// arithmetic, and the failures the formulas must keep. (Derivatives are
// checked over the whole catalogue by the cross-check with the language.)
#include "tessarix/models/predefined_formulas.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <map>
#include <vector>

#include "model_test_support.hpp"
#include "tessarix/models/model_catalogue.hpp"

namespace tessarix::detail {
namespace {

using test::EvaluateLinearText;

std::int32_t CodeOf(std::int32_t id) { return FindInternalModel(id)->evaluation_code; }

// Parameter sets (index 0 unused) and abscissas that together put every model
// inside its domain at several points.
const std::vector<std::vector<double>> kParameterSets = {
    {0, 1.3, 0.7, 0.45, 0.9, 1.1, 0.6, 0.8, 1.2, 0.5, 0.75, 1.05},
    {0, -0.4, 1.6, -0.8, 0.3, -1.2, 0.9, -0.5, 0.4, -0.7, 1.1, -0.2},
    {0, 0.8, 2.1, 1.4, -0.6, 0.2, -1.1, 0.35, 0.65, -0.9, 0.15, 0.55},
};
const std::array<double, 5> kAbscissas = {0.35, 0.6, 0.85, 1.7, 3.2};

// The nonlinear models written in plain double arithmetic, by ModelID.
const std::map<std::int32_t, std::function<double(const double*, double)>>& ClosedForms() {
  static const std::map<std::int32_t, std::function<double(const double*, double)>> forms = {
      {26, [](const double* p, double x) { return std::log(x - p[1]); }},
      {27, [](const double* p, double x) { return 1 / (1 + p[1] * x); }},
      {28, [](const double* p, double x) { return std::exp(x - p[1]); }},
      {29, [](const double* p, double x) { return std::pow(x, p[1]); }},
      {30, [](const double* p, double x) { return std::pow(p[1], 1 / x); }},
      {31, [](const double* p, double x) { return 1 / (x + p[1]); }},
      {32, [](const double* p, double x) { return 1 - std::pow(x, -p[1]); }},
      {33, [](const double* p, double x) { return std::log(p[1] + p[2] * x); }},
      {34, [](const double* p, double x) { return p[1] * std::pow(x, p[2]); }},
      {35, [](const double* p, double x) { return p[1] * std::pow(p[2], x); }},
      {36, [](const double* p, double x) { return p[1] * std::exp(p[2] * x); }},
      {37, [](const double* p, double x) { return p[1] * std::exp(p[2] / x); }},
      {38, [](const double* p, double x) { return std::exp(p[1] + p[2] * x); }},
      {39, [](const double* p, double x) { return p[1] * p[2] * x / (1 + p[2] * x); }},
      {40, [](const double* p, double x) { return x / (p[1] * x + p[2]); }},
      {41, [](const double* p, double x) { return 1 / (p[1] + p[2] * x); }},
      {42, [](const double* p, double x) { return p[1] / (1 + p[2] * x); }},
      {43, [](const double* p, double x) { return p[1] * (x - p[2]); }},
      {44, [](const double* p, double x) { return p[1] * std::pow(1 + x, p[2]); }},
      {46, [](const double* p, double x) { return 1 / (p[1] + p[2] * std::log(x)); }},
      {47, [](const double* p, double x) { return p[1] * std::pow(x, p[2] * x); }},
      {48, [](const double* p, double x) { return p[1] * std::pow(x, p[2] / x); }},
      {49, [](const double* p, double x) { return p[1] * x / (p[2] + x); }},
      {51, [](const double* p, double x) { return p[1] * std::pow(p[2], x) * std::pow(x, p[3]); }},
      {52, [](const double* p, double x) { return p[1] * std::pow(p[2], 1 / x) * std::pow(x, p[3]); }},
      {53, [](const double* p, double x) { return 1 / (p[1] + p[2] * x + p[3] * x * x); }},
      {54, [](const double* p, double x) { return std::exp(p[1] + p[2] / x + p[3] * std::log(x)); }},
      {56, [](const double* p, double x) { return p[1] / (1 + p[2] * x + p[3] * x * x); }},
      {57, [](const double* p, double x) { return std::cos(x + p[1]); }},
      {58, [](const double* p, double x) { return std::sin(x + p[1]); }},
      {59, [](const double* p, double x) { return 1 - std::exp(-p[1] * x * x); }},
      {60, [](const double* p, double x) { return std::exp(-p[1] * x * x); }},
      {61, [](const double* p, double x) { return p[1] * std::cos(x) + p[2] * std::sin(x); }},
      {62, [](const double* p, double x) { return x / (p[1] + p[2] * x - p[3] * x * x); }},
      {63, [](const double* p, double x) { return p[1] + p[2] * std::cos(x) + p[3] * std::sin(x); }},
      {64, [](const double* p, double x) { return std::exp(p[1] + p[2] * x + p[3] * x * x); }},
      {65, [](const double* p, double x) { return x / (p[1] + p[2] * x + p[3] * std::sqrt(x)); }},
      {66, [](const double* p, double x) { return p[1] * std::pow(x, p[2]) * std::exp(-p[3] * x); }},
      {67, [](const double* p, double x) { return std::pow(x, p[1]) * std::exp(p[2] - p[3] * x); }},
      {68, [](const double* p, double x) { return p[1] * std::pow(x, p[2]) * std::pow(1 - x, p[3]); }},
      {69, [](const double* p, double x) { return p[1] * std::exp(-(x - p[2]) * (x - p[2]) / (2 * p[3] * p[3])); }},
      {70, [](const double* p, double x) { return 1 - std::exp(-std::pow(x, p[1])); }},
      {71, [](const double* p, double x) { return std::exp(-std::pow(x, p[1])); }},
      {72, [](const double* p, double x) { return 1 - std::exp(-p[1] * std::pow(x, p[2])); }},
      {73, [](const double* p, double x) { return 1 - std::exp(-p[1] * std::pow(p[2], x)); }},
      {74, [](const double* p, double x) { return std::exp(-std::exp(p[1] - p[2] * x)); }},
  };
  return forms;
}

TEST(PredefinedFormulas, ValuesAgreeWithIndependentEvaluation) {
  for (std::int32_t id = 1; id <= 298; ++id) {
    SCOPED_TRACE(id);
    const InternalModelEntry* e = FindInternalModel(id);
    const auto closed = ClosedForms().find(id);
    int checked = 0;
    for (const auto& p : kParameterSets) {
      for (double x : kAbscissas) {
        double expected = 0.0;
        double scale = 0.0;
        if (closed != ClosedForms().end()) {
          expected = closed->second(p.data(), x);
          scale = std::fabs(expected);
        } else {
          expected = EvaluateLinearText(e->definition, p.data(), x, scale);
        }
        double y = 0.0;
        const bool ok = EvaluatePredefined(e->evaluation_code, p.data(), x, y);
        if (!std::isfinite(expected)) {
          EXPECT_FALSE(ok) << "x = " << x;
          continue;
        }
        ASSERT_TRUE(ok) << "x = " << x;
        EXPECT_NEAR(y, expected, 1e-13 * std::max(scale, 1e-300)) << "x = " << x;
        ++checked;
      }
    }
    EXPECT_GE(checked, 4);
  }
}

TEST(PredefinedFormulas, FailuresEndTheCallWithFalse) {
  double y = 0.0;
  std::array<double, 13> d{};
  // An overflow of a product, though every operand is finite.
  const double huge[] = {0, 1e300, 1.0};
  EXPECT_FALSE(EvaluatePredefined(CodeOf(1), huge, 1e10, y));
  // log(x) at and below 0, value and derivatives alike.
  const double lg[] = {0, 1.0, 2.0};
  for (double x : {0.0, -1.0}) {
    EXPECT_FALSE(EvaluatePredefined(CodeOf(11), lg, x, y));
    EXPECT_FALSE(PredefinedDerivatives(CodeOf(11), lg, x, d.data()));
  }
  // The inner exp of exp(-exp(a-b*x)) overflows though the value would be 0.
  const double gompertz[] = {0, 800.0, 0.0};
  EXPECT_FALSE(EvaluatePredefined(CodeOf(74), gompertz, 1.0, y));
  // Underflow is no failure: exp(-x) at large x.
  const double tail[] = {0, 2.5, 3.0};
  ASSERT_TRUE(EvaluatePredefined(CodeOf(91), tail, 800.0, y));
  EXPECT_EQ(y, 2.5);
  // A non-finite abscissa fails even where b/x would map it to a number.
  const double hyp[] = {0, 1.0, 2.0};
  EXPECT_FALSE(EvaluatePredefined(CodeOf(16), hyp, INFINITY, y));
  EXPECT_FALSE(EvaluatePredefined(CodeOf(16), hyp, NAN, y));
  // Codes of no model.
  for (std::int32_t code : {0, 65, 77, 89, 314, -1}) {
    EXPECT_FALSE(EvaluatePredefined(code, hyp, 1.0, y)) << code;
    EXPECT_FALSE(PredefinedDerivatives(code, hyp, 1.0, d.data())) << code;
  }
}

TEST(PredefinedFormulas, ZeroBaseParameterFailsTheDerivativeOnly) {
  double y = -1.0;
  std::array<double, 13> d{};
  // a*b^x at b = 0, x = 1.
  const double power[] = {0, 2.0, 0.0};
  ASSERT_TRUE(EvaluatePredefined(CodeOf(35), power, 1.0, y));
  EXPECT_EQ(y, 0.0);
  EXPECT_FALSE(PredefinedDerivatives(CodeOf(35), power, 1.0, d.data()));
  // a^(1/x), a*b^x*x^c, a*b^(1/x)*x^c, 1-exp(-a*b^x) at a zero base.
  const double root[] = {0, 0.0};
  ASSERT_TRUE(EvaluatePredefined(CodeOf(30), root, 2.0, y));
  EXPECT_FALSE(PredefinedDerivatives(CodeOf(30), root, 2.0, d.data()));
  const double hoerl[] = {0, 1.5, 0.0, 0.5};
  for (std::int32_t id : {51, 52}) {
    ASSERT_TRUE(EvaluatePredefined(CodeOf(id), hoerl, 2.0, y)) << id;
    EXPECT_EQ(y, 0.0);
    EXPECT_FALSE(PredefinedDerivatives(CodeOf(id), hoerl, 2.0, d.data())) << id;
  }
  const double weibull[] = {0, 1.5, 0.0};
  ASSERT_TRUE(EvaluatePredefined(CodeOf(73), weibull, 2.0, y));
  EXPECT_FALSE(PredefinedDerivatives(CodeOf(73), weibull, 2.0, d.data()));
  // log(x-a) has the derivative -1/(x-a) also where its value does not exist.
  const double shifted[] = {0, 3.0};
  EXPECT_FALSE(EvaluatePredefined(CodeOf(26), shifted, 1.0, y));
  ASSERT_TRUE(PredefinedDerivatives(CodeOf(26), shifted, 1.0, d.data()));
  EXPECT_EQ(d[1], 0.5);
}

TEST(PredefinedFormulas, BetaModelAtAndBeyondOne) {
  double y = -1.0;
  const double beta[] = {0, 2.0, 1.5, 0.5};
  EXPECT_FALSE(EvaluatePredefined(CodeOf(68), beta, 1.5, y));
  ASSERT_TRUE(EvaluatePredefined(CodeOf(68), beta, 1.0, y));
  EXPECT_EQ(y, 0.0);
  // An integer exponent takes a negative base.
  const double integral[] = {0, 2.0, 1.5, 2.0};
  ASSERT_TRUE(EvaluatePredefined(CodeOf(68), integral, 1.5, y));
  EXPECT_NEAR(y, 2.0 * std::pow(1.5, 1.5) * 0.25, 1e-15);
}

TEST(PredefinedFormulas, SameTextByTwoCodes) {
  // IDs 11 and 45 share "a+b*log(x)"; the codes compute it separately and may
  // differ only in rounding.
  const double p[] = {0, 0.3, -1.7};
  for (double x : {0.01, 0.5, 3.0, 1e6}) {
    double y11 = 0.0, y45 = 0.0;
    ASSERT_TRUE(EvaluatePredefined(CodeOf(11), p, x, y11));
    ASSERT_TRUE(EvaluatePredefined(CodeOf(45), p, x, y45));
    EXPECT_NEAR(y11, y45, 4e-16 * std::max(1.0, std::fabs(y11)));
  }
}

}  // namespace
}  // namespace tessarix::detail
