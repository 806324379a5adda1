// The catalogue of several variables through MultipleNonlinearRegression:
// the IDs it takes, what a definition shows, and the fits of the rows whose
// text and arithmetic part ways.
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "support/test_helpers.hpp"
#include "tessarix/multiple/multiple_nonlinear_regression.hpp"

namespace tessarix {
namespace {

// n points of m variables, spread and positive.
Matrix Points(std::int32_t n, std::int32_t m) {
  Matrix x(n, m);
  for (std::int32_t i = 0; i < n; ++i) {
    for (std::int32_t k = 0; k < m; ++k) x(i, k) = 1.2 + std::sin(0.7 * i * (k + 1) + 1.9 * k);
  }
  return x;
}

// y = sum of p[k]*x(k) (+ p[m] when p has m+1 elements).
std::vector<double> LinearValues(const Matrix& x, const std::vector<double>& p) {
  std::vector<double> y(static_cast<std::size_t>(x.Rows()), 0.0);
  for (std::int32_t i = 0; i < x.Rows(); ++i) {
    double v = 0.0;
    for (std::int32_t k = 0; k < x.Cols(); ++k) v += p[static_cast<std::size_t>(k)] * x(i, k);
    if (p.size() > static_cast<std::size_t>(x.Cols())) v += p.back();
    y[static_cast<std::size_t>(i)] = v;
  }
  return y;
}

TEST(MultiplePredefined, IdsOutsideTheCatalogueRaiseAndDefinitionsShowTheirRows) {
  MultipleNonlinearRegression r;
  for (std::int32_t id : {0, 243, 999, 1003, 1099, 1103, 5703, 5800}) {
    EXPECT_TSX_ERROR(r.DefineInternalModel(id), 10022, "Invalid ID for pre-defined model");
  }
  r.DefineInternalModel(1302);
  EXPECT_EQ(r.ModelDefinition().Description(), "7 Parameter Exponential Polynomial");
  EXPECT_EQ(r.ModelDefinition().Y(), "exp(a*x1+b*x2+c*x3+d*x4+e*x5+f*x6+g)");
  EXPECT_EQ(r.ModelType(), tsxModelInternal);
  r.DefineInternalModel(1000);
  EXPECT_EQ(r.RegressionParameters()->Count(), 3);
  r.DefineInternalModel(1001);
  EXPECT_EQ(r.RegressionParameters()->Count(), 4);
  // The parameter x beside the variable x24.
  r.DefineInternalModel(3100);
  EXPECT_EQ(r.RegressionParameters()->Count(), 24);
  EXPECT_EQ(r.RegressionParameters()->Item("x")->Name(), "x");
  EXPECT_EQ(r.NumIndependentVariables(), 24);
  // An invalid ID leaves no model behind.
  EXPECT_TSX_CODE(r.DefineInternalModel(243), 10022);
  EXPECT_FALSE(r.IsValidModel());
}

TEST(MultiplePredefined, PowerModelFitsNoiseFreeDataFromItsEstimates) {
  MultipleNonlinearRegression r;
  r.DefineInternalModel(1);
  const Matrix x = Points(25, 2);
  std::vector<double> y(25);
  for (std::int32_t i = 0; i < 25; ++i)
    y[static_cast<std::size_t>(i)] = 2.5 * std::pow(x(i, 0), 0.7) * std::pow(x(i, 1), -1.3);
  r.Fit(x, y);
  ASSERT_TRUE(r.IsSolved()) << r.SolutionLog();
  EXPECT_NE(r.SolutionLog().find("Least Squares estimates successful"), std::string::npos);
  EXPECT_NEAR(r.RegressionParameters()->Item("a")->Value(), 2.5, 1e-9);
  EXPECT_NEAR(r.RegressionParameters()->Item("b")->Value(), 0.7, 1e-9);
  EXPECT_NEAR(r.RegressionParameters()->Item("c")->Value(), -1.3, 1e-9);
  EXPECT_NEAR(r.PredictValue(std::vector<double>{2.0, 3.0}), 2.5 * std::pow(2.0, 0.7) * std::pow(3.0, -1.3), 1e-9);
}

// The row shows "hh+x34" but fits the product: the same fit as the product
// typed as a user model, parameter by parameter, while the text shown, typed
// in, is another model.
TEST(MultiplePredefined, PlusDefectRowFitsTheProduct) {
  const std::int32_t m = 41;
  const Matrix x = Points(90, m);
  std::vector<double> p;
  for (std::int32_t k = 0; k <= m; ++k) p.push_back(0.1 * (k % 7) - 0.25);
  const std::vector<double> y = LinearValues(x, p);
  MultipleNonlinearRegression predefined;
  predefined.DefineInternalModel(4801);
  const std::string shown = predefined.ModelDefinition().Y();
  ASSERT_NE(shown.find("hh+x34"), std::string::npos);
  predefined.Fit(x, y);
  ASSERT_TRUE(predefined.IsSolved()) << predefined.SolutionLog();
  MultipleNonlinearRegression typed;
  std::string product = shown;
  product.replace(product.find("hh+x34"), 6, "hh*x34");
  typed.DefineUserModel(product);
  typed.Fit(x, y);
  ASSERT_TRUE(typed.IsSolved());
  const auto params = predefined.RegressionParameters();
  ASSERT_EQ(params->Count(), m + 1);
  for (std::int32_t k = 1; k <= params->Count(); ++k) {
    const std::string name = params->Item(k)->Name();
    EXPECT_NEAR(params->Item(k)->Value(), typed.RegressionParameters()->Item(name)->Value(), 1e-9) << name;
  }
  EXPECT_NEAR(params->Item("hh")->Value(), p[33], 1e-9);
  EXPECT_NEAR(params->Item("pp")->Value(), p[41], 1e-9);
  // hh + x34 lets hh absorb only the constant; the product cannot be fitted.
  MultipleNonlinearRegression as_shown;
  as_shown.DefineUserModel(shown);
  as_shown.Fit(x, y);
  EXPECT_GT(as_shown.SSE(), 1e-3);
}

// ID 1302 is fitted as the plain sum with a constant, started from the
// coefficients of log(y); ID 1002, the same form one size smaller, fails its
// estimates at a y of 0 and starts from the defaults.
TEST(MultiplePredefined, ExponentialRowsAndTheirEstimates) {
  const Matrix x = Points(40, 6);
  const std::vector<double> p = {0.3, -0.2, 0.1, 0.25, -0.15, 0.05, 0.4};
  std::vector<double> y = LinearValues(x, p);
  for (double& v : y) v = std::exp(v);
  MultipleNonlinearRegression r;
  r.DefineInternalModel(1302);
  r.Fit(x, y);
  EXPECT_NE(r.SolutionLog().find("Least Squares estimates successful"), std::string::npos);
  ASSERT_TRUE(r.IsSolved()) << r.SolutionLog();
  EXPECT_GT(r.SSE(), 1e-6);  // a plane through exponential data
  EXPECT_GT(std::fabs(r.RegressionParameters()->Item("g")->Value() - 0.4), 1e-3);
  // What it fits is the plane: the predictions are sums, not exponentials.
  const auto params = r.RegressionParameters();
  double plane = params->Item("g")->Value();
  for (std::int32_t k = 0; k < 6; ++k) plane += params->Item(k + 1)->Value() * x(0, k);
  EXPECT_NEAR(r.PredictValue(std::vector<double>{x(0, 0), x(0, 1), x(0, 2), x(0, 3), x(0, 4), x(0, 5)}), plane,
              1e-9 * std::fabs(plane) + 1e-12);

  const Matrix x3 = Points(20, 3);
  std::vector<double> y3 = LinearValues(x3, {0.3, -0.2, 0.1, 0.4});
  for (double& v : y3) v = std::exp(v);
  MultipleNonlinearRegression e;
  e.DefineInternalModel(1002);
  e.Fit(x3, y3);
  EXPECT_NE(e.SolutionLog().find("Least Squares estimates successful"), std::string::npos);
  ASSERT_TRUE(e.IsSolved());
  EXPECT_NEAR(e.RegressionParameters()->Item("d")->Value(), 0.4, 1e-9);
  y3[4] = 0.0;
  e.DefineInternalModel(1002);
  e.Fit(x3, y3);
  EXPECT_NE(e.SolutionLog().find("Least Squares estimates failed, using defaults"), std::string::npos);
}

}  // namespace
}  // namespace tessarix
