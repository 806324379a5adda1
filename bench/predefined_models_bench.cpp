// Fits of two pre-defined models against the same models written as text:
// "a*exp(b*x)" (ID 36) and the Gaussian (ID 69), on 1e4, 1e5 and 1e6
// observations. The pre-defined model runs the hand-written formula, analytic
// derivatives and least-squares estimates; the text runs the compiled program
// with numerical derivatives, from the starting values the estimates of the
// pre-defined model give, so that both take the same path.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

#include "tessarix/core/nonlinear_regression.hpp"
#include "tessarix/core/regression_parameters.hpp"

namespace {

struct Series {
  std::vector<double> x, y;
};

// Smooth data with a small deterministic ripple, so that the fit has a
// non-zero residual and takes more than one step.
Series MakeData(std::int32_t model_id, std::int64_t n) {
  Series s;
  s.x.resize(static_cast<std::size_t>(n));
  s.y.resize(static_cast<std::size_t>(n));
  for (std::int64_t i = 0; i < n; ++i) {
    const double x = static_cast<double>(i) / static_cast<double>(n - 1);
    const double ripple = 1.0 + 0.01 * std::sin(977.0 * x);
    const double v =
        model_id == 36 ? 2.0 * std::exp(-1.5 * x) : 3.0 * std::exp(-(x - 0.45) * (x - 0.45) / (2.0 * 0.18 * 0.18));
    s.x[static_cast<std::size_t>(i)] = x;
    s.y[static_cast<std::size_t>(i)] = v * ripple;
  }
  return s;
}

const char* TextOf(std::int32_t model_id) { return model_id == 36 ? "a*exp(b*x)" : "a*exp((-(x-b)^2)/(2*c^2))"; }

// The starting values of the pre-defined model: its least-squares estimates.
std::vector<double> Estimates(std::int32_t model_id, const Series& s) {
  tessarix::NonlinearRegression reg;
  reg.DefineInternalModel(model_id);
  reg.Fit(s.x, s.y);
  std::vector<double> start;
  for (const auto& p : *reg.RegressionParameters()) start.push_back(p->InitialEstimate());
  return start;
}

void FitPredefined(benchmark::State& state, std::int32_t model_id) {
  const Series s = MakeData(model_id, state.range(0));
  tessarix::NonlinearRegression reg;
  std::int32_t iterations = 0;
  for (auto _ : state) {
    reg.DefineInternalModel(model_id);
    reg.Fit(s.x, s.y);
    if (!reg.IsSolved()) state.SkipWithError("fit failed");
    iterations = reg.NumIterations();
  }
  state.counters["iterations"] = iterations;
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

void FitText(benchmark::State& state, std::int32_t model_id) {
  const Series s = MakeData(model_id, state.range(0));
  const std::vector<double> start = Estimates(model_id, s);
  tessarix::NonlinearRegression reg;
  std::int32_t iterations = 0;
  for (auto _ : state) {
    reg.DefineUserModel(TextOf(model_id));
    for (std::size_t k = 0; k < start.size(); ++k) {
      reg.RegressionParameters()->Item(static_cast<std::int32_t>(k + 1))->SetInitialEstimate(start[k]);
    }
    reg.Fit(s.x, s.y);
    if (!reg.IsSolved()) state.SkipWithError("fit failed");
    iterations = reg.NumIterations();
  }
  state.counters["iterations"] = iterations;
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

void Sizes(benchmark::internal::Benchmark* b) {
  b->Arg(10000)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond)->MinTime(0.5);
}

BENCHMARK_CAPTURE(FitPredefined, Id36Exponential, 36)->Apply(Sizes);
BENCHMARK_CAPTURE(FitText, Id36Exponential, 36)->Apply(Sizes);
BENCHMARK_CAPTURE(FitPredefined, Id69Gaussian, 69)->Apply(Sizes);
BENCHMARK_CAPTURE(FitText, Id69Gaussian, 69)->Apply(Sizes);

}  // namespace
