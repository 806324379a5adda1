// The other commands end to end, and every way a command line can go wrong:
// the message and the exit status.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <set>
#include <sstream>

#include "tool_run.hpp"
#include "xml_check.hpp"

namespace tessarix::tool {
namespace {

using test::ExamplePath;
using test::RunTool;
using test::ScratchPath;
using test::WriteFile;

void ExpectError(const std::vector<std::string>& args, int status, const std::string& message) {
  const auto run = RunTool(args);
  EXPECT_EQ(run.status, status) << run.out << run.err;
  EXPECT_NE(run.err.find("tessarix: error: "), std::string::npos) << run.err;
  EXPECT_NE(run.err.find(message), std::string::npos) << "expected '" << message << "' in: " << run.err;
}

TEST(CommandLine, VersionAndHelp) {
  const auto version = RunTool({"--version"});
  EXPECT_EQ(version.status, 0);
  EXPECT_EQ(version.out, "tessarix 2.0.43\n");
  const auto help = RunTool({"--help"});
  EXPECT_EQ(help.status, 0);
  for (const char* word : {"fit", "models", "rank"}) {
    EXPECT_NE(help.out.find(word), std::string::npos) << help.out;
  }
  const auto fit_help = RunTool({"fit", "--help"});
  EXPECT_EQ(fit_help.status, 0);
  for (const char* option : {"--model", "--model-id", "--estimate", "--fix", "--sd", "--delimiter", "--max-iterations",
                             "--tolerance", "--log", "--table", "--plot"}) {
    EXPECT_NE(fit_help.out.find(option), std::string::npos) << option;
  }
}

TEST(CommandLine, ErrorsGiveTheirMessageAndStatus) {
  const std::string misra = ExamplePath("misra1a.csv");
  // Usage errors: status 2.
  ExpectError({}, 2, "subcommand");
  ExpectError({"fit", misra}, 2, "fit needs a model");
  ExpectError({"fit", misra, "--model", "a*x", "--model-id", "1"}, 2, "excludes");
  ExpectError({"fit", misra, "--model", "a*x", "--delimiter", "pipe"}, 2, "--delimiter");
  ExpectError({"fit", misra, "--model", "a*x", "--tolerance", "0"}, 2, "--tolerance");
  ExpectError({"fit", misra, "--model", "a*x", "--method", "newton"}, 2, "--method");
  ExpectError({"fit", misra, "--model", "a*x", "--estimate", "a"}, 2, "NAME=VALUE");
  ExpectError({"fit", misra, "--model", "a*x", "--estimate", "a=1.5x"}, 2, "'1.5x' is not a number");
  ExpectError({"fit", misra, "--model", "a*exp(b*x)", "--estimate", "c=1"}, 2,
              "--estimate: the model has no parameter 'c' (parameters: a, b)");

  // Data errors: status 1.
  ExpectError({"fit", ScratchPath("absent.csv"), "--model", "a*x"}, 1, "absent.csv': no such file");
  ExpectError({"fit", misra, "--model", "a*x", "--y", "height"}, 1,
              "has no column 'height' (columns: pressure, volume)");
  const std::string text_column = ScratchPath("text_column.csv");
  WriteFile(text_column, "x,y\n1,one\n2,two\n3,three\n");
  ExpectError({"fit", text_column, "--model", "a*x"}, 1, "holds a number in every column");
  // A byte-order mark and CRLF line ends do not hide the first column's name.
  const std::string bom = ScratchPath("bom.csv");
  WriteFile(bom, "\xEF\xBB\xBFtime,level\r\n1,2\r\n2,4.1\r\n3,5.9\r\n");
  const auto with_bom = RunTool({"fit", bom, "--x", "TIME", "--y", "level", "--model", "a*x"});
  EXPECT_EQ(with_bom.status, 0) << with_bom.err;
  const std::string one_column = ScratchPath("one_column.csv");
  WriteFile(one_column, "x\n1\n2\n");
  ExpectError({"fit", one_column, "--model", "a*x"}, 1, "has 1 column(s) (x)");

  // The library's own words for a model that does not compile and a bad ID.
  ExpectError({"fit", misra, "--model", "a*exp(b*x"}, 1,
              "the model 'a*exp(b*x' does not compile: Model definition error, invalid model syntax");
  ExpectError({"fit", misra, "--model", "a*b"}, 1,
              "Model definition error, no independent variables detected in model");
  ExpectError({"fit", misra, "--model-id", "299"}, 1, "model 299: Invalid ID for pre-defined model");
  ExpectError({"fit", misra, "--model", "a*x1"}, 1, "(with one --x column the variable is x; x1, x2, ...");

  // A fit that fails reports LastSolveError.
  const std::string two_rows = ScratchPath("two_rows.csv");
  WriteFile(two_rows, "x,y\n1,2\n2,4\n");
  ExpectError({"fit", two_rows, "--model", "a*x+b"}, 1, "the fit failed: Solution failed: not enough data points");
  const std::string rising = ScratchPath("rising.csv");
  WriteFile(rising, "x,y\n1,2\n2,3\n3,4\n4,5\n");
  ExpectError({"fit", rising, "--model", "log(a-x)"}, 1, "the fit failed: Error evaluating the function at X = 1\n");

  // Output files that cannot be written.
  ExpectError({"fit", misra, "--model-id", "1", "--plot", ScratchPath("no/such/folder/fit.svg")}, 1,
              "cannot write the plot file");
  ExpectError({"fit", misra, "--model-id", "1", "--log", ScratchPath("no/such/folder/fit.log")}, 1,
              "cannot write the log file");
}

TEST(ModelsCommand, ListsTheCatalogueAndFiltersByWord) {
  const auto all = RunTool({"models"});
  ASSERT_EQ(all.status, 0) << all.err;
  EXPECT_EQ(std::count(all.out.begin(), all.out.end(), '\n'), 298 + 1);
  EXPECT_NE(all.out.find("  36  a*exp(b*x)"), std::string::npos);
  EXPECT_NE(all.out.find(" 298  "), std::string::npos);

  const auto exponential = RunTool({"models", "EXPONENTIAL"});
  ASSERT_EQ(exponential.status, 0);
  EXPECT_NE(exponential.out.find("a*exp(b*x)"), std::string::npos);
  EXPECT_NE(exponential.out.find("Modified Exponential"), std::string::npos);
  EXPECT_EQ(exponential.out.find("Polynomial"), std::string::npos) << exponential.out;

  ExpectError({"models", "no-such-model-word"}, 1, "no pre-defined model matches");
}

TEST(RankCommand, PutsAnExactModelFirstOnDataOfModel36) {
  std::string data = "x,y\n";
  for (int i = 0; i < 20; ++i) {
    const double x = 1.0 + 0.5 * i;
    char line[80];
    std::snprintf(line, sizeof line, "%.17g,%.17g\n", x, 2.0 * std::exp(0.3 * x));
    data += line;
  }
  const std::string path = ScratchPath("model36.csv");
  WriteFile(path, data);
  const auto run = RunTool({"rank", path, "--threads", "2"});
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_NE(run.out.find("Ranked 298 pre-defined models"), std::string::npos) << run.out;
  EXPECT_NE(run.out.find(" failed, with the trust-region method"), std::string::npos) << run.out;
  EXPECT_EQ(run.out.find("fitting model"), std::string::npos) << "no progress line off a terminal";

  // Rows of the listing: rank, ID, adjusted R2, standard error, definition.
  std::istringstream lines(run.out.substr(run.out.find("Definition")));
  std::string line;
  std::getline(lines, line);
  std::vector<int> ids;
  std::vector<double> r2;
  while (std::getline(lines, line)) {
    std::istringstream fields(line);
    int rank = 0, id = 0;
    double adjusted = 0.0, se = 0.0;
    if (!(fields >> rank >> id >> adjusted >> se)) break;
    EXPECT_EQ(rank, static_cast<int>(ids.size()) + 1);
    ids.push_back(id);
    r2.push_back(adjusted);
  }
  ASSERT_EQ(ids.size(), 20u) << run.out;
  // Models that hold a*exp(b*x) exactly: a*b^x, a*exp(b*x), exp(a+b*x), and
  // the three-parameter ones with a term that can vanish.
  const std::set<int> exact = {35, 36, 38, 51, 64, 66, 67};
  EXPECT_EQ(exact.count(ids.front()), 1u) << "first: model " << ids.front() << "\n" << run.out;
  EXPECT_GT(r2.front(), 1.0 - 1e-12);
  EXPECT_TRUE(std::is_sorted(r2.rbegin(), r2.rend())) << run.out;
}

TEST(ModelsCommand, ListsTheModelsOfSeveralVariablesAndRanksThem) {
  const auto three = RunTool({"models", "--variables", "3"});
  ASSERT_EQ(three.status, 0) << three.err;
  EXPECT_EQ(std::count(three.out.begin(), three.out.end(), '\n'), 3 + 1);
  EXPECT_NE(three.out.find("1002  exp(a*x1+b*x2+c*x3+d)  4 Parameter Exponential Polynomial"), std::string::npos);
  const auto two = RunTool({"models", "--variables", "2", "Taylor"});
  ASSERT_EQ(two.status, 0) << two.err;
  EXPECT_EQ(std::count(two.out.begin(), two.out.end(), '\n'), 18 + 1);

  // A plane with a constant in three variables: ID 1001 is exact.
  std::string data = "p,q,r,s\n";
  for (int i = 0; i < 30; ++i) {
    const double p = 1.0 + std::sin(0.9 * i), q = 2.0 + std::cos(1.7 * i), r = 0.1 * i;
    char line[160];
    std::snprintf(line, sizeof line, "%.17g,%.17g,%.17g,%.17g\n", p, q, r, 0.5 * p - 0.3 * q + 0.2 * r + 1.0);
    data += line;
  }
  const std::string path = ScratchPath("plane3.csv");
  WriteFile(path, data);
  const auto run = RunTool({"rank", path, "--x", "p,q,r", "--y", "s", "--threads", "2"});
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_NE(run.out.find("Ranked 3 pre-defined models on"), std::string::npos) << run.out;
  EXPECT_NE(run.out.find("(x = p,q,r, y = s, 30 observations)"), std::string::npos) << run.out;
  std::istringstream lines(run.out.substr(run.out.find("Definition")));
  std::string line;
  std::getline(lines, line);
  std::getline(lines, line);
  std::istringstream fields(line);
  int rank = 0, id = 0;
  double adjusted = 0.0;
  ASSERT_TRUE(fields >> rank >> id >> adjusted) << line;
  EXPECT_EQ(id, 1001);
  EXPECT_NEAR(adjusted, 1.0, 1e-12);

  // The report names the model by its number beyond the gap of the IDs; a
  // model that reads fewer variables than --x names is refused.
  const auto fit = RunTool({"fit", path, "--x", "p,q,r", "--y", "s", "--model-id", "1001"});
  ASSERT_EQ(fit.status, 0) << fit.err;
  EXPECT_NE(fit.out.find("y = a*x1+b*x2+c*x3+d  (model 1001, 4 Parameter Polynomial)"), std::string::npos) << fit.out;
  const auto fewer = RunTool({"fit", path, "--x", "p,q,r", "--y", "s", "--model", "a+b*x1+c*x2"});
  EXPECT_EQ(fewer.status, 2);
  EXPECT_NE(fewer.err.find("the model reads x1 .. x2 but --x names 3 columns"), std::string::npos) << fewer.err;
  const auto unknown = RunTool({"fit", path, "--x", "p,q", "--y", "s", "--model-id", "250"});
  EXPECT_NE(unknown.err.find("model 250: Invalid ID for pre-defined model ('tessarix models --variables 2' lists"),
            std::string::npos)
      << unknown.err;
}

}  // namespace
}  // namespace tessarix::tool
