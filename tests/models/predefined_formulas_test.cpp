// The failures the hand-written formulas must keep: an overflow at any step,
// the domains of log and power, a non-finite abscissa, derivatives that fail
// where the value stands. (Values and derivatives of every model are checked
// against the model language by language_cross_check_test.cpp.)
#include "tessarix/models/predefined_formulas.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>

#include "tessarix/models/model_catalogue.hpp"

namespace tessarix::detail {
namespace {

std::int32_t CodeOf(std::int32_t id) { return FindInternalModel(id)->evaluation_code; }

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

}  // namespace
}  // namespace tessarix::detail
