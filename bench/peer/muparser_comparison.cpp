// The model language beside muparser (Debian libmuparser-dev), a widely used
// expression evaluator: per point (Evaluate), by blocks (EvaluateBlock), the
// same expression compiled as C++, and muparser's Eval() called point by
// point, on the expressions of the language_evaluator benchmark and a
// Bessel/gamma one (muparser calls the library's routines for those); and
// the blocks with the opt-in vector math (glibc's libmvec).
#include <benchmark/benchmark.h>
#include <muParser.h>

#include <cmath>
#include <string>
#include <vector>

#include "tessarix/language/text_model.hpp"
#include "tessarix/numerics/bessel_integer.hpp"
#include "tessarix/numerics/gamma.hpp"

namespace {

constexpr int kPoints = 100'000;
double XAt(int i) { return 0.05 + 1e-4 * i; }

const std::vector<double>& Xs() {
  static const std::vector<double> xs = [] {
    std::vector<double> v(kPoints);
    for (int i = 0; i < kPoints; ++i) v[static_cast<std::size_t>(i)] = XAt(i);
    return v;
  }();
  return xs;
}

struct Expression {
  std::string text;               // the model language
  std::vector<std::string> subs;  // its sub-definitions
  std::string muparser;           // the same for muparser
};

// Parameters a, b, c, d.
const double kValues[4] = {2.0, 0.3, 0.5, 1.7};

const Expression kLinear{"a*x+b", {}, "a*x+b"};
const Expression kExpSin{"a*exp(-b*x)+c*sin(d*x)", {}, "a*exp(-b*x)+c*sin(d*x)"};
const Expression kIfSub{"if(x>c,F1,0)+d*F1", {"a*exp(-b*x)"}, "(x>c ? a*exp(-b*x) : 0)+d*a*exp(-b*x)"};
const Expression kIfMask{"if(x>c,a*exp(-b*x),0)+d*x", {}, "(x>c ? a*exp(-b*x) : 0)+d*x"};
const Expression kBesselGamma{"a*j0(b*x)+c*gammaln(d+x)", {}, "a*j0(b*x)+c*gammaln(d+x)"};

struct Compiled {
  tessarix::detail::TextModel model;
  tessarix::detail::DataStatistics stats;
  std::vector<double> parameters{0.0, kValues[0], kValues[1], kValues[2], kValues[3]};
  explicit Compiled(const Expression& e) {
    tessarix::ModelDefinition d;
    d.SetY(e.text);
    for (std::size_t k = 0; k < e.subs.size(); ++k) {
      tessarix::detail::ModelDefinitionAccess::Formula(d, static_cast<int>(k) + 1) = e.subs[k];
    }
    const tessarix::SystemSeparators english{".", ",", ",", "/", ":"};
    tessarix::ModelDefinition en, local;
    (void)model.Define(d, tessarix::tsxLocaleEnglish, english, en, local);
  }
};

void Text(benchmark::State& state, const Expression& e) {
  Compiled m(e);
  std::vector<double> out(kPoints);
  for (auto _ : state) {
    for (int i = 0; i < kPoints; ++i) {
      if (!m.model.Evaluate(m.parameters.data(), XAt(i), m.stats, out[static_cast<std::size_t>(i)])) {
        state.SkipWithError("evaluation failed");
        return;
      }
    }
    benchmark::DoNotOptimize(out.data());
  }
  state.SetItemsProcessed(state.iterations() * kPoints);
}

void Block(benchmark::State& state, const Expression& e, bool vector_math = false) {
  Compiled m(e);
  std::vector<double> out(kPoints);
  for (auto _ : state) {
    if (m.model.EvaluateBlock(m.parameters.data(), Xs().data(), 1, kPoints, m.stats, out.data(), vector_math) !=
        kPoints) {
      state.SkipWithError("evaluation failed");
      return;
    }
    benchmark::DoNotOptimize(out.data());
  }
  state.SetItemsProcessed(state.iterations() * kPoints);
}

double J0(double x) { return tessarix::detail::BesselJ0(x); }
double GammaLn(double x) { return tessarix::detail::GammaLn(x); }

void MuParser(benchmark::State& state, const Expression& e) {
  mu::Parser parser;
  double x = 0.0, a = kValues[0], b = kValues[1], c = kValues[2], d = kValues[3];
  parser.DefineVar("x", &x);
  parser.DefineVar("a", &a);
  parser.DefineVar("b", &b);
  parser.DefineVar("c", &c);
  parser.DefineVar("d", &d);
  parser.DefineFun("j0", J0);
  parser.DefineFun("gammaln", GammaLn);
  parser.SetExpr(e.muparser);
  std::vector<double> out(kPoints);
  for (auto _ : state) {
    for (int i = 0; i < kPoints; ++i) {
      x = XAt(i);
      out[static_cast<std::size_t>(i)] = parser.Eval();
    }
    benchmark::DoNotOptimize(out.data());
  }
  state.SetItemsProcessed(state.iterations() * kPoints);
}

// Parameters reach the compiled expressions through memory, as in a fit.
volatile double a_ = kValues[0], b_ = kValues[1], c_ = kValues[2], d_ = kValues[3];

template <class F>
void Cpp(benchmark::State& state, F f) {
  std::vector<double> out(kPoints);
  for (auto _ : state) {
    const double a = a_, b = b_, c = c_, d = d_;
    for (int i = 0; i < kPoints; ++i)
      out[static_cast<std::size_t>(i)] = f(Xs()[static_cast<std::size_t>(i)], a, b, c, d);
    benchmark::DoNotOptimize(out.data());
  }
  state.SetItemsProcessed(state.iterations() * kPoints);
}

#define TSX_SIDE_BY_SIDE(Name, expression, cpp)                                \
  void BM_##Name##_Text(benchmark::State& s) { Text(s, expression); }          \
  void BM_##Name##_Block(benchmark::State& s) { Block(s, expression); }        \
  void BM_##Name##_Vector(benchmark::State& s) { Block(s, expression, true); } \
  void BM_##Name##_Cpp(benchmark::State& s) { Cpp(s, cpp); }                   \
  void BM_##Name##_MuParser(benchmark::State& s) { MuParser(s, expression); }  \
  BENCHMARK(BM_##Name##_Text);                                                 \
  BENCHMARK(BM_##Name##_Block);                                                \
  BENCHMARK(BM_##Name##_Vector);                                               \
  BENCHMARK(BM_##Name##_Cpp);                                                  \
  BENCHMARK(BM_##Name##_MuParser)

TSX_SIDE_BY_SIDE(Linear, kLinear, [](double x, double a, double b, double, double) { return a * x + b; });
TSX_SIDE_BY_SIDE(ExpSin, kExpSin, [](double x, double a, double b, double c, double d) {
  return a * std::exp(-b * x) + c * std::sin(d * x);
});
TSX_SIDE_BY_SIDE(IfSub, kIfSub, [](double x, double a, double b, double c, double d) {
  const double f1 = a * std::exp(-b * x);
  return (x > c ? f1 : 0.0) + d * f1;
});
TSX_SIDE_BY_SIDE(IfMask, kIfMask, [](double x, double a, double b, double c, double d) {
  return (x > c ? a * std::exp(-b * x) : 0.0) + d * x;
});
TSX_SIDE_BY_SIDE(BesselGamma, kBesselGamma, [](double x, double a, double b, double c, double d) {
  return a * tessarix::detail::BesselJ0(b * x) + c * tessarix::detail::GammaLn(d + x);
});

}  // namespace
