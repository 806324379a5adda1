// Costs of the shared numerics: the linear solve of one Marquardt step, the
// decomposition of an estimate's design matrix, and the special functions
// that the model language calls once per observation.
#include <benchmark/benchmark.h>

#include <cmath>
#include <string>

#include "tessarix/numerics/airy_spherical.hpp"
#include "tessarix/numerics/bessel_integer.hpp"
#include "tessarix/numerics/bessel_real_order.hpp"
#include "tessarix/numerics/distributions.hpp"
#include "tessarix/numerics/gamma.hpp"
#include "tessarix/numerics/linear_algebra.hpp"
#include "tessarix/numerics/singular_value.hpp"

using namespace tessarix::detail;

namespace {

// A diagonally dominant, well-conditioned n x n system.
Matrix1 TestMatrix(std::int32_t n) {
  Matrix1 a(n, n);
  for (std::int32_t i = 1; i <= n; ++i) {
    for (std::int32_t j = 1; j <= n; ++j) {
      a(i, j) = i == j ? n + 1.0 : 1.0 / (i + j);
    }
  }
  return a;
}

void BM_GaussJordanSolve(benchmark::State& state) {
  const auto n = static_cast<std::int32_t>(state.range(0));
  const Matrix1 original = TestMatrix(n);
  std::string text;
  for (auto _ : state) {
    Matrix1 a = original;
    Vector1 b = MakeVector1(n, 1.0);
    GaussJordanSolve(a, n, b, 1, text);
    benchmark::DoNotOptimize(b.data());
  }
}
BENCHMARK(BM_GaussJordanSolve)->Arg(3)->Arg(10)->Arg(30)->Arg(100);

// rows x columns polynomial design matrix, as the estimates build it.
void BM_SingularValueDecomposition(benchmark::State& state) {
  const auto rows = static_cast<std::int32_t>(state.range(0));
  const auto cols = static_cast<std::int32_t>(state.range(1));
  Matrix1 design(rows, cols);
  for (std::int32_t i = 1; i <= rows; ++i) {
    const double x = static_cast<double>(i) / rows;
    for (std::int32_t j = 1; j <= cols; ++j) {
      design(i, j) = std::pow(x, cols - j);
    }
  }
  Vector1 r = MakeVector1(rows, 1.0);
  Vector1 w;
  Vector1 c;
  Matrix1 v;
  for (auto _ : state) {
    Matrix1 a = design;
    SingularValueDecomposition(a, rows, cols, w, v);
    SingularValueBackSubstitution(a, w, v, rows, cols, r, c);
    benchmark::DoNotOptimize(c.data());
  }
}
BENCHMARK(BM_SingularValueDecomposition)->Args({100, 3})->Args({1000, 3})->Args({1000, 11});

template <class F>
void RunOverArguments(benchmark::State& state, F f) {
  double x = 0.1;
  for (auto _ : state) {
    benchmark::DoNotOptimize(f(x));
    x = x < 9.0 ? x + 0.37 : 0.1;
  }
}

void BM_GammaLn(benchmark::State& s) {
  RunOverArguments(s, [](double x) { return GammaLn(x); });
}
void BM_GammaP(benchmark::State& s) {
  RunOverArguments(s, [](double x) { return GammaP(2.5, x); });
}
void BM_IncompleteBeta(benchmark::State& s) {
  RunOverArguments(s, [](double x) { return IncompleteBeta(3.0, 4.5, x / 10.0); });
}
void BM_StudentTCritical(benchmark::State& s) {
  RunOverArguments(s, [](double x) { return StudentTCritical(0.975, static_cast<std::int32_t>(x) + 1); });
}
void BM_BesselJ0(benchmark::State& s) {
  RunOverArguments(s, [](double x) { return BesselJ0(x); });
}
void BM_BesselJn(benchmark::State& s) {
  RunOverArguments(s, [](double x) { return BesselJn(4, x); });
}
void BM_BesselJY(benchmark::State& s) {
  RunOverArguments(s, [](double x) { return BesselJY(x, 1.3).j; });
}
void BM_BesselIK(benchmark::State& s) {
  RunOverArguments(s, [](double x) { return BesselIK(x, 1.3).k; });
}
void BM_Airy(benchmark::State& s) {
  RunOverArguments(s, [](double x) { return Airy(x - 4.5).ai; });
}
BENCHMARK(BM_GammaLn);
BENCHMARK(BM_GammaP);
BENCHMARK(BM_IncompleteBeta);
BENCHMARK(BM_StudentTCritical);
BENCHMARK(BM_BesselJ0);
BENCHMARK(BM_BesselJn);
BENCHMARK(BM_BesselJY);
BENCHMARK(BM_BesselIK);
BENCHMARK(BM_Airy);

}  // namespace
