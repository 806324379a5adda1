// The run of a fit: its log line by line, its three non-failure ends, its
// failures and the counters as they stand at each end.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "external_models.hpp"
#include "support/test_helpers.hpp"
#include "tessarix/core/nonlinear_regression.hpp"
#include "tessarix/platform/number_text.hpp"

namespace tessarix {
namespace {

using test::LogLines;
using Lines = std::vector<std::string>;

const std::vector<double> kX{0, 1, 2, 3, 4, 5, 6};
const std::vector<double> kY{2.01, 2.69, 3.65, 4.91, 6.65, 8.95, 12.12};

// The lines of `lines` from `first` on.
Lines From(const Lines& lines, std::size_t first) {
  return first < lines.size() ? Lines(lines.begin() + static_cast<std::ptrdiff_t>(first), lines.end()) : Lines();
}

std::size_t Count(const Lines& lines, const std::string& line) {
  return static_cast<std::size_t>(std::count(lines.begin(), lines.end(), line));
}

TEST(SolutionLog, SolvedRunLineByLine) {
  NonlinearRegression reg;
  test::DefineExponential(reg);
  reg.RegressionParameters()->Item("b")->SetInitialEstimate(0.5);
  reg.Fit(kX, kY);
  ASSERT_TRUE(reg.IsSolved());
  const Lines lines = LogLines(reg.SolutionLog());
  ASSERT_EQ(lines.size(), 18u);
  EXPECT_EQ(lines[0], "Tessarix version 2.0.43 (NonlinearRegression object)");
  EXPECT_EQ(lines[1].rfind("Date/Time: ", 0), 0u);
  EXPECT_EQ(lines[1].size(), std::string("Date/Time: 2026-11-22 14:05:09").size());
  const auto a = reg.RegressionParameters()->Item("a");
  const auto b = reg.RegressionParameters()->Item("b");
  const Lines expected{"Beginning solution for external model",
                       "Obtaining initial estimates",
                       "Using user defined estimates",
                       "Initial parameter estimates:",
                       "a = 1 (fitted)",
                       "b = 0.5 (fitted)",
                       "Beginning non-linear iterations",
                       "Solution converged to residual change less than 1E-10%",
                       "Final Merit Function = " + detail::NumberText(reg.SSENorm()),
                       "Total number of non-linear iterations = " + std::to_string(reg.NumIterations()),
                       "Residual Sum of Squares = " + detail::NumberText(reg.SSE()),
                       "Final parameter values:",
                       "a = " + detail::NumberText(a->Value()),
                       "b = " + detail::NumberText(b->Value()),
                       "Solution complete",
                       ""};
  EXPECT_EQ(From(lines, 2), expected);
  // The text ends with the line end of the blank line.
  EXPECT_EQ(reg.SolutionLog().substr(reg.SolutionLog().size() - 4), "\r\n\r\n");
  EXPECT_EQ(reg.LastSolveError(), "No errors");
  EXPECT_EQ(reg.ConvergenceReason(), tsxConvergedReduction);
  EXPECT_NEAR(a->Value(), 2.0, 0.02);
  EXPECT_NEAR(b->Value(), 0.3, 0.005);
}

TEST(SolutionLog, NumbersFollowTheLocaleAndTheFileGetsOneMoreLineEnd) {
  test::ScopedSeparators comma(test::DecimalCommaSeparators());
  NonlinearRegression reg;
  test::DefineExponential(reg);
  reg.RegressionParameters()->Item("b")->SetInitialEstimate(0.5);
  reg.Fit(kX, kY);
  const Lines lines = LogLines(reg.SolutionLog());
  EXPECT_EQ(lines[7], "b = 0,5 (fitted)");

  const std::string path = ::testing::TempDir() + "tessarix_solution_log.txt";
  reg.SaveLog(path);
  reg.SaveLog(path, true);
  const auto saved = [&path] {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
  };
  EXPECT_EQ(saved(), reg.SolutionLog() + "\r\n" + reg.SolutionLog() + "\r\n");
  reg.SaveLog(path);
  reg.ClearFit();
  reg.SaveLog(path);
  EXPECT_EQ(saved(), "\r\n");
  std::remove(path.c_str());

  test::DefineExponential(reg);
  reg.Fit(kX, kY);
  const std::string log = reg.SolutionLog();
  EXPECT_TSX_ERROR(reg.SaveLog(::testing::TempDir() + "no/such/folder/log.txt"), 10010, "Error writing to file");
  EXPECT_EQ(reg.SolutionLog(), log);
}

TEST(SolutionDriver, PerfectDataConvergesToZero) {
  NonlinearRegression reg;
  test::DefineClosedForm(
      reg, {"a"}, [](const std::vector<double>& p, double x) { return p[0] * x; },
      [](const std::vector<double>&, double x, std::vector<double>& d) { d[0] = x; });
  const std::vector<double> x{1, 2, 4}, y{2, 4, 8};
  reg.Fit(x, y);
  ASSERT_TRUE(reg.IsSolved());
  const Lines lines = LogLines(reg.SolutionLog());
  EXPECT_EQ(Count(lines, "Solution converged to residual change less than 1E-10%"), 1u);
  EXPECT_EQ(Count(lines, "Final Merit Function = 0"), 1u);
  EXPECT_EQ(reg.SSE(), 0.0);
  EXPECT_EQ(reg.SSENorm(), 0.0);
  EXPECT_EQ(reg.R2(), 1.0);
  EXPECT_EQ(reg.DurbinWatson(), 0.0);
  EXPECT_EQ(reg.ProbF(), 0.0);
  EXPECT_EQ(reg.StandardError(), 0.0);
  EXPECT_EQ(reg.DOFRegression(), 1);  // one fitted parameter: 1, not 0
  EXPECT_EQ(reg.DOFError(), 2);
  EXPECT_EQ(reg.DOFTotal(), 3);
  const auto a = reg.RegressionParameters()->Item(1);
  EXPECT_EQ(a->Value(), 2.0);
  EXPECT_EQ(a->StandardError(), 0.0);
  EXPECT_EQ(a->ProbT(), 0.0);
}

TEST(SolutionDriver, IterationLimitEndsSolvedWithTheCounterPastIt) {
  NonlinearRegression reg;
  test::DefineExponential(reg);
  reg.SetMaxIterations(1);
  int events = 0;
  reg.Events.IterationComplete = [&](std::int32_t iteration, double sse, bool&) {
    ++events;
    EXPECT_EQ(iteration, 1);
    EXPECT_GT(sse, 0.0);
  };
  reg.RegressionParameters()->Item("a")->SetInitialEstimate(2.0);
  reg.RegressionParameters()->Item("b")->SetInitialEstimate(0.29);
  reg.Fit(kX, kY);
  EXPECT_EQ(events, 1);
  ASSERT_TRUE(reg.IsSolved());
  EXPECT_EQ(reg.ConvergenceReason(), tsxIterationLimit);
  EXPECT_EQ(reg.NumIterations(), 2);
  const Lines lines = LogLines(reg.SolutionLog());
  EXPECT_EQ(Count(lines, "Reached iteration limit of 1"), 1u);
  EXPECT_EQ(Count(lines, "Solution failed to converge to residual change of 1E-10%"), 1u);
  EXPECT_EQ(Count(lines, "Total number of non-linear iterations = 2"), 1u);
}

TEST(SolutionDriver, AbortEndsSolvedWithTheValuesReached) {
  NonlinearRegression reg;
  test::DefineExponential(reg);
  reg.Events.IterationComplete = [](std::int32_t, double, bool& abort) { abort = true; };
  reg.RegressionParameters()->Item("a")->SetInitialEstimate(2.0);
  reg.RegressionParameters()->Item("b")->SetInitialEstimate(0.29);
  reg.Fit(kX, kY);
  ASSERT_TRUE(reg.IsSolved());
  EXPECT_EQ(reg.ConvergenceReason(), tsxIterationLimit);  // an abort ends as the limit does
  EXPECT_EQ(reg.NumIterations(), 1);
  Lines lines = LogLines(reg.SolutionLog());
  EXPECT_EQ(Count(lines, "Solution process aborted"), 1u);
  // No ending line of its own: the abort line is followed by the merit.
  const auto at = std::find(lines.begin(), lines.end(), "Solution process aborted");
  ASSERT_NE(at, lines.end());
  EXPECT_EQ((at + 1)->rfind("Final Merit Function = ", 0), 0u);

  // Converging at the iteration that aborts: the convergence test comes first.
  reg.SetRegressionTolerance(1e10);
  reg.Fit(kX, kY);
  ASSERT_TRUE(reg.IsSolved());
  EXPECT_EQ(reg.ConvergenceReason(), tsxConvergedReduction);
  lines = LogLines(reg.SolutionLog());
  EXPECT_EQ(Count(lines, "Solution process aborted"), 0u);
  EXPECT_EQ(Count(lines, "Solution converged to residual change less than 10000000000%"), 1u);

  // Aborting at the last allowed iteration: the counter stays at the limit,
  // and the limit, tested before the abort, gives its two lines after the
  // abort line.
  reg.SetRegressionTolerance(1e-10);
  reg.SetMaxIterations(1);
  reg.Fit(kX, kY);
  ASSERT_TRUE(reg.IsSolved());
  EXPECT_EQ(reg.NumIterations(), 1);
  lines = LogLines(reg.SolutionLog());
  const auto aborted = std::find(lines.begin(), lines.end(), "Solution process aborted");
  ASSERT_NE(aborted, lines.end());
  ASSERT_GE(lines.end() - aborted, 3);
  EXPECT_EQ(*(aborted + 1), "Reached iteration limit of 1");
  EXPECT_EQ(*(aborted + 2), "Solution failed to converge to residual change of 1E-10%");
}

TEST(SolutionDriver, AllParametersFixedEndsByTheUnchangedLimit) {
  NonlinearRegression reg;
  test::DefineExponential(reg);
  for (const auto& p : *reg.RegressionParameters()) p->SetInitialEstimateType(tsxEstimateConstant);
  reg.RegressionParameters()->Item("a")->SetInitialEstimate(2.0);
  reg.RegressionParameters()->Item("b")->SetInitialEstimate(0.3);
  reg.Fit(kX, kY);
  ASSERT_TRUE(reg.IsSolved());
  const Lines lines = LogLines(reg.SolutionLog());
  EXPECT_EQ(lines[6], "a = 2 (constant)");
  EXPECT_EQ(Count(lines, "Merit Function unchanged during last 10 of 12 iterations"), 1u);
  EXPECT_EQ(Count(lines, "Solution converged to residual change of 0.0%"), 1u);
  EXPECT_EQ(reg.NumIterations(), 12);
  EXPECT_EQ(reg.NumUnchangedIterations(), 11);
  EXPECT_EQ(reg.ConvergenceReason(), tsxStalled);
  for (const auto& p : *reg.RegressionParameters()) {
    EXPECT_EQ(p->StandardError(), 0.0);
    EXPECT_EQ(p->ProbT(), 0.0);
  }
  EXPECT_EQ(reg.RegressionParameters()->Item("b")->Value(), 0.3);
}

TEST(SolutionDriver, FixedParameterStaysOutOfTheFit) {
  NonlinearRegression reg;
  int derivative_calls = 0;
  test::DefineClosedForm(
      reg, {"a", "b"}, [](const std::vector<double>& p, double x) { return p[0] * std::exp(p[1] * x); },
      [&](const std::vector<double>& p, double x, std::vector<double>& d) {
        ++derivative_calls;
        d[0] = std::exp(p[1] * x);
        d[1] = 1e300;  // ignored: b is held constant
      });
  const auto b = reg.RegressionParameters()->Item("b");
  b->SetInitialEstimate(0.3);
  b->SetInitialEstimateType(tsxEstimateConstant);
  reg.Fit(kX, kY);
  ASSERT_TRUE(reg.IsSolved());
  EXPECT_GT(derivative_calls, 0);
  EXPECT_EQ(b->Value(), 0.3);
  EXPECT_EQ(b->StandardError(), 0.0);
  EXPECT_EQ(b->ProbT(), 0.0);
  EXPECT_EQ(reg.RegressionParameters()->CalculateCovariance("b", "a"), 0.0);
  EXPECT_EQ(reg.DOFRegression(), 1);
  EXPECT_EQ(reg.DOFError(), 6);
  // With b fixed the model is linear in a: a = sum(y e) / sum(e e).
  double num = 0, den = 0;
  for (std::size_t i = 0; i < kX.size(); ++i) {
    const double e = std::exp(0.3 * kX[i]);
    num += kY[i] * e;
    den += e * e;
  }
  EXPECT_NEAR(reg.RegressionParameters()->Item("a")->Value(), num / den, 1e-9);
}

TEST(SolutionDriver, NotEnoughDataPoints) {
  NonlinearRegression reg;
  test::DefineExponential(reg);
  const std::vector<double> x{1, 2}, y{3, 4};
  reg.Fit(x, y);
  EXPECT_FALSE(reg.IsSolved());
  EXPECT_EQ(reg.LastSolveError(), "Solution failed: not enough data points");
  EXPECT_EQ(reg.ConvergenceReason(), tsxFailed);
  const Lines lines = LogLines(reg.SolutionLog());
  ASSERT_EQ(lines.size(), 5u);
  EXPECT_EQ(lines[2], "Beginning solution for external model");
  EXPECT_EQ(lines[3], "Solution failed: not enough data points");
  EXPECT_EQ(lines[4], "");
  EXPECT_EQ(reg.ResultTables()->Count(), 0);
  const std::vector<double> one{1};
  test::DefineClosedForm(reg, {"a"}, [](const std::vector<double>& p, double) { return p[0]; });
  reg.Fit(one, one);
  EXPECT_EQ(reg.LastSolveError(), "Solution failed: not enough data points");
}

TEST(SolutionDriver, SingularMatrixEndsTheRun) {
  NonlinearRegression reg;
  // Two parameters that never change the model.
  test::DefineClosedForm(
      reg, {"a", "b"}, [](const std::vector<double>&, double x) { return x; },
      [](const std::vector<double>&, double, std::vector<double>& d) { d[0] = d[1] = 0.0; });
  reg.Fit(kX, kY);
  EXPECT_FALSE(reg.IsSolved());
  EXPECT_EQ(reg.LastSolveError(), "Singular matrix encountered in gaussian elimination.");
  const Lines lines = LogLines(reg.SolutionLog());
  // The text carries no line end of its own.
  const Lines tail{"Beginning non-linear iterations",
                   "Singular matrix encountered in gaussian elimination.Last parameter values:",
                   "a = 1",
                   "b = 1",
                   "Solution failed",
                   ""};
  EXPECT_EQ(From(lines, lines.size() - tail.size()), tail);
  EXPECT_TSX_CODE(reg.NumObservations(), 10029);
}

TEST(SolutionDriver, ConstantYIsRejectedByTheStatistics) {
  NonlinearRegression reg;
  test::DefineLine(reg);
  const std::vector<double> y(kX.size(), 3.0);
  reg.Fit(kX, y);
  EXPECT_FALSE(reg.IsSolved());
  EXPECT_EQ(reg.LastSolveError(), "Solution rejected based on poor goodness of fit statistics");
  const Lines lines = LogLines(reg.SolutionLog());
  const auto at = std::find(lines.begin(), lines.end(), "Solution rejected based on poor goodness of fit statistics.");
  ASSERT_NE(at, lines.end());
  EXPECT_EQ((at - 1)->rfind("Total number of non-linear iterations = ", 0), 0u);
  EXPECT_EQ(*(at + 1), "Last parameter values:");
  EXPECT_EQ(*(at + 4), "Solution failed");
  EXPECT_EQ(reg.ResultTables()->Count(), 0);
}

TEST(SolutionDriver, FitWorseThanTheMeanIsRejected) {
  NonlinearRegression reg;
  test::DefineExponential(reg);
  // Stopped after one iteration from far away: SSENorm exceeds SST, F is
  // negative, and the probability refuses it.
  reg.Events.IterationComplete = [](std::int32_t, double, bool& abort) { abort = true; };
  reg.RegressionParameters()->Item("b")->SetInitialEstimate(1.0);
  reg.Fit(kX, kY);
  EXPECT_FALSE(reg.IsSolved());
  EXPECT_EQ(reg.LastSolveError(), "Solution rejected based on poor goodness of fit statistics");
}

TEST(SolutionDriver, StatisticsOfARunEndingAtARejectedStepUseTheLastTrial) {
  // a*x, but a step past 2.9 lands on a worse curve: from 2.8 every trial
  // step towards 3 is rejected, and the run stops by the unchanged limit
  // with the model's values at the last rejected trial.
  NonlinearRegression reg;
  test::DefineClosedForm(
      reg, {"a"}, [](const std::vector<double>& p, double x) { return p[0] <= 2.9 ? p[0] * x : (p[0] + 0.3) * x; },
      [](const std::vector<double>&, double x, std::vector<double>& d) { d[0] = x; });
  reg.RegressionParameters()->Item("a")->SetInitialEstimate(2.8);
  reg.SetMaxUnchangedIterations(1);
  const std::vector<double> x{1, 2, 3, 4, 5, 6, 7, 8};
  const std::vector<double> noise{0.05, -0.04, 0.03, -0.05, 0.02, 0.04, -0.03, 0.01};
  std::vector<double> y;
  for (std::size_t i = 0; i < x.size(); ++i) y.push_back(3.0 * x[i] + noise[i]);
  reg.Fit(x, y);
  ASSERT_TRUE(reg.IsSolved()) << reg.LastSolveError();
  const Lines lines = LogLines(reg.SolutionLog());
  EXPECT_EQ(Count(lines, "Merit Function unchanged during last 1 of 3 iterations"), 1u);

  // The published value is the best one, never moved.
  EXPECT_EQ(reg.RegressionParameters()->Item("a")->Value(), 2.8);
  double merit = 0.0;
  for (std::size_t i = 0; i < x.size(); ++i) merit += (y[i] - 2.8 * x[i]) * (y[i] - 2.8 * x[i]);
  EXPECT_EQ(Count(lines, "Final Merit Function = " + detail::NumberText(merit)), 1u);

  // The predicted values, the residuals and the statistics are those of the
  // rejected trial on the worse curve.
  const auto tables = reg.ResultTables();
  const auto predicted = tables->Item("Predicted Y");
  const auto residuals = tables->Item("Residuals");
  double sse = 0.0;
  for (std::int32_t i = 0; i < predicted->NumObservations(); ++i) {
    const auto ui = static_cast<std::size_t>(i);
    EXPECT_GT(predicted->GetObservation(i) / x[ui], 3.2) << i;
    EXPECT_EQ(residuals->GetObservation(i), y[ui] - predicted->GetObservation(i));
    sse += residuals->GetObservation(i) * residuals->GetObservation(i);
  }
  EXPECT_NEAR(reg.SSE(), sse, 1e-12 * sse);
  EXPECT_GT(reg.SSE(), 1.5 * merit);  // at the published value it would be the merit
}

TEST(SolutionDriver, IterationCounterPast32767FailsTheRun) {
  // The merit falls a little at every other trial step and the steps in
  // between fail, so neither the tolerance nor the unchanged limit ends the
  // run: the 16-bit iteration counter overflows, and the run fails through
  // the handler with the text the last failed pass left.
  NonlinearRegression reg;
  int pass = -1;
  test::DefineClosedForm(
      reg, {"a"},
      [&pass](const std::vector<double>& p, double x) {
        if (x == 1.0) ++pass;
        if (pass > 0 && pass % 2 == 0) return std::nan("");
        return x * (1.0 + 1.0 / (1.0 + p[0]));
      },
      [](const std::vector<double>&, double x, std::vector<double>& d) { d[0] = -x; });
  reg.SetMaxIterations(40000);
  std::int32_t last_iteration = 0;
  reg.Events.IterationComplete = [&](std::int32_t iteration, double, bool&) { last_iteration = iteration; };
  reg.Fit(std::vector<double>{1, 2, 3}, std::vector<double>{0, 0, 0});
  EXPECT_FALSE(reg.IsSolved());
  EXPECT_EQ(last_iteration, 32767);
  EXPECT_EQ(reg.LastSolveError(), "Error evaluating the function at X = 1\r\n");
  const Lines lines = LogLines(reg.SolutionLog());
  EXPECT_EQ(Count(lines, "Reached iteration limit of 40000"), 0u);
  ASSERT_GE(lines.size(), 5u);
  const Lines tail = From(lines, lines.size() - 5);
  EXPECT_EQ(tail[0], "Error evaluating the function at X = 1");
  EXPECT_EQ(tail[1], "Last parameter values:");
  EXPECT_EQ(tail[2].substr(0, 4), "a = ");
  EXPECT_GT(std::stod(tail[2].substr(4)), 16000.0);  // about 1 per accepted step
  EXPECT_EQ(tail[3], "Solution failed");
  EXPECT_EQ(tail[4], "");
}

}  // namespace
}  // namespace tessarix
