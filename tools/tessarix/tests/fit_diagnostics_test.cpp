// What `tessarix fit` tells beyond the fitted values: bands in the table and
// the plot, the report as JSON, a failed fit explained, and the rows of a
// data file that could not be read.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <optional>
#include <sstream>

#include "../../../tests/support/nist_problem.hpp"
#include "fit_failure.hpp"
#include "json_check.hpp"
#include "json_writer.hpp"
#include "tool_run.hpp"
#include "xml_check.hpp"

namespace tessarix::tool {
namespace {

using test::ExamplePath;
using test::ParseJson;
using test::ParseXml;
using test::ReadFile;
using test::RunTool;
using test::ScratchPath;

std::string EckerlePath() { return std::string(TESSARIX_SOURCE_DIR) + "/tools/tessarix/tests/data/eckerle4.csv"; }

const char* const kEckerleModel = "(b1/b2)*exp(-0.5*((x-b3)/b2)^2)";

bool Has(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

// The rows of a CSV file of numbers (empty fields as NaN), after its header.
std::vector<std::vector<double>> CsvRows(const std::string& text, std::string* header = nullptr) {
  std::istringstream lines(text);
  std::string line;
  std::getline(lines, line);
  if (header) *header = line;
  std::vector<std::vector<double>> rows;
  while (std::getline(lines, line)) {
    rows.emplace_back();
    std::istringstream fields(line);
    std::string field;
    while (std::getline(fields, field, ',')) rows.back().push_back(field.empty() ? NAN : std::stod(field));
  }
  return rows;
}

// The value of "name = value" after the log's "Last parameter values:".
double LastLoggedValue(const std::string& log, const std::string& name) {
  const auto block = log.rfind("Last parameter values:");
  const auto at = log.find(name + " = ", block);
  return block == std::string::npos || at == std::string::npos ? NAN : std::stod(log.substr(at + name.size() + 3));
}

// From NIST's first start the Marquardt method does not reach the Eckerle4
// peak; the report says how far the run got, and the plot still shows the data
// and the last curve. The trust-region method, the tool's default, gets there.
TEST(FitFailure, TellsHowFarTheRunGotAndWhatToTry) {
  const std::string log = ScratchPath("eckerle.log"), svg = ScratchPath("eckerle.svg");
  const auto run = RunTool({"fit", EckerlePath(), "--model", kEckerleModel, "--estimate", "b1=1", "--estimate", "b2=10",
                            "--estimate", "b3=500", "--method", "marquardt", "--log", log, "--plot", svg});
  EXPECT_EQ(run.status, 1);
  EXPECT_TRUE(Has(run.err, "tessarix: error: the fit failed: ")) << run.err;
  const std::string logged = ReadFile(log);
  for (const std::string& part : std::vector<std::string>{
           "THE FIT FAILED: ", "Method        Marquardt\n", "Iterations    ", "(limit 250)", "SSE reached   0.4985",
           "ran off far from their starts", "Reached iteration limit of 250", "Parameter", "Start", "Reached",
           "End of the solution log", "  Solution failed", "What to try"}) {
    EXPECT_TRUE(Has(run.out, part)) << "missing '" << part << "' in\n" << run.out;
  }
  // The values reached are the log's last values; the starts are the estimates.
  std::istringstream lines(run.out.substr(run.out.find("\nParameters\n") + 12));
  std::string line;
  std::getline(lines, line);
  EXPECT_EQ(line.substr(0, 11), "  Parameter");
  for (const std::string name : {"b1", "b2", "b3"}) {
    ASSERT_TRUE(std::getline(lines, line));
    std::istringstream fields(line);
    std::string shown;
    double start = 0, reached = 0;
    fields >> shown >> start >> reached;
    EXPECT_EQ(shown, name);
    EXPECT_NEAR(reached, LastLoggedValue(logged, name), 1e-6 * std::fabs(reached)) << line;
  }

  const auto plot = ParseXml(ReadFile(svg));
  ASSERT_TRUE(plot.well_formed) << plot.error;
  EXPECT_NE(std::find(plot.texts.begin(), plot.texts.end(), "THE FIT FAILED"), plot.texts.end());
  EXPECT_NE(std::find(plot.texts.begin(), plot.texts.end(), "last parameters of the failed fit"), plot.texts.end());
  EXPECT_GE(std::count(plot.elements.begin(), plot.elements.end(), "polyline"), 1);

  // The same as JSON, and the second start of NIST solves it.
  const auto json = RunTool({"fit", EckerlePath(), "--model", kEckerleModel, "--estimate", "b1=1", "--estimate",
                             "b2=10", "--estimate", "b3=500", "--method", "marquardt", "--json"});
  EXPECT_EQ(json.status, 1);
  const auto doc = ParseJson(json.out);
  ASSERT_TRUE(doc.ok) << doc.error << "\n" << json.out;
  EXPECT_FALSE(doc.value["solved"].boolean);
  const auto& failure = doc.value["failure"];
  EXPECT_EQ(failure["method"].string, "Marquardt");
  EXPECT_EQ(failure["parameters"].array.size(), 3u);
  EXPECT_NEAR(failure["parameters"][2]["reached"].number, LastLoggedValue(logged, "b3"), 1e-9 * 500);
  EXPECT_EQ(failure["parameters"][2]["start"].number, 500.0);
  std::string hints;
  for (const auto& hint : failure["hints"].array) hints += hint.string + "\n";
  EXPECT_TRUE(Has(hints, "--estimate NAME=VALUE")) << hints;
  EXPECT_TRUE(Has(hints, "'tessarix rank " + EckerlePath() + "'")) << hints;
  EXPECT_EQ(failure["log_tail"].array.back().string, "Solution failed");
  const auto solved = RunTool({"fit", EckerlePath(), "--model", kEckerleModel, "--estimate", "b1=1.5", "--estimate",
                               "b2=5", "--estimate", "b3=450"});
  EXPECT_EQ(solved.status, 0) << solved.err;
}

// The hints of a failed fit as its JSON gives them, one a line.
std::string Hints(const std::vector<std::string>& args) {
  std::vector<std::string> json_args = args;
  json_args.push_back("--json");
  const auto run = RunTool(json_args);
  EXPECT_EQ(run.status, 1) << run.out;
  const auto doc = ParseJson(run.out);
  EXPECT_TRUE(doc.ok) << doc.error;
  std::string hints;
  for (const auto& hint : doc.value["failure"]["hints"].array) hints += hint.string + "\n";
  return hints;
}

TEST(FitFailure, HintsFollowTheWayTheRunEnded) {
  // Two Marquardt iterations from a start that needs more: the limit is the
  // advice. (The trust-region method ends at its best point instead.)
  const std::vector<std::string> limit_args{"fit",
                                            ExamplePath("misra1a.csv"),
                                            "--model",
                                            "b1*(1-exp(-b2*x))",
                                            "--max-iterations",
                                            "2",
                                            "--estimate",
                                            "b1=100",
                                            "--estimate",
                                            "b2=0.00001",
                                            "--method",
                                            "marquardt"};
  const auto limit = RunTool(limit_args);
  EXPECT_EQ(limit.status, 1);
  EXPECT_TRUE(Has(limit.out, "(limit 2)")) << limit.out;
  const std::string limit_hints = Hints(limit_args);
  EXPECT_TRUE(Has(limit_hints, "raise it with --max-iterations 8")) << limit_hints;
  EXPECT_FALSE(Has(limit_hints, "ran off")) << limit_hints;

  const std::string tiny = ScratchPath("tiny.csv");
  test::WriteFile(tiny, "x,y\n1,2\n2,3\n");
  const std::string few = Hints({"fit", tiny, "--model", "a+b*x+c*x^2"});
  EXPECT_TRUE(Has(few, "the model has 3 parameters and the data 2 rows")) << few;
  EXPECT_FALSE(Has(few, "tessarix rank")) << few;

  const std::string pole = ScratchPath("pole.csv");
  test::WriteFile(pole, "x,y\n-2,1\n-1,2\n1,3\n2,4\n3,5\n");
  const auto domain = RunTool({"fit", pole, "--model", "a*log(x)+b"});
  EXPECT_EQ(domain.status, 1);
  EXPECT_TRUE(Has(domain.out, "THE FIT FAILED: Error evaluating the function at X = -2")) << domain.out;
  const std::string domain_hints = Hints({"fit", pole, "--model", "a*log(x)+b"});
  EXPECT_TRUE(Has(domain_hints, "check where it is defined")) << domain_hints;

  // From all ones the Nelson surface is singular at once; the values reached
  // are still read from the log, where the failure text runs into them.
  const auto singular = RunTool({"fit", ExamplePath("nelson.csv"), "--x", "time,temperature", "--y", "log_breakdown",
                                 "--model", "b1-b2*x1*exp(-b3*x2)", "--json"});
  const auto doc = ParseJson(singular.out);
  ASSERT_TRUE(doc.ok) << doc.error;
  EXPECT_TRUE(Has(doc.value["failure"]["hints"][0].string, "(a singular matrix)"));
  EXPECT_EQ(doc.value["failure"]["parameters"][1]["reached"].number, 1.0);
  // Ranking the catalogue on the same columns takes the same options.
  std::string hints;
  for (const auto& hint : doc.value["failure"]["hints"].array) hints += hint.string + "\n";
  EXPECT_TRUE(Has(hints, "'tessarix rank " + ExamplePath("nelson.csv") + " --x time,temperature --y log_breakdown'"))
      << hints;
}

// The curve of the parameters a failed fit reached, where the model has values.
TEST(FitFailure, LastCurveIsTheModelAtTheValuesReached) {
  FailureSummary summary;
  summary.parameters = {{"b1", 1.0, 2.5, false, false}, {"b2", 1.0, 4.0, false, false}, {"b3", 450.0, 0, true, true}};
  std::vector<double> xs;
  for (int i = 0; i <= 40; ++i) xs.push_back(430.0 + i);
  const auto ys = LastCurve(kEckerleModel, summary, xs);
  ASSERT_EQ(ys.size(), xs.size());
  for (std::size_t i = 0; i < xs.size(); ++i) {
    ASSERT_TRUE(ys[i].has_value()) << xs[i];
    const double expected = (2.5 / 4.0) * std::exp(-0.5 * std::pow((xs[i] - 450.0) / 4.0, 2));
    EXPECT_NEAR(*ys[i], expected, 1e-9 * 0.625) << xs[i];
  }
  // Where the model has no value the curve has none either.
  FailureSummary logarithm;
  logarithm.parameters = {{"a", 1.0, 3.0, false, false}};
  const auto gaps = LastCurve("a*log(x)", logarithm, {-2.0, -1.0, 0.0, 1.0, 2.0, 4.0});
  EXPECT_FALSE(gaps[0] || gaps[1] || gaps[2]);
  ASSERT_TRUE(gaps[3] && gaps[4] && gaps[5]);
  EXPECT_NEAR(*gaps[5], 3.0 * std::log(4.0), 1e-12);
}

// The bands in the table: bounds about the predicted values, the prediction
// band wider by the residual variance at every row: u_p^2 - u_c^2 = (t s)^2.
TEST(FitBands, TableAndPlotCarryBothBands) {
  const std::string csv = ScratchPath("bands.csv"), svg = ScratchPath("bands.svg");
  const auto run = RunTool({"fit", ExamplePath("misra1a.csv"), "--model", "b1*(1-exp(-b2*x))", "--estimate", "b1=500",
                            "--estimate", "b2=0.0001", "--level", "90", "--table", csv, "--plot", svg});
  ASSERT_EQ(run.status, 0) << run.err;
  for (const char* part :
       {"90% CI +/-", "AIC  ", "AICc  ", "BIC  ", "Correlations of the parameters", "! |r| > 0.99: b1 and b2"}) {
    EXPECT_TRUE(Has(run.out, part)) << "missing '" << part << "' in\n" << run.out;
  }
  std::string header;
  const auto rows = CsvRows(ReadFile(csv), &header);
  EXPECT_EQ(header,
            "pressure,volume,Predicted volume,Residuals,Lower 90% confidence,Upper 90% confidence,Lower 90% "
            "prediction,Upper 90% prediction");
  ASSERT_EQ(rows.size(), 14u);
  const double s = std::sqrt(tessarix::test::ReadNistProblem("Misra1a").certified_rss / 12.0);
  const double t = 1.7823;  // Student's t, 0.95, 12 degrees of freedom
  for (const auto& r : rows) {
    ASSERT_EQ(r.size(), 8u);
    const double predicted = r[2], confidence = r[5] - predicted, prediction = r[7] - predicted;
    EXPECT_NEAR(predicted - r[4], confidence, 1e-9 * predicted);
    EXPECT_GT(confidence, 0.0);
    EXPECT_NEAR(prediction * prediction - confidence * confidence, t * t * s * s, 1e-5);
  }
  const auto plot = ParseXml(ReadFile(svg));
  ASSERT_TRUE(plot.well_formed) << plot.error;
  EXPECT_EQ(std::count(plot.elements.begin(), plot.elements.end(), "polygon"), 1);
  for (const char* label : {"90% confidence band", "90% prediction band"}) {
    EXPECT_NE(std::find(plot.texts.begin(), plot.texts.end(), label), plot.texts.end()) << label;
  }
  const auto bad = RunTool({"fit", ExamplePath("misra1a.csv"), "--model", "b1*x", "--level", "100"});
  EXPECT_EQ(bad.status, 2);
}

TEST(FitJson, TheWholeReportParsesBack) {
  const std::string csv = ScratchPath("json.csv");
  const auto run = RunTool({"fit", ExamplePath("misra1a.csv"), "--model", "b1*(1-exp(-b2*x))", "--estimate", "b1=500",
                            "--estimate", "b2=0.0001", "--json", "--table", csv});
  ASSERT_EQ(run.status, 0) << run.err;
  const auto doc = ParseJson(run.out);
  ASSERT_TRUE(doc.ok) << doc.error << "\n" << run.out;
  const auto& v = doc.value;
  EXPECT_TRUE(v["solved"].boolean);
  EXPECT_EQ(v["convergence"]["method"].string, "trust-region Levenberg-Marquardt");
  EXPECT_EQ(v["tessarix"].string, "2.0.43");
  EXPECT_EQ(v["data"]["x"][0].string, "pressure");
  EXPECT_TRUE(v["data"]["sd"].IsNull());
  EXPECT_EQ(v["data"]["rows_skipped"].number, 0.0);
  EXPECT_EQ(v["level"].number, 95.0);
  ASSERT_EQ(v["parameters"].array.size(), 2u);
  EXPECT_EQ(v["parameters"][0]["name"].string, "b1");
  const auto misra = tessarix::test::ReadNistProblem("Misra1a");
  EXPECT_NEAR(v["parameters"][0]["value"].number, misra.certified[0], 1e-5 * misra.certified[0]);
  EXPECT_NEAR(v["parameters"][1]["standard_error"].number, misra.certified_sd[1], 1e-4 * misra.certified_sd[1]);
  EXPECT_NEAR(v["statistics"]["sse"].number, misra.certified_rss, 1e-6);
  const auto& c = v["correlation"]["matrix"];
  ASSERT_EQ(c.array.size(), 2u);
  EXPECT_EQ(c[0][0].number, 1.0);
  EXPECT_EQ(c[0][1].number, c[1][0].number);
  const double aic = v["statistics"]["aic"].number, n = 14.0;
  const double sse = v["statistics"]["sse"].number;
  EXPECT_NEAR(aic, n * (std::log(2.0 * 3.14159265358979) + std::log(sse / n) + 1.0) + 6.0, 1e-9 * std::fabs(aic));
  // Every observation with its bands, the same as the table's.
  const auto rows = CsvRows(ReadFile(csv));
  const auto& points = v["points"].array;
  ASSERT_EQ(points.size(), rows.size());
  for (std::size_t i = 0; i < points.size(); ++i) {
    EXPECT_EQ(points[i]["x"].number, rows[i][0]);
    EXPECT_EQ(points[i]["residual"].number, rows[i][3]);
    EXPECT_EQ(points[i]["confidence"][0].number, rows[i][4]);
    EXPECT_EQ(points[i]["prediction"][1].number, rows[i][7]);
  }
  EXPECT_EQ(run.err, "");
}

TEST(FitJson, WriterEscapesTextAndWritesNoNonFiniteNumber) {
  EXPECT_EQ(JsonString("a\"b\\c\td\x01\xff"), "\"a\\\"b\\\\c d??\"");
  JsonWriter json;
  json.BeginObject().Key("nan").Number(NAN).Key("inf").Number(-INFINITY).Key("x").Number(0.1);
  json.Key("list").BeginArray().Integer(-3).Bool(true).Null().EndArray().Key("empty").BeginObject().EndObject();
  json.EndObject();
  const auto doc = ParseJson(json.Text());
  ASSERT_TRUE(doc.ok) << doc.error << json.Text();
  EXPECT_TRUE(doc.value["nan"].IsNull());
  EXPECT_TRUE(doc.value["inf"].IsNull());
  EXPECT_EQ(doc.value["x"].number, 0.1);
  EXPECT_EQ(doc.value["list"].array.size(), 3u);
  EXPECT_EQ(doc.value["list"][0].number, -3.0);
  EXPECT_EQ(doc.value["empty"].kind, test::JsonValue::kObject);
}

// Rows the import leaves out are counted and shown with their line and
// reason; a row whose field reads as a date is kept, as the import keeps it.
TEST(SkippedRows, AreCountedShownAndRefusedWhenStrict) {
  const std::string path = ScratchPath("gaps.csv");
  test::WriteFile(path,
                  "x,y\r\n1,2.1\r\n2,abc\r\n3,\r\n\r\n4,NA\r\n5\r\n7/4/2021,3\r\n6,6.8\r\n7,8.1\r\n8,9.0\r\n9,x\r\n"
                  "10,11.2\r\n11,nan\r\n");
  const auto run = RunTool({"fit", path, "--model", "a+b*x", "--missing", "NA"});
  ASSERT_EQ(run.status, 0) << run.err;
  for (const char* part :
       {"Skipped rows  6 of 12 rows could not be read", "line 3: not a number in column 'y': 'abc'",
        "line 4: empty field in column 'y'", "line 6: the missing marker 'NA' in column 'y'", "line 7: only 1 field(s)",
        "line 12: not a number in column 'y': 'x'", "and 1 more", "Observations  6, unweighted"}) {
    EXPECT_TRUE(Has(run.out, part)) << "missing '" << part << "' in\n" << run.out;
  }
  EXPECT_FALSE(Has(run.out, "line 8:")) << run.out;

  const auto json = RunTool({"fit", path, "--model", "a+b*x", "--missing", "NA", "--json"});
  const auto doc = ParseJson(json.out);
  ASSERT_TRUE(doc.ok) << doc.error;
  const auto& skipped = doc.value["data"]["skipped"].array;
  ASSERT_EQ(skipped.size(), 6u);
  EXPECT_EQ(doc.value["data"]["rows_skipped"].number, 6.0);
  EXPECT_EQ(skipped[5]["line"].number, 14.0);
  EXPECT_EQ(skipped[5]["reason"].string, "not-a-number");
  EXPECT_EQ(skipped[5]["text"].string, "nan");
  EXPECT_EQ(skipped[3]["reason"].string, "too-few-fields");
  EXPECT_TRUE(skipped[3]["column"].IsNull());

  const auto strict = RunTool({"fit", path, "--model", "a+b*x", "--missing", "NA", "--strict"});
  EXPECT_EQ(strict.status, 1);
  EXPECT_EQ(strict.out, "");
  EXPECT_TRUE(Has(strict.err, "6 row(s) of the data file")) << strict.err;
  EXPECT_TRUE(Has(strict.err, "line 3: not a number")) << strict.err;
  const auto clean = RunTool({"fit", ExamplePath("misra1a.csv"), "--model", "b1*(1-exp(-b2*x))", "--estimate", "b1=500",
                              "--estimate", "b2=0.0001", "--strict"});
  EXPECT_EQ(clean.status, 0) << clean.err;
  EXPECT_FALSE(Has(clean.out, "Skipped"));
}

}  // namespace
}  // namespace tessarix::tool
