// `tessarix fit` end to end: the bundled NIST examples reproduce their
// certified values, and the report, table, plot and log files hold what they
// should.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <map>
#include <sstream>

#include "../../../tests/support/nist_problem.hpp"
#include "tool_run.hpp"
#include "xml_check.hpp"

namespace tessarix::tool {
namespace {

using tessarix::test::NistProblem;
using tessarix::test::ReadNistProblem;
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

// The report against the certified values of the NIST problem: parameters
// b1, b2, ..., their standard errors, the SSE and the residual deviation.
void ExpectCertified(const std::string& report, const std::string& problem) {
  const NistProblem nist = ReadNistProblem(problem);
  ASSERT_FALSE(nist.certified.empty()) << problem;
  const auto table = ParameterTable(report);
  ASSERT_EQ(table.size(), nist.certified.size()) << report;
  for (std::size_t j = 0; j < nist.certified.size(); ++j) {
    std::string name = std::to_string(j + 1);
    name.insert(name.begin(), 'b');
    ASSERT_EQ(table.count(name), 1u) << name << "\n" << report;
    EXPECT_GE(Digits(table.at(name).value, nist.certified[j]), 5.0) << name << " = " << table.at(name).value;
    EXPECT_GE(Digits(table.at(name).standard_error, nist.certified_sd[j]), 5.0)
        << name << " standard error " << table.at(name).standard_error;
  }
  const double dof = static_cast<double>(nist.y.size() - nist.certified.size());
  EXPECT_GE(Digits(ReportedStatistic(report, "SSE"), nist.certified_rss), 5.0) << report;
  EXPECT_GE(Digits(ReportedStatistic(report, "Standard error"), std::sqrt(nist.certified_rss / dof)), 5.0) << report;
}

const std::vector<std::string> kMisra1a = {
    "fit",      ExamplePath("misra1a.csv"), "--model", "b1*(1-exp(-b2*x))", "--estimate", "b1=500", "--estimate",
    "b2=0.0001"};

TEST(FitCommand, Misra1aReproducesTheCertifiedValuesAndWritesItsFiles) {
  const std::string svg = ScratchPath("misra1a.svg"), csv = ScratchPath("misra1a.csv"),
                    log = ScratchPath("misra1a.log");
  std::vector<std::string> args = kMisra1a;
  args.insert(args.end(), {"--plot", svg, "--table", csv, "--log", log});
  const auto run = RunTool(args);
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(run.err, "");
  ExpectCertified(run.out, "Misra1a");
  // The tool fits with the trust-region method unless told otherwise.
  for (const char* part : {"Method        trust-region Levenberg-Marquardt\n", "Convergence   Solution converged: ",
                           "Model         y = b1*(1-exp(-b2*x))", "Observations  14", "Std. error", "t prob.",
                           "95% CI +/-", "Adjusted R2", "Durbin-Watson", "F probability",
                           "regression 1, error 12, total 13", "Root mean square", "x = pressure, y = volume"}) {
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

  // The table: the result columns, then the bands; predicted plus residual
  // gives Y back.
  std::istringstream rows(ReadFile(csv));
  std::string line;
  std::getline(rows, line);
  EXPECT_EQ(line.rfind("pressure,volume,Predicted volume,Residuals,Lower 95% confidence,", 0), 0u) << line;
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

TEST(FitCommand, MarquardtMethodOnRequest) {
  std::vector<std::string> args = kMisra1a;
  args.insert(args.end(), {"--method", "Marquardt"});
  const auto marquardt = RunTool(args);
  ASSERT_EQ(marquardt.status, 0) << marquardt.err;
  EXPECT_NE(marquardt.out.find("Method        Marquardt\n"), std::string::npos) << marquardt.out;
  EXPECT_NE(marquardt.out.find("Convergence   Solution converged to residual change less than 1E-10%"),
            std::string::npos)
      << marquardt.out;
  ExpectCertified(marquardt.out, "Misra1a");
}

TEST(FitCommand, ThurberReproducesTheCertifiedValues) {
  const auto run =
      RunTool({"fit", ExamplePath("thurber.csv"), "--model", "(b1+b2*x+b3*x^2+b4*x^3)/(1+b5*x+b6*x^2+b7*x^3)",
               "--estimate", "b1=1000", "--estimate", "b2=1000", "--estimate", "b3=400", "--estimate", "b4=40",
               "--estimate", "b5=0.7", "--estimate", "b6=0.3", "--estimate", "b7=0.03"});
  ASSERT_EQ(run.status, 0) << run.err;
  ExpectCertified(run.out, "Thurber");
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
  ExpectCertified(run.out, "Nelson");
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
