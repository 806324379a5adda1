// What a solved fit tells beyond its statistics: confidence and prediction
// bands, information criteria, correlations of the parameters and the report,
// against the closed forms of linear regression and against values
// recomputed here for a nonlinear model.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numbers>
#include <string>
#include <vector>

#include "external_models.hpp"
#include "support/test_helpers.hpp"
#include "tessarix/core/multiple_nonlinear_regression.hpp"
#include "tessarix/core/nonlinear_regression.hpp"
#include "tessarix/numerics/distributions.hpp"

namespace tessarix {
namespace {

// Deterministic scatter about zero.
double Scatter(int i) { return 0.3 * std::sin(1.7 * i + 0.4); }

struct Line {
  std::vector<double> x, y;
};

Line NoisyLine(double x0, int n) {
  Line data;
  for (int i = 0; i < n; ++i) {
    data.x.push_back(x0 + i);
    data.y.push_back(2.0 + 0.5 * data.x.back() + Scatter(i));
  }
  return data;
}

// The value of a "  Name   value" line of a report; empty when there is none.
std::string ReportValue(const std::string& report, const std::string& name) {
  const auto at = report.find("\n  " + name + " ");
  if (at == std::string::npos) return "";
  const auto start = report.find_first_not_of(' ', at + 3 + name.size());
  return report.substr(start, report.find('\n', start) - start);
}

// g^T C g over the parameters' unscaled covariance: the squared band of a
// unit residual deviation.
template <std::size_t N>
double GradientQuadratic(const RegressionParameters& params, const double (&g)[N]) {
  double q = 0.0;
  for (std::size_t j = 0; j < N; ++j) {
    for (std::size_t k = 0; k < N; ++k) {
      q += g[j] * params.CalculateCovariance(static_cast<std::int32_t>(j + 1), static_cast<std::int32_t>(k + 1)) * g[k];
    }
  }
  return q;
}

void ExpectRelative(double actual, double expected, double tolerance, const std::string& what) {
  EXPECT_NEAR(actual, expected, tolerance * std::fabs(expected)) << what;
}

// Ordinary least squares of a straight line: the delta method is exact here,
// and the bands are the classic ones, whichever method found the fit.
class FitSummaryOfEachMethod : public ::testing::TestWithParam<SolverMethodEnum> {};
INSTANTIATE_TEST_SUITE_P(Methods, FitSummaryOfEachMethod, ::testing::Values(tsxSolverMarquardt, tsxSolverTrustRegion));

TEST_P(FitSummaryOfEachMethod, StraightLineMatchesTheClosedForms) {
  const Line data = NoisyLine(1.0, 10);
  NonlinearRegression reg;
  reg.SetSolverMethod(GetParam());
  reg.DefineUserModel("a+b*x");
  reg.Fit(data.x, data.y);
  ASSERT_TRUE(reg.IsSolved()) << reg.LastSolveError();

  const double n = 10.0;
  double xbar = 0.0, ybar = 0.0;
  for (int i = 0; i < 10; ++i) xbar += data.x[i] / n, ybar += data.y[i] / n;
  double sxx = 0.0, sxy = 0.0;
  for (int i = 0; i < 10; ++i) sxx += (data.x[i] - xbar) * (data.x[i] - xbar), sxy += (data.x[i] - xbar) * data.y[i];
  const double slope = sxy / sxx, intercept = ybar - slope * xbar;
  double sse = 0.0;
  for (int i = 0; i < 10; ++i) sse += std::pow(data.y[i] - intercept - slope * data.x[i], 2);
  const double s = std::sqrt(sse / (n - 2));
  // The library's quantile, which agrees with the tables to its four decimals.
  const double t95 = detail::StudentTCritical(0.975, 8);
  EXPECT_NEAR(t95, 2.3060, 1e-4);
  const double t99 = detail::StudentTCritical(0.995, 8);
  EXPECT_NEAR(t99, 3.3554, 1e-4);

  for (const double x0 : {xbar, 0.0, 4.3, 15.0}) {
    const double leverage = 1.0 / n + (x0 - xbar) * (x0 - xbar) / sxx;
    ExpectRelative(reg.ConfidenceBand(x0), t95 * s * std::sqrt(leverage), 1e-8, "confidence at " + std::to_string(x0));
    ExpectRelative(reg.PredictionBand(x0), t95 * s * std::sqrt(1.0 + leverage), 1e-8,
                   "prediction at " + std::to_string(x0));
    ExpectRelative(reg.ConfidenceBand(x0, 99.0), t99 * s * std::sqrt(leverage), 1e-8, "99% at " + std::to_string(x0));
  }

  // -2 ln L = n (ln(2 pi) + ln(SSE / n) + 1); k = 2 parameters + the variance.
  const double m2ll = n * (std::log(2.0 * std::numbers::pi) + std::log(sse / n) + 1.0);
  ExpectRelative(reg.AIC(), m2ll + 6.0, 1e-9, "AIC");
  ExpectRelative(reg.AICc(), m2ll + 6.0 + 24.0 / 6.0, 1e-9, "AICc");
  ExpectRelative(reg.BIC(), m2ll + 3.0 * std::log(n), 1e-9, "BIC");

  const Matrix r = reg.CorrelationMatrix();
  ASSERT_EQ(r.Rows(), 2);
  ASSERT_EQ(r.Cols(), 2);
  EXPECT_EQ(r(0, 0), 1.0);
  EXPECT_EQ(r(1, 1), 1.0);
  const double expected_r = -xbar / std::sqrt(sxx / n + xbar * xbar);
  EXPECT_NEAR(r(0, 1), expected_r, 1e-9);
  EXPECT_EQ(r(0, 1), r(1, 0));
}

// y = a exp(b x): the band recomputed here from the analytic gradient and
// the fit's own covariance; the pre-defined form of the same model (analytic
// derivatives inside the library) gives the same band.
TEST(FitSummary, NonlinearBandsFollowTheGradientThroughTheCovariance) {
  std::vector<double> x, y;
  for (int i = 0; i < 12; ++i) {
    x.push_back(0.25 * i);
    y.push_back(3.0 * std::exp(0.4 * x.back()) * (1.0 + 0.02 * Scatter(i)));
  }
  NonlinearRegression text, predefined;
  text.DefineUserModel("a*exp(b*x)");
  predefined.DefineInternalModel(36);
  ASSERT_EQ(predefined.ModelDefinition().Y(), "a*exp(b*x)");
  text.Fit(x, y);
  predefined.Fit(x, y);
  ASSERT_TRUE(text.IsSolved() && predefined.IsSolved());

  const auto params = text.RegressionParameters();
  const double a = params->Item("a")->Value(), b = params->Item("b")->Value();
  const double t = detail::StudentTCritical(0.95, text.DOFError());  // 90%
  for (const double x0 : {-1.0, 0.0, 1.3, 2.75, 5.0}) {
    const double g[2] = {std::exp(b * x0), a * x0 * std::exp(b * x0)};
    const double q = GradientQuadratic(*params, g);
    const double s = text.StandardError();
    const std::string at = " at " + std::to_string(x0);
    ExpectRelative(text.ConfidenceBand(x0, 90.0), t * s * std::sqrt(q), 1e-6, "text confidence" + at);
    ExpectRelative(text.PredictionBand(x0, 90.0), t * s * std::sqrt(1.0 + q), 1e-6, "text prediction" + at);
    ExpectRelative(predefined.ConfidenceBand(x0, 90.0), text.ConfidenceBand(x0, 90.0), 1e-5, "pre-defined" + at);
  }
}

TEST(FitSummary, SeveralVariablesTakeAPoint) {
  Matrix x(9, 2);
  std::vector<double> y;
  for (int i = 0; i < 9; ++i) {
    x(i, 0) = i % 3;
    x(i, 1) = i / 3 + 0.5 * (i % 2);
    y.push_back(1.0 + 2.0 * x(i, 0) - 0.7 * x(i, 1) + Scatter(i));
  }
  MultipleNonlinearRegression reg;
  reg.DefineUserModel("a*x1+b*x2+c");
  reg.Fit(x, y);
  ASSERT_TRUE(reg.IsSolved()) << reg.LastSolveError();
  const auto params = reg.RegressionParameters();
  const double t = detail::StudentTCritical(0.975, reg.DOFError());
  const std::vector<double> point{1.5, -2.0, 99.0};  // the third value is not read
  const double q = GradientQuadratic(*params, {1.5, -2.0, 1.0});
  ExpectRelative(reg.ConfidenceBand(point), t * reg.StandardError() * std::sqrt(q), 1e-8, "confidence");
  ExpectRelative(reg.PredictionBand(point), t * reg.StandardError() * std::sqrt(1.0 + q), 1e-8, "prediction");
  const std::vector<double> short_point{1.5};
  EXPECT_TSX_ERROR(reg.ConfidenceBand(short_point), 10028, "Invalid argument");
  EXPECT_TSX_CODE(reg.PredictionBand(point, 0.0), 10028);
}

TEST(FitSummary, GuardsAndTheFailuresOfEachMember) {
  NonlinearRegression reg;
  EXPECT_TSX_CODE(reg.ConfidenceBand(1.0), 10023);
  EXPECT_TSX_CODE(reg.PredictionBand(1.0), 10023);
  EXPECT_TSX_CODE(reg.AIC(), 10023);
  EXPECT_TSX_CODE(reg.CorrelationMatrix(), 10023);
  EXPECT_TSX_CODE(reg.Report(), 10023);
  reg.DefineUserModel("a*log(x)+b");
  const char* const not_solved = "The model is not solved, the requested property is not available";
  EXPECT_TSX_ERROR(reg.ConfidenceBand(1.0, 0.0), 10029, not_solved);  // before the level
  EXPECT_TSX_CODE(reg.PredictionBand(1.0), 10029);
  EXPECT_TSX_CODE(reg.AICc(), 10029);
  EXPECT_TSX_CODE(reg.BIC(), 10029);
  EXPECT_TSX_CODE(reg.CorrelationMatrix(), 10029);
  EXPECT_TSX_CODE(reg.Report(), 10029);

  const std::vector<double> x{1, 2, 3, 4, 5, 6}, y{0.1, 1.5, 2.1, 2.9, 3.2, 3.6};
  reg.Fit(x, y);
  ASSERT_TRUE(reg.IsSolved());
  for (const double level : {0.0, 100.0, -5.0, std::numeric_limits<double>::quiet_NaN()}) {
    EXPECT_TSX_ERROR(reg.ConfidenceBand(2.0, level), 10028, "Invalid argument");
    EXPECT_TSX_CODE(reg.PredictionBand(2.0, level), 10028);
    EXPECT_TSX_CODE(reg.Report(level), 10028);
  }
  // log(x) fails at x <= 0.
  EXPECT_TSX_ERROR(reg.ConfidenceBand(-1.0), 10030, "Error evaluating the model");
  EXPECT_TSX_CODE(reg.PredictionBand(0.0), 10030);
  EXPECT_GT(reg.ConfidenceBand(0.5), 0.0);

  // Three points for a line and its variance: no observation to spare for AICc.
  NonlinearRegression small;
  small.DefineUserModel("a+b*x");
  const std::vector<double> x3{1, 2, 3}, y3{1.0, 2.2, 2.9};
  small.Fit(x3, y3);
  ASSERT_TRUE(small.IsSolved());
  EXPECT_TRUE(std::isfinite(small.AIC()));
  EXPECT_TSX_ERROR(small.AICc(), 10001, "General Error: Invalid procedure call or argument");

  // A perfect fit has no finite likelihood; its report shows no criterion.
  NonlinearRegression perfect;
  perfect.DefineUserModel("a+b*x");
  const std::vector<double> yp{3, 5, 7};
  perfect.Fit(x3, yp);
  ASSERT_TRUE(perfect.IsSolved());
  EXPECT_TSX_ERROR(perfect.AIC(), 10001, "General Error: Invalid procedure call or argument");
  EXPECT_TSX_CODE(perfect.BIC(), 10001);
  EXPECT_EQ(ReportValue(perfect.Report(), "AIC"), "-") << perfect.Report();
  EXPECT_EQ(ReportValue(perfect.Report(), "R2"), "1");
  EXPECT_EQ(perfect.ConfidenceBand(2.0), 0.0);
}

// A fixed parameter takes no part: k, its correlations and its band term.
TEST(FitSummary, FixedParametersCountForNothing) {
  const Line data = NoisyLine(1.0, 10);
  NonlinearRegression free_fit, fixed;
  free_fit.DefineUserModel("a+b*x");
  fixed.DefineUserModel("a+b*x+c*x^2");
  fixed.RegressionParameters()->Item("c")->SetInitialEstimate(0.0);
  fixed.RegressionParameters()->Item("c")->SetInitialEstimateType(tsxEstimateConstant);
  free_fit.Fit(data.x, data.y);
  fixed.Fit(data.x, data.y);
  ASSERT_TRUE(free_fit.IsSolved() && fixed.IsSolved());
  EXPECT_NEAR(fixed.AIC(), free_fit.AIC(), 1e-9 * std::fabs(free_fit.AIC()));
  EXPECT_NEAR(fixed.ConfidenceBand(3.5), free_fit.ConfidenceBand(3.5), 1e-9);
  const Matrix r = fixed.CorrelationMatrix();
  ASSERT_EQ(r.Rows(), 3);
  for (int k = 0; k < 3; ++k) {
    EXPECT_EQ(r(2, k), 0.0);
    EXPECT_EQ(r(k, 2), 0.0);
  }
  EXPECT_EQ(r(1, 1), 1.0);
}

TEST(FitSummary, ReportTellsModelParametersCriteriaAndCorrelations) {
  // Far from x = 0 the intercept and the slope are almost one: flagged.
  const Line data = NoisyLine(100.0, 10);
  NonlinearRegression reg;
  reg.DefineInternalModel(1);
  reg.Fit(data.x, data.y);
  ASSERT_TRUE(reg.IsSolved()) << reg.LastSolveError();
  const std::string report = reg.Report(90.0);
  for (const std::string& part : std::vector<std::string>{
           "Model         y = " + reg.ModelDefinition().Y() + "  (model 1", "Observations  10, unweighted\n",
           "Convergence   Solution converged", "90% CI +/-", "AICc", "Correlations of the parameters",
           "! |r| > 0.99: a and b (-0.99", "Root mean square"}) {
    EXPECT_NE(report.find(part), std::string::npos) << "missing '" << part << "' in\n" << report;
  }
  EXPECT_LT(reg.CorrelationMatrix()(0, 1), -0.99);
  EXPECT_NEAR(std::stod(ReportValue(report, "AIC")), reg.AIC(), 1e-8 * std::fabs(reg.AIC()));
  {
    test::ScopedSeparators comma(test::DecimalCommaSeparators());
    const std::string local = reg.Report();
    EXPECT_NE(local.find("(-0,99"), std::string::npos) << local;
    EXPECT_EQ(local.find("(-0.99"), std::string::npos);
  }
  // Under 0.99 nothing is flagged, and one fitted parameter has no table.
  const Line near = NoisyLine(1.0, 10);
  NonlinearRegression mild, single;
  mild.DefineUserModel("a+b*x");
  mild.Fit(near.x, near.y);
  EXPECT_EQ(mild.Report().find("!"), std::string::npos);
  single.DefineUserModel("b*x");
  single.Fit(near.x, near.y);
  ASSERT_TRUE(single.IsSolved());
  EXPECT_EQ(single.Report().find("Correlations"), std::string::npos);
}

}  // namespace
}  // namespace tessarix
