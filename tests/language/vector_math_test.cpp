// The opt-in vector math of the block evaluator: the stated accuracy bound of
// the vector routines against the scalar ones, whole programs close to the
// scalar path with their failures at the same rows, and exact derivatives
// with it.
#include "tessarix/language/internal/vector_math.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "language_support.hpp"
#include "tessarix/models/predefined_models.hpp"

namespace tessarix::test {
namespace {

double Ulps(double v, double s) {
  if (v == s) return 0.0;
  const double a = std::fabs(s);
  return std::fabs(v - s) / (std::nextafter(a, std::numeric_limits<double>::infinity()) - a);
}

TEST(VectorMath, WithinTheStatedBoundOfTheScalarRoutines) {
  if (!detail::VectorMathAvailable()) GTEST_SKIP() << "no vector routines on this system";
  struct Case {
    detail::VectorFunction f;
    double lo, hi;
    bool decades;  // lo and hi are powers of 10
    double (*scalar)(double);
  };
  const Case cases[] = {
      {detail::VectorFunction::Exp, -700.0, 700.0, false, [](double v) { return std::exp(v); }},
      {detail::VectorFunction::Log, -300.0, 300.0, true, [](double v) { return std::log(v); }},
      {detail::VectorFunction::Sin, -1e5, 1e5, false, [](double v) { return std::sin(v); }},
      {detail::VectorFunction::Cos, -1e5, 1e5, false, [](double v) { return std::cos(v); }},
      {detail::VectorFunction::Sin, -4.0, 4.0, false, [](double v) { return std::sin(v); }},
  };
  std::mt19937_64 gen(7);
  for (const Case& c : cases) {
    std::uniform_real_distribution<double> pick(c.lo, c.hi);
    std::vector<double> in(4096), out;
    double worst = 0.0;
    for (int round = 0; round < 50; ++round) {
      for (double& v : in) v = c.decades ? std::pow(10.0, pick(gen)) : pick(gen);
      out = in;
      detail::ApplyVector(c.f, out.data(), static_cast<std::int32_t>(out.size()));
      for (std::size_t i = 0; i < in.size(); ++i) worst = std::max(worst, Ulps(out[i], c.scalar(in[i])));
    }
    EXPECT_LE(worst, detail::kVectorMathUlps) << static_cast<int>(c.f);
    EXPECT_GT(worst, 0.0) << static_cast<int>(c.f);  // the vector routines did run
  }
}

TEST(VectorMath, ProgramsStayCloseAndFailAtTheSameRow) {
  std::vector<double> grid;
  for (int r = 0; r < 300; ++r) grid.push_back(0.05 + 0.025 * r);
  int compared = 0, differing = 0;
  for (const PredefinedModelInfo& info : PredefinedModels()) {
    LanguageModel m;
    m.Define(info.Definition);
    m.SetParameters({1.1, 0.9, 0.7, 1.3, 0.5, 1.2, 0.8, 0.6, 1.4, 0.3});
    std::vector<double> scalar, vector;
    const std::int32_t done = m.Block(grid, 1, scalar);
    ASSERT_EQ(m.Block(grid, 1, vector, true), done) << info.Definition;
    for (std::int32_t r = 0; r < done; ++r) {
      const auto u = static_cast<std::size_t>(r);
      ASSERT_LE(std::fabs(vector[u] - scalar[u]), 1e-12 * std::max(1.0, std::fabs(scalar[u])))
          << info.Definition << " row " << r;
      ++compared;
      if (vector[u] != scalar[u]) ++differing;
    }
  }
  EXPECT_GT(compared, 50000);
  // The vector routines did run where the system has them.
  EXPECT_EQ(differing > 0, detail::VectorMathAvailable()) << differing;
  // Failures inside a block: ln of a non-positive number, an overflow of exp.
  for (const std::string y : {"a*ln(x-3)", "a*exp(x*100)", "a*ln(4-x)+sin(x)"}) {
    LanguageModel m;
    m.Define(y);
    m.SetParameters({2.0});
    std::vector<double> scalar, vector;
    const std::int32_t done = m.Block(grid, 1, scalar);
    EXPECT_LT(done, 300) << y;
    EXPECT_EQ(m.Block(grid, 1, vector, true), done) << y;
  }
}

}  // namespace
}  // namespace tessarix::test
