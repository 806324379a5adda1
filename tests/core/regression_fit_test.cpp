// The fit entry points: validation, weights, result tables.
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "external_models.hpp"
#include "support/test_helpers.hpp"
#include "tessarix/core/nonlinear_regression.hpp"
#include "tessarix/data/data_collection.hpp"
#include "tessarix/platform/number_text.hpp"

namespace tessarix {
namespace {

const std::vector<double> kX{0, 1, 2, 3, 4, 5, 6};
const std::vector<double> kY{2.01, 2.69, 3.65, 4.91, 6.65, 8.95, 12.12};
const std::vector<double> kSd{0.1, 0.1, 0.2, 0.2, 0.3, 0.5, 0.5};

std::vector<double> Values(const std::shared_ptr<DataSeries>& s) {
  std::vector<double> v;
  for (std::int32_t i = 0; i < s->NumObservations(); ++i) v.push_back(s->GetObservation(i));
  return v;
}

std::vector<std::string> ColumnNames(const DataCollection& c) {
  std::vector<std::string> names;
  for (const auto& s : c) names.push_back(s->Name() + "|" + s->RegressionKey());
  return names;
}

Variant ToVariant(const std::vector<double>& v) {
  std::vector<Variant> e;
  for (double d : v) e.emplace_back(d);
  return Variant::Array(std::move(e));
}

TEST(FitEntryPoints, ValidationStoresItsMessage) {
  NonlinearRegression reg;
  EXPECT_TSX_CODE(reg.Fit(kX, kY), 10023);
  EXPECT_EQ(reg.LastSolveError(), "The model has not yet been defined, or the current definition is invalid");
  test::DefineExponential(reg);
  const std::vector<double> six{1, 2, 3, 4, 5, 6}, five{1, 2, 3, 4, 5};
  EXPECT_TSX_ERROR(reg.Fit(five, six), 10013, "The array dimensions must be equal to perform the requested operation");
  EXPECT_EQ(reg.LastSolveError(), "The array dimensions must be equal to perform the requested operation");
  EXPECT_TSX_ERROR(reg.Fit({}, six), 10006, "Array does not contain any observations");
  EXPECT_EQ(reg.LastSolveError(), "Array does not contain any observations");
  EXPECT_TSX_CODE(reg.FitWeighted(six, six, five), 10013);
  EXPECT_TSX_CODE(reg.FitWeighted(six, six, {}), 10006);

  // The Alt forms: a non-array leaves "42", the constant, as the last error.
  EXPECT_TSX_ERROR(reg.FitAlt(Variant(1.0), ToVariant(six)), 10042, "Expected variant array");
  EXPECT_EQ(reg.LastSolveError(), "42");
  EXPECT_TSX_CODE(reg.FitWeightedAlt(ToVariant(six), ToVariant(six), Variant()), 10042);
  EXPECT_EQ(reg.LastSolveError(), "42");
  EXPECT_TSX_CODE(reg.FitAlt(Variant::Array({}), ToVariant(six)), 10006);
  EXPECT_TSX_CODE(reg.FitAlt(ToVariant(five), ToVariant(six)), 10013);
  Variant bad = ToVariant(six);
  bad.At(3) = Variant("three");
  EXPECT_TSX_ERROR(reg.FitAlt(bad, ToVariant(six)), 10001, "General Error: Type mismatch");
  EXPECT_EQ(reg.LastSolveError(), "General Error: Type mismatch");
  EXPECT_FALSE(reg.IsSolved());
  EXPECT_TRUE(reg.ResultTables()->IsReadOnly());
}

TEST(FitEntryPoints, ResultTablesOfPlainAndAltFits) {
  NonlinearRegression reg;
  test::DefineExponential(reg);
  reg.Fit(kX, kY);
  ASSERT_TRUE(reg.IsSolved());
  EXPECT_FALSE(reg.IsWeighted());
  EXPECT_EQ(reg.NumObservations(), 7);
  const auto tables = reg.ResultTables();
  EXPECT_EQ(ColumnNames(*tables), (std::vector<std::string>{"X|X", "Y|Y", "Predicted Y|", "Residuals|"}));
  EXPECT_EQ(Values(tables->Item("X")), kX);
  EXPECT_EQ(Values(tables->Item("Y")), kY);
  const std::vector<double> predicted = Values(tables->Item("Predicted Y"));
  const std::vector<double> residuals = Values(tables->Item("Residuals"));
  const double a = reg.RegressionParameters()->Item("a")->Value();
  const double b = reg.RegressionParameters()->Item("b")->Value();
  for (std::size_t i = 0; i < kX.size(); ++i) {
    EXPECT_NEAR(predicted[i], a * std::exp(b * kX[i]), 1e-12);
    EXPECT_EQ(residuals[i], kY[i] - predicted[i]);
  }
  EXPECT_TRUE(tables->IsReadOnly());
  EXPECT_TSX_CODE(tables->AddSeries("mine"), 10032);

  // The Alt form gives the same fit; a second fit refills the same tables.
  const double sse = reg.SSE();
  reg.FitAlt(ToVariant(kX), ToVariant(kY));
  ASSERT_TRUE(reg.IsSolved());
  EXPECT_EQ(reg.SSE(), sse);
  EXPECT_EQ(tables->Count(), 4);

  // A failed fit leaves them empty and the log of its own run only.
  const std::vector<double> two{1, 2};
  reg.Fit(two, two);
  EXPECT_EQ(tables->Count(), 0);
  EXPECT_EQ(reg.SolutionLog().find("Solution complete"), std::string::npos);
}

TEST(FitEntryPoints, WeightedStatisticsFromTheDataAndTheFittedValues) {
  NonlinearRegression reg;
  test::DefineExponential(reg);
  reg.FitWeighted(kX, kY, kSd);
  ASSERT_TRUE(reg.IsSolved());
  EXPECT_TRUE(reg.IsWeighted());
  const auto tables = reg.ResultTables();
  EXPECT_EQ(ColumnNames(*tables),
            (std::vector<std::string>{"X|X", "Y|Y", "Standard Deviation|SD", "Predicted Y|", "Residuals|"}));
  EXPECT_EQ(Values(tables->Item("Standard Deviation")), kSd);  // the caller's deviations, not the weights
  const std::vector<double> f = Values(tables->Item("Predicted Y"));

  const std::size_t n = kX.size();
  std::vector<double> w(n);
  double wsum = 0;
  for (std::size_t i = 0; i < n; ++i) wsum += (w[i] = 1 / (kSd[i] * kSd[i]));
  for (double& wi : w) wi /= wsum / static_cast<double>(n);
  double rsum = 0, sse = 0, ssen = 0, dw = 0, wy = 0;
  for (std::size_t i = 0; i < n; ++i) {
    const double e = kY[i] - f[i];
    rsum += e;
    sse += e * e;
    ssen += w[i] * e * e;
    wy += w[i] * kY[i];
    if (i > 0) dw += (e - (kY[i - 1] - f[i - 1])) * (e - (kY[i - 1] - f[i - 1]));
  }
  const double ybar = wy / static_cast<double>(n);
  double sst = 0;
  for (std::size_t i = 0; i < n; ++i) sst += w[i] * (kY[i] - ybar) * (kY[i] - ybar);
  const double r2 = 1 - ssen / sst;
  EXPECT_NEAR(reg.ResidualSum(), rsum, 1e-12);
  EXPECT_NEAR(reg.ResidualAverage(), rsum / 7, 1e-12);
  EXPECT_NEAR(reg.SSE(), sse, 1e-12);
  EXPECT_NEAR(reg.SSENorm(), ssen, 1e-12);
  EXPECT_NEAR(reg.SST(), sst, 1e-9);
  EXPECT_NEAR(reg.SSR(), sst - sse, 1e-9);  // weighted total less the unweighted sum, as it stands
  EXPECT_NEAR(reg.R2(), r2, 1e-12);
  EXPECT_NEAR(reg.R2Adjust(), r2 - (1.0 / 5.0) * (1 - r2), 1e-12);
  EXPECT_NEAR(reg.StandardError(), std::sqrt(ssen / 5), 1e-12);
  EXPECT_NEAR(reg.DurbinWatson(), dw / sse, 1e-9);
  EXPECT_GT(reg.ProbF(), 0.0);
  EXPECT_LT(reg.ProbF(), 1e-6);
  // With 1 and 5 degrees of freedom the upper tail of F is the two-sided p
  // of Student's t = sqrt(F) with 5, which has a closed form in
  // theta = arctan(t / sqrt(5)); the form loses digits to cancellation this
  // far in the tail, hence the loose tolerance.
  const double fstat = (sst - ssen) / (ssen / 5.0);
  const double theta = std::atan(std::sqrt(fstat / 5.0));
  const double c = std::cos(theta);
  const double tail = 1.0 - 2.0 / M_PI * (theta + std::sin(theta) * c * (1.0 + 2.0 / 3.0 * c * c));
  EXPECT_NEAR(reg.ProbF(), tail, 1e-3 * tail);
  // The merit function of the log is the weighted sum.
  EXPECT_NE(reg.SolutionLog().find("Final Merit Function = " + detail::NumberText(reg.SSENorm()).substr(0, 8)),
            std::string::npos);
}

TEST(FitEntryPoints, ZeroDeviationsWeighLikeAnUnweightedFit) {
  NonlinearRegression plain, weighted;
  test::DefineExponential(plain);
  test::DefineExponential(weighted);
  plain.Fit(kX, kY);
  const std::vector<double> zeros(kX.size(), 0.0);
  weighted.FitWeighted(kX, kY, zeros);
  ASSERT_TRUE(weighted.IsSolved());
  EXPECT_TRUE(weighted.IsWeighted());
  EXPECT_EQ(weighted.SSENorm(), plain.SSENorm());
  EXPECT_EQ(weighted.RegressionParameters()->Item(1)->Value(), plain.RegressionParameters()->Item(1)->Value());
  // A zero deviation weighs 1 before normalising: an ordinary weight, not the largest.
  std::vector<double> sd(kX.size(), 2.0);
  sd[0] = 0.0;
  weighted.FitWeightedAlt(ToVariant(kX), ToVariant(kY), ToVariant(sd));
  ASSERT_TRUE(weighted.IsSolved());
  const double w_zero = 1.0, w_other = 0.25, mean = (w_zero + 6 * w_other) / 7;
  double ssen = 0;
  const auto residuals = Values(weighted.ResultTables()->Item("Residuals"));
  for (std::size_t i = 0; i < residuals.size(); ++i) {
    ssen += (i == 0 ? w_zero : w_other) / mean * residuals[i] * residuals[i];
  }
  EXPECT_NEAR(weighted.SSENorm(), ssen, 1e-12);
}

TEST(FitEntryPoints, FitCollectionFindsTheSeriesByKey) {
  auto data = std::make_shared<DataCollection>();
  auto time = data->AddSeries("Time");
  auto height = data->AddSeries("Height");
  for (std::size_t i = 0; i < kX.size(); ++i) {
    time->AddObservation(kX[i]);
    height->AddObservation(kY[i]);
  }
  NonlinearRegression reg;
  test::DefineExponential(reg);
  EXPECT_TSX_ERROR(reg.FitCollection(*data), 10024, "Missing independent data series X");
  EXPECT_EQ(reg.LastSolveError(), "Missing independent data series X");
  time->SetRegressionKey("X");
  EXPECT_TSX_ERROR(reg.FitCollection(*data), 10026, "Missing dependent data series Y");
  height->SetRegressionKey("y");
  height->AddObservation(1.0);
  EXPECT_TSX_CODE(reg.FitCollection(*data), 10012);
  height->RemoveObservation();

  reg.FitCollection(*data);
  ASSERT_TRUE(reg.IsSolved());
  EXPECT_FALSE(reg.IsWeighted());
  EXPECT_EQ(ColumnNames(*reg.ResultTables()),
            (std::vector<std::string>{"Time|X", "Height|Y", "Predicted Height|", "Residuals|"}));

  auto sd = data->AddSeries("Error");
  for (double s : kSd) sd->AddObservation(s);
  sd->SetRegressionKey("SD");
  reg.FitCollection(*data);
  ASSERT_TRUE(reg.IsSolved());
  EXPECT_TRUE(reg.IsWeighted());
  EXPECT_EQ(ColumnNames(*reg.ResultTables()),
            (std::vector<std::string>{"Time|X", "Height|Y", "Error|SD", "Predicted Height|", "Residuals|"}));
  NonlinearRegression by_arrays;
  test::DefineExponential(by_arrays);
  by_arrays.FitWeighted(kX, kY, kSd);
  EXPECT_EQ(reg.SSENorm(), by_arrays.SSENorm());

  sd->AddObservation(1.0);
  EXPECT_TSX_CODE(reg.FitCollection(*data), 10012);
}

TEST(FitEntryPoints, NonFiniteDataFailTheRunWithoutRaising) {
  const double nan = std::nan("");
  // 1e308: its square overflows.
  for (const auto& [x, y] : {std::pair<std::vector<double>, std::vector<double>>{{1, 2, 3, 4}, {2, nan, 6.5, 8}},
                             {{1, 2, nan, 4}, {2, 4, 6.5, 8}},
                             {{HUGE_VAL, 2, 3, 4}, {2, 4, 6.5, 8}},
                             {{1, 2, 3, 4}, {2, 4, 6.5, 1e308}}}) {
    NonlinearRegression reg;
    test::DefineLine(reg, false);
    reg.Fit(x, y);
    EXPECT_FALSE(reg.IsSolved()) << testing::PrintToString(x) << testing::PrintToString(y);
    EXPECT_EQ(reg.LastSolveError(), "Solution failed");
  }
  NonlinearRegression reg;
  test::DefineLine(reg);
  EXPECT_TSX_CODE(reg.RegressionParameters()->Item(1)->SetInitialEstimate(nan), 10027);
  EXPECT_EQ(reg.RegressionParameters()->Item(1)->InitialEstimate(), 1.0);
}

}  // namespace
}  // namespace tessarix
