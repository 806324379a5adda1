// The extrapolated central differences behind the numerical derivatives of
// models. The points it evaluates are visible to hosts: an external model
// without derivatives is called at them.
#include "tessarix/numerics/extrapolated_derivative.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

using namespace tessarix::detail;

TEST(ExtrapolatedDerivative, SmoothFunctionsToManyDigits) {
  Matrix1 table(kDerivativeTableRows, kDerivativeTableRows);
  double d = 0.0;
  const auto expf = [](double t, double& y) { return (y = std::exp(t)), true; };
  ASSERT_TRUE(ExtrapolatedDerivative(expf, 1.5, kDerivativeStepShrinkSquared, table, d));
  EXPECT_NEAR(d, std::exp(1.5), 1e-9 * std::exp(1.5));
  const auto sinf = [](double t, double& y) { return (y = std::sin(t)), true; };
  ASSERT_TRUE(ExtrapolatedDerivative(sinf, -2.0, 1.4 * 1.4, table, d));
  EXPECT_NEAR(d, std::cos(-2.0), 1e-9);
}

TEST(ExtrapolatedDerivative, FirstStepsAtZeroAndForNegativeValues) {
  Matrix1 table(kDerivativeTableRows, kDerivativeTableRows);
  std::vector<double> points;
  const auto line = [&](double t, double& y) {
    points.push_back(t);
    return (y = 3.0 * t), true;
  };
  double d = 0.0;
  // At 0 the first step is absolute; a straight line stops after a few rows.
  ASSERT_TRUE(ExtrapolatedDerivative(line, 0.0, kDerivativeStepShrinkSquared, table, d));
  EXPECT_EQ(d, 3.0);
  EXPECT_EQ(points[0], 3.684e-06);
  EXPECT_EQ(points[1], -3.684e-06);
  EXPECT_LE(points.size(), 6u);
  // Relative and signed for negative values: the first point lies below -1.
  points.clear();
  ASSERT_TRUE(ExtrapolatedDerivative(line, -1.0, kDerivativeStepShrinkSquared, table, d));
  const double h = (-1.0 + -1.0 * 3.684e-06) - -1.0;
  EXPECT_LT(h, 0.0);
  EXPECT_EQ(points[0], -1.0 + h);
  EXPECT_EQ(points[1], -1.0 - h);
  EXPECT_NEAR(d, 3.0, 1e-9);
}

TEST(ExtrapolatedDerivative, FailuresAndKinks) {
  Matrix1 table(kDerivativeTableRows, kDerivativeTableRows);
  double d = 42.0;
  int calls = 0;
  // A failing evaluation fails the derivative and leaves the answer alone.
  const auto fails_late = [&](double t, double& y) { return (y = t * t), ++calls < 5; };
  EXPECT_FALSE(ExtrapolatedDerivative(fails_late, 2.0, kDerivativeStepShrinkSquared, table, d));
  EXPECT_EQ(d, 42.0);
  const auto overflows = [](double t, double& y) { return (y = t > 1.0 ? 1e308 : -1e308), true; };
  EXPECT_FALSE(ExtrapolatedDerivative(overflows, 1.0, kDerivativeStepShrinkSquared, table, d));
  // A kink: the error grows, the best estimate met so far stands, no failure.
  const auto kink = [](double t, double& y) { return (y = std::fabs(t - 1.0)), true; };
  ASSERT_TRUE(ExtrapolatedDerivative(kink, 1.0, kDerivativeStepShrinkSquared, table, d));
  EXPECT_TRUE(std::isfinite(d));
  EXPECT_LE(std::fabs(d), 1.0);
}
