#include "tessarix/resultfile/tsf_writer.hpp"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include "resultfile/tsf_files.hpp"
#include "support/test_helpers.hpp"

namespace tessarix::detail {
namespace {

// A weighted two-variable user model with numbers of every text form:
// integers, fractions, negatives, small and large exponents.
TsfDocument MultiVariableDocument() {
  TsfDocument d;
  d.form = TsfForm::MultiVariable;
  d.weighted = true;
  d.variables = 2;
  d.column_names = {"Temperature", "Pressure", "Rate", "Standard Deviation"};
  d.max_iterations = 400;
  d.max_unchanged_iterations = 12;
  d.input_columns = {{1, 2, 3.25}, {-0.5, 1.5e-5, 2}, {10, 20.5, 1.23456789012345678e17}, {0.1, 0.2, 0.3}};
  d.user_model = true;
  d.model.formulas = {"a*x1+F1", "b*x2^2"};
  d.model.description = "   ";
  d.model.file_label = "User Model: a*x1+F1";
  d.parameters = {{2.5, 1, 3.0000000000000004, 0.000123}, {1, 0, -1, 2e-300}};
  TsfSolution s;
  for (auto [field, value] : {std::pair{&s.sse, 0.5},
                              {&s.sse_norm, 0.25},
                              {&s.sst, 100.0},
                              {&s.residual_average, -1e-16},
                              {&s.residual_sum, 3e-16},
                              {&s.durbin_watson, 1.75},
                              {&s.r2, 0.9975},
                              {&s.r2_adjust, 0.995},
                              {&s.standard_error, 0.5},
                              {&s.y_min, 10.0},
                              {&s.y_max, 1.23456789012345678e17},
                              {&s.y_mean, 4.1152263004115e16},
                              {&s.y_std, 7.1277e16}}) {
    *field = value;
  }
  s.dof_error = s.dof_regression = 1;
  s.num_observations = 3;
  s.num_iterations = 7;
  s.variables = {{1, 3.25, 2.0833333333333335, 1.1273, 1, 3.25, 10, 1.23456789012345678e17},
                 {-0.5, 2, 0.5000050000000001, 1.3229, -0.5, 2, 10, 1.23456789012345678e17}};
  d.solution = s;
  return d;
}

// What the regression forms would read (weights, names, settings, a user
// model) is ignored by the spline form.
TsfDocument SplineDocument() {
  TsfDocument d;
  d.form = TsfForm::Spline;
  d.weighted = d.user_model = true;
  d.column_names = {"ignored"};
  d.tolerance = 0.5;
  d.input_columns = {{2, 0, 1, 0}, {0, 1, 1, -1}};
  d.interpolation = TsfInterpolation{{{0, 0, 0}, {1, 1, -3}, {2, 0, 0}}, 0, 2, 0, 1};
  return d;
}

using TsfWriterTest = TsfFileTest;

TEST_F(TsfWriterTest, WritesEveryFormWithPointsWhateverTheLocale) {
  for (const auto& separators : {test::EnglishSeparators(), test::DecimalCommaSeparators()}) {
    test::ScopedSeparators scoped(separators);
    ASSERT_TRUE(WriteTsfFile(MultiVariableDocument(), Path("multi.tsf")));
    ExpectGolden(Path("multi.tsf"), "multi_variable_document.tsf");
    ASSERT_TRUE(WriteTsfFile(SplineDocument(), Path("spline.tsf")));
    ExpectGolden(Path("spline.tsf"), "spline_document.tsf");
  }
}

TEST_F(TsfWriterTest, AContradictoryDocumentWritesNothing) {
  WriteFile(Path("kept.tsf"), "old");
  TsfDocument names = MultiVariableDocument();
  names.column_names.pop_back();
  TsfDocument rows = MultiVariableDocument();
  rows.input_columns[1].pop_back();
  TsfDocument summary = MultiVariableDocument();
  summary.solution->variables.pop_back();
  for (const TsfDocument& d : {names, rows, summary}) EXPECT_FALSE(WriteTsfFile(d, Path("kept.tsf")));
  EXPECT_EQ(ReadFile(Path("kept.tsf")), "old");
  EXPECT_EQ(Entries(), std::set<std::string>{"kept.tsf"});
}

TEST_F(TsfWriterTest, ReplacesAFileAsAWhole) {
  // An existing file keeps its permissions; through a link the linked file
  // is replaced and the link stays.
  WriteFile(Path("target.tsf"), "old");
  ASSERT_EQ(chmod(Path("target.tsf").c_str(), 0640), 0);
  ASSERT_EQ(symlink("target.tsf", Path("link.tsf").c_str()), 0);
  ASSERT_TRUE(WriteTsfFile(SplineDocument(), Path("link.tsf")));
  struct stat info {};
  ASSERT_EQ(lstat(Path("link.tsf").c_str(), &info), 0);
  EXPECT_TRUE(S_ISLNK(info.st_mode));
  ASSERT_EQ(stat(Path("target.tsf").c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 07777, 0640u);
  ExpectGolden(Path("target.tsf"), "spline_document.tsf");
  EXPECT_EQ(Entries(), (std::set<std::string>{"link.tsf", "target.tsf"}));

  // A device is written directly; a folder, a missing folder or no name fail.
  EXPECT_TRUE(WriteTsfFile(SplineDocument(), "/dev/null"));
  EXPECT_FALSE(WriteTsfFile(SplineDocument(), dir_));
  EXPECT_FALSE(WriteTsfFile(SplineDocument(), Path("missing/file.tsf")));
  EXPECT_FALSE(WriteTsfFile(SplineDocument(), ""));
}

TEST_F(TsfWriterTest, AFailedOrRefusedWriteKeepsTheOldFile) {
  WriteFile(Path("kept.tsf"), "old");
  // The disk fills after 100 bytes.
  rlimit saved{};
  ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &saved), 0);
  rlimit low = saved;
  low.rlim_cur = 100;
  const auto old_handler = signal(SIGXFSZ, SIG_IGN);
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &low), 0);
  const bool written = WriteTsfFile(MultiVariableDocument(), Path("kept.tsf"));
  setrlimit(RLIMIT_FSIZE, &saved);
  signal(SIGXFSZ, old_handler);
  EXPECT_FALSE(written);

  // A read-only file, then a read-only folder.
  ScopedNoPermissionOverride as_a_user;
  ASSERT_EQ(chmod(Path("kept.tsf").c_str(), 0444), 0);
  if (faccessat(AT_FDCWD, Path("kept.tsf").c_str(), W_OK, AT_EACCESS) == 0) GTEST_SKIP() << "runs as superuser";
  EXPECT_FALSE(WriteTsfFile(SplineDocument(), Path("kept.tsf")));
  ASSERT_EQ(chmod(Path("kept.tsf").c_str(), 0644), 0);
  ASSERT_EQ(chmod(dir_.c_str(), 0555), 0);
  EXPECT_FALSE(WriteTsfFile(SplineDocument(), Path("kept.tsf")));
  EXPECT_FALSE(WriteTsfFile(SplineDocument(), Path("new.tsf")));
  EXPECT_EQ(ReadFile(Path("kept.tsf")), "old");
  EXPECT_EQ(Entries(), std::set<std::string>{"kept.tsf"});
}

}  // namespace
}  // namespace tessarix::detail
