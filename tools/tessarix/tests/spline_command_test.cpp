// `tessarix spline` end to end: the report against the library's own spline,
// the table and plot files, and the ways the command fails.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <sstream>
#include <tessarix/spline/cubic_spline.hpp>

#include "tool_run.hpp"
#include "xml_check.hpp"

namespace tessarix::tool {
namespace {

using test::ReadFile;
using test::RunTool;
using test::ScratchPath;
using test::WriteFile;

// The fields of the report line that starts with `x` in the Values table.
std::vector<double> ValuesRow(const std::string& report, const std::string& x) {
  std::istringstream lines(report.substr(report.find("\nValues\n")));
  std::string line;
  while (std::getline(lines, line)) {
    std::istringstream fields(line);
    std::string first;
    fields >> first;
    if (first != x) continue;
    std::vector<double> row{std::strtod(first.c_str(), nullptr)};
    for (std::string f; fields >> f;) row.push_back(std::strtod(f.c_str(), nullptr));
    return row;
  }
  return {};
}

TEST(SplineCommand, ReportsKnotsValuesAndDerivativesAndWritesItsFiles) {
  const std::string data = ScratchPath("spline.csv"), csv = ScratchPath("spline_table.csv"),
                    svg = ScratchPath("spline.svg");
  WriteFile(data, "time,level\n3,9\n1,1\n2,4\n4,16\n5,25\n2,5\n0,0\n");
  const auto run = RunTool({"spline", data, "--at", "2.5", "--at", "0,5", "--table", csv, "--plot", svg});
  ASSERT_EQ(run.status, 0) << run.err;
  for (const char* part : {"x = time, y = level", "Observations  7", "Knots         6 (points of equal x averaged)",
                           "X range       0 to 5", "Y range       0 to 25"}) {
    EXPECT_NE(run.out.find(part), std::string::npos) << "missing '" << part << "' in\n" << run.out;
  }

  // The values against the library's spline through the averaged points.
  CubicSpline spline;
  spline.Fit(std::vector<double>{0, 1, 2, 3, 4, 5}, std::vector<double>{0, 1, 4.5, 9, 16, 25});
  for (const char* x : {"2.5", "0", "5"}) {
    const std::vector<double> row = ValuesRow(run.out, x);
    ASSERT_EQ(row.size(), 4u) << x << "\n" << run.out;
    EXPECT_NEAR(row[1], spline.PredictValue(row[0]), 1e-9) << x;
    EXPECT_NEAR(row[2], spline.CalculateDerivative(row[0]), 1e-7) << x;
  }
  // Second derivatives: the natural ends, and the middle of a piece.
  EXPECT_EQ(ValuesRow(run.out, "0")[3], 0.0);
  EXPECT_EQ(ValuesRow(run.out, "5")[3], 0.0);
  const CubicInformation piece = spline.GetCubicByValue(2.5);
  EXPECT_NEAR(ValuesRow(run.out, "2.5")[3], 6 * piece.a() * 0.5 + 2 * piece.b(), 1e-7);

  // The table in the order of the file, residuals at the averaged points.
  std::istringstream rows(ReadFile(csv));
  std::string line;
  std::getline(rows, line);
  EXPECT_EQ(line, "time,level,Predicted Y,Residuals");
  std::getline(rows, line);
  EXPECT_EQ(line, "3,9,9,0");
  for (int i = 0; i < 5; ++i) std::getline(rows, line);
  EXPECT_EQ(line, "2,5,4.5,0.5");

  const test::XmlSummary plot = test::ParseXml(ReadFile(svg));
  ASSERT_TRUE(plot.well_formed) << plot.error;
  EXPECT_EQ(std::count(plot.elements.begin(), plot.elements.end(), "circle"), 2 * 7 + 1);
  EXPECT_NE(std::find(plot.texts.begin(), plot.texts.end(), "cubic spline"), plot.texts.end());
}

TEST(SplineCommand, FailuresGiveTheirMessageAndStatus) {
  const std::string data = ScratchPath("few.csv");
  WriteFile(data, "x,y\n1,2\n1,3\n2,5\n");
  auto run = RunTool({"spline", data});
  EXPECT_EQ(run.status, 1);
  EXPECT_NE(run.err.find("the spline failed: Solution failed: not enough data points"), std::string::npos) << run.err;

  const std::string good = ScratchPath("good.csv");
  WriteFile(good, "x,y\n0,1\n1,3\n2,2\n");
  run = RunTool({"spline", good, "--at", "2.5"});
  EXPECT_EQ(run.status, 1);
  EXPECT_NE(run.err.find("--at 2.5 lies outside the knots, 0 to 2"), std::string::npos) << run.err;
  EXPECT_EQ(run.out, "");
  EXPECT_EQ(RunTool({"spline", good, "--at", "nan"}).status, 1);
  EXPECT_EQ(RunTool({"spline", good, "--sd", "y"}).status, 2);   // a spline has no weights
  EXPECT_EQ(RunTool({"spline", good, "--x", "x,y"}).status, 2);  // nor several variables
  EXPECT_EQ(RunTool({"spline", good, "--at", "one"}).status, 2);

  const auto help = RunTool({"--help"});
  EXPECT_NE(help.out.find("spline"), std::string::npos);
}

}  // namespace
}  // namespace tessarix::tool
