// The trust-region method on the NIST StRD nonlinear regression problems:
// the 26 problems of one predictor as text models with numerical
// derivatives, and Nelson (two predictors) as a text model of the
// multi-variable class, each from both certified starts with the default
// tolerances and MaxIterations 1000. The table shows the smallest log
// relative error (digits in agreement) of the parameters, of their
// standard errors, of the standard errors over the root of the residual sum,
// the residual sum's, and how each run ended.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "support/nist_fit.hpp"
#include "support/nist_text_models.hpp"
#include "tessarix/core/nonlinear_regression.hpp"
#include "tessarix/multiple/multiple_nonlinear_regression.hpp"

namespace tessarix {
namespace {

// Scores a fit of `reg` from the start, prints its row and checks what every
// run that finds the parameters must also get right.
bool FitAndScore(RegressionObject& reg, const std::function<void()>& fit, const std::string& name,
                 const test::NistProblem& data, std::size_t start) {
  reg.SetSolverMethod(tsxSolverTrustRegion);
  test::SetNistStart(reg, data.starts[start]);
  fit();
  const test::NistScore s = test::ScoreNistFit(reg, data);
  static const char* const kEnds[] = {"reduction", "step", "gradient", "limit", "stalled", "failed", "not run"};
  std::printf("%-9s %5zu %7.1f %7.1f %7.1f %7.1f %6d  %s\n", name.c_str(), start + 1, s.value_lre, s.sd_lre,
              s.unscaled_sd_lre, s.rss_lre, s.solved ? reg.NumIterations() : -1, kEnds[reg.ConvergenceReason()]);
  if (!s.solved || s.value_lre < 6.0) return false;
  // Where the parameters are found, so are their standard errors, and the
  // covariance from the triangular factor keeps its digits however badly the
  // problem is conditioned. Lanczos1's residuals (about 1e-13) lie at the
  // rounding level of its observations held as doubles: the exact least
  // squares solution of those doubles has a residual sum 8.6e-4 below the
  // certified one, and standard errors with 3.4 correct digits, all moved
  // alike. No method can do better there on the residual sum; the covariance
  // is held to the same 4 digits as everywhere.
  EXPECT_GE(s.unscaled_sd_lre, 4.0) << name << " start " << start + 1;
  EXPECT_GE(s.sd_lre, name == "Lanczos1" ? 3.0 : 4.0) << name << " start " << start + 1;
  EXPECT_NE(reg.ConvergenceReason(), tsxIterationLimit) << name << " start " << start + 1;
  return true;
}

TEST(TrustRegionNist, ReachesTheCertifiedValuesFromBothStarts) {
  std::printf("%-9s %5s %7s %7s %7s %7s %6s  %s\n", "problem", "start", "params", "se", "se/rss", "rss", "iter", "end");
  int found = 0, cases = 0;
  for (const test::NistTextModel& problem : test::kNistTextModels) {
    const test::NistProblem data = test::ReadNistProblem(problem.name);
    ASSERT_FALSE(data.x.empty()) << problem.name;
    for (std::size_t start = 0; start < 2; ++start, ++cases) {
      NonlinearRegression reg;
      reg.DefineUserModel(problem.model);
      ASSERT_EQ(reg.RegressionParameters()->Count(), static_cast<std::int32_t>(data.certified.size()));
      found += FitAndScore(
          reg, [&] { reg.Fit(data.x, data.y); }, problem.name, data, start);
    }
  }
  // Nelson: log(y) = b1 - b2*x1*exp(-b3*x2), a text model of two variables.
  const test::NistProblem nelson = test::ReadNistProblem("Nelson");
  const test::NelsonData points = test::ReadNelson();
  ASSERT_EQ(points.log_y.size(), nelson.x.size());
  for (std::size_t start = 0; start < 2; ++start, ++cases) {
    MultipleNonlinearRegression reg;
    reg.DefineUserModel("b1-b2*x1*exp(-b3*x2)");
    found += FitAndScore(
        reg, [&] { reg.Fit(points.x, points.log_y); }, "Nelson", nelson, start);
  }
  std::printf("parameters to 6 digits in %d of %d cases\n", found, cases);
  std::fflush(stdout);
  EXPECT_EQ(cases, 54);
  EXPECT_GE(found, 53);
}

// From Misra1c's first start the Gauss-Newton step near the solution is far
// inside the radius and is rejected: shrinking the radius by the usual rule
// would leave it there, and the same trial would be evaluated again. No
// point is evaluated for values twice without a derivative pass between.
TEST(TrustRegionNist, NoRejectedTrialIsEvaluatedAgain) {
  const test::NistProblem data = test::ReadNistProblem("Misra1c");
  ASSERT_FALSE(data.x.empty());
  NonlinearRegression reg;
  const std::vector<std::string> names{"b1", "b2"};
  reg.DefineExternalModel(names, true);
  const double first_x = data.x.front();
  std::vector<std::vector<double>> values_at;  // the points of the value evaluations at the first x
  reg.Events.EvaluateExternal = [&](std::vector<double>& b, double x, double& y, bool& ok) {
    if (x == first_x) values_at.push_back(b);
    y = b[0] * (1.0 - 1.0 / std::sqrt(1.0 + 2.0 * b[1] * x));
    ok = std::isfinite(y);
  };
  reg.Events.DerivativeExternal = [&](std::vector<double>& b, double x, std::vector<double>& d, bool& ok) {
    // A derivative pass (whose values come first) separates the value
    // evaluations before and after it.
    if (x == first_x) {
      if (!values_at.empty() && values_at.back() == b) values_at.pop_back();
      values_at.emplace_back();
    }
    const double root = std::sqrt(1.0 + 2.0 * b[1] * x);
    d[0] = 1.0 - 1.0 / root;
    d[1] = b[0] * x / (root * root * root);
    ok = true;
  };
  reg.SetSolverMethod(tsxSolverTrustRegion);
  test::SetNistStart(reg, data.starts[0]);
  reg.Fit(data.x, data.y);
  EXPECT_GE(test::ScoreNistFit(reg, data).value_lre, 6.0);
  ASSERT_GT(values_at.size(), 10u);
  for (std::size_t k = 1; k < values_at.size(); ++k) {
    EXPECT_TRUE(values_at[k].empty() || values_at[k] != values_at[k - 1]) << "value evaluation " << k;
  }
}

}  // namespace
}  // namespace tessarix
