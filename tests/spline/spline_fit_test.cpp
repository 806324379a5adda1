// CubicSpline fits: the solution against an independent solve, the natural
// ends, averaging of equal X, input order, too few points, tables, log and
// every error of the fit forms.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <fstream>
#include <limits>
#include <sstream>
#include <string>
#include <vector>

#include "support/test_helpers.hpp"
#include "tessarix/data/data_collection.hpp"
#include "tessarix/spline/cubic_spline.hpp"

namespace tessarix {
namespace {

std::vector<double> Column(const CubicSpline& s, std::int32_t position) {
  return s.ResultTables()->Item(position)->ExportToArray();
}

// The second derivative at knot i (1..m) from the cubic pieces: 2b of the
// interval that starts there, and at the last knot the end of the last piece.
double SecondDerivative(CubicSpline& s, std::int32_t i) {
  const std::int32_t m = s.NumIntervals() + 1;
  if (i < m) return 2.0 * s.GetCubicByInterval(i).b();
  const CubicInformation last = s.GetCubicByInterval(m - 1);
  const double h = last.UpperBound() - last.LowerBound();
  return 6.0 * last.a() * h + 2.0 * last.b();
}

// The natural spline's moment equations as a dense system, solved by Gaussian
// elimination with partial pivoting: an independent route to y2.
std::vector<double> DenseNaturalSpline(const std::vector<double>& x, const std::vector<double>& y) {
  const std::size_t m = x.size();
  std::vector<std::vector<double>> a(m, std::vector<double>(m + 1, 0.0));
  a[0][0] = 1.0;
  a[m - 1][m - 1] = 1.0;
  for (std::size_t i = 1; i + 1 < m; ++i) {
    const double h0 = x[i] - x[i - 1], h1 = x[i + 1] - x[i];
    a[i][i - 1] = h0;
    a[i][i] = 2.0 * (h0 + h1);
    a[i][i + 1] = h1;
    a[i][m] = 6.0 * ((y[i + 1] - y[i]) / h1 - (y[i] - y[i - 1]) / h0);
  }
  for (std::size_t c = 0; c < m; ++c) {
    std::size_t pivot = c;
    for (std::size_t r = c + 1; r < m; ++r) {
      if (std::fabs(a[r][c]) > std::fabs(a[pivot][c])) pivot = r;
    }
    std::swap(a[c], a[pivot]);
    for (std::size_t r = 0; r < m; ++r) {
      if (r == c) continue;
      const double f = a[r][c] / a[c][c];
      for (std::size_t k = c; k <= m; ++k) a[r][k] -= f * a[c][k];
    }
  }
  std::vector<double> y2(m);
  for (std::size_t i = 0; i < m; ++i) y2[i] = a[i][m] / a[i][i];
  return y2;
}

TEST(CubicSplineFit, MatchesAnIndependentSolveWithNaturalEnds) {
  const std::vector<double> x{0, 0.5, 1.7, 3, 4.2, 6};
  const std::vector<double> y{1, -0.3, 2.2, 0.4, 1.9, -1};
  CubicSpline s;
  s.Fit(x, y);
  ASSERT_TRUE(s.IsSolved());
  EXPECT_EQ(s.NumIntervals(), 5);
  const std::vector<double> expected = DenseNaturalSpline(x, y);
  for (std::int32_t i = 1; i <= 6; ++i) {
    EXPECT_NEAR(SecondDerivative(s, i), expected[static_cast<std::size_t>(i) - 1], 1e-12) << "knot " << i;
  }
  // Natural ends: no curvature at the first knot (exactly) and at the last.
  EXPECT_EQ(s.GetCubicByInterval(1).b(), 0.0);
  EXPECT_NEAR(SecondDerivative(s, 6), 0.0, 1e-12);
  // Through every knot exactly; slopes continuous at the inner knots.
  for (std::size_t i = 0; i < x.size(); ++i) EXPECT_EQ(s.PredictValue(x[i]), y[i]);
  for (std::int32_t i = 1; i < 5; ++i) {
    const CubicInformation left = s.GetCubicByInterval(i), right = s.GetCubicByInterval(i + 1);
    const double h = left.UpperBound() - left.LowerBound();
    EXPECT_NEAR(3 * left.a() * h * h + 2 * left.b() * h + left.c(), right.c(), 1e-12);
  }
  // The residuals of points without duplicates are 0.
  for (double r : Column(s, 4)) EXPECT_EQ(r, 0.0);
}

TEST(CubicSplineFit, StraightLineIsReproducedExactly) {
  // Unequal spacing, unsorted; every slope is exactly 2, so no curvature.
  const std::vector<double> x{4, 0, 8, 1, 3};
  std::vector<double> y;
  for (double v : x) y.push_back(2 * v + 1);
  CubicSpline s;
  s.Fit(x, y);
  ASSERT_TRUE(s.IsSolved());
  for (std::int32_t i = 1; i <= 5; ++i) EXPECT_EQ(SecondDerivative(s, i), 0.0);
  for (double t : {0.0, 0.25, 2.5, 3.75, 7.125, 8.0}) EXPECT_EQ(s.PredictValue(t), 2 * t + 1);
  EXPECT_NEAR(s.PredictValue(0.1), 1.2, 1e-15);
}

TEST(CubicSplineFit, EqualXAreAveragedAndTablesKeepTheInputOrder) {
  CubicSpline s;
  s.Fit(std::vector<double>{2, 1, 3, 1}, std::vector<double>{0, 2, 1, 4});
  ASSERT_TRUE(s.IsSolved());
  EXPECT_EQ(s.NumObservations(), 4);
  EXPECT_EQ(s.NumIntervals(), 2);
  EXPECT_EQ(s.PredictValue(1), 3.0);  // the mean of 2 and 4
  EXPECT_EQ(SecondDerivative(s, 2), 6.0);
  EXPECT_NE(s.SolutionLog().find("\r\nAveraging duplicate points detected\r\nSolution complete\r\n"),
            std::string::npos);
  EXPECT_EQ(Column(s, 1), (std::vector<double>{2, 1, 3, 1}));
  EXPECT_EQ(Column(s, 2), (std::vector<double>{0, 2, 1, 4}));
  EXPECT_EQ(Column(s, 3), (std::vector<double>{0, 3, 1, 3}));
  EXPECT_EQ(Column(s, 4), (std::vector<double>{0, -1, 0, 1}));
  std::vector<std::string> names;
  for (const auto& series : *s.ResultTables()) names.push_back(series->Name() + "|" + series->RegressionKey());
  EXPECT_EQ(names, (std::vector<std::string>{"X|X", "Y|Y", "Predicted Y|", "Residuals|"}));
  EXPECT_TRUE(s.ResultTables()->IsReadOnly());
  EXPECT_TSX_CODE(s.ResultTables()->Item(1)->AddObservation(1), 10032);
}

TEST(CubicSplineFit, UnsortedInputGivesTheSameSplineBitForBit) {
  const std::vector<double> x{0.3, 1.1, 2.0, 2.9, 4.4, 5.0, 7.5, 8.1, 9.0};
  const std::vector<double> y{1.5, -2.0, 0.25, 3.0, 2.5, -1.0, 0.0, 4.0, 1.0};
  const std::vector<double> xs(x.rbegin(), x.rend()), ys(y.rbegin(), y.rend());
  CubicSpline sorted, shuffled;
  sorted.Fit(x, y);
  shuffled.Fit(xs, ys);
  for (std::int32_t i = 1; i <= 8; ++i) {
    const CubicInformation p = sorted.GetCubicByInterval(i), q = shuffled.GetCubicByInterval(i);
    EXPECT_EQ(p.a(), q.a());
    EXPECT_EQ(p.b(), q.b());
    EXPECT_EQ(p.c(), q.c());
    EXPECT_EQ(p.d(), q.d());
  }
  EXPECT_EQ(Column(shuffled, 1), xs);
}

TEST(CubicSplineFit, TooFewDistinctPointsFailWithoutRaising) {
  const std::string failed = "Solution failed: not enough data points";
  CubicSpline s;
  s.Fit(std::vector<double>{0, 1, 2}, std::vector<double>{0, 1, 0});
  ASSERT_TRUE(s.IsSolved());
  s.Fit(std::vector<double>{0, 1}, std::vector<double>{1, 2});
  EXPECT_FALSE(s.IsSolved());
  EXPECT_EQ(s.LastSolveError(), failed);
  EXPECT_EQ(s.ResultTables()->Count(), 0);
  EXPECT_TSX_CODE(s.NumObservations(), 10029);
  const std::string log = s.SolutionLog();
  EXPECT_EQ(log.substr(log.size() - failed.size() - 4), failed + "\r\n\r\n");

  // Three points of which two share X: the log tells of both steps.
  s.Fit(std::vector<double>{5, 5, 6}, std::vector<double>{1, 2, 3});
  EXPECT_FALSE(s.IsSolved());
  EXPECT_NE(s.SolutionLog().find("Averaging duplicate points detected\r\n" + failed), std::string::npos);

  // A collection's fit reports no error: only the log says why.
  DataCollection data;
  data.AddSeries("a")->ImportFromArray(std::vector<double>{0, 1});
  data.AddSeries("b")->ImportFromArray(std::vector<double>{0, 1});
  data.Item("a")->SetRegressionKey("X");
  data.Item("b")->SetRegressionKey("y");
  s.FitCollection(data);
  EXPECT_FALSE(s.IsSolved());
  EXPECT_EQ(s.LastSolveError(), "No errors");
  EXPECT_NE(s.SolutionLog().find(failed), std::string::npos);
}

TEST(CubicSplineFit, CollectionNamesTheFirstColumnsAndIgnoresDeviations) {
  DataCollection data;
  data.AddSeries("Time")->ImportFromArray(std::vector<double>{3, 1, 2});
  data.AddSeries("Level")->ImportFromArray(std::vector<double>{9, 1, 4});
  data.AddSeries("Error")->ImportFromArray(std::vector<double>{1, 1, 1});
  data.Item("Time")->SetRegressionKey("X");  // found although in capitals
  data.Item("Level")->SetRegressionKey("y");
  data.Item("Error")->SetRegressionKey("sd");
  CubicSpline s;
  s.FitCollection(data);
  ASSERT_TRUE(s.IsSolved());
  std::vector<std::string> names;
  for (const auto& series : *s.ResultTables()) names.push_back(series->Name() + "|" + series->RegressionKey());
  EXPECT_EQ(names, (std::vector<std::string>{"Time|X", "Level|Y", "Predicted Y|", "Residuals|"}));
  EXPECT_EQ(Column(s, 3), (std::vector<double>{9, 1, 4}));

  data.Item("Error")->AddObservation(2);
  EXPECT_TSX_ERROR(s.FitCollection(data), 10012,
                   "The number of observations for included DataSeries objects must be equal to perform the requested "
                   "operation");
  data.Item("Error")->SetRegressionKey("");
  data.Item("Level")->AddObservation(2);
  EXPECT_TSX_CODE(s.FitCollection(data), 10012);
  EXPECT_EQ(s.LastSolveError(),
            std::string("The number of observations for included DataSeries objects must be equal to "
                        "perform the requested operation"));
  data.Item("Level")->SetRegressionKey("");
  EXPECT_TSX_ERROR(s.FitCollection(data), 10026, "Missing dependent data series Y");
  EXPECT_EQ(s.LastSolveError(), "Missing dependent data series Y");
  data.Item("Time")->SetRegressionKey("");
  EXPECT_TSX_ERROR(s.FitCollection(data), 10024, "Missing independent data series X");
  EXPECT_EQ(s.LastSolveError(), "Missing independent data series X");

  // A host series whose name a table column needs fails the fit whole.
  DataCollection clash;
  clash.AddSeries("Residuals")->ImportFromArray(std::vector<double>{1, 2, 3});
  clash.AddSeries("y")->ImportFromArray(std::vector<double>{1, 2, 3});
  clash.Item(1)->SetRegressionKey("x");
  clash.Item(2)->SetRegressionKey("y");
  EXPECT_TSX_ERROR(s.FitCollection(clash), 10001,
                   "General Error: The specified Name is already associated with an object in the DataCollection");
  EXPECT_FALSE(s.IsSolved());
  EXPECT_EQ(s.ResultTables()->Count(), 0);
}

Variant Array(const std::vector<Variant>& v) { return Variant::Array(v); }

TEST(CubicSplineFit, ArgumentErrorsComeInOrderWithTheirTexts) {
  const std::vector<double> three{1, 2, 3}, four{1, 2, 3, 4}, none;
  CubicSpline s;
  EXPECT_TSX_ERROR(s.Fit(none, none), 10006, "Array does not contain any observations");
  EXPECT_EQ(s.LastSolveError(), "Array does not contain any observations");
  EXPECT_TSX_CODE(s.Fit(three, none), 10006);
  EXPECT_TSX_ERROR(s.Fit(three, four), 10013, "The array dimensions must be equal to perform the requested operation");
  EXPECT_EQ(s.LastSolveError(), "The array dimensions must be equal to perform the requested operation");
  // The log begins before the arguments are looked at.
  EXPECT_NE(s.SolutionLog().find("Beginning solution for Cubic Spline\r\n"), std::string::npos);

  // Alt forms: a non-array stores nothing; then emptiness, then lengths.
  EXPECT_TSX_ERROR(s.FitAlt(Variant(1.0), Array({1, 2, 3})), 10042, "Expected variant array");
  EXPECT_EQ(s.LastSolveError(), "No errors");
  EXPECT_TSX_CODE(s.FitAlt(Array({1, 2, 3}), Variant()), 10042);
  EXPECT_TSX_CODE(s.FitAlt(Variant::Array({}), Variant::Array({})), 10006);
  EXPECT_TSX_CODE(s.FitAlt(Array({1, 2, 3}), Array({1, 2})), 10013);
  EXPECT_TSX_ERROR(s.FitAlt(Array({1, 2, 3}), Array({1, "two", 3})), 10001, "General Error: Type mismatch");
  EXPECT_EQ(s.LastSolveError(), "General Error: Type mismatch");
  s.FitAlt(Array({0, 2, 1}), Array({0, "0", true}));
  ASSERT_TRUE(s.IsSolved());
  EXPECT_EQ(s.PredictValue(1), -1.0);
}

TEST(CubicSplineFit, ValuesThatAreNotFiniteOrTooLargeLeaveNoSolution) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const double inf = std::numeric_limits<double>::infinity();
  struct Case {
    std::vector<double> x, y;
    const char* message;
  };
  const std::vector<Case> cases{
      {{0, nan, 2}, {0, 1, 0}, "General Error: Invalid procedure call or argument"},
      {{0, 1, 2}, {0, -inf, 0}, "General Error: Overflow"},
      {{-1e308, 0, 1e308}, {0, 1, 0}, "General Error: Overflow"},  // the span of x
      {{0, 1e155, 2e155}, {0, 1, 0}, "General Error: Overflow"},   // the square of a knot interval
      {{0, 1, 2}, {0, 1.7e308, -1.7e308}, "General Error: Overflow"},
      {{0, 0, 1, 2}, {1.7e308, 1.7e308, 0, 1}, "General Error: Overflow"},  // averaging
  };
  for (const Case& c : cases) {
    CubicSpline s;
    s.Fit(std::vector<double>{0, 1, 2}, std::vector<double>{0, 1, 0});
    EXPECT_TSX_ERROR(s.Fit(c.x, c.y), 10001, c.message);
    EXPECT_EQ(s.LastSolveError(), c.message);
    EXPECT_FALSE(s.IsSolved());
    EXPECT_EQ(s.ResultTables()->Count(), 0);
    EXPECT_TSX_CODE(s.PredictValue(1), 10029);
  }
}

TEST(CubicSplineFit, LogIsSavedAsItStandsAndSurvivesClearFit) {
  CubicSpline s;
  s.Fit(std::vector<double>{0, 1, 2}, std::vector<double>{0, 1, 0});
  std::istringstream lines(s.SolutionLog());
  std::string line;
  std::getline(lines, line);
  EXPECT_EQ(line, "Tessarix version 2.0.43 (CubicSpline object)\r");
  std::getline(lines, line);
  EXPECT_EQ(line.rfind("Date/Time: ", 0), 0u);
  EXPECT_EQ(line.size(), std::string("Date/Time: 2026-11-22 14:05:09\r").size());
  const std::string rest = s.SolutionLog().substr(s.SolutionLog().find("Beginning"));
  EXPECT_EQ(rest, "Beginning solution for Cubic Spline\r\nSolution complete\r\n\r\n");

  s.ClearFit();
  EXPECT_FALSE(s.IsSolved());
  EXPECT_EQ(s.ResultTables()->Count(), 0);
  const std::string path = ::testing::TempDir() + "spline_log.txt";
  s.SaveLog(path);
  s.SaveLog(path, true);
  std::ifstream file(path, std::ios::binary);
  const std::string saved((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  EXPECT_EQ(saved, s.SolutionLog() + "\r\n" + s.SolutionLog() + "\r\n");
  std::remove(path.c_str());

  CubicSpline fresh;
  EXPECT_EQ(fresh.LastSolveError(), "No errors");
  EXPECT_TSX_ERROR(fresh.SaveLog(::testing::TempDir() + "no/such/folder/log.txt"), 10010, "Error writing to file");
  fresh.SetTag("kept");
  fresh.ClearFit();
  EXPECT_EQ(fresh.Tag(), "kept");
}

}  // namespace
}  // namespace tessarix
