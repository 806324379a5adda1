// MultipleNonlinearRegression::SaveTSF: the whole file against its golden
// file, and the checks before the write.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "resultfile/tsf_files.hpp"
#include "support/test_helpers.hpp"
#include "tessarix/multiple/multiple_nonlinear_regression.hpp"

namespace tessarix {
namespace {

using MultipleSaveTsfTest = TsfFileTest;

TEST_F(MultipleSaveTsfTest, WritesAWeightedUserModelWhateverTheLocale) {
  Matrix x(7, 2);
  const std::vector<double> x1{1, 2, 3, 4, 5, 6, 2.5}, x2{0.5, 1, 0.25, 2, 1.5, 0.75, 1};
  const std::vector<double> y{2.1, 4.9, 3.2, 11.8, 10.1, 6.9, 5.6}, sd{0.1, 0.2, 0.1, 0.5, 0.4, 0.2, 0.2};
  for (std::int32_t i = 0; i < 7; ++i) {
    x(i, 0) = x1[static_cast<std::size_t>(i)];
    x(i, 1) = x2[static_cast<std::size_t>(i)];
  }
  for (const auto& separators : {test::EnglishSeparators(), test::DecimalCommaSeparators()}) {
    test::ScopedSeparators scoped(separators);
    MultipleNonlinearRegression r;
    // The quotes in the description stand in the file as they are, not doubled.
    r.DefineUserModel("a*x1+b*x2^2+0.5", tsxLocaleEnglish, "Plane with a \"bend\"");
    r.FitWeighted(x, y, sd);
    ASSERT_TRUE(r.IsSolved()) << r.LastSolveError();
    r.SaveTSF(Path("multi.tsf"), 8, 0);
    ExpectGolden(Path("multi.tsf"), "multi_user_weighted.tsf");
  }
}

TEST_F(MultipleSaveTsfTest, ChecksComeInTheirOrder) {
  MultipleNonlinearRegression r;
  EXPECT_TSX_ERROR(r.SaveTSF(Path("out.tsf"), 9, 9), 10023,
                   "The model has not yet been defined, or the current definition is invalid");
  // 21 variables are too wide for version 8.0, but an external model is
  // refused first, and a version Tessara does not have before the width.
  std::vector<std::string> names;
  std::string text = "a";
  for (char c = 'b'; c <= 'v'; ++c) {
    names.emplace_back(1, c);
    text += "+" + names.back() + "*x" + std::to_string(names.size());
  }
  r.DefineExternalModel(21, names);
  EXPECT_TSX_ERROR(r.SaveTSF(Path("out.tsf"), 8, 0), 10034,
                   "Requested method or property is not valid for external models");
  r.DefineUserModel(text);
  EXPECT_TSX_ERROR(r.SaveTSF(Path("out.tsf"), 9, 0), 10036,
                   "Version of Tessara specified in SaveTSF method is not supported");
  EXPECT_TSX_ERROR(r.SaveTSF(Path("out.tsf"), 8, 0), 10041,
                   "The model you are exporting to Tessara has more than 20 independent variables");
  EXPECT_TRUE(Entries().empty());
  // Version 7.1 takes any width: 21 variables and Y.
  r.SaveTSF(Path("out.tsf"), 7, 1);
  EXPECT_NE(ReadFile(Path("out.tsf")).find("    \"columns=22\"\r\n\"E_HEADER\"\r\n\"B_COLHEADER\"\r\n\"X1\"\r\n"),
            std::string::npos);
}

}  // namespace
}  // namespace tessarix
