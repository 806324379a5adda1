// External models: the events, their arguments, their failures.
#include <gtest/gtest.h>

#include <cmath>
#include <stdexcept>
#include <string>
#include <vector>

#include "external_models.hpp"
#include "support/test_helpers.hpp"
#include "tessarix/core/nonlinear_regression.hpp"

namespace tessarix {
namespace {

using test::LogLines;

const std::vector<double> kX{0, 1, 2, 3, 4, 5, 6};
const std::vector<double> kY{2.01, 2.69, 3.65, 4.91, 6.65, 8.95, 12.12};

TEST(ExternalModel, NumericalDerivativesRaiseNoDerivativeEvent) {
  NonlinearRegression analytic, numeric;
  test::DefineExponential(analytic);
  test::DefineExponential(numeric, /*analytic=*/false);
  int derivative_events = 0;
  numeric.Events.DerivativeExternal = [&](std::vector<double>&, double, std::vector<double>&, bool&) {
    ++derivative_events;
  };
  analytic.Fit(kX, kY);
  numeric.Fit(kX, kY);
  ASSERT_TRUE(numeric.IsSolved());
  EXPECT_EQ(derivative_events, 0);
  for (std::int32_t i = 1; i <= 2; ++i) {
    const auto a = analytic.RegressionParameters()->Item(i);
    const auto n = numeric.RegressionParameters()->Item(i);
    EXPECT_NEAR(n->Value(), a->Value(), 1e-9 * std::fabs(a->Value()));
    EXPECT_NEAR(n->StandardError(), a->StandardError(), 1e-6 * a->StandardError());
  }
}

TEST(ExternalModel, EventArgumentsAreThoseOfTheDefinition) {
  NonlinearRegression reg;
  reg.DefineExternalModel(std::vector<std::string>{"a", "b", "c"}, true);
  std::vector<double> seen_x;
  std::string order;  // the events in the order they come
  reg.Events.EvaluateExternal = [&](std::vector<double>& p, double x, double& result, bool& success) {
    order += 'V';
    EXPECT_EQ(p.size(), 3u);
    EXPECT_FALSE(success);  // enters false
    if (seen_x.size() < 7) seen_x.push_back(x);
    EXPECT_EQ(p[2], 7.0);  // held constant
    result = p[0] + p[1] * x + p[2];
    p.clear();  // a handler may do anything with its copy
    success = true;
  };
  reg.Events.DerivativeExternal = [&](std::vector<double>& p, double x, std::vector<double>& d, bool& success) {
    order += 'D';
    EXPECT_EQ(p.size(), 3u);
    EXPECT_EQ(d.size(), 3u);
    EXPECT_FALSE(success);
    d[0] = 1.0;
    d[1] = x;
    d[2] = 1e300;  // the entry of a fixed parameter is ignored
    success = true;
  };
  const auto c = reg.RegressionParameters()->Item("c");
  c->SetInitialEstimate(7.0);
  c->SetInitialEstimateType(tsxEstimateConstant);
  std::vector<double> y;
  for (double x : kX) y.push_back(1.5 + 0.5 * x + 7.0 + (static_cast<int>(x) % 2 ? 0.01 : -0.01));
  reg.Fit(kX, y);
  ASSERT_TRUE(reg.IsSolved());
  EXPECT_EQ(seen_x, kX);
  // Point by point: each point's derivatives right after its value, although
  // the pass takes the rows in blocks.
  EXPECT_EQ(order.find("DD"), std::string::npos);
  EXPECT_NE(order.find("VDVD"), std::string::npos);
  EXPECT_NEAR(reg.RegressionParameters()->Item("a")->Value(), 1.5, 0.02);
  EXPECT_NEAR(reg.RegressionParameters()->Item("b")->Value(), 0.5, 0.01);
}

TEST(ExternalModel, AltDefinitionRaisesOnlyTheAltEvents) {
  NonlinearRegression reg;
  reg.DefineExternalModelAlt(Variant::Array({Variant("a"), Variant("b")}), true);
  int plain = 0, alt = 0;
  reg.Events.EvaluateExternal = [&](std::vector<double>&, double, double&, bool&) { ++plain; };
  reg.Events.DerivativeExternal = [&](std::vector<double>&, double, std::vector<double>&, bool&) { ++plain; };
  reg.Events.EvaluateExternalAlt = [&](Variant& p, double x, double& result, bool& success) {
    ++alt;
    result = p.At(0).ToDouble() * std::exp(p.At(1).ToDouble() * x);
    success = true;
  };
  reg.Events.DerivativeExternalAlt = [&](Variant& p, double x, Variant& d, bool& success) {
    ++alt;
    const double a = p.At(0).ToDouble(), b = p.At(1).ToDouble();
    d.At(0) = std::exp(b * x);
    d.At(1) = std::to_string(a * x * std::exp(b * x));  // numeric text converts too
    success = true;
  };
  reg.Fit(kX, kY);
  ASSERT_TRUE(reg.IsSolved());
  EXPECT_EQ(plain, 0);
  EXPECT_GT(alt, 0);
  EXPECT_NEAR(reg.RegressionParameters()->Item("b")->Value(), 0.3, 0.005);

  // A derivative that does not convert to a Double fails the run.
  reg.Events.DerivativeExternalAlt = [](Variant&, double, Variant& d, bool& success) {
    d.At(0) = 1.0;
    d.At(1) = "slope";
    success = true;
  };
  reg.Fit(kX, kY);
  EXPECT_FALSE(reg.IsSolved());
  EXPECT_EQ(reg.LastSolveError(), "Solution failed");
}

TEST(ExternalModel, HandlerThatNeverSucceedsFailsTheFirstEvaluation) {
  NonlinearRegression reg;
  reg.DefineExternalModel(std::vector<std::string>{"a", "b"});
  reg.Events.EvaluateExternal = [](std::vector<double>&, double, double& result, bool&) { result = 1.0; };
  const std::vector<double> x{2.5, 3, 4, 5};
  reg.Fit(x, x);
  EXPECT_FALSE(reg.IsSolved());
  EXPECT_EQ(reg.LastSolveError(), "Error evaluating the function at X = 2.5\r\n");
  const auto lines = LogLines(reg.SolutionLog());
  const std::vector<std::string> tail{"Beginning non-linear iterations",
                                      "Error evaluating the function at X = 2.5",
                                      "Last parameter values:",
                                      "a = 1",
                                      "b = 1",
                                      "Solution failed",
                                      ""};
  ASSERT_GE(lines.size(), tail.size());
  EXPECT_EQ(std::vector<std::string>(lines.end() - static_cast<std::ptrdiff_t>(tail.size()), lines.end()), tail);

  // No handler at all is the same failure.
  NonlinearRegression silent;
  silent.DefineExternalModel(std::vector<std::string>{"a"});
  silent.Fit(x, x);
  EXPECT_EQ(silent.LastSolveError(), "Error evaluating the function at X = 2.5\r\n");
}

TEST(ExternalModel, FailedDerivativesEndTheRun) {
  NonlinearRegression reg;
  test::DefineExponential(reg);
  reg.Events.DerivativeExternal = [](std::vector<double>&, double, std::vector<double>&, bool& success) {
    success = false;
  };
  reg.Fit(kX, kY);
  EXPECT_FALSE(reg.IsSolved());
  EXPECT_EQ(reg.LastSolveError(), "Error taking parameter derivatives at X = 0\r\n");

  // Numerical derivatives fail the same way when the model fails near the point.
  NonlinearRegression numeric;
  test::DefineClosedForm(numeric, {"a"}, [](const std::vector<double>& p, double x) {
    return p[0] > 1.0 ? std::nan("") : p[0] * x;  // fails a little above the estimate
  });
  numeric.Fit(kX, kY);
  EXPECT_FALSE(numeric.IsSolved());
  EXPECT_EQ(numeric.LastSolveError(), "Error taking parameter derivatives at X = 0\r\n");
}

TEST(ExternalModel, FailureAtATrialStepOnlyRejectsTheStep) {
  NonlinearRegression reg;
  int evaluations = 0;
  bool failed_once = false;
  test::DefineExponential(reg);
  reg.Events.EvaluateExternal = [&](std::vector<double>& p, double x, double& result, bool& success) {
    ++evaluations;
    // The first trial pass (evaluations 8 to 14) fails at its third point.
    if (evaluations == 10) {
      failed_once = true;
      return;
    }
    result = p[0] * std::exp(p[1] * x);
    success = true;
  };
  reg.Fit(kX, kY);
  EXPECT_TRUE(failed_once);
  ASSERT_TRUE(reg.IsSolved());
  EXPECT_EQ(reg.LastSolveError(), "No errors");  // emptied at the end of a solved run
  EXPECT_EQ(reg.SolutionLog().find("Error evaluating"), std::string::npos);
  EXPECT_NEAR(reg.RegressionParameters()->Item("b")->Value(), 0.3, 0.005);
}

TEST(ExternalModel, ExceptionsOfHandlers) {
  NonlinearRegression reg;
  test::DefineExponential(reg);
  // In the model event: a failed evaluation.
  reg.Events.EvaluateExternal = [](std::vector<double>&, double, double&, bool&) {
    throw std::runtime_error("host trouble");
  };
  reg.Fit(kX, kY);
  EXPECT_FALSE(reg.IsSolved());
  EXPECT_EQ(reg.LastSolveError(), "Error evaluating the function at X = 0\r\n");
  // In IterationComplete: the run fails.
  test::DefineExponential(reg);
  reg.Events.IterationComplete = [](std::int32_t, double, bool&) { throw 7; };
  reg.Fit(kX, kY);
  EXPECT_FALSE(reg.IsSolved());
  EXPECT_EQ(reg.LastSolveError(), "Solution failed");
  EXPECT_EQ(reg.ResultTables()->Count(), 0);
}

TEST(ExternalModel, HundredParametersAtMost) {
  // y = p[floor(x)]: one parameter per group of observations, a diagonal system.
  const auto fit = [](std::int32_t count) {
    NonlinearRegression reg;
    std::vector<std::string> names;
    for (std::int32_t k = 0; k < count; ++k) {
      std::string name = std::to_string(k);
      name.insert(name.begin(), 'p');
      names.push_back(name);
    }
    test::DefineClosedForm(
        reg, names, [](const std::vector<double>& p, double x) { return p[static_cast<std::size_t>(x)]; },
        [](const std::vector<double>&, double x, std::vector<double>& d) {
          std::fill(d.begin(), d.end(), 0.0);
          d[static_cast<std::size_t>(x)] = 1.0;
        });
    std::vector<double> x, y;
    for (std::int32_t k = 0; k < count; ++k) {
      x.insert(x.end(), {k + 0.25, k + 0.75});
      y.insert(y.end(), {k + 0.5, k + 1.5});
    }
    reg.Fit(x, y);
    return std::make_pair(reg.IsSolved(), reg.LastSolveError());
  };
  EXPECT_EQ(fit(100), std::make_pair(true, std::string("No errors")));
  EXPECT_EQ(fit(101), std::make_pair(false, std::string("Solution failed")));
}

}  // namespace
}  // namespace tessarix
