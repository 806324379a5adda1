// MultipleNonlinearRegression through its public surface: what differs from
// the single-variable class (shapes, keys, messages, queries along one
// variable), and fits that must come out exact or certified.
#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "support/nist_fit.hpp"
#include "support/test_helpers.hpp"
#include "tessarix/core/nonlinear_regression.hpp"
#include "tessarix/multiple/multiple_nonlinear_regression.hpp"

namespace tessarix {
namespace {

// An external plane y = a + b*x1 + c*x2 (+ d*x3 ...), with exact derivatives.
void DefineLinear(MultipleNonlinearRegression& r, std::int32_t m) {
  std::vector<std::string> names;
  for (std::int32_t k = 0; k <= m; ++k) names.push_back(std::string(1, static_cast<char>('a' + k)));
  r.Events.EvaluateExternal = [](std::vector<double>& p, std::vector<double>& x, double& y, bool& ok) {
    y = p[0];
    for (std::size_t k = 0; k < x.size(); ++k) y += p[k + 1] * x[k];
    ok = true;
  };
  r.Events.DerivativeExternal = [](std::vector<double>&, std::vector<double>& x, std::vector<double>& d, bool& ok) {
    d[0] = 1.0;
    for (std::size_t k = 0; k < x.size(); ++k) d[k + 1] = x[k];
    ok = true;
  };
  r.DefineExternalModel(m, names, true);
}

// n points of m variables on a deterministic, well spread grid.
Matrix Points(std::int32_t n, std::int32_t m, std::int32_t extra_columns = 0) {
  Matrix x(n, m + extra_columns);
  for (std::int32_t i = 0; i < n; ++i) {
    for (std::int32_t k = 0; k < m + extra_columns; ++k) x(i, k) = std::sin((1.3 + 0.37 * k) * i + k) * (k + 2.0);
  }
  return x;
}

std::vector<double> PlaneValues(const Matrix& x, const std::vector<double>& p) {
  std::vector<double> y(static_cast<std::size_t>(x.Rows()));
  for (std::int32_t i = 0; i < x.Rows(); ++i) {
    double v = p[0];
    for (std::size_t k = 1; k < p.size(); ++k) v += p[k] * x(i, static_cast<std::int32_t>(k) - 1);
    y[static_cast<std::size_t>(i)] = v;
  }
  return y;
}

TEST(MultipleRegression, ShapesAndKeysRaiseInTheirOrder) {
  MultipleNonlinearRegression r;
  EXPECT_TSX_ERROR(r.DefineExternalModel(0, std::vector<std::string>{"a"}), 10028, "Invalid argument");
  DefineLinear(r, 2);
  EXPECT_EQ(r.NumIndependentVariables(), 2);
  const std::vector<double> y3 = {1, 2, 3};
  // No second dimension, then too few columns, then no rows, then unequal counts.
  EXPECT_TSX_ERROR(r.Fit(Matrix(), y3), 10014, "Invalid array dimensions");
  EXPECT_EQ(r.LastSolveError(), "Invalid array dimensions");
  EXPECT_TSX_CODE(r.Fit(Matrix(3, 1), y3), 10014);
  EXPECT_TSX_ERROR(r.Fit(Matrix(0, 2), y3), 10006, "Array does not contain any observations");
  EXPECT_TSX_CODE(r.Fit(Matrix(4, 2), y3), 10013);
  EXPECT_TSX_CODE(r.FitWeighted(Matrix(3, 2), y3, std::vector<double>{1, 1}), 10013);
  // A one-dimensional Variant has no second dimension; a scalar is no array.
  const Variant row = Variant::Array({Variant(1.0), Variant(2.0), Variant(3.0)});
  EXPECT_TSX_CODE(r.FitAlt(row, row), 10014);
  EXPECT_TSX_CODE(r.FitAlt(Variant(1.0), row), 10042);
  EXPECT_EQ(r.LastSolveError(), "42");

  DataCollection data;
  data.AddSeries("first")->SetRegressionKey("x1");
  data.AddSeries("response")->SetRegressionKey("y");
  EXPECT_TSX_ERROR(r.FitCollection(data), 10025, "Missing independent data series X2");
  EXPECT_EQ(r.LastSolveError(), "Missing independent data series X2");
  EXPECT_FALSE(r.IsSolved());
}

TEST(MultipleRegression, ExtraColumnsAreIgnoredAndTablesNameTheVariables) {
  MultipleNonlinearRegression r;
  DefineLinear(r, 2);
  const Matrix x = Points(12, 2, 2);
  const std::vector<double> y = PlaneValues(x, {1.5, -2.0, 0.25});
  r.Fit(x, y);
  ASSERT_TRUE(r.IsSolved()) << r.SolutionLog();
  EXPECT_NE(r.SolutionLog().find("(MultipleNonlinearRegression object)"), std::string::npos);
  EXPECT_NEAR(r.RegressionParameters()->Item(1)->Value(), 1.5, 1e-12);
  EXPECT_NEAR(r.RegressionParameters()->Item(3)->Value(), 0.25, 1e-12);
  const auto tables = r.ResultTables();
  ASSERT_EQ(tables->Count(), 5);
  const std::vector<std::string> names = {"X1", "X2", "Y", "Predicted Y", "Residuals"};
  for (std::int32_t c = 0; c < 5; ++c) EXPECT_EQ(tables->Item(c + 1)->Name(), names[static_cast<std::size_t>(c)]);
  EXPECT_EQ(tables->Item(2)->RegressionKey(), "X2");
  EXPECT_DOUBLE_EQ(tables->Item(2)->GetObservation(5), x(5, 1));
}

// The statistics are the single-variable class's; what this class adds is
// the way the deviations reach them.
TEST(MultipleRegression, WeightedFitOfOneVariableIsTheSingleVariableFit) {
  MultipleNonlinearRegression r;
  DefineLinear(r, 1);
  NonlinearRegression single;
  single.DefineUserModel("a+b*x");
  const Matrix x = Points(40, 1);
  std::vector<double> column, y = PlaneValues(x, {0.5, 2.0}), sd;
  for (std::int32_t i = 0; i < 40; ++i) {
    column.push_back(x(i, 0));
    y[static_cast<std::size_t>(i)] += 0.1 * std::cos(3.1 * i);
    sd.push_back(0.5 + 0.05 * (i % 7));
  }
  r.FitWeighted(x, y, sd);
  single.FitWeighted(column, y, sd);
  ASSERT_TRUE(r.IsSolved() && single.IsSolved());
  EXPECT_TRUE(r.IsWeighted());
  for (const auto& [mine, theirs] :
       {std::pair{r.SSE(), single.SSE()},
        {r.SSENorm(), single.SSENorm()},
        {r.SST(), single.SST()},
        {r.R2(), single.R2()},
        {r.StandardError(), single.StandardError()},
        {r.RegressionParameters()->Item(2)->Value(), single.RegressionParameters()->Item(2)->Value()}}) {
    EXPECT_NEAR(mine, theirs, 1e-9 * std::fabs(theirs));
  }
  EXPECT_EQ(r.DOFError(), 38);
  EXPECT_EQ(r.ResultTables()->Item(3)->Name(), "Standard Deviation");
}

// A surface of two variables through the Variant events with the host's
// derivatives, weighted: every
// statistic follows from the observations, the deviations and the
// predictions of the result table.
TEST(MultipleRegression, WeightedSurfaceStatisticsFollowFromTheData) {
  MultipleNonlinearRegression r;
  std::int32_t widths = 0;
  r.Events.EvaluateExternalAlt = [&](Variant& p, Variant& x, double& y, bool& ok) {
    widths = x.UpperBound() + 1;
    y = p.At(0).ToDouble() * std::exp(p.At(1).ToDouble() * x.At(0).ToDouble()) +
        p.At(2).ToDouble() * x.At(1).ToDouble();
    ok = true;
  };
  r.Events.DerivativeExternalAlt = [](Variant& p, Variant& x, Variant& d, bool& ok) {
    const double e = std::exp(p.At(1).ToDouble() * x.At(0).ToDouble());
    d.At(0) = e;
    d.At(1) = p.At(0).ToDouble() * x.At(0).ToDouble() * e;
    d.At(2) = x.At(1);
    ok = x.UpperBound() == 1;
  };
  r.DefineExternalModelAlt(2, Variant::Array({Variant("a"), Variant("b"), Variant("c")}), true);
  EXPECT_EQ(r.NumIndependentVariables(), 2);
  const Matrix x = Points(30, 2, 1);
  std::vector<double> y, sd;
  for (std::int32_t i = 0; i < 30; ++i) {
    y.push_back(2.0 * std::exp(0.3 * x(i, 0)) - 0.5 * x(i, 1) + 0.05 * std::sin(2.3 * i));
    sd.push_back(0.02 + 0.01 * (i % 5));
  }
  r.FitWeighted(x, y, sd);
  ASSERT_TRUE(r.IsSolved()) << r.SolutionLog();
  EXPECT_EQ(widths, 2);
  const auto tables = r.ResultTables();
  ASSERT_EQ(tables->Count(), 6);
  EXPECT_EQ(tables->Item(4)->RegressionKey(), "SD");
  double mean_weight = 0.0;
  for (double s : sd) mean_weight += 1.0 / (s * s) / 30.0;
  double sse = 0.0, sse_norm = 0.0, residual_sum = 0.0, weighted_y = 0.0;
  for (std::int32_t i = 0; i < 30; ++i) {
    const double w = 1.0 / (sd[static_cast<std::size_t>(i)] * sd[static_cast<std::size_t>(i)]) / mean_weight;
    const double e = y[static_cast<std::size_t>(i)] - tables->Item(5)->GetObservation(i);
    EXPECT_DOUBLE_EQ(tables->Item(6)->GetObservation(i), e);
    sse += e * e;
    sse_norm += w * e * e;
    residual_sum += e;
    weighted_y += w * y[static_cast<std::size_t>(i)] / 30.0;
  }
  double sst = 0.0;
  for (std::int32_t i = 0; i < 30; ++i) {
    const double w = 1.0 / (sd[static_cast<std::size_t>(i)] * sd[static_cast<std::size_t>(i)]) / mean_weight;
    sst += w * (y[static_cast<std::size_t>(i)] - weighted_y) * (y[static_cast<std::size_t>(i)] - weighted_y);
  }
  EXPECT_NEAR(r.SSE(), sse, 1e-10 * sse);
  EXPECT_NEAR(r.SSENorm(), sse_norm, 1e-10 * sse_norm);
  EXPECT_NEAR(r.SST(), sst, 1e-10 * sst);
  EXPECT_NEAR(r.ResidualSum(), residual_sum, 1e-10);
  EXPECT_NEAR(r.R2(), 1.0 - sse_norm / sst, 1e-12);
  EXPECT_NEAR(r.StandardError(), std::sqrt(sse_norm / 27.0), 1e-10);
  EXPECT_EQ(r.DOFRegression(), 2);
  EXPECT_EQ(r.DOFTotal(), 29);
}

TEST(MultipleRegression, NoiseFreeSurfacesComeBackExactly) {
  for (const std::int32_t m : {2, 5}) {
    MultipleNonlinearRegression r;
    DefineLinear(r, m);
    std::vector<double> p(static_cast<std::size_t>(m) + 1);
    for (std::size_t k = 0; k < p.size(); ++k) p[k] = 0.75 * static_cast<double>(k) - 1.25;
    const Matrix x = Points(30, m);
    r.Fit(x, PlaneValues(x, p));
    ASSERT_TRUE(r.IsSolved()) << m;
    for (std::size_t k = 0; k < p.size(); ++k) {
      EXPECT_NEAR(r.RegressionParameters()->Item(static_cast<std::int32_t>(k) + 1)->Value(), p[k], 1e-12) << m;
    }
    EXPECT_LT(r.SSE(), 1e-20);
  }
}

TEST(MultipleRegression, QueriesRunAlongOneVariable) {
  MultipleNonlinearRegression r;
  EXPECT_TSX_CODE(r.PredictValue(std::vector<double>{1, 2}), 10023);
  DefineLinear(r, 2);
  EXPECT_TSX_CODE(r.PredictValue(std::vector<double>{1, 2}), 10029);
  const Matrix x = Points(10, 2);
  r.Fit(x, PlaneValues(x, {1.0, 2.0, -3.0}));
  ASSERT_TRUE(r.IsSolved());
  const std::vector<double> point = {0.5, 2.0};
  EXPECT_NEAR(r.PredictValue(point), 1.0 + 1.0 - 6.0, 1e-10);
  EXPECT_NEAR(r.CalculateDerivative(point, 0), 2.0, 1e-8);
  EXPECT_NEAR(r.CalculateDerivative(point, 1), -3.0, 1e-8);
  EXPECT_TSX_ERROR(r.CalculateDerivative(point, 2), 10028, "Invalid argument");
  EXPECT_TSX_CODE(r.CalculateDerivative(std::vector<double>{}, 0), 10028);
  EXPECT_NEAR(r.CalculateDerivativeAlt(Variant::Array({Variant(0.5), Variant("2")}), 1), -3.0, 1e-8);
  EXPECT_TSX_CODE(r.CalculateDerivativeAlt(Variant(0.5), 0), 10042);
  EXPECT_TSX_ERROR(r.CalculateDerivativeAlt(Variant::Array(std::vector<Variant>{}), 0), 10028, "Invalid argument");
  // y = 1 + 2*0.5 - 3*x2 = -1 at x2 = 1, along x2 with x1 held at 0.5.
  const std::vector<double> roots = r.CalculateRoots(-1.0, point, 1, -5.0, 5.0);
  ASSERT_EQ(roots.size(), 1U);
  EXPECT_NEAR(roots[0], 1.0, 1e-9);
  EXPECT_TRUE(r.CalculateRoots(100.0, point, 0, -1.0, 1.0).empty());
  EXPECT_TRUE(r.CalculateRootsAlt(100.0, Variant::Array({Variant(0.5), Variant(2.0)}), 0, -1.0, 1.0).IsEmpty());
  EXPECT_TSX_ERROR(r.CalculateRoots(0.0, point, 2, -1.0, 1.0), 10001, "General Error: Subscript out of range");
  EXPECT_TSX_CODE(r.CalculateRoots(0.0, point, 0, -1.0, 1.0, 2), 10028);
  const std::vector<double> values = r.PredictArray(Points(3, 2));
  ASSERT_EQ(values.size(), 3U);
  EXPECT_NEAR(values[2], PlaneValues(Points(3, 2), {1.0, 2.0, -3.0})[2], 1e-10);
  EXPECT_TSX_CODE(r.PredictValueAlt(Variant(1.0)), 10042);
}

TEST(MultipleRegression, UserModelsReadTheVariablesX1ToXm) {
  MultipleNonlinearRegression r;
  // A plain x is a parameter; the variables must run from x1 without a gap.
  r.DefineUserModel("x+b*x1+c*x2");
  EXPECT_EQ(r.NumIndependentVariables(), 2);
  ASSERT_EQ(r.RegressionParameters()->Count(), 3);
  EXPECT_EQ(r.RegressionParameters()->Item(3)->Name(), "x");
  EXPECT_TSX_ERROR(r.DefineUserModel("a*x1+b*x3"), 10020,
                   "Model definition error, at least one independent variable missing");
  EXPECT_FALSE(r.IsValidModel());
  EXPECT_TSX_CODE(r.DefineUserModel("a*b"), 10019);

  // A sub-definition and the data words of a variable, on a new object: the
  // records of the failed texts above stay in this one's program, and the
  // one that reads x3 fails every evaluation of a point of two.
  MultipleNonlinearRegression fresh;
  ModelDefinition d;
  d.SetY("a+b*f1+c*(x2-x2min)");
  d.SetF1("x1^2");
  r.DefineUserModelSub(d);
  r.Fit(Points(5, 2), std::vector<double>(5, 1.0));
  EXPECT_EQ(r.LastSolveError().rfind("Error evaluating the function at X = ", 0), 0U);
  fresh.DefineUserModelSub(d);
  const Matrix x = Points(25, 2);
  std::vector<double> y(25);
  double x2min = x(0, 1);
  for (std::int32_t i = 0; i < 25; ++i) x2min = std::min(x2min, x(i, 1));
  for (std::int32_t i = 0; i < 25; ++i)
    y[static_cast<std::size_t>(i)] = 1.0 + 0.5 * x(i, 0) * x(i, 0) - 2.0 * (x(i, 1) - x2min);
  fresh.Fit(x, y);
  ASSERT_TRUE(fresh.IsSolved()) << fresh.SolutionLog();
  EXPECT_NEAR(fresh.RegressionParameters()->Item("c")->Value(), -2.0, 1e-9);
  EXPECT_NE(fresh.SolutionLog().find("user defined model a+b*f1+c*(x2-x2min)"), std::string::npos);

  // The local form reads decimal commas and ";" between arguments.
  const test::ScopedSeparators comma(test::DecimalCommaSeparators());
  r.DefineUserModel("a*max(x1;x2)+0,5", tsxLocaleLocal);
  EXPECT_EQ(r.ModelDefinition().Y(), "a*max(x1,x2)+0.5");
  EXPECT_EQ(r.NumIndependentVariables(), 2);
}

// log(y) = b1 - b2*x1*exp(-b3*x2), as an external model and as text, with
// numerical derivatives, from both certified starts.
TEST(MultipleRegression, NistNelsonReachesTheCertifiedValues) {
  const test::NistProblem p = test::ReadNistProblem("Nelson");
  const test::NelsonData nelson = test::ReadNelson();
  ASSERT_EQ(nelson.log_y.size(), 128U);
  for (std::size_t run = 0; run < 4; ++run) {
    const std::size_t start = run % 2;
    MultipleNonlinearRegression r;
    if (run < 2) {
      r.Events.EvaluateExternal = [](std::vector<double>& b, std::vector<double>& v, double& y, bool& ok) {
        y = b[0] - b[1] * v[0] * std::exp(-b[2] * v[1]);
        ok = std::isfinite(y);
      };
      r.DefineExternalModel(2, std::vector<std::string>{"b1", "b2", "b3"});
    } else {
      r.DefineUserModel("b1-b2*x1*exp(-b3*x2)");
    }
    test::SetNistStart(r, p.starts[start]);
    r.Fit(nelson.x, nelson.log_y);
    const test::NistScore score = test::ScoreNistFit(r, p);
    ASSERT_TRUE(score.solved) << r.SolutionLog();
    EXPECT_GE(score.value_lre, 6.0) << "start " << start + 1;
    EXPECT_GE(score.sd_lre, 4.0) << "start " << start + 1;
    EXPECT_GE(score.rss_lre, 6.0) << "start " << start + 1;
  }
}

}  // namespace
}  // namespace tessarix
