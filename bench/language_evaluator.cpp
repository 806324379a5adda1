// The model language's evaluator against the same expressions compiled as
// C++: nanoseconds per evaluation (one model value at one point, and a block
// of points at once through EvaluateBlock), and a whole fit of a text model
// on 1e5 points.
#include <benchmark/benchmark.h>

#include <cmath>
#include <span>
#include <string>
#include <vector>

#include "tessarix/core/nonlinear_regression.hpp"
#include "tessarix/language/text_model.hpp"
#include "tessarix/numerics/bessel_integer.hpp"
#include "tessarix/numerics/gamma.hpp"

namespace {

using tessarix::ModelDefinition;
using tessarix::detail::ModelDefinitionAccess;

struct CompiledText {
  tessarix::detail::TextModel model;
  tessarix::detail::DataStatistics stats;
  std::vector<double> parameters;
};

void Compile(CompiledText& m, const std::string& y, const std::vector<std::string>& subs,
             const std::vector<double>& values, std::int32_t variables = 0) {
  ModelDefinition d;
  d.SetY(y);
  for (std::size_t k = 0; k < subs.size(); ++k) ModelDefinitionAccess::Formula(d, static_cast<int>(k) + 1) = subs[k];
  const tessarix::SystemSeparators english{".", ",", ",", "/", ":"};
  ModelDefinition en, local;
  const auto names = m.model.Define(d, tessarix::tsxLocaleEnglish, english, en, local, variables);
  m.parameters.assign(1, 0.0);
  m.parameters.insert(m.parameters.end(), values.begin(), values.end());
}

constexpr int kPoints = 1024;
double XAt(int i) { return 0.05 + 0.01 * i; }
// The same points in a scrambled order (389 is prime to 1024): the branch a
// point takes changes from one point to the next.
double MixedXAt(int i) { return XAt(i * 389 % kPoints); }

void RunText(benchmark::State& state, const std::string& y, const std::vector<std::string>& subs,
             const std::vector<double>& values) {
  CompiledText m;
  Compile(m, y, subs, values);
  double sum = 0.0;
  for (auto _ : state) {
    for (int i = 0; i < kPoints; ++i) {
      double v = 0.0;
      if (!m.model.Evaluate(m.parameters.data(), XAt(i), m.stats, v)) {
        state.SkipWithError("evaluation failed");
        return;
      }
      sum += v;
    }
  }
  benchmark::DoNotOptimize(sum);
  state.SetItemsProcessed(state.iterations() * kPoints);
}

// The same points in one call of the block evaluator.
void RunTextBlock(benchmark::State& state, const std::string& y, const std::vector<std::string>& subs,
                  const std::vector<double>& values, bool mixed = false) {
  CompiledText m;
  Compile(m, y, subs, values);
  std::vector<double> xs(kPoints), out(kPoints);
  for (int i = 0; i < kPoints; ++i) xs[static_cast<std::size_t>(i)] = mixed ? MixedXAt(i) : XAt(i);
  double sum = 0.0;
  for (auto _ : state) {
    if (m.model.EvaluateBlock(m.parameters.data(), xs.data(), 1, kPoints, m.stats, out.data()) != kPoints) {
      state.SkipWithError("evaluation failed");
      return;
    }
    sum += out[kPoints - 1];
  }
  benchmark::DoNotOptimize(sum);
  state.SetItemsProcessed(state.iterations() * kPoints);
}

template <class F>
void RunNative(benchmark::State& state, F f, bool mixed = false) {
  double sum = 0.0;
  for (auto _ : state) {
    for (int i = 0; i < kPoints; ++i) {
      double x = mixed ? MixedXAt(i) : XAt(i);
      benchmark::DoNotOptimize(x);
      sum += f(x);
    }
  }
  benchmark::DoNotOptimize(sum);
  state.SetItemsProcessed(state.iterations() * kPoints);
}

// Parameters reach the native functions through memory, as they do in a fit.
volatile double a_ = 2.0, b_ = 0.3, c_ = 0.5, d_ = 1.7;

void BM_Linear_Text(benchmark::State& s) { RunText(s, "a*x+b", {}, {2.0, 0.3}); }
void BM_Linear_Block(benchmark::State& s) { RunTextBlock(s, "a*x+b", {}, {2.0, 0.3}); }
void BM_Linear_Cpp(benchmark::State& s) {
  RunNative(s, [](double x) { return a_ * x + b_; });
}
void BM_ExpSin_Text(benchmark::State& s) { RunText(s, "a*exp(-b*x)+c*sin(d*x)", {}, {2.0, 0.3, 0.5, 1.7}); }
void BM_ExpSin_Block(benchmark::State& s) { RunTextBlock(s, "a*exp(-b*x)+c*sin(d*x)", {}, {2.0, 0.3, 0.5, 1.7}); }
void BM_ExpSin_Cpp(benchmark::State& s) {
  RunNative(s, [](double x) { return a_ * std::exp(-b_ * x) + c_ * std::sin(d_ * x); });
}
void BM_IfSub_Text(benchmark::State& s) { RunText(s, "if(x>c,F1,0)+d*F1", {"a*exp(-b*x)"}, {2.0, 0.3, 5.0, 1.7}); }
void BM_IfSub_Block(benchmark::State& s) {
  RunTextBlock(s, "if(x>c,F1,0)+d*F1", {"a*exp(-b*x)"}, {2.0, 0.3, 5.0, 1.7});
}
void BM_IfSub_Cpp(benchmark::State& s) {
  RunNative(s, [](double x) {
    const double f1 = a_ * std::exp(-b_ * x);
    return (x > c_ ? f1 : 0.0) + d_ * f1;
  });
}
// A conditional without sub-definitions: by masks in the block evaluator.
void BM_IfMask_Text(benchmark::State& s) { RunText(s, "if(x>c,a*exp(-b*x),0)+d*x", {}, {2.0, 0.3, 5.0, 1.7}); }
void BM_IfMask_Block(benchmark::State& s) { RunTextBlock(s, "if(x>c,a*exp(-b*x),0)+d*x", {}, {2.0, 0.3, 5.0, 1.7}); }
void BM_IfMask_Cpp(benchmark::State& s) {
  RunNative(s, [](double x) { return (x > c_ ? a_ * std::exp(-b_ * x) : 0.0) + d_ * x; });
}
// The same with the points in a scrambled order: blocks whose lanes take
// both branches.
void BM_IfMaskMixed_Block(benchmark::State& s) {
  RunTextBlock(s, "if(x>c,a*exp(-b*x),0)+d*x", {}, {2.0, 0.3, 5.0, 1.7}, true);
}
void BM_IfMaskMixed_Cpp(benchmark::State& s) {
  RunNative(
      s, [](double x) { return (x > c_ ? a_ * std::exp(-b_ * x) : 0.0) + d_ * x; }, true);
}
void BM_BesselGamma_Text(benchmark::State& s) { RunText(s, "a*j0(b*x)+c*gammaln(d+x)", {}, {2.0, 0.3, 0.5, 1.7}); }
void BM_BesselGamma_Block(benchmark::State& s) {
  RunTextBlock(s, "a*j0(b*x)+c*gammaln(d+x)", {}, {2.0, 0.3, 0.5, 1.7});
}
void BM_BesselGamma_Cpp(benchmark::State& s) {
  RunNative(s,
            [](double x) { return a_ * tessarix::detail::BesselJ0(b_ * x) + c_ * tessarix::detail::GammaLn(d_ + x); });
}

// A model of three variables, through the point form of the door.
void BM_ThreeVariables_Text(benchmark::State& state) {
  CompiledText m;
  Compile(m, "a*x1+b*exp(-c*x2)+d*x3", {}, {2.0, 0.3, 0.5, 1.7}, 3);
  std::vector<double> points;
  for (int i = 0; i < kPoints; ++i) points.insert(points.end(), {XAt(i), 1.0 - XAt(i), 2.0 * XAt(i)});
  double sum = 0.0;
  for (auto _ : state) {
    for (int i = 0; i < kPoints; ++i) {
      double v = 0.0;
      const std::span<const double> point(points.data() + 3 * i, 3);
      if (!m.model.Evaluate(m.parameters.data(), point, m.stats, v)) {
        state.SkipWithError("evaluation failed");
        return;
      }
      sum += v;
    }
  }
  benchmark::DoNotOptimize(sum);
  state.SetItemsProcessed(state.iterations() * kPoints);
}
void BM_ThreeVariables_Cpp(benchmark::State& s) {
  RunNative(s, [](double x) { return a_ * x + b_ * std::exp(-c_ * (1.0 - x)) + d_ * (2.0 * x); });
}

BENCHMARK(BM_Linear_Text);
BENCHMARK(BM_Linear_Block);
BENCHMARK(BM_Linear_Cpp);
BENCHMARK(BM_ExpSin_Text);
BENCHMARK(BM_ExpSin_Block);
BENCHMARK(BM_ExpSin_Cpp);
BENCHMARK(BM_IfSub_Text);
BENCHMARK(BM_IfSub_Block);
BENCHMARK(BM_IfSub_Cpp);
BENCHMARK(BM_IfMask_Text);
BENCHMARK(BM_IfMask_Block);
BENCHMARK(BM_IfMask_Cpp);
BENCHMARK(BM_IfMaskMixed_Block);
BENCHMARK(BM_IfMaskMixed_Cpp);
BENCHMARK(BM_BesselGamma_Text);
BENCHMARK(BM_BesselGamma_Block);
BENCHMARK(BM_BesselGamma_Cpp);
BENCHMARK(BM_ThreeVariables_Text);
BENCHMARK(BM_ThreeVariables_Cpp);

// A whole fit of a text model on 1e5 points: definition, data statistics,
// Marquardt iterations with numerical parameter derivatives, statistics.
void BM_FitExpDecay_1e5(benchmark::State& state) {
  std::vector<double> x(100000), y(100000);
  for (std::size_t i = 0; i < x.size(); ++i) {
    x[i] = 1e-4 * static_cast<double>(i);
    y[i] = 3.0 * std::exp(-0.7 * x[i]) + 0.5 + 0.01 * std::sin(13.0 * static_cast<double>(i));
  }
  std::int32_t iterations = 0;
  for (auto _ : state) {
    tessarix::NonlinearRegression reg;
    reg.DefineUserModel("a*exp(-b*x)+c");
    reg.Fit(x, y);
    if (!reg.IsSolved()) {
      state.SkipWithError("fit failed");
      return;
    }
    iterations = reg.NumIterations();
  }
  state.counters["iterations"] = iterations;
}
BENCHMARK(BM_FitExpDecay_1e5)->Unit(benchmark::kMillisecond);

}  // namespace
