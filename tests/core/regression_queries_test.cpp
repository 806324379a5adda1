// The post-fit queries of NonlinearRegression on curves known in closed form.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "external_models.hpp"
#include "support/test_helpers.hpp"
#include "tessarix/core/nonlinear_regression.hpp"

namespace tessarix {
namespace {

// A solved model whose parameters are exactly `values`: they are held
// constant and the data come from the curve itself.
void SolveExactly(NonlinearRegression& reg, const std::vector<double>& values, test::ModelFunction f) {
  std::vector<std::string> names;
  for (std::size_t j = 0; j < values.size(); ++j) names.push_back(std::string(1, static_cast<char>('a' + j)));
  test::DefineClosedForm(reg, names, f);
  for (std::size_t j = 0; j < values.size(); ++j) {
    const auto p = reg.RegressionParameters()->Item(static_cast<std::int32_t>(j + 1));
    p->SetInitialEstimate(values[j]);
    p->SetInitialEstimateType(tsxEstimateConstant);
  }
  std::vector<double> x, y;
  for (int i = 0; i < 8; ++i) {
    x.push_back(0.37 + 0.5 * i);
    y.push_back(f(values, x.back()));
  }
  reg.Fit(x, y);
  ASSERT_TRUE(reg.IsSolved()) << reg.LastSolveError();
}

const auto kQuadratic = [](const std::vector<double>& p, double x) { return p[0] * x * x + p[1] * x + p[2]; };

TEST(PostFitQueries, GuardsComeInOrder) {
  NonlinearRegression reg;
  const std::vector<double> xs{1.0};
  EXPECT_TSX_CODE(reg.PredictValue(1.0), 10023);
  EXPECT_TSX_CODE(reg.PredictArray(xs), 10023);
  EXPECT_TSX_CODE(reg.PredictArrayAlt(Variant(1.0)), 10023);
  EXPECT_TSX_CODE(reg.CalculateDerivative(1.0), 10023);
  EXPECT_TSX_CODE(reg.CalculateRoots(0, 0, 1, 2), 10023);  // before the argument check
  EXPECT_TSX_CODE(reg.CalculateRootsAlt(0, 0, 1), 10023);
  EXPECT_TSX_CODE(reg.CalculateIntegral(0, 1), 10023);
  test::DefineExponential(reg);
  const char* const not_solved = "The model is not solved, the requested property is not available";
  EXPECT_TSX_ERROR(reg.PredictValue(1.0), 10029, not_solved);
  EXPECT_TSX_CODE(reg.PredictArray(xs), 10029);
  EXPECT_TSX_CODE(reg.PredictArrayAlt(Variant(1.0)), 10029);  // before the array check
  EXPECT_TSX_CODE(reg.CalculateDerivative(1.0), 10029);
  EXPECT_TSX_CODE(reg.CalculateRoots(0, 0, 1, 2), 10029);
  EXPECT_TSX_CODE(reg.CalculateIntegral(0, 1), 10029);
}

TEST(PostFitQueries, PredictValuesOfTheFittedCurve) {
  NonlinearRegression reg;
  SolveExactly(reg, {2.0, 0.5}, [](const std::vector<double>& p, double x) {
    if (x < -50) return std::numeric_limits<double>::quiet_NaN();  // fails far left
    return p[0] * std::exp(p[1] * x);
  });
  EXPECT_EQ(reg.PredictValue(1.0), 2.0 * std::exp(0.5));
  const std::vector<double> xs{0.0, 1.0, 2.0};
  EXPECT_EQ(reg.PredictArray(xs), (std::vector<double>{2.0, 2.0 * std::exp(0.5), 2.0 * std::exp(1.0)}));
  EXPECT_TRUE(reg.PredictArray({}).empty());
  const Variant alt = reg.PredictArrayAlt(Variant::Array({Variant(0.0), Variant(2), Variant("1")}));
  ASSERT_EQ(alt.UpperBound(), 2);
  EXPECT_EQ(alt.At(0).ToDouble(), 2.0);
  EXPECT_EQ(alt.At(1).ToDouble(), 2.0 * std::exp(1.0));
  EXPECT_EQ(alt.At(2).ToDouble(), 2.0 * std::exp(0.5));

  EXPECT_TSX_ERROR(reg.PredictValue(-100.0), 10030, "Error evaluating the model");
  const std::vector<double> bad{1.0, -100.0};
  EXPECT_TSX_CODE(reg.PredictArray(bad), 10030);
  EXPECT_TSX_ERROR(reg.PredictArrayAlt(Variant(1.0)), 10042, "Expected variant array");
  EXPECT_TSX_CODE(reg.PredictArrayAlt(Variant::Array({Variant(-100.0)})), 10030);
  EXPECT_TSX_ERROR(reg.PredictArrayAlt(Variant::Array({Variant("x")})), 10001, "General Error: Type mismatch");
  EXPECT_TRUE(reg.IsSolved());  // queries change nothing
}

TEST(PostFitQueries, DerivativeByX) {
  NonlinearRegression reg;
  std::vector<double> seen;
  SolveExactly(reg, {2.0, 0.5}, [&seen](const std::vector<double>& p, double x) {
    seen.push_back(x);
    if (x > 10.0) return std::numeric_limits<double>::quiet_NaN();
    return p[0] * std::exp(p[1] * x);
  });
  seen.clear();
  EXPECT_NEAR(reg.CalculateDerivative(1.0), std::exp(0.5), 1e-9);
  // At 0 the first step is absolute.
  seen.clear();
  EXPECT_NEAR(reg.CalculateDerivative(0.0), 1.0, 1e-9);
  ASSERT_GE(seen.size(), 2u);
  EXPECT_EQ(seen[0], 3.684e-6);
  EXPECT_EQ(seen[1], -3.684e-6);
  // At -1 it is relative and negative.
  seen.clear();
  EXPECT_NEAR(reg.CalculateDerivative(-1.0), std::exp(-0.5), 1e-9);
  EXPECT_LT(seen[0], -1.0);
  EXPECT_GT(seen[1], -1.0);
  // A failure near the point fails the derivative.
  EXPECT_TSX_ERROR(reg.CalculateDerivative(10.0), 10031, "Error calculating the derivative");

  NonlinearRegression wave;
  SolveExactly(wave, {1.5, 2.0}, [](const std::vector<double>& p, double x) { return p[0] * std::sin(p[1] * x); });
  EXPECT_NEAR(wave.CalculateDerivative(0.3), 3.0 * std::cos(0.6), 1e-9);
}

TEST(PostFitQueries, RootsOfAQuadratic) {
  NonlinearRegression reg;
  // (x - 1)(x - 3) = x^2 - 4x + 3.
  SolveExactly(reg, {1.0, -4.0, 3.0}, kQuadratic);
  std::vector<double> roots = reg.CalculateRoots(0.0, 0.0, 4.0, 7);
  ASSERT_EQ(roots.size(), 2u);
  EXPECT_NEAR(roots[0], 1.0, 1e-15);
  EXPECT_NEAR(roots[1], 3.0, 1e-15);
  // Reversed bounds search the same interval; y = 8 is reached at x = 5 only.
  EXPECT_EQ(reg.CalculateRoots(0.0, 4.0, 0.0, 7), roots);
  roots = reg.CalculateRoots(8.0, 10.0, 0.0);
  ASSERT_EQ(roots.size(), 1u);
  EXPECT_NEAR(roots[0], 5.0, 1e-14);
  // On a scan point (dx = 0.5 exactly): bracketed on both sides, reported once.
  EXPECT_EQ(reg.CalculateRoots(0.0, 0.0, 4.0, 8), (std::vector<double>{1.0, 3.0}));
  // Never reached, equal bounds: nothing, and no error.
  EXPECT_TRUE(reg.CalculateRoots(-5.0, 0.0, 4.0).empty());
  EXPECT_TRUE(reg.CalculateRoots(0.0, 1.0, 1.0).empty());
  EXPECT_TRUE(reg.CalculateRootsAlt(-5.0, 0.0, 4.0).IsEmpty());
  const Variant alt = reg.CalculateRootsAlt(0.0, 0.0, 4.0, 8);
  ASSERT_EQ(alt.UpperBound(), 1);
  EXPECT_EQ(alt.At(0).ToDouble(), 1.0);
  EXPECT_EQ(alt.At(1).ToDouble(), 3.0);
  // The number of intervals.
  EXPECT_TSX_ERROR(reg.CalculateRoots(0.0, 0.0, 4.0, 2), 10028, "Invalid argument");
  EXPECT_TSX_CODE(reg.CalculateRootsAlt(0.0, 0.0, 4.0, 2), 10028);
  EXPECT_EQ(reg.CalculateRoots(0.0, 0.0, 4.0, 3).size(), 2u);
}

TEST(PostFitQueries, RootScanDefaultsToAHundredIntervals) {
  // A y never reached: the scan alone, one evaluation per scan point.
  NonlinearRegression reg;
  int evaluations = 0;
  SolveExactly(reg, {1.0, 2.0}, [&evaluations](const std::vector<double>& p, double x) {
    ++evaluations;
    return p[0] * x + p[1];
  });
  evaluations = 0;
  EXPECT_TRUE(reg.CalculateRoots(100.0, 0.0, 1.0).empty());
  EXPECT_EQ(evaluations, 101);
  evaluations = 0;
  EXPECT_TRUE(reg.CalculateRootsAlt(100.0, 0.0, 1.0).IsEmpty());
  EXPECT_EQ(evaluations, 101);
  evaluations = 0;
  EXPECT_TRUE(reg.CalculateRoots(100.0, 0.0, 1.0, 3).empty());
  EXPECT_EQ(evaluations, 4);
}

TEST(PostFitQueries, DoubleRootsAndPoles) {
  NonlinearRegression square;
  // (x - 2)^2: on a scan point it is found, between scan points it is missed.
  SolveExactly(square, {1.0, -4.0, 4.0}, kQuadratic);
  EXPECT_EQ(square.CalculateRoots(0.0, 0.0, 4.0, 8), (std::vector<double>{2.0}));
  EXPECT_TRUE(square.CalculateRoots(0.0, 0.0, 4.0, 5).empty());

  // 1 / (x - 0.3) never reaches 0, but its jump is bracketed and returned.
  NonlinearRegression pole;
  SolveExactly(pole, {1.0, 0.3}, [](const std::vector<double>& p, double x) { return p[0] / (x - p[1]); });
  const std::vector<double> roots = pole.CalculateRoots(0.0, 0.0, 2.0, 10);
  ASSERT_EQ(roots.size(), 1u);
  EXPECT_NEAR(roots[0], 0.3, 1e-15);
  // With the finer tolerance of [0, 1] the bisection lands on the pole itself,
  // where the model fails, and the bracket is dropped.
  EXPECT_TRUE(pole.CalculateRoots(0.0, 0.0, 1.0, 10).empty());

  // Points where the model fails are walked over: sqrt(x) - 1 on [-2, 3].
  NonlinearRegression partial;
  SolveExactly(partial, {1.0, 1.0}, [](const std::vector<double>& p, double x) {
    return x < 0 ? std::numeric_limits<double>::quiet_NaN() : p[0] * std::sqrt(x) - p[1];
  });
  const std::vector<double> r = partial.CalculateRoots(0.0, -2.0, 3.0, 10);
  ASSERT_EQ(r.size(), 1u);
  EXPECT_NEAR(r[0], 1.0, 1e-15);
}

TEST(PostFitQueries, IntegralByRomberg) {
  NonlinearRegression reg;
  SolveExactly(reg, {1.0, -4.0, 3.0}, kQuadratic);
  // Of x^2 - 4x + 3 from 0 to 3: 9 - 18 + 9 = 0; from 0 to 1: 1/3 - 2 + 3.
  EXPECT_NEAR(reg.CalculateIntegral(0.0, 1.0), 4.0 / 3.0, 1e-12);
  EXPECT_NEAR(reg.CalculateIntegral(1.0, 0.0), -4.0 / 3.0, 1e-12);
  EXPECT_EQ(reg.CalculateIntegral(2.0, 2.0), 0.0);

  NonlinearRegression growth;
  SolveExactly(growth, {2.0, 0.5}, [](const std::vector<double>& p, double x) { return p[0] * std::exp(p[1] * x); });
  EXPECT_NEAR(growth.CalculateIntegral(0.0, 4.0), 4.0 * (std::exp(2.0) - 1.0), 1e-6 * 4.0 * std::exp(2.0));

  NonlinearRegression wave;
  SolveExactly(wave, {1.0, 1.0}, [](const std::vector<double>& p, double x) { return p[0] * std::sin(p[1] * x); });
  EXPECT_NEAR(wave.CalculateIntegral(0.0, 3.14159265358979), 2.0, 1e-6);

  // A model that fails at a bound fails the integral, though it exists.
  NonlinearRegression logarithm;
  SolveExactly(logarithm, {1.0}, [](const std::vector<double>& p, double x) {
    return x <= 0 ? std::numeric_limits<double>::quiet_NaN() : p[0] * std::log(x);
  });
  EXPECT_TSX_ERROR(logarithm.CalculateIntegral(0.0, 1.0), 10040, "Error calculating the integral");
  EXPECT_NEAR(logarithm.CalculateIntegral(1.0, 2.0), 2.0 * std::log(2.0) - 1.0, 1e-6);
}

}  // namespace
}  // namespace tessarix
