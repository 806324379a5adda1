// The derivative method setting: a guarded setting of both classes, exact
// derivatives of text models fitting to the same solution as the numerical
// ones (Marquardt and trust region, one and several variables), and models
// with derivatives of their own unaffected by it.
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <vector>

#include "support/test_helpers.hpp"
#include "tessarix/core/nonlinear_regression.hpp"
#include "tessarix/multiple/multiple_nonlinear_regression.hpp"

namespace tessarix {
namespace {

std::vector<double> Grid(int n) {
  std::vector<double> x;
  for (int i = 0; i < n; ++i) x.push_back(0.1 * i);
  return x;
}
std::vector<double> Observations(const std::vector<double>& x) {
  std::vector<double> y;
  for (std::size_t i = 0; i < x.size(); ++i) {
    y.push_back(3.0 * std::exp(-0.7 * x[i]) + 0.5 * std::sin(1.3 * x[i]) +
                0.01 * std::cos(17.0 * static_cast<double>(i)));
  }
  return y;
}

std::vector<double> Values(const RegressionObject& reg) {
  std::vector<double> v;
  const auto params = reg.RegressionParameters();
  for (std::int32_t j = 1; j <= params->Count(); ++j) v.push_back(params->Item(j)->Value());
  return v;
}

TEST(DerivativeMethod, IsAGuardedSettingOfBothClasses) {
  NonlinearRegression reg;
  EXPECT_EQ(reg.DerivativeMethod(), tsxDerivativeNumerical);
  reg.SetDerivativeMethod(tsxDerivativeExact);
  EXPECT_TSX_ERROR(reg.SetDerivativeMethod(static_cast<DerivativeMethodEnum>(2)), 10027, "Invalid property value");
  EXPECT_TSX_CODE(reg.SetDerivativeMethod(static_cast<DerivativeMethodEnum>(-1)), 10027);
  EXPECT_EQ(reg.DerivativeMethod(), tsxDerivativeExact);
  reg.DefineUserModel("a*exp(-b*x)+c*sin(d*x)");
  reg.ClearFit();
  EXPECT_EQ(reg.DerivativeMethod(), tsxDerivativeExact);
  reg.Events.IterationComplete = [&](std::int32_t, double, bool&) {
    EXPECT_TSX_CODE(reg.SetDerivativeMethod(tsxDerivativeNumerical), 10033);
  };
  const std::vector<double> x = Grid(60);
  reg.Fit(x, Observations(x));
  EXPECT_TRUE(reg.IsSolved()) << reg.LastSolveError();
  MultipleNonlinearRegression multiple;
  EXPECT_EQ(multiple.DerivativeMethod(), tsxDerivativeNumerical);
  multiple.SetDerivativeMethod(tsxDerivativeExact);
  EXPECT_EQ(multiple.DerivativeMethod(), tsxDerivativeExact);
  EXPECT_TSX_CODE(multiple.SetDerivativeMethod(static_cast<DerivativeMethodEnum>(5)), 10027);
}

TEST(DerivativeMethod, ExactFitsReachTheNumericalSolution) {
  const std::vector<double> x = Grid(300);
  const std::vector<double> y = Observations(x);
  for (const SolverMethodEnum solver : {tsxSolverMarquardt, tsxSolverTrustRegion}) {
    NonlinearRegression numerical, exact;
    for (NonlinearRegression* reg : {&numerical, &exact}) {
      reg->SetSolverMethod(solver);
      reg->DefineUserModel("a*exp(-b*x)+c*sin(d*x)");
      const auto params = reg->RegressionParameters();
      params->Item(2)->SetInitialEstimate(0.5);
      params->Item(4)->SetInitialEstimate(1.2);
      // A fixed parameter takes no part in either.
      params->Item(3)->SetInitialEstimate(0.5);
      params->Item(3)->SetInitialEstimateType(tsxEstimateConstant);
    }
    exact.SetDerivativeMethod(tsxDerivativeExact);
    numerical.Fit(x, y);
    exact.Fit(x, y);
    ASSERT_TRUE(numerical.IsSolved() && exact.IsSolved()) << exact.LastSolveError();
    const std::vector<double> a = Values(numerical), b = Values(exact);
    for (std::size_t j = 0; j < a.size(); ++j) EXPECT_NEAR(b[j], a[j], 1e-8 * std::fabs(a[j])) << solver << " " << j;
    EXPECT_EQ(b[2], 0.5);
    EXPECT_NEAR(exact.SSE(), numerical.SSE(), 1e-10 * numerical.SSE());
    EXPECT_NEAR(exact.RegressionParameters()->Item(1)->StandardError(),
                numerical.RegressionParameters()->Item(1)->StandardError(), 1e-6);
  }
  // Several variables.
  Matrix points(200, 2);
  std::vector<double> z;
  for (int i = 0; i < 200; ++i) {
    points(i, 0) = 0.05 * i;
    points(i, 1) = 1.0 + 0.3 * (i % 7);
    z.push_back(2.0 * std::exp(-0.4 * points(i, 0)) * std::pow(points(i, 1), 0.8) + 0.01 * std::sin(3.0 * i));
  }
  MultipleNonlinearRegression numerical, exact;
  numerical.DefineUserModel("a*exp(-b*x1)*x2^c");
  exact.DefineUserModel("a*exp(-b*x1)*x2^c");
  exact.SetDerivativeMethod(tsxDerivativeExact);
  numerical.Fit(points, z);
  exact.Fit(points, z);
  ASSERT_TRUE(numerical.IsSolved() && exact.IsSolved()) << exact.LastSolveError();
  const std::vector<double> a = Values(numerical), b = Values(exact);
  for (std::size_t j = 0; j < a.size(); ++j) EXPECT_NEAR(b[j], a[j], 1e-8 * std::fabs(a[j])) << j;
}

TEST(DerivativeMethod, ModelsWithTheirOwnDerivativesIgnoreIt) {
  const std::vector<double> x = Grid(80);
  const std::vector<double> y = Observations(x);
  NonlinearRegression plain, set;
  for (NonlinearRegression* reg : {&plain, &set}) reg->DefineInternalModel(1);
  set.SetDerivativeMethod(tsxDerivativeExact);
  plain.Fit(x, y);
  set.Fit(x, y);
  ASSERT_EQ(plain.IsSolved(), set.IsSolved());
  const std::vector<double> a = Values(plain), b = Values(set);
  for (std::size_t j = 0; j < a.size(); ++j) {
    EXPECT_EQ(std::bit_cast<std::uint64_t>(a[j]), std::bit_cast<std::uint64_t>(b[j]));
  }
}

TEST(VectorMath, IsAGuardedSettingAndFitsAlike) {
  const std::vector<double> x = Grid(300);
  const std::vector<double> y = Observations(x);
  NonlinearRegression scalar, vector;
  EXPECT_FALSE(vector.VectorMath());
  vector.SetVectorMath(true);
  EXPECT_TRUE(vector.VectorMath());
  vector.Events.IterationComplete = [&](std::int32_t, double, bool&) {
    EXPECT_TSX_CODE(vector.SetVectorMath(false), 10033);
  };
  for (const DerivativeMethodEnum method : {tsxDerivativeNumerical, tsxDerivativeExact}) {
    for (NonlinearRegression* reg : {&scalar, &vector}) {
      reg->SetDerivativeMethod(method);
      reg->DefineUserModel("a*exp(-b*x)+c*sin(d*x)");
      reg->RegressionParameters()->Item(2)->SetInitialEstimate(0.5);
      reg->RegressionParameters()->Item(4)->SetInitialEstimate(1.2);
      reg->Fit(x, y);
      ASSERT_TRUE(reg->IsSolved()) << reg->LastSolveError();
    }
    EXPECT_TRUE(vector.VectorMath());  // definitions leave it
    const std::vector<double> a = Values(scalar), b = Values(vector);
    for (std::size_t j = 0; j < a.size(); ++j)
      EXPECT_NEAR(b[j], a[j], 1e-8 * (std::fabs(a[j]) + 1.0)) << method << " " << j;
    const std::vector<double> ps = scalar.PredictArray(x), pv = vector.PredictArray(x);
    for (std::size_t i = 0; i < x.size(); ++i) EXPECT_NEAR(pv[i], ps[i], 1e-9 * (std::fabs(ps[i]) + 1.0));
  }
}

}  // namespace
}  // namespace tessarix
