// CubicSpline::SaveTSF: the whole file against its golden file, and the
// checks before the write.
#include <gtest/gtest.h>

#include <vector>

#include "resultfile/tsf_files.hpp"
#include "support/test_helpers.hpp"
#include "tessarix/spline/cubic_spline.hpp"

namespace tessarix {
namespace {

using SplineSaveTsfTest = TsfFileTest;

TEST_F(SplineSaveTsfTest, WritesPointsAndAveragedKnotsWhateverTheLocale) {
  // Out of order, with two points at x = 1: five points, four knots.
  const std::vector<double> x{3, 1, 0.5, 1, 2}, y{1, 2, 1.5, 4.25, 0};
  for (const auto& separators : {test::EnglishSeparators(), test::DecimalCommaSeparators()}) {
    test::ScopedSeparators scoped(separators);
    CubicSpline spline;
    spline.Fit(x, y);
    ASSERT_TRUE(spline.IsSolved());
    spline.SaveTSF(Path("spline.tsf"), 8, 0);
    ExpectGolden(Path("spline.tsf"), "spline.tsf");
  }
}

TEST_F(SplineSaveTsfTest, ChecksSolvedThenVersionThenTheFile) {
  CubicSpline spline;
  EXPECT_TSX_ERROR(spline.SaveTSF(Path("out.tsf"), 9, 0), 10029,
                   "The model is not solved, the requested property is not available");
  spline.Fit(std::vector<double>{0, 1, 2}, std::vector<double>{0, 1, 0});
  EXPECT_TSX_ERROR(spline.SaveTSF(Path("out.tsf"), 8, 1), 10036,
                   "Version of Tessara specified in SaveTSF method is not supported");
  EXPECT_TRUE(Entries().empty());
  EXPECT_TSX_ERROR(spline.SaveTSF(Path("missing/out.tsf"), 7, 1), 10010, "Error writing to file");
}

}  // namespace
}  // namespace tessarix
