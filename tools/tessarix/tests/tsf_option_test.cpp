// `tessarix fit --tsf`: the result file for Tessara, compared with its
// golden file in tests/resultfile/golden/.
#include <gtest/gtest.h>

#include <string>

#include "tool_run.hpp"

namespace tessarix::tool {
namespace {

using test::ReadFile;
using test::RunTool;
using test::ScratchPath;

std::string LinearData() {
  const std::string path = ScratchPath("linear.csv");
  test::WriteFile(path, "dose,response\n1,2.9\n2,5.1\n3,7.2\n4,8.8\n5,11.1\n");
  return path;
}

TEST(TsfOption, WritesTheResultFileOfTheFitInEitherVersion) {
  const std::string data = LinearData();
  const std::string tsf = ScratchPath("linear.tsf");
  const auto run = RunTool({"fit", data, "--model", "a*x+b", "--tsf", tsf});
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_NE(run.out.find("\n\nResult file written to " + tsf + "\n"), std::string::npos) << run.out;
  const std::string expected = ReadFile(std::string(TESSARIX_SOURCE_DIR) + "/tests/resultfile/golden/tool_fit.tsf");
  ASSERT_FALSE(expected.empty());
  EXPECT_EQ(ReadFile(tsf), expected);

  // The older version differs in its version line only.
  const auto older = RunTool({"fit", data, "--model", "a*x+b", "--tsf", tsf, "--tsf-version", "7.1"});
  ASSERT_EQ(older.status, 0) << older.err;
  std::string seven = expected;
  seven.replace(seven.find("Version 8.0"), 11, "Version 7.1");
  EXPECT_EQ(ReadFile(tsf), seven);

  const auto version =
      RunTool({"fit", data, "--model", "a*x+b", "--tsf", ScratchPath("v.tsf"), "--tsf-version", "9.0"});
  EXPECT_EQ(version.status, 2);
  EXPECT_NE(version.err.find("--tsf-version"), std::string::npos) << version.err;

  const std::string missing = ScratchPath("missing/out.tsf");
  const auto unwritable = RunTool({"fit", data, "--model", "a*x+b", "--tsf", missing});
  EXPECT_EQ(unwritable.status, 1);
  EXPECT_EQ(unwritable.err, "tessarix: error: cannot write the result file '" + missing + "': Error writing to file\n");

  const auto help = RunTool({"fit", "--help"});
  EXPECT_NE(help.out.find("TSF version 8.0"), std::string::npos) << help.out;
}

TEST(TsfOption, WritesTheResultFileOfTheSpline) {
  const std::string data = ScratchPath("spline.csv");
  test::WriteFile(data, "t,level\n3,1\n1,2\n0.5,1.5\n1,4.25\n2,0\n");
  const std::string tsf = ScratchPath("spline.tsf");
  const auto run = RunTool({"spline", data, "--tsf", tsf});
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_NE(run.out.find("\n\nResult file written to " + tsf + "\n"), std::string::npos) << run.out;
  EXPECT_EQ(ReadFile(tsf), ReadFile(std::string(TESSARIX_SOURCE_DIR) + "/tests/resultfile/golden/spline.tsf"));
}

}  // namespace
}  // namespace tessarix::tool
