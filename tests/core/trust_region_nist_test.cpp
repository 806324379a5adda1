// The trust-region method on the NIST StRD nonlinear regression problems:
// the 26 problems of one predictor as text models with numerical
// derivatives, and Nelson (two predictors) as a text model of the
// multi-variable class, each from both certified starts with the default
// tolerances and MaxIterations 1000. The table shows the smallest log
// relative error (digits in agreement) of the parameters and of their
// standard errors, the residual sum's, the trial steps, the passes over the
// data and how each run ended.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "support/nist_problem.hpp"
#include "support/nist_text_models.hpp"
#include "tessarix/core/nonlinear_regression.hpp"
#include "tessarix/multiple/multiple_nonlinear_regression.hpp"

namespace tessarix {
namespace {

struct Case {
  std::string name;
  std::size_t start = 0;
  bool solved = false;
  double value_lre = 0.0;
  double sd_lre = 0.0;
  double rss_lre = 0.0;
  std::int32_t iterations = 0;
  long value_passes = 0;
  long derivative_passes = 0;
  ConvergenceReasonEnum reason = tsxNotRun;
};

const char* ReasonName(ConvergenceReasonEnum reason) {
  switch (reason) {
    case tsxConvergedReduction:
      return "reduction";
    case tsxConvergedStep:
      return "step";
    case tsxConvergedGradient:
      return "gradient";
    case tsxIterationLimit:
      return "limit";
    case tsxStalled:
      return "stalled";
    case tsxFailed:
      return "failed";
    case tsxNotRun:
      break;
  }
  return "not run";
}

// The passes over the data that the log reports.
void ReadPasses(const std::string& log, Case& c) {
  const std::string key = "Passes over the data: ";
  const auto at = log.find(key);
  if (at != std::string::npos) {
    std::sscanf(log.c_str() + at + key.size(), "%ld for values, %ld for derivatives", &c.value_passes,
                &c.derivative_passes);
  }
}

void ReadResults(const RegressionObject& reg, const test::NistProblem& data, Case& c) {
  c.solved = reg.IsSolved();
  c.reason = reg.ConvergenceReason();
  ReadPasses(reg.SolutionLog(), c);
  if (!c.solved) return;
  c.value_lre = c.sd_lre = 11.0;
  const auto params = reg.RegressionParameters();
  for (std::size_t j = 0; j < data.certified.size(); ++j) {
    const auto p = params->Item(static_cast<std::int32_t>(j + 1));
    c.value_lre = std::min(c.value_lre, test::LogRelativeError(p->Value(), data.certified[j]));
    c.sd_lre = std::min(c.sd_lre, test::LogRelativeError(p->StandardError(), data.certified_sd[j]));
  }
  c.rss_lre = test::LogRelativeError(reg.SSE(), data.certified_rss);
  c.iterations = reg.NumIterations();
}

void SetStart(RegressionObject& reg, const std::vector<double>& start) {
  reg.SetSolverMethod(tsxSolverTrustRegion);
  reg.SetMaxIterations(1000);
  for (std::size_t j = 0; j < start.size(); ++j) {
    reg.RegressionParameters()->Item(static_cast<std::int32_t>(j + 1))->SetInitialEstimate(start[j]);
  }
}

Case FitText(const test::NistTextModel& problem, const test::NistProblem& data, std::size_t start) {
  Case c{problem.name, start};
  NonlinearRegression reg;
  reg.DefineUserModel(problem.model);
  EXPECT_EQ(reg.RegressionParameters()->Count(), static_cast<std::int32_t>(data.certified.size())) << problem.name;
  SetStart(reg, data.starts[start]);
  reg.Fit(data.x, data.y);
  ReadResults(reg, data, c);
  return c;
}

// Nelson: log(y) = b1 - b2*x1*exp(-b3*x2), a text model of two variables.
Case FitNelson(const test::NistProblem& data, std::size_t start) {
  Case c{"Nelson", start};
  const auto n = static_cast<std::int32_t>(data.x.size());
  Matrix x(n, 2);
  std::vector<double> log_y(data.y.size());
  for (std::int32_t i = 0; i < n; ++i) {
    const auto ui = static_cast<std::size_t>(i);
    x(i, 0) = data.x[ui];
    x(i, 1) = data.x2[ui];
    log_y[ui] = std::log(data.y[ui]);
  }
  MultipleNonlinearRegression reg;
  reg.DefineUserModel("b1-b2*x1*exp(-b3*x2)");
  SetStart(reg, data.starts[start]);
  reg.Fit(x, log_y);
  ReadResults(reg, data, c);
  return c;
}

TEST(TrustRegionNist, ReachesTheCertifiedValuesFromBothStarts) {
  std::vector<Case> cases;
  for (const test::NistTextModel& problem : test::kNistTextModels) {
    const test::NistProblem data = test::ReadNistProblem(problem.name);
    ASSERT_FALSE(data.x.empty()) << problem.name;
    for (std::size_t start = 0; start < 2; ++start) cases.push_back(FitText(problem, data, start));
  }
  const test::NistProblem nelson = test::ReadNistProblem("Nelson");
  ASSERT_EQ(nelson.x2.size(), nelson.x.size());
  for (std::size_t start = 0; start < 2; ++start) cases.push_back(FitNelson(nelson, start));

  std::printf("%-9s %5s %7s %7s %7s %6s %7s %7s  %s\n", "problem", "start", "params", "se", "rss", "iter", "values",
              "derivs", "end");
  int found = 0;
  for (const Case& c : cases) {
    if (c.solved) {
      std::printf("%-9s %5zu %7.1f %7.1f %7.1f %6d %7ld %7ld  %s\n", c.name.c_str(), c.start + 1, c.value_lre, c.sd_lre,
                  c.rss_lre, c.iterations, c.value_passes, c.derivative_passes, ReasonName(c.reason));
    } else {
      std::printf("%-9s %5zu %7s %7s %7s %6s %7ld %7ld  %s\n", c.name.c_str(), c.start + 1, "fail", "-", "-", "-",
                  c.value_passes, c.derivative_passes, ReasonName(c.reason));
    }
    if (c.solved && c.value_lre >= 6.0) {
      ++found;
      // Where the parameters are found, so are their standard errors; but
      // Lanczos1's residuals (about 1e-13) lie at the rounding level of its
      // observations held as doubles, which moves the residual sum, and with
      // it every standard error, in the third digit.
      EXPECT_GE(c.sd_lre, c.name == "Lanczos1" ? 2.5 : 4.0) << c.name << " start " << c.start + 1;
      EXPECT_NE(c.reason, tsxIterationLimit) << c.name << " start " << c.start + 1;
    }
  }
  std::printf("parameters to 6 digits in %d of %zu cases\n", found, cases.size());
  std::fflush(stdout);
  EXPECT_EQ(cases.size(), 54U);
  EXPECT_GE(found, 53);
}

}  // namespace
}  // namespace tessarix
