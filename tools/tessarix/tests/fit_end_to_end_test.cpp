// `tessarix fit` end to end: the bundled NIST examples reproduce their
// certified values, and the report, table, plot and log files hold what they
// should.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <map>
#include <sstream>

#include "tool_run.hpp"
#include "xml_check.hpp"

namespace tessarix::tool {
namespace {

using test::ExamplePath;
using test::ParseXml;
using test::ReadFile;
using test::RunTool;
using test::ScratchPath;

struct ReportedParameter {
  double value = 0.0;
  double standard_error = 0.0;
};

// The parameter table of a report: name -> value and standard error.
std::map<std::string, ReportedParameter> ParameterTable(const std::string& report) {
  std::map<std::string, ReportedParameter> table;
  std::istringstream lines(report);
  std::string line;
  bool in_table = false;
  while (std::getline(lines, line)) {
    std::istringstream fields(line);
    std::string name, value, se;
    fields >> name >> value >> se;
    if (name == "Parameter") {
      in_table = true;
      continue;
    }
    if (!in_table || name.rfind("---", 0) == 0) continue;
    if (name.empty()) break;
    table[name] = {std::strtod(value.c_str(), nullptr), std::strtod(se.c_str(), nullptr)};
  }
  return table;
}

// The value of a "  Name   value" line of the report.
double ReportedStatistic(const std::string& report, const std::string& name) {
  const auto at = report.find("\n  " + name + "  ");
  if (at == std::string::npos) return std::nan("");
  std::istringstream rest(report.substr(at + 3 + name.size()));
  double value = std::nan("");
  rest >> value;
  return value;
}

// Agreement in significant digits: -log10 of the relative error.
double Digits(double actual, double certified) {
  if (actual == certified) return 16.0;
  return -std::log10(std::fabs(actual - certified) / std::fabs(certified));
}

struct Certified {
  std::string name;
  double value, standard_error;
};

void ExpectCertified(const std::string& report, const std::vector<Certified>& certified, double sse,
                     double residual_sd) {
  const auto table = ParameterTable(report);
  ASSERT_EQ(table.size(), certified.size()) << report;
  for (const Certified& c : certified) {
    ASSERT_EQ(table.count(c.name), 1u) << c.name << "\n" << report;
    EXPECT_GE(Digits(table.at(c.name).value, c.value), 5.0) << c.name << " = " << table.at(c.name).value;
    EXPECT_GE(Digits(table.at(c.name).standard_error, c.standard_error), 5.0)
        << c.name << " standard error " << table.at(c.name).standard_error;
  }
  EXPECT_GE(Digits(ReportedStatistic(report, "SSE"), sse), 5.0) << report;
  EXPECT_GE(Digits(ReportedStatistic(report, "Standard error"), residual_sd), 5.0) << report;
}

TEST(FitCommand, Misra1aReproducesTheCertifiedValuesAndWritesItsFiles) {
  const std::string svg = ScratchPath("misra1a.svg"), csv = ScratchPath("misra1a.csv"),
                    log = ScratchPath("misra1a.log");
  const auto run = RunTool({"fit", ExamplePath("misra1a.csv"), "--model", "b1*(1-exp(-b2*x))", "--estimate", "b1=500",
                            "--estimate", "b2=0.0001", "--plot", svg, "--table", csv, "--log", log});
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(run.err, "");
  ExpectCertified(run.out, {{"b1", 2.3894212918E+02, 2.7070075241E+00}, {"b2", 5.5015643181E-04, 7.2668688436E-06}},
                  1.2455138894E-01, 1.0187876330E-01);
  for (const char* part :
       {"Model         y = b1*(1-exp(-b2*x))", "Observations  14", "Convergence   Solution converged", "Std. error",
        "t prob.", "95% CI +/-", "Adjusted R2", "Durbin-Watson", "F probability", "regression 1, error 12, total 13",
        "Root mean square", "x = pressure, y = volume"}) {
    EXPECT_NE(run.out.find(part), std::string::npos) << "missing '" << part << "' in\n" << run.out;
  }

  // The plot: well-formed SVG with the data, the curve, both panels' labels.
  const test::XmlSummary plot = ParseXml(ReadFile(svg));
  ASSERT_TRUE(plot.well_formed) << plot.error;
  EXPECT_EQ(plot.root, "svg");
  // 14 observations, 14 residuals and the legend's marker; one clip path per panel.
  EXPECT_EQ(std::count(plot.elements.begin(), plot.elements.end(), "circle"), 2 * 14 + 1);
  EXPECT_GE(std::count(plot.elements.begin(), plot.elements.end(), "polyline"), 1);
  EXPECT_EQ(std::count(plot.elements.begin(), plot.elements.end(), "clipPath"), 2);
  for (const char* label : {"pressure", "volume", "residual", "y = b1*(1-exp(-b2*x))", "0"}) {
    EXPECT_NE(std::find(plot.texts.begin(), plot.texts.end(), label), plot.texts.end()) << label;
  }

  // The table: the result columns; predicted plus residual gives Y back.
  std::istringstream rows(ReadFile(csv));
  std::string line;
  std::getline(rows, line);
  EXPECT_EQ(line, "pressure,volume,Predicted volume,Residuals");
  int count = 0;
  while (std::getline(rows, line)) {
    double x, y, predicted, residual;
    char c1, c2, c3;
    std::istringstream fields(line);
    ASSERT_TRUE(fields >> x >> c1 >> y >> c2 >> predicted >> c3 >> residual) << line;
    EXPECT_NEAR(predicted + residual, y, 1e-9 * std::fabs(y));
    ++count;
  }
  EXPECT_EQ(count, 14);

  // The solution log of the run.
  const std::string log_text = ReadFile(log);
  EXPECT_EQ(log_text.rfind("Tessarix version 2.0.43 (NonlinearRegression object)\r\n", 0), 0u) << log_text;
  EXPECT_NE(log_text.find("Solution complete"), std::string::npos);
}

TEST(FitCommand, ThurberReproducesTheCertifiedValues) {
  const auto run =
      RunTool({"fit", ExamplePath("thurber.csv"), "--model", "(b1+b2*x+b3*x^2+b4*x^3)/(1+b5*x+b6*x^2+b7*x^3)",
               "--estimate", "b1=1000", "--estimate", "b2=1000", "--estimate", "b3=400", "--estimate", "b4=40",
               "--estimate", "b5=0.7", "--estimate", "b6=0.3", "--estimate", "b7=0.03"});
  ASSERT_EQ(run.status, 0) << run.err;
  ExpectCertified(run.out,
                  {{"b1", 1.2881396800E+03, 4.6647963344E+00},
                   {"b2", 1.4910792535E+03, 3.9571156086E+01},
                   {"b3", 5.8323836877E+02, 2.8698696102E+01},
                   {"b4", 7.5416644291E+01, 5.5675370270E+00},
                   {"b5", 9.6629502864E-01, 3.1333340687E-02},
                   {"b6", 3.9797285797E-01, 1.4984928198E-02},
                   {"b7", 4.9727297349E-02, 6.5842344623E-03}},
                  5.6427082397E+03, 1.3714600784E+01);
}

// Two independent variables: the model is in x1 and x2, in the order of --x,
// and the plot shows the observations against the predicted values.
TEST(FitCommand, NelsonWithTwoVariablesReproducesTheCertifiedValues) {
  const std::string plot = ScratchPath("nelson.svg");
  const auto run = RunTool({"fit", ExamplePath("nelson.csv"), "--x", "time,temperature", "--y", "log_breakdown",
                            "--model", "b1-b2*x1*exp(-b3*x2)", "--estimate", "b1=2", "--estimate", "b2=0.0001",
                            "--estimate", "b3=-0.01", "--max-iterations", "1000", "--plot", plot});
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_NE(run.out.find("x1 = time, x2 = temperature, y = log_breakdown"), std::string::npos) << run.out;
  ExpectCertified(run.out,
                  {{"b1", 2.5906836021E+00, 1.9149996413E-02},
                   {"b2", 5.6177717026E-09, 6.1124096540E-09},
                   {"b3", -5.7701013174E-02, 3.9572366543E-03}},
                  3.7976833176E+00, 1.7430280130E-01);
  const auto svg = ParseXml(ReadFile(plot));
  ASSERT_TRUE(svg.well_formed) << svg.error;
  EXPECT_NE(std::find(svg.texts.begin(), svg.texts.end(), "predicted log_breakdown"), svg.texts.end());
  const auto bad = RunTool({"fit", ExamplePath("nelson.csv"), "--x", "time,,temperature", "--model", "a*x1"});
  EXPECT_NE(bad.status, 0);
}

TEST(FitCommand, CatalogueModelFixedParameterAndWeights) {
  // y = 3 exp(0.2 x) with a little noise and deviations growing with y.
  std::string data = "t,signal,sd\n";
  for (int i = 0; i < 15; ++i) {
    const double x = 0.5 * i, y = 3.0 * std::exp(0.2 * x) * (1.0 + ((i % 3) - 1) * 0.01);
    data += std::to_string(x) + "," + std::to_string(y) + "," + std::to_string(0.02 * y) + "\n";
  }
  const std::string path = ScratchPath("weighted.csv");
  test::WriteFile(path, data);

  const auto weighted = RunTool({"fit", path, "--model-id", "36", "--sd", "sd"});
  ASSERT_EQ(weighted.status, 0) << weighted.err;
  EXPECT_NE(weighted.out.find("Model         y = a*exp(b*x)  (model 36, Exponential)"), std::string::npos)
      << weighted.out;
  EXPECT_NE(weighted.out.find("weighted by the standard deviations in sd"), std::string::npos);
  const auto table = ParameterTable(weighted.out);
  ASSERT_EQ(table.size(), 2u);
  EXPECT_NEAR(table.at("a").value, 3.0, 0.05);
  EXPECT_NEAR(table.at("b").value, 0.2, 0.005);

  // b held at 0.25: only a moves, and the table says so.
  const auto fixed = RunTool(
      {"fit", path, "--x", "t", "--y", "signal", "--model", "a*exp(b*x)", "--estimate", "b=0.25", "--fix", "b"});
  ASSERT_EQ(fixed.status, 0) << fixed.err;
  EXPECT_EQ(ParameterTable(fixed.out).at("b").value, 0.25);
  EXPECT_NE(fixed.out.find("fixed"), std::string::npos);
}

}  // namespace
}  // namespace tessarix::tool
