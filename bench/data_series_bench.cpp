// Costs of the data objects: one-by-one appends, the statistics pass, and
// sorting a table by one of its series.
#include <benchmark/benchmark.h>

#include <memory>
#include <random>
#include <string>
#include <vector>

#include "tessarix/data/data_collection.hpp"

namespace {

std::vector<double> RandomValues(std::size_t n, unsigned seed) {
  std::mt19937_64 rng(seed);
  std::uniform_real_distribution<double> dist(-1000.0, 1000.0);
  std::vector<double> v(n);
  for (double& x : v) x = dist(rng);
  return v;
}

void BM_AddObservationOneByOne(benchmark::State& state) {
  const auto n = static_cast<std::int32_t>(state.range(0));
  for (auto _ : state) {
    tessarix::DataCollection c;
    auto s = c.AddSeries("s");
    for (std::int32_t i = 0; i < n; ++i) s->AddObservation(i * 0.5);
    benchmark::DoNotOptimize(s->NumObservations());
  }
  state.SetItemsProcessed(state.iterations() * n);
}
BENCHMARK(BM_AddObservationOneByOne)->Arg(1000000)->Unit(benchmark::kMillisecond);

// All fourteen statistics from a cold cache: two passes and the median's sort.
void BM_AllStatistics(benchmark::State& state) {
  const auto n = static_cast<std::size_t>(state.range(0));
  tessarix::DataCollection c;
  auto s = c.AddSeries("s");
  s->ImportFromArray(RandomValues(n, 7));
  for (auto _ : state) {
    s->Multiply(1.0);  // invalidates the cache without changing the values
    benchmark::DoNotOptimize(s->Kurtosis() + s->Median() + s->Variance() + s->Maximum());
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(n));
}
BENCHMARK(BM_AllStatistics)->Arg(10000000)->Unit(benchmark::kMillisecond);

void BM_SortOnSeries(benchmark::State& state) {
  const auto n = static_cast<std::size_t>(state.range(0));
  const std::vector<double> key = RandomValues(n, 1);
  const std::vector<double> other1 = RandomValues(n, 2);
  const std::vector<double> other2 = RandomValues(n, 3);
  tessarix::DataCollection c;
  for (auto _ : state) {
    state.PauseTiming();
    c.RemoveAllSeries();
    c.AddSeries("key")->ImportFromArray(key);
    c.AddSeries("a")->ImportFromArray(other1);
    c.AddSeries("b")->ImportFromArray(other2);
    state.ResumeTiming();
    c.SortOnSeries("key");
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(n));
}
BENCHMARK(BM_SortOnSeries)->Arg(1000000)->Unit(benchmark::kMillisecond);

}  // namespace
