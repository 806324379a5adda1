// Block events: a host model over arrays gives the fit of its per-point twin
// and is called once per block, not once per point.
#include <gtest/gtest.h>

#include <cmath>
#include <span>
#include <string>
#include <vector>

#include "tessarix/core/nonlinear_regression.hpp"
#include "tessarix/multiple/multiple_nonlinear_regression.hpp"

namespace tessarix {
namespace {

const std::vector<std::string> kNames = {"a", "b", "c"};

std::vector<double> Xs(std::size_t n) {
  std::vector<double> x(n);
  for (std::size_t i = 0; i < n; ++i) x[i] = 4.0 * static_cast<double>(i) / static_cast<double>(n);
  return x;
}

void PerPoint(NonlinearRegression& r) {
  r.Events.EvaluateExternal = [](std::vector<double>& p, double x, double& v, bool& ok) {
    v = p[0] * std::exp(-p[1] * x) + p[2];
    ok = true;
  };
  r.Events.DerivativeExternal = [](std::vector<double>& p, double x, std::vector<double>& d, bool& ok) {
    d[0] = std::exp(-p[1] * x);
    d[1] = -p[0] * x * std::exp(-p[1] * x);
    d[2] = 1.0;
    ok = true;
  };
}

void Block(NonlinearRegression& r, int& calls, double fail_at = -1.0) {
  r.Events.EvaluateExternalBlock = [&calls, fail_at](std::span<const double> p, std::span<const double> x,
                                                     std::span<double> v, bool& ok) {
    ++calls;
    for (std::size_t i = 0; i < x.size(); ++i) {
      v[i] = x[i] == fail_at ? std::log(-1.0) : p[0] * std::exp(-p[1] * x[i]) + p[2];
    }
    ok = true;
  };
  r.Events.DerivativeExternalBlock = [](std::span<const double> p, std::span<const double> x, std::span<double> d,
                                        bool& ok) {
    for (std::size_t i = 0; i < x.size(); ++i) {
      d[3 * i] = std::exp(-p[1] * x[i]);
      d[3 * i + 1] = -p[0] * x[i] * std::exp(-p[1] * x[i]);
      d[3 * i + 2] = 1.0;
    }
    ok = true;
  };
}

TEST(BlockEvents, SameFitAsThePerPointEventsWithFarFewerCalls) {
  const std::vector<double> x = Xs(10000);
  std::vector<double> y(x.size());
  for (std::size_t i = 0; i < x.size(); ++i) y[i] = 2.5 * std::exp(-0.9 * x[i]) + 0.3 + 0.01 * std::sin(50.0 * x[i]);
  for (const bool derivatives : {true, false}) {
    NonlinearRegression point, block;
    PerPoint(point);
    int calls = 0;
    Block(block, calls);
    point.DefineExternalModel(kNames, derivatives);
    block.DefineExternalModel(kNames, derivatives);
    point.Fit(x, y);
    block.Fit(x, y);
    ASSERT_TRUE(block.IsSolved()) << block.LastSolveError();
    EXPECT_EQ(block.SSE(), point.SSE());
    for (std::int32_t k = 1; k <= 3; ++k) {
      EXPECT_EQ(block.RegressionParameters()->Item(k)->Value(), point.RegressionParameters()->Item(k)->Value());
    }
    EXPECT_EQ(block.PredictValue(1.5), point.PredictValue(1.5));
    if (derivatives) {
      // Three blocks a pass (4096 rows each), a few passes per iteration.
      EXPECT_LT(calls, 3 * 4 * (block.NumIterations() + 3));
    }
  }
}

TEST(BlockEvents, ANonFiniteResultFailsAtItsOwnPointAndAFailedBlockAtItsFirst) {
  const std::vector<double> x = Xs(5000);
  std::vector<double> y(x.size(), 1.0);
  NonlinearRegression r;
  int calls = 0;
  Block(r, calls, x[4321]);
  r.DefineExternalModel(kNames, true);
  r.Fit(x, y);
  EXPECT_FALSE(r.IsSolved());
  EXPECT_EQ(r.LastSolveError(), "Error evaluating the function at X = 3.4568\r\n");

  r.Events.EvaluateExternalBlock = [](std::span<const double>, std::span<const double>, std::span<double>, bool& ok) {
    ok = false;
  };
  r.Fit(x, y);
  EXPECT_EQ(r.LastSolveError(), "Error evaluating the function at X = 0\r\n");
}

TEST(BlockEvents, SeveralVariablesArriveRowMajor) {
  MultipleNonlinearRegression r;
  r.Events.EvaluateExternalBlock = [](std::span<const double> p, std::span<const double> x, std::span<double> v,
                                      bool& ok) {
    for (std::size_t i = 0; i < v.size(); ++i) v[i] = p[0] + p[1] * x[2 * i] + p[2] * x[2 * i + 1];
    ok = true;
  };
  r.DefineExternalModel(2, kNames);
  Matrix x(50, 2);
  std::vector<double> y(50);
  for (std::int32_t i = 0; i < 50; ++i) {
    x(i, 0) = std::sin(1.7 * i);
    x(i, 1) = std::cos(0.3 * i * i);
    y[static_cast<std::size_t>(i)] = 1.0 - 2.0 * x(i, 0) + 0.5 * x(i, 1);
  }
  r.Fit(x, y);
  ASSERT_TRUE(r.IsSolved());
  EXPECT_NEAR(r.RegressionParameters()->Item(2)->Value(), -2.0, 1e-9);
  EXPECT_NEAR(r.PredictValue(std::vector<double>{1.0, 2.0}), 0.0, 1e-9);
}

}  // namespace
}  // namespace tessarix
