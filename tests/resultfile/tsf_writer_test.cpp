#include "tessarix/resultfile/tsf_writer.hpp"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include "resultfile/tsf_files.hpp"

namespace tessarix::detail {
namespace {

// A solved, weighted single-variable document: three columns.
TsfDocument WeightedDocument() {
  TsfDocument d;
  d.weighted = true;
  d.column_names = {"X", "Y", "SD"};
  d.input_columns = {{1, 2}, {3, 4}, {0.5, 0.5}};
  d.solution = TsfSolution();
  d.solution->variables.resize(1);
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

TEST_F(TsfWriterTest, TheSplineFormIgnoresWhatTheRegressionFormsRead) {
  ASSERT_TRUE(WriteTsfFile(SplineDocument(), Path("spline.tsf")));
  ExpectGolden(Path("spline.tsf"), "spline_document.tsf");
}

TEST_F(TsfWriterTest, AContradictoryDocumentWritesNothing) {
  ASSERT_TRUE(WriteTsfFile(WeightedDocument(), Path("kept.tsf")));
  WriteFile(Path("kept.tsf"), "old");
  TsfDocument names = WeightedDocument();
  names.column_names.pop_back();
  TsfDocument rows = WeightedDocument();
  rows.input_columns[1].pop_back();
  TsfDocument summary = WeightedDocument();
  summary.solution->variables.clear();
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
  const bool written = WriteTsfFile(SplineDocument(), Path("kept.tsf"));
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
