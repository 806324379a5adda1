// Several independent variables against one, at the same parameter count:
// y = a + b*x1 + c*exp(-d*x2)*x3 (three variables) and y = a + b*x +
// c*exp(-d*x) (one), both external models with analytic derivatives, on 1e5
// and 1e6 observations.
//
// Counters: iterations, time per iteration, and the peak of heap memory held
// during the fit per observation (the caller's arrays not counted).
#include <benchmark/benchmark.h>

#include <cmath>
#include <string>
#include <vector>

#include "heap_counter.hpp"
#include "tessarix/core/nonlinear_regression.hpp"
#include "tessarix/multiple/multiple_nonlinear_regression.hpp"

namespace {

const std::vector<std::string> kNames = {"a", "b", "c", "d"};

template <class Regression, class Data>
void Measure(benchmark::State& state, Regression& reg, const Data& x, const std::vector<double>& y) {
  long long iterations = 0;
  double peak = 0.0;
  for (auto _ : state) {
    for (std::int32_t k = 1; k <= 4; ++k) reg.RegressionParameters()->Item(k)->SetInitialEstimate(0.5);
    const long long base = heap::g_bytes_now.load();
    heap::g_bytes_peak = base;
    reg.Fit(x, y);
    if (!reg.IsSolved()) state.SkipWithError("fit failed");
    iterations += reg.NumIterations();
    peak = static_cast<double>(heap::g_bytes_peak.load() - base) / static_cast<double>(y.size());
  }
  state.counters["iterations"] = static_cast<double>(iterations) / static_cast<double>(state.iterations());
  state.counters["time_per_iteration"] =
      benchmark::Counter(static_cast<double>(iterations), benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
  state.counters["peak_bytes_per_obs"] = peak;
}

double Noise(std::size_t i) { return 0.01 * std::sin(12345.0 * static_cast<double>(i)); }

void BM_ThreeVariables(benchmark::State& state) {
  const auto n = static_cast<std::int32_t>(state.range(0));
  tessarix::Matrix x(n, 3);
  std::vector<double> y(static_cast<std::size_t>(n));
  for (std::int32_t i = 0; i < n; ++i) {
    const double t = static_cast<double>(i) / n;
    x(i, 0) = 10.0 * t;
    x(i, 1) = 3.0 * std::fabs(std::sin(7.0 * t));
    x(i, 2) = 1.0 + std::cos(3.0 * t);
    y[static_cast<std::size_t>(i)] = 1.0 + 0.3 * x(i, 0) + 2.0 * std::exp(-0.8 * x(i, 1)) * x(i, 2) + Noise(i);
  }
  tessarix::MultipleNonlinearRegression reg;
  reg.Events.EvaluateExternal = [](std::vector<double>& p, std::vector<double>& v, double& r, bool& ok) {
    r = p[0] + p[1] * v[0] + p[2] * std::exp(-p[3] * v[1]) * v[2];
    ok = true;
  };
  reg.Events.DerivativeExternal = [](std::vector<double>& p, std::vector<double>& v, std::vector<double>& d, bool& ok) {
    const double e = std::exp(-p[3] * v[1]);
    d[0] = 1.0;
    d[1] = v[0];
    d[2] = e * v[2];
    d[3] = -p[2] * v[1] * e * v[2];
    ok = true;
  };
  reg.DefineExternalModel(3, kNames, true);
  Measure(state, reg, x, y);
}

void BM_OneVariable(benchmark::State& state) {
  const auto n = static_cast<std::size_t>(state.range(0));
  std::vector<double> x(n), y(n);
  for (std::size_t i = 0; i < n; ++i) {
    x[i] = 10.0 * static_cast<double>(i) / static_cast<double>(n);
    y[i] = 1.0 + 0.3 * x[i] + 2.0 * std::exp(-0.8 * x[i]) + Noise(i);
  }
  tessarix::NonlinearRegression reg;
  reg.Events.EvaluateExternal = [](std::vector<double>& p, double v, double& r, bool& ok) {
    r = p[0] + p[1] * v + p[2] * std::exp(-p[3] * v);
    ok = true;
  };
  reg.Events.DerivativeExternal = [](std::vector<double>& p, double v, std::vector<double>& d, bool& ok) {
    const double e = std::exp(-p[3] * v);
    d[0] = 1.0;
    d[1] = v;
    d[2] = e;
    d[3] = -p[2] * v * e;
    ok = true;
  };
  reg.DefineExternalModel(kNames, true);
  Measure(state, reg, x, y);
}

BENCHMARK(BM_ThreeVariables)->Arg(100'000)->Arg(1'000'000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_OneVariable)->Arg(100'000)->Arg(1'000'000)->Unit(benchmark::kMillisecond);

}  // namespace
