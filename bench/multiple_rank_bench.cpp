// What `tessarix rank --x A,B` does, on one thread: every pre-defined model of
// two variables (IDs 1 to 242) defined and fitted in turn by one
// MultipleNonlinearRegression, on 1e3 and 1e4 observations of a smooth
// surface that no model reproduces exactly.
//
// Counters: models per second, models solved.
#include <benchmark/benchmark.h>

#include <cmath>
#include <vector>

#include "tessarix/models/predefined_models.hpp"
#include "tessarix/multiple/multiple_nonlinear_regression.hpp"

namespace {

void RankTwoVariableModels(benchmark::State& state) {
  const auto n = static_cast<std::int32_t>(state.range(0));
  tessarix::Matrix x(n, 2);
  std::vector<double> y(static_cast<std::size_t>(n));
  for (std::int32_t i = 0; i < n; ++i) {
    const double u = 0.5 + 2.0 * std::fmod(0.618033988749895 * i, 1.0);
    const double v = 0.5 + 2.0 * std::fmod(0.754877666246693 * i, 1.0);
    x(i, 0) = u;
    x(i, 1) = v;
    y[static_cast<std::size_t>(i)] = 1.5 + 0.5 * u - 0.25 * std::log(v) + 0.3 / u + 0.01 * std::sin(7.0 * i);
  }
  std::vector<std::int32_t> ids;
  for (const auto& m : tessarix::PredefinedMultipleModels()) {
    if (m.NumIndependentVariables == 2) ids.push_back(m.ID);
  }
  tessarix::MultipleNonlinearRegression reg;
  std::int64_t solved = 0;
  for (auto _ : state) {
    solved = 0;
    for (std::int32_t id : ids) {
      reg.DefineInternalModel(id);
      reg.Fit(x, y);
      solved += reg.IsSolved() ? 1 : 0;
    }
  }
  state.counters["models_per_second"] =
      benchmark::Counter(static_cast<double>(ids.size()), benchmark::Counter::kIsIterationInvariantRate);
  state.counters["solved"] = static_cast<double>(solved);
}

BENCHMARK(RankTwoVariableModels)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
