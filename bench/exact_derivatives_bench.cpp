// Whole fits of a text model with numerical and with exact parameter
// derivatives, next to the same pre-defined model (ID 36, a*exp(b*x), with its
// analytic derivatives), from the same starting values at 1e5 and 1e6
// points; and the forward pass alone against the numerical derivatives of
// one block of points.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

#include "tessarix/core/nonlinear_regression.hpp"
#include "tessarix/language/text_model.hpp"

namespace {

struct Data {
  std::vector<double> x, y;
};

const Data& Observations(std::int64_t n) {
  static Data cached;
  if (static_cast<std::int64_t>(cached.x.size()) != n) {
    cached.x.resize(static_cast<std::size_t>(n));
    cached.y.resize(static_cast<std::size_t>(n));
    for (std::size_t i = 0; i < cached.x.size(); ++i) {
      const double x = 5.0 * static_cast<double>(i) / static_cast<double>(n);
      cached.x[i] = x;
      cached.y[i] = 3.0 * std::exp(-0.7 * x) * (1.0 + 0.01 * std::sin(13.0 * static_cast<double>(i)));
    }
  }
  return cached;
}

// kind 0: the text with numerical derivatives, 1: the text with exact ones,
// 2: the pre-defined model, 3: exact derivatives and vector math.
void Fit(benchmark::State& state, int kind, const std::string& text) {
  const Data& data = Observations(state.range(0));
  std::int32_t iterations = 0;
  for (auto _ : state) {
    tessarix::NonlinearRegression reg;
    if (kind == 2) {
      reg.DefineInternalModel(36);
    } else {
      reg.DefineUserModel(text);
    }
    if (kind == 1 || kind == 3) reg.SetDerivativeMethod(tessarix::tsxDerivativeExact);
    if (kind == 3) reg.SetVectorMath(true);
    const auto params = reg.RegressionParameters();
    params->Item(1)->SetInitialEstimate(2.0);
    params->Item(2)->SetInitialEstimate(-0.3);
    reg.Fit(data.x, data.y);
    if (!reg.IsSolved()) {
      state.SkipWithError("fit failed");
      return;
    }
    iterations = reg.NumIterations();
  }
  state.counters["iterations"] = iterations;
  state.counters["points"] = static_cast<double>(state.range(0));
}

void BM_Fit_Text_Numerical(benchmark::State& s) { Fit(s, 0, "a*exp(b*x)"); }
void BM_Fit_Text_Exact(benchmark::State& s) { Fit(s, 1, "a*exp(b*x)"); }
void BM_Fit_Predefined36(benchmark::State& s) { Fit(s, 2, ""); }
void BM_Fit_Text_ExactVector(benchmark::State& s) { Fit(s, 3, "a*exp(b*x)"); }
BENCHMARK(BM_Fit_Text_Numerical)->Arg(100'000)->Arg(1'000'000)->Unit(benchmark::kMillisecond)->Iterations(1);
BENCHMARK(BM_Fit_Text_Exact)->Arg(100'000)->Arg(1'000'000)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_Fit_Predefined36)->Arg(100'000)->Arg(1'000'000)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_Fit_Text_ExactVector)->Arg(100'000)->Arg(1'000'000)->Unit(benchmark::kMillisecond)->Iterations(3);

// A richer model: four fitted parameters, a sine and an exponential.
void BM_Fit_ExpSin_Numerical(benchmark::State& s) { Fit(s, 0, "a*exp(b*x)+c*sin(d*x)"); }
void BM_Fit_ExpSin_Exact(benchmark::State& s) { Fit(s, 1, "a*exp(b*x)+c*sin(d*x)"); }
BENCHMARK(BM_Fit_ExpSin_Numerical)->Arg(100'000)->Unit(benchmark::kMillisecond)->Iterations(1);
BENCHMARK(BM_Fit_ExpSin_Exact)->Arg(100'000)->Unit(benchmark::kMillisecond)->Iterations(3);

// Values and exact derivatives of 4096 points in one call, per point.
void Derivatives(benchmark::State& state, const std::string& text, std::int32_t parameters) {
  tessarix::ModelDefinition d;
  d.SetY(text);
  const tessarix::SystemSeparators english{".", ",", ",", "/", ":"};
  tessarix::ModelDefinition en, local;
  tessarix::detail::TextModel model;
  (void)model.Define(d, tessarix::tsxLocaleEnglish, english, en, local);
  tessarix::detail::DataStatistics stats;
  std::vector<double> p(static_cast<std::size_t>(parameters) + 1, 0.7);
  const std::vector<std::int32_t> ia(p.size(), 1);
  constexpr std::int32_t kPoints = 4096;
  std::vector<double> x(kPoints), y(kPoints), dyda(static_cast<std::size_t>(kPoints) * p.size());
  for (std::int32_t i = 0; i < kPoints; ++i) x[static_cast<std::size_t>(i)] = 0.05 + 0.001 * i;
  for (auto _ : state) {
    std::int32_t row = 0;
    bool in_derivatives = false;
    if (!model.EvaluateBlockDerivatives(p.data(), ia.data(), parameters, x.data(), 1, kPoints, stats, y.data(),
                                        dyda.data(), parameters + 1, row, in_derivatives)) {
      state.SkipWithError("evaluation failed");
      return;
    }
    benchmark::DoNotOptimize(dyda.data());
  }
  state.SetItemsProcessed(state.iterations() * kPoints);
}
void BM_Derivatives_ExpSin(benchmark::State& s) { Derivatives(s, "a*exp(-b*x)+c*sin(d*x)", 4); }
void BM_Derivatives_BesselGamma(benchmark::State& s) { Derivatives(s, "a*j0(b*x)+c*gammaln(d+x)", 4); }
BENCHMARK(BM_Derivatives_ExpSin);
BENCHMARK(BM_Derivatives_BesselGamma);

}  // namespace
