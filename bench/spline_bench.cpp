// Costs of the cubic spline: a fit (sorting, averaging, the tridiagonal
// sweeps, the spline at every point and the result tables) and single-point
// predictions on a large spline, where the interval search is the cost.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdint>
#include <vector>

#include "tessarix/spline/cubic_spline.hpp"

namespace {

// n points of a wavy curve, in a scrambled order so that the fit's sort has
// work to do; every x distinct.
void WavyPoints(std::int64_t n, std::vector<double>& x, std::vector<double>& y) {
  x.resize(static_cast<std::size_t>(n));
  y.resize(static_cast<std::size_t>(n));
  // 7919 is prime and does not divide n, so i * 7919 mod n visits every index.
  for (std::int64_t i = 0; i < n; ++i) {
    const std::int64_t k = (i * 7919) % n;
    const double t = static_cast<double>(k) / static_cast<double>(n) * 100.0;
    x[static_cast<std::size_t>(i)] = t;
    y[static_cast<std::size_t>(i)] = std::sin(t) + 0.1 * std::cos(7.0 * t);
  }
}

void BM_SplineFit(benchmark::State& state) {
  std::vector<double> x, y;
  WavyPoints(state.range(0), x, y);
  for (auto _ : state) {
    tessarix::CubicSpline spline;
    spline.Fit(x, y);
    if (!spline.IsSolved()) state.SkipWithError("not solved");
    benchmark::DoNotOptimize(spline.NumIntervals());
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_SplineFit)->Arg(1000)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond);

// One PredictValue per iteration: the time per query is the benchmark's time.
void BM_SplinePredictValue(benchmark::State& state) {
  std::vector<double> x, y;
  WavyPoints(state.range(0), x, y);
  tessarix::CubicSpline spline;
  spline.Fit(x, y);
  double t = 0.0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(spline.PredictValue(t));
    t += 0.618033988749895;
    if (t > 99.0) t -= 99.0;
  }
}
BENCHMARK(BM_SplinePredictValue)->Arg(1000)->Arg(1000000);

// A million queries in one call: the figure the host sees for a big batch.
void BM_SplinePredictMillion(benchmark::State& state) {
  std::vector<double> x, y;
  WavyPoints(1000000, x, y);
  tessarix::CubicSpline spline;
  spline.Fit(x, y);
  std::vector<double> queries(1000000);
  for (std::size_t i = 0; i < queries.size(); ++i)
    queries[i] = std::fmod(static_cast<double>(i) * 0.618033988749895, 99.0);
  for (auto _ : state) {
    for (double q : queries) benchmark::DoNotOptimize(spline.PredictValue(q));
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(queries.size()));
}
BENCHMARK(BM_SplinePredictMillion)->Unit(benchmark::kMillisecond);

}  // namespace
