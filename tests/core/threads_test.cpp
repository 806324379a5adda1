// Parallel passes over the data: the same results, bit for bit, whatever the
// number of threads, and the serial path for what cannot run in parallel.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cmath>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "support/test_helpers.hpp"
#include "tessarix/core/nonlinear_regression.hpp"

namespace tessarix {
namespace {

struct Outcome {
  std::vector<double> values, errors;
  double sse = 0, r2 = 0;
  std::string log_tail;
  bool operator==(const Outcome&) const = default;
};

Outcome Collect(NonlinearRegression& r) {
  Outcome o;
  EXPECT_TRUE(r.IsSolved()) << r.LastSolveError();
  if (!r.IsSolved()) return o;
  for (const auto& p : *r.RegressionParameters()) {
    o.values.push_back(p->Value());
    o.errors.push_back(p->StandardError());
  }
  o.sse = r.SSE();
  o.r2 = r.R2();
  o.log_tail = r.SolutionLog().substr(r.SolutionLog().find("Initial parameter estimates"));
  return o;
}

std::vector<double> Xs(std::size_t n) {
  std::vector<double> x(n);
  for (std::size_t i = 0; i < n; ++i) x[i] = 0.1 + 5.0 * static_cast<double>(i) / static_cast<double>(n);
  return x;
}

TEST(Threads, PredefinedFitsAreTheSameForAnyNumberOfThreads) {
  const std::vector<double> x = Xs(20011);
  std::vector<double> y(x.size());
  for (std::size_t i = 0; i < x.size(); ++i) y[i] = 3.0 * std::exp(-0.6 * x[i]) + 0.02 * std::sin(97.0 * x[i]);
  std::vector<Outcome> outcomes;
  for (const std::int32_t threads : {1, 2, 3, 5}) {
    NonlinearRegression r;
    r.DefineInternalModel(36);
    r.SetThreads(threads);
    EXPECT_EQ(r.Threads(), threads);
    r.Fit(x, y);
    outcomes.push_back(Collect(r));
  }
  for (std::size_t k = 1; k < outcomes.size(); ++k) EXPECT_EQ(outcomes[k], outcomes[0]) << k;
  NonlinearRegression r;
  EXPECT_TSX_CODE(r.SetThreads(0), 10027);
  EXPECT_EQ(r.Threads(), 1);
}

TEST(Threads, ExternalEventsRunInParallelOnlyWhenDeclaredSafe) {
  const std::vector<double> x = Xs(12000);
  std::vector<double> y(x.size());
  for (std::size_t i = 0; i < x.size(); ++i) y[i] = 2.0 * x[i] + 1.0 + 0.01 * std::cos(31.0 * x[i]);
  std::vector<Outcome> outcomes;
  for (const bool safe : {false, true}) {
    NonlinearRegression r;
    std::atomic<int> others{0};
    const std::thread::id caller = std::this_thread::get_id();
    r.Events.EvaluateExternal = [&](std::vector<double>& p, double xv, double& v, bool& ok) {
      if (std::this_thread::get_id() != caller) {
        ++others;
      } else if (safe && xv == x[0]) {
        // The caller's thread takes the first rows itself; a helper takes up
        // the rows after them meanwhile (however long it takes to wake).
        const auto give_up = std::chrono::steady_clock::now() + std::chrono::seconds(5);
        while (others.load() == 0 && std::chrono::steady_clock::now() < give_up) std::this_thread::yield();
      }
      v = p[0] * xv + p[1];
      ok = true;
    };
    r.DefineExternalModel(std::vector<std::string>{"a", "b"});
    r.SetThreads(2);
    r.SetThreadSafeEvents(safe);
    r.Fit(x, y);
    outcomes.push_back(Collect(r));
    EXPECT_EQ(others.load() > 0, safe);
  }
  EXPECT_EQ(outcomes[1], outcomes[0]);
}

TEST(Threads, AFailingRowFailsTheRunAsInASerialPass) {
  // a + b*log(x) cannot be evaluated at x = 0, which lies in the middle of the
  // second thread's share: the run names the same point either way.
  std::vector<double> x = Xs(9000);
  x[6000] = 0.0;
  std::vector<double> y(x.size());
  for (std::size_t i = 0; i < x.size(); ++i) y[i] = 1.0 + 2.0 * x[i];
  std::vector<std::string> errors, logs;
  for (const std::int32_t threads : {1, 3}) {
    NonlinearRegression r;
    r.DefineInternalModel(11);
    r.SetThreads(threads);
    r.Fit(x, y);
    EXPECT_FALSE(r.IsSolved());
    errors.push_back(r.LastSolveError());
    logs.push_back(r.SolutionLog().substr(r.SolutionLog().find("Initial parameter estimates")));
  }
  EXPECT_EQ(errors[0], "Error evaluating the function at X = 0\r\n");
  EXPECT_EQ(errors[1], errors[0]);
  EXPECT_EQ(logs[1], logs[0]);

  // Thread-safe host events that fail late in the data, where helper threads
  // evaluate: derivatives that throw at one point, and in the first case also
  // a value refused at an earlier point. The run ends where the serial pass
  // ends it, with the same text, whichever thread met which failure first.
  const std::vector<double> xs = Xs(30000);
  const double refused = xs[21000];
  const double throwing = xs[27000];
  for (const bool value_fails : {true, false}) {
    errors.clear();
    logs.clear();
    for (const std::int32_t threads : {1, 2, 3}) {
      NonlinearRegression r;
      r.Events.EvaluateExternal = [&](std::vector<double>& p, double xv, double& v, bool& ok) {
        v = p[0] * xv + p[1];
        ok = !(value_fails && xv == refused);
      };
      r.Events.DerivativeExternal = [&](std::vector<double>&, double xv, std::vector<double>& d, bool& ok) {
        if (xv == throwing) throw std::runtime_error("no slope here");
        d[0] = xv;
        d[1] = 1.0;
        ok = true;
      };
      r.DefineExternalModel(std::vector<std::string>{"a", "b"}, true);
      r.SetThreads(threads);
      r.SetThreadSafeEvents(true);
      r.Fit(xs, std::vector<double>(xs.size(), 1.0));
      EXPECT_FALSE(r.IsSolved());
      errors.push_back(r.LastSolveError());
      logs.push_back(r.SolutionLog().substr(r.SolutionLog().find("Initial parameter estimates")));
    }
    EXPECT_EQ(errors[0], value_fails ? "Error evaluating the function at X = 3.6\r\n" : "Solution failed");
    for (std::size_t k = 1; k < errors.size(); ++k) {
      EXPECT_EQ(errors[k], errors[0]);
      EXPECT_EQ(logs[k], logs[0]);
    }
  }
}

}  // namespace
}  // namespace tessarix
