// A fit of a three-parameter external model with analytic derivatives,
// y = a * exp(-b * x) + c, on 1e4, 1e5 and 1e6 observations, and of the
// pre-defined a*exp(b*x) (ID 36, evaluated by blocks) on 1e6 and 1e7, with one
// thread and with two.
//
// Counters: time per fit (the benchmark's own time), time per iteration,
// iterations, allocations per iteration (the hot path should make none) and
// the peak of heap memory held during the fit per observation (the caller's
// arrays not counted).
#include <benchmark/benchmark.h>

#include <chrono>
#include <cmath>
#include <string>
#include <vector>

#include "heap_counter.hpp"
#include "tessarix/core/nonlinear_regression.hpp"

namespace {

void BM_FitExternalModel(benchmark::State& state) {
  const auto n = static_cast<std::size_t>(state.range(0));
  std::vector<double> x(n), y(n);
  for (std::size_t i = 0; i < n; ++i) {
    x[i] = 10.0 * static_cast<double>(i) / static_cast<double>(n);
    const double noise = 0.01 * std::sin(12345.0 * static_cast<double>(i));
    y[i] = 5.0 * std::exp(-0.7 * x[i]) + 1.0 + noise;
  }
  tessarix::NonlinearRegression reg;
  reg.DefineExternalModel(std::vector<std::string>{"a", "b", "c"}, true);
  reg.Events.EvaluateExternal = [](std::vector<double>& p, double xv, double& result, bool& success) {
    result = p[0] * std::exp(-p[1] * xv) + p[2];
    success = true;
  };
  reg.Events.DerivativeExternal = [](std::vector<double>& p, double xv, std::vector<double>& d, bool& success) {
    const double e = std::exp(-p[1] * xv);
    d[0] = e;
    d[1] = -p[0] * xv * e;
    d[2] = 1.0;
    success = true;
  };
  long long iteration_allocations = 0;
  long long iterations_seen = 0;
  long long before = 0;
  // Allocations between two IterationComplete events of one fit.
  reg.Events.IterationComplete = [&](std::int32_t iteration, double, bool&) {
    if (iteration > 1) {
      iteration_allocations += heap::g_allocations.load() - before;
      ++iterations_seen;
    }
    before = heap::g_allocations.load();
  };

  long long iterations = 0;
  double peak_per_observation = 0.0;
  for (auto _ : state) {
    const long long base = heap::g_bytes_now.load();
    heap::g_bytes_peak = base;
    reg.Fit(x, y);
    if (!reg.IsSolved()) state.SkipWithError("fit failed");
    iterations += reg.NumIterations();
    peak_per_observation = static_cast<double>(heap::g_bytes_peak.load() - base) / static_cast<double>(n);
  }
  state.counters["iterations"] = static_cast<double>(iterations) / static_cast<double>(state.iterations());
  state.counters["time_per_iteration"] =
      benchmark::Counter(static_cast<double>(iterations), benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
  state.counters["allocs_per_iteration"] =
      iterations_seen > 0 ? static_cast<double>(iteration_allocations) / static_cast<double>(iterations_seen) : 0.0;
  state.counters["peak_bytes_per_obs"] = peak_per_observation;
}

BENCHMARK(BM_FitExternalModel)->Arg(10'000)->Arg(100'000)->Arg(1'000'000)->Unit(benchmark::kMillisecond);

// Arguments: observations, threads. time_per_pass is the fit's wall-clock time
// over its passes over the data (iterations + 2, the last without
// derivatives); the process's CPU time would count the second thread's too.
void BM_FitPredefinedExponential(benchmark::State& state) {
  const auto n = static_cast<std::size_t>(state.range(0));
  std::vector<double> x(n), y(n);
  for (std::size_t i = 0; i < n; ++i) {
    x[i] = 2.0 * static_cast<double>(i) / static_cast<double>(n);
    y[i] = 3.0 * std::exp(-1.3 * x[i]) + 0.01 * std::sin(12345.0 * static_cast<double>(i));
  }
  tessarix::NonlinearRegression reg;
  reg.DefineInternalModel(36);
  reg.SetThreads(static_cast<std::int32_t>(state.range(1)));
  long long passes = 0;
  double peak_per_observation = 0.0;
  for (auto _ : state) {
    reg.RegressionParameters()->Item(1)->SetInitialEstimate(1.0);
    reg.RegressionParameters()->Item(2)->SetInitialEstimate(-1.0);
    const long long base = heap::g_bytes_now.load();
    heap::g_bytes_peak = base;
    reg.Fit(x, y);
    if (!reg.IsSolved()) state.SkipWithError("fit failed");
    passes += reg.NumIterations() + 2;
    peak_per_observation = static_cast<double>(heap::g_bytes_peak.load() - base) / static_cast<double>(n);
  }
  state.counters["time_per_pass"] =
      benchmark::Counter(static_cast<double>(passes), benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
  state.counters["peak_bytes_per_obs"] = peak_per_observation;
}

BENCHMARK(BM_FitPredefinedExponential)
    ->Args({1'000'000, 1})
    ->Args({1'000'000, 2})
    ->Args({10'000'000, 1})
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);

}  // namespace
