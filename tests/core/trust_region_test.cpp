// The solver method setting, how runs end (ConvergenceReason) with either
// method, and the trust-region method's honest ends on problems that defeat
// the Marquardt iteration: a parameter whose optimum is 0, a parameter that
// runs off to infinity, Rosenbrock's valley, Powell's singular function,
// derivatives that fail at an accepted point, and the iteration limit.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include "external_models.hpp"
#include "support/test_helpers.hpp"
#include "tessarix/core/nonlinear_regression.hpp"
#include "tessarix/multiple/multiple_nonlinear_regression.hpp"

namespace tessarix {
namespace {

using Vec = std::vector<double>;
using test::LogLines;

const Vec kX{0.5, 1.0, 1.5, 2.0, 2.5, 3.0, 3.5, 4.0};
const Vec kY{2.33, 2.68, 3.10, 3.66, 4.24, 4.93, 5.71, 6.64};

bool HasLine(const std::string& log, const std::string& line) {
  const auto lines = LogLines(log);
  return std::find(lines.begin(), lines.end(), line) != lines.end();
}

bool HasLineStarting(const std::string& log, const std::string& start) {
  for (const std::string& line : LogLines(log)) {
    if (line.rfind(start, 0) == 0) return true;
  }
  return false;
}

// The weighted sum of squares of a solved single-variable fit at its
// published parameters, through the public prediction.
double MeritAtPublishedValues(NonlinearRegression& reg, const Vec& x, const Vec& y) {
  const Vec predicted = reg.PredictArray(x);
  double sum = 0.0;
  for (std::size_t i = 0; i < x.size(); ++i) sum += (y[i] - predicted[i]) * (y[i] - predicted[i]);
  return sum;
}

TEST(SolverSettings, MethodIsAGuardedSettingOfBothClasses) {
  NonlinearRegression reg;
  EXPECT_EQ(reg.SolverMethod(), tsxSolverMarquardt);
  EXPECT_EQ(reg.ConvergenceReason(), tsxNotRun);
  reg.SetSolverMethod(tsxSolverTrustRegion);
  EXPECT_TSX_ERROR(reg.SetSolverMethod(static_cast<SolverMethodEnum>(2)), 10027, "Invalid property value");
  EXPECT_TSX_CODE(reg.SetSolverMethod(static_cast<SolverMethodEnum>(-1)), 10027);
  EXPECT_EQ(reg.SolverMethod(), tsxSolverTrustRegion);
  // A setting: definitions and ClearFit leave it.
  test::DefineExponential(reg);
  reg.ClearFit();
  EXPECT_EQ(reg.SolverMethod(), tsxSolverTrustRegion);
  reg.Events.IterationComplete = [&](std::int32_t, double, bool&) {
    EXPECT_TSX_CODE(reg.SetSolverMethod(tsxSolverMarquardt), 10033);
  };
  reg.Fit(kX, kY);
  EXPECT_TRUE(reg.IsSolved());
  EXPECT_EQ(reg.SolverMethod(), tsxSolverTrustRegion);

  MultipleNonlinearRegression multiple;
  EXPECT_EQ(multiple.SolverMethod(), tsxSolverMarquardt);
  multiple.SetSolverMethod(tsxSolverTrustRegion);
  EXPECT_EQ(multiple.SolverMethod(), tsxSolverTrustRegion);
  EXPECT_TSX_CODE(multiple.SetSolverMethod(static_cast<SolverMethodEnum>(7)), 10027);
}

TEST(TrustRegion, AgreesWithMarquardtOnAWellPosedFitAndLogsItsEnd) {
  NonlinearRegression marquardt, trust;
  for (NonlinearRegression* reg : {&marquardt, &trust}) {
    reg->DefineUserModel("a*exp(b*x)");
    reg->RegressionParameters()->Item("b")->SetInitialEstimate(0.1);
  }
  trust.SetSolverMethod(tsxSolverTrustRegion);
  std::int32_t events = 0;
  trust.Events.IterationComplete = [&](std::int32_t iteration, double, bool&) { events = iteration; };
  marquardt.Fit(kX, kY);
  trust.Fit(kX, kY);
  ASSERT_TRUE(marquardt.IsSolved());
  ASSERT_TRUE(trust.IsSolved()) << trust.SolutionLog();
  for (std::int32_t j = 1; j <= 2; ++j) {
    const auto m = marquardt.RegressionParameters()->Item(j);
    const auto t = trust.RegressionParameters()->Item(j);
    EXPECT_NEAR(t->Value(), m->Value(), 1e-8 * std::fabs(m->Value()));
    EXPECT_NEAR(t->StandardError(), m->StandardError(), 1e-6 * m->StandardError());
  }
  EXPECT_NEAR(trust.SSE(), marquardt.SSE(), 1e-12 * marquardt.SSE());
  EXPECT_NEAR(trust.R2(), marquardt.R2(), 1e-12);
  EXPECT_EQ(trust.NumIterations(), events);

  const std::string log = trust.SolutionLog();
  EXPECT_TRUE(HasLine(log, "Beginning non-linear iterations (trust-region Levenberg-Marquardt)"));
  EXPECT_TRUE(HasLineStarting(log, "Solution converged: "));
  EXPECT_TRUE(HasLineStarting(log, "Passes over the data: "));
  EXPECT_TRUE(HasLine(log, "Solution complete"));
  EXPECT_TRUE(trust.ConvergenceReason() == tsxConvergedStep || trust.ConvergenceReason() == tsxConvergedReduction);
  // The result columns are those of the published values.
  EXPECT_NEAR(MeritAtPublishedValues(trust, kX, kY), trust.SSE(), 1e-14);
  const auto residuals = trust.ResultTables()->Item("Residuals");
  const auto predicted = trust.ResultTables()->Item("Predicted Y");
  for (std::int32_t i = 0; i < residuals->NumObservations(); ++i) {
    EXPECT_EQ(residuals->GetObservation(i), kY[static_cast<std::size_t>(i)] - predicted->GetObservation(i));
  }

  // An external model with the host's derivatives: at an accepted point the
  // values are those of its trial, so a derivative pass raises no value
  // event; only the first point's pass brings its values with it, and the
  // statistics read the best point's values that the run already has.
  NonlinearRegression host;
  host.SetSolverMethod(tsxSolverTrustRegion);
  test::DefineExponential(host);
  host.RegressionParameters()->Item("b")->SetInitialEstimate(0.1);
  long value_events = 0, derivative_events = 0;
  const auto evaluate = host.Events.EvaluateExternal;
  const auto derive = host.Events.DerivativeExternal;
  host.Events.EvaluateExternal = [&](Vec& p, double x, double& y, bool& ok) {
    ++value_events;
    evaluate(p, x, y, ok);
  };
  host.Events.DerivativeExternal = [&](Vec& p, double x, Vec& d, bool& ok) {
    ++derivative_events;
    derive(p, x, d, ok);
  };
  host.Fit(kX, kY);
  ASSERT_TRUE(host.IsSolved()) << host.SolutionLog();
  EXPECT_NEAR(host.RegressionParameters()->Item("b")->Value(), trust.RegressionParameters()->Item("b")->Value(), 1e-7);
  const std::string host_log = host.SolutionLog();
  long value_passes = 0, derivative_passes = 0;
  const auto at = host_log.find("Passes over the data: ");
  ASSERT_NE(at, std::string::npos);
  ASSERT_EQ(std::sscanf(host_log.c_str() + at + 22, "%ld for values, %ld", &value_passes, &derivative_passes), 2);
  const auto n = static_cast<long>(kX.size());
  EXPECT_GT(derivative_passes, 2);
  EXPECT_EQ(value_events, n * (value_passes + 1));
  EXPECT_EQ(derivative_events, n * derivative_passes);
}

// Stopped early, the run ends at the best point it found: the statistics,
// the result columns and the published values agree.
TEST(TrustRegion, IterationLimitAndAbortEndAtTheBestPoint) {
  NonlinearRegression reg;
  reg.SetSolverMethod(tsxSolverTrustRegion);
  reg.DefineUserModel("a*exp(b*x)");
  reg.RegressionParameters()->Item("b")->SetInitialEstimate(0.1);
  double best = 1e300;
  reg.Events.IterationComplete = [&](std::int32_t, double sse, bool&) { best = std::min(best, sse); };
  reg.SetMaxIterations(5);
  reg.Fit(kX, kY);
  ASSERT_TRUE(reg.IsSolved()) << reg.SolutionLog();
  EXPECT_EQ(reg.ConvergenceReason(), tsxIterationLimit);
  EXPECT_EQ(reg.NumIterations(), 5);
  EXPECT_TRUE(HasLine(reg.SolutionLog(), "Reached iteration limit of 5"));
  EXPECT_TRUE(HasLine(reg.SolutionLog(), "Solution stopped at the best point found"));
  EXPECT_EQ(reg.SSE(), best);
  EXPECT_NEAR(MeritAtPublishedValues(reg, kX, kY), best, 1e-12 * best);

  reg.SetMaxIterations(250);
  reg.Events.IterationComplete = [](std::int32_t, double, bool& abort) { abort = true; };
  reg.RegressionParameters()->Item("a")->SetInitialEstimate(2.0);
  reg.RegressionParameters()->Item("b")->SetInitialEstimate(0.29);
  reg.Fit(kX, kY);
  ASSERT_TRUE(reg.IsSolved());
  EXPECT_EQ(reg.ConvergenceReason(), tsxIterationLimit);
  EXPECT_EQ(reg.NumIterations(), 1);
  EXPECT_TRUE(HasLine(reg.SolutionLog(), "Solution process aborted"));
}

// Noise orthogonal to the Jacobian at a = 2, b = 0.5, c = 0 makes that point
// the exact least-squares solution. Near c = 0 the Marquardt method's
// relative derivative step is lost in the rounding of the model and its run
// stalls short of the solution; the trust-region method's step floor gives
// c a real derivative.
TEST(TrustRegion, ParameterWhoseOptimumIsZero) {
  const std::size_t n = 20;
  Vec x(n), noise(n), y(n);
  for (std::size_t i = 0; i < n; ++i) {
    x[i] = 0.5 * static_cast<double>(i);
    noise[i] = 1e-3 * std::sin(1.0 + 7.3 * static_cast<double>(i));
  }
  // Gram-Schmidt over the columns of the Jacobian, then the noise less its
  // projections on them.
  const auto dot = [](const Vec& u, const Vec& v) {
    double d = 0.0;
    for (std::size_t i = 0; i < n; ++i) d += u[i] * v[i];
    return d;
  };
  const auto remove_basis = [&](const std::vector<Vec>& basis, Vec& v) {
    for (const Vec& u : basis) {
      const double d = dot(u, v);
      for (std::size_t i = 0; i < n; ++i) v[i] -= d * u[i];
    }
  };
  std::vector<Vec> basis;
  for (int k = 0; k < 3; ++k) {
    Vec c(n);
    for (std::size_t i = 0; i < n; ++i) {
      c[i] = k == 0 ? std::exp(-0.5 * x[i]) : k == 1 ? -2.0 * x[i] * std::exp(-0.5 * x[i]) : 1.0;
    }
    remove_basis(basis, c);
    const double norm = std::sqrt(dot(c, c));
    for (double& v : c) v /= norm;
    basis.push_back(c);
  }
  remove_basis(basis, noise);
  for (std::size_t i = 0; i < n; ++i) y[i] = 2.0 * std::exp(-0.5 * x[i]) + noise[i];

  for (SolverMethodEnum method : {tsxSolverMarquardt, tsxSolverTrustRegion}) {
    NonlinearRegression reg;
    reg.SetSolverMethod(method);
    reg.DefineUserModel("a*exp(-b*x)+c");
    reg.Fit(x, y);
    ASSERT_TRUE(reg.IsSolved()) << reg.SolutionLog();
    const auto p = reg.RegressionParameters();
    if (method == tsxSolverMarquardt) {
      EXPECT_EQ(reg.ConvergenceReason(), tsxStalled);
      EXPECT_GT(std::fabs(p->Item("a")->Value() - 2.0), 1e-10);
    } else {
      EXPECT_EQ(reg.ConvergenceReason(), tsxConvergedStep);
      EXPECT_NEAR(p->Item("a")->Value(), 2.0, 1e-10);
      EXPECT_NEAR(p->Item("b")->Value(), 0.5, 1e-10);
      EXPECT_NEAR(p->Item("c")->Value(), 0.0, 1e-10);
      EXPECT_NEAR(p->Item("c")->StandardError(), 3.25e-4, 1e-5);
    }
  }
}

// A step in the data: the logistic's slope b grows without bound. The
// Marquardt run loses its good point to a singular matrix; the trust-region
// run gives up the points where b no longer acts on the model and ends at
// the best point with b large and its standard error saying so.
TEST(TrustRegion, ParameterRunningOffToInfinity) {
  Vec x, y;
  for (int i = 0; i < 20; ++i) {
    x.push_back(i);
    y.push_back(i < 10 ? 0.0 : 1.0);
  }
  for (SolverMethodEnum method : {tsxSolverMarquardt, tsxSolverTrustRegion}) {
    NonlinearRegression reg;
    reg.SetSolverMethod(method);
    reg.DefineUserModel("a/(1+exp(-b*(x-c)))");
    reg.RegressionParameters()->Item("c")->SetInitialEstimate(9.0);
    reg.Fit(x, y);
    if (method == tsxSolverMarquardt) {
      EXPECT_FALSE(reg.IsSolved());
      EXPECT_EQ(reg.ConvergenceReason(), tsxFailed);
      EXPECT_EQ(reg.LastSolveError(), "Singular matrix encountered in gaussian elimination.");
      continue;
    }
    ASSERT_TRUE(reg.IsSolved()) << reg.SolutionLog();
    EXPECT_EQ(reg.ConvergenceReason(), tsxConvergedStep);
    EXPECT_LT(reg.SSE(), 1e-20);
    const auto p = reg.RegressionParameters();
    EXPECT_NEAR(p->Item("a")->Value(), 1.0, 1e-12);
    EXPECT_GT(p->Item("b")->Value(), 30.0);
    EXPECT_GT(p->Item("c")->Value(), 9.0);
    EXPECT_LT(p->Item("c")->Value(), 10.0);
  }
}

// Rosenbrock's function and Powell's singular function as least squares:
// residuals at x = 1, 2 (, 3, 4) against y = 0, and one row the model meets
// exactly, so that y is not constant.
TEST(TrustRegion, RosenbrockAndPowellSingular) {
  NonlinearRegression rosenbrock;
  rosenbrock.SetSolverMethod(tsxSolverTrustRegion);
  test::DefineClosedForm(rosenbrock, {"u", "v"}, [](const Vec& p, double x) {
    return x == 1 ? 10 * (p[1] - p[0] * p[0]) : x == 2 ? 1 - p[0] : 1.0;
  });
  rosenbrock.RegressionParameters()->Item("u")->SetInitialEstimate(-1.2);
  rosenbrock.Fit(Vec{1, 2, 3}, Vec{0, 0, 1});
  ASSERT_TRUE(rosenbrock.IsSolved()) << rosenbrock.SolutionLog();
  EXPECT_NEAR(rosenbrock.RegressionParameters()->Item("u")->Value(), 1.0, 1e-10);
  EXPECT_NEAR(rosenbrock.RegressionParameters()->Item("v")->Value(), 1.0, 1e-10);

  // Singular at its solution 0: the Marquardt method fails there, the trust
  // region converges (linearly) to it.
  for (SolverMethodEnum method : {tsxSolverMarquardt, tsxSolverTrustRegion}) {
    NonlinearRegression powell;
    powell.SetSolverMethod(method);
    test::DefineClosedForm(powell, {"p1", "p2", "p3", "p4"}, [](const Vec& p, double x) {
      if (x == 1) return p[0] + 10 * p[1];
      if (x == 2) return std::sqrt(5.0) * (p[2] - p[3]);
      if (x == 3) return (p[1] - 2 * p[2]) * (p[1] - 2 * p[2]);
      if (x == 4) return std::sqrt(10.0) * (p[0] - p[3]) * (p[0] - p[3]);
      return 1.0;
    });
    const double start[] = {3, -1, 0, 1};
    for (std::int32_t j = 0; j < 4; ++j) powell.RegressionParameters()->Item(j + 1)->SetInitialEstimate(start[j]);
    powell.Fit(Vec{1, 2, 3, 4, 5}, Vec{0, 0, 0, 0, 1});
    ASSERT_TRUE(powell.IsSolved()) << powell.SolutionLog();
    double largest = 0.0;
    for (const auto& p : *powell.RegressionParameters()) largest = std::max(largest, std::fabs(p->Value()));
    if (method == tsxSolverMarquardt) {
      EXPECT_EQ(powell.ConvergenceReason(), tsxStalled);
      EXPECT_GT(largest, 1e-10);
    } else {
      EXPECT_NE(powell.ConvergenceReason(), tsxIterationLimit);
      EXPECT_LT(largest, 1e-14);
    }
  }
}

// Derivatives that fail at a point the iteration reaches end a Marquardt
// run; the trust region gives such a point up, shrinks its radius and goes
// on, and says so when it cannot get past them. A parameter that never acts
// on the model leaves the step a least-squares step, and the run fails
// honestly where the covariance cannot be formed.
TEST(TrustRegion, FailuresAreRejectedStepsAndSingularEndsAreSaid) {
  const auto define = [](NonlinearRegression& reg, double a_limit, double a_band) {
    test::DefineClosedForm(
        reg, {"a", "b"}, [](const Vec& p, double x) { return p[0] * std::exp(p[1] * x); },
        [](const Vec&, double, Vec&) {});
    // Derivatives only for a below a_limit, and none in [a_band, a_band + 0.3].
    reg.Events.DerivativeExternal = [=](Vec& p, double x, Vec& d, bool& ok) {
      d[0] = std::exp(p[1] * x);
      d[1] = p[0] * x * std::exp(p[1] * x);
      ok = p[0] < a_limit && !(p[0] > a_band && p[0] < a_band + 0.3);
    };
    reg.RegressionParameters()->Item("b")->SetInitialEstimate(-0.2);
  };
  for (SolverMethodEnum method : {tsxSolverMarquardt, tsxSolverTrustRegion}) {
    NonlinearRegression reg;
    reg.SetSolverMethod(method);
    define(reg, 2.0, 1e9);
    reg.Fit(kX, kY);
    if (method == tsxSolverMarquardt) {
      EXPECT_FALSE(reg.IsSolved());
      EXPECT_EQ(reg.LastSolveError().rfind("Error taking parameter derivatives at X = ", 0), 0u);
    } else {
      ASSERT_TRUE(reg.IsSolved()) << reg.SolutionLog();
      EXPECT_NEAR(reg.RegressionParameters()->Item("a")->Value(), 1.99348, 1e-5);
    }
  }
  // At the start, derivatives failing at the first x and values at the last:
  // the failure of the values is the one told.
  NonlinearRegression both;
  both.SetSolverMethod(tsxSolverTrustRegion);
  test::DefineClosedForm(
      both, {"a", "b"}, [](const Vec& p, double x) { return x == 4.0 ? NAN : p[0] * std::exp(p[1] * x); },
      [](const Vec&, double, Vec&) {});
  both.Events.DerivativeExternal = [](Vec&, double x, Vec& d, bool& ok) {
    d.assign(2, 1.0);
    ok = x != 0.5;
  };
  both.Fit(kX, kY);
  EXPECT_EQ(both.LastSolveError(), "Error evaluating the function at X = 4\r\n");

  // A band of a without derivatives between the start and the solution.
  NonlinearRegression banded;
  banded.SetSolverMethod(tsxSolverTrustRegion);
  define(banded, 1e9, 1.5);
  banded.RegressionParameters()->Item("b")->SetInitialEstimate(0.1);
  banded.Fit(kX, kY);
  EXPECT_TRUE(HasLine(banded.SolutionLog(),
                      "Solution stalled: the model or its derivatives cannot be evaluated near the best point"));
  EXPECT_TRUE(HasLineStarting(banded.SolutionLog(), "Points given up for lack of usable derivatives"));
  // Stuck below the band, worse than the mean: the statistics refuse it.
  EXPECT_FALSE(banded.IsSolved());
  EXPECT_EQ(banded.ConvergenceReason(), tsxFailed);
  EXPECT_TRUE(HasLineStarting(banded.SolutionLog(), "a = 1.4999")) << banded.SolutionLog();

  NonlinearRegression dead;
  dead.SetSolverMethod(tsxSolverTrustRegion);
  test::DefineClosedForm(
      dead, {"a", "b"}, [](const Vec& p, double x) { return p[0] * x; },
      [](const Vec&, double x, Vec& d) {
        d[0] = x;
        d[1] = 0.0;
      });
  dead.Fit(kX, kY);
  EXPECT_FALSE(dead.IsSolved());
  EXPECT_EQ(dead.ConvergenceReason(), tsxFailed);
  EXPECT_EQ(dead.LastSolveError(), "Singular matrix at the best point: the data do not determine every parameter.\r\n");
  const std::string log = dead.SolutionLog();
  EXPECT_TRUE(HasLineStarting(log, "Solution converged: "));
  EXPECT_TRUE(HasLine(log, "Solution failed"));
  // The best value of a reached the log.
  double num = 0.0, den = 0.0;
  for (std::size_t i = 0; i < kX.size(); ++i) {
    num += kX[i] * kY[i];
    den += kX[i] * kX[i];
  }
  EXPECT_TRUE(HasLineStarting(log, "a = " + std::to_string(num / den).substr(0, 6))) << log;
}

// Every kind of model and both classes run through the same passes.
TEST(TrustRegion, WorksForEveryModelKindAndBothClasses) {
  const auto fit = [](RegressionObject& reg, const std::function<void()>& run) {
    reg.SetSolverMethod(tsxSolverTrustRegion);
    run();
    EXPECT_TRUE(reg.IsSolved()) << reg.SolutionLog();
    EXPECT_NE(reg.ConvergenceReason(), tsxIterationLimit);
  };
  // A pre-defined model (analytic derivatives, least-squares estimates),
  // weighted, with threads: the results do not depend on the threads.
  const Vec sd{0.1, 0.1, 0.2, 0.2, 0.1, 0.3, 0.2, 0.1};
  NonlinearRegression one, two, marquardt;
  for (NonlinearRegression* reg : {&one, &two, &marquardt}) reg->DefineInternalModel(36);
  two.SetThreads(2);
  fit(one, [&] { one.FitWeighted(kX, kY, sd); });
  fit(two, [&] { two.FitWeighted(kX, kY, sd); });
  marquardt.FitWeighted(kX, kY, sd);
  EXPECT_TRUE(one.IsWeighted());
  for (std::int32_t j = 1; j <= 2; ++j) {
    const double value = one.RegressionParameters()->Item(j)->Value();
    EXPECT_EQ(two.RegressionParameters()->Item(j)->Value(), value);
    EXPECT_NEAR(marquardt.RegressionParameters()->Item(j)->Value(), value, 1e-8 * std::fabs(value));
  }
  EXPECT_EQ(two.SSENorm(), one.SSENorm());

  // An external model over blocks of observations, with numerical
  // derivatives: the same fit as the text model.
  NonlinearRegression block, text;
  block.Events.EvaluateExternalBlock = [](std::span<const double> p, std::span<const double> x, std::span<double> v,
                                          bool& ok) {
    for (std::size_t i = 0; i < x.size(); ++i) v[i] = p[0] * std::exp(p[1] * x[i]);
    ok = true;
  };
  block.DefineExternalModel(std::vector<std::string>{"a", "b"});
  text.DefineUserModel("a*exp(b*x)");
  fit(block, [&] { block.Fit(kX, kY); });
  fit(text, [&] { text.Fit(kX, kY); });
  EXPECT_NEAR(block.RegressionParameters()->Item(2)->Value(), text.RegressionParameters()->Item(2)->Value(), 1e-9);

  // A fixed parameter stays at its estimate.
  NonlinearRegression fixed;
  fixed.DefineUserModel("a*exp(b*x)+c");
  fixed.RegressionParameters()->Item("c")->SetInitialEstimate(0.25);
  fixed.RegressionParameters()->Item("c")->SetInitialEstimateType(tsxEstimateConstant);
  fit(fixed, [&] { fixed.Fit(kX, kY); });
  EXPECT_EQ(fixed.RegressionParameters()->Item("c")->Value(), 0.25);
  EXPECT_EQ(fixed.RegressionParameters()->Item("c")->StandardError(), 0.0);
  EXPECT_EQ(fixed.DOFError(), 6);

  // The multi-variable class with an external model of two variables.
  MultipleNonlinearRegression multiple;
  multiple.Events.EvaluateExternal = [](Vec& b, Vec& v, double& y, bool& ok) {
    y = b[0] - b[1] * v[0] * std::exp(-b[2] * v[1]);
    ok = true;
  };
  multiple.DefineExternalModel(2, std::vector<std::string>{"b1", "b2", "b3"});
  Matrix points(12, 2);
  Vec values(12);
  for (std::int32_t i = 0; i < 12; ++i) {
    points(i, 0) = 1.0 + i % 4;
    points(i, 1) = 1.0 + i / 4;
    values[static_cast<std::size_t>(i)] = 2.0 - 0.5 * points(i, 0) * std::exp(-0.3 * points(i, 1)) + 0.01 * std::sin(i);
  }
  fit(multiple, [&] { multiple.Fit(points, values); });
  EXPECT_NEAR(multiple.RegressionParameters()->Item("b3")->Value(), 0.3, 0.05);
}

// As many fitted parameters as the Marquardt method takes, and no more.
TEST(TrustRegion, HoldsAHundredFittedParameters) {
  const auto fit = [](std::int32_t count) {
    NonlinearRegression reg;
    reg.SetSolverMethod(tsxSolverTrustRegion);
    std::vector<std::string> names;
    for (std::int32_t k = 0; k < count; ++k) {
      std::string name = std::to_string(k);
      name.insert(name.begin(), 'p');
      names.push_back(name);
    }
    test::DefineClosedForm(reg, names, [](const Vec& p, double x) { return p[static_cast<std::size_t>(x)]; });
    Vec x, y;
    for (std::int32_t k = 0; k < count; ++k) {
      x.insert(x.end(), {k + 0.25, k + 0.75});
      y.insert(y.end(), {k + 0.5, k + 1.5});
    }
    reg.Fit(x, y);
    if (reg.IsSolved()) {
      EXPECT_NEAR(reg.RegressionParameters()->Item(count)->Value(), count, 1e-9 * count);
    }
    return std::make_pair(reg.IsSolved(), reg.LastSolveError());
  };
  EXPECT_EQ(fit(100), std::make_pair(true, std::string("No errors")));
  EXPECT_EQ(fit(101), std::make_pair(false, std::string("Solution failed")));
}

}  // namespace
}  // namespace tessarix
