// The dense fitted curve of the plot, with gaps where the model fails.
#include <gtest/gtest.h>

#include <cmath>
#include <tessarix/core/nonlinear_regression.hpp>
#include <vector>

#include "fit_command.hpp"

namespace tessarix::tool {
namespace {

TEST(FittedCurve, FollowsTheModelAndBreaksWhereItCannotBeEvaluated) {
  NonlinearRegression regression;
  regression.DefineUserModel("a*log(abs(x))+b");
  std::vector<double> x, y;
  for (int i = 1; i <= 8; ++i) {
    x.push_back(i);
    y.push_back(2.0 * std::log(i) + 1.0 + (i % 2 ? 0.01 : -0.01));
  }
  regression.Fit(x, y);
  ASSERT_TRUE(regression.IsSolved()) << regression.LastSolveError();

  // Over 1..8 the model evaluates everywhere: one run, ends exact.
  const auto whole = FittedCurve(regression, 1.0, 8.0, 50);
  ASSERT_EQ(whole.size(), 1u);
  ASSERT_EQ(whole[0].size(), 50u);
  EXPECT_EQ(whole[0].front().first, 1.0);
  EXPECT_EQ(whole[0].back().first, 8.0);
  EXPECT_DOUBLE_EQ(whole[0][10].second, regression.PredictValue(whole[0][10].first));

  // Over -5..5 in steps of 1 the point x = 0 fails: two runs of five.
  const auto broken = FittedCurve(regression, -5.0, 5.0, 11);
  ASSERT_EQ(broken.size(), 2u);
  EXPECT_EQ(broken[0].size(), 5u);
  EXPECT_EQ(broken[0].back().first, -1.0);
  EXPECT_EQ(broken[1].size(), 5u);
  EXPECT_EQ(broken[1].front().first, 1.0);

  // Nothing to draw for a range of no width or too few points.
  EXPECT_TRUE(FittedCurve(regression, 2.0, 2.0, 50).empty());
  EXPECT_TRUE(FittedCurve(regression, 1.0, 8.0, 1).empty());
}

}  // namespace
}  // namespace tessarix::tool
