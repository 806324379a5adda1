// NonlinearRegression::SaveTSF: whole files against the golden files of
// tests/resultfile/golden/, and the checks before the write.
#include <fcntl.h>
#include <gtest/gtest.h>

#include <memory>
#include <set>
#include <string>
#include <vector>

#include "external_models.hpp"
#include "resultfile/tsf_files.hpp"
#include "support/test_helpers.hpp"
#include "tessarix/core/nonlinear_regression.hpp"
#include "tessarix/data/data_collection.hpp"
#include "tessarix/data/data_series.hpp"

namespace tessarix {
namespace {

const std::vector<double> kX{5, 1, 3, 2, 4, 0.5};
const std::vector<double> kY{9.4, 3.7, 5.9, 4.6, 7.3, 3.4};

// A user model with a sub-definition, a number in its text (written in the
// English form whatever the locale), a description with blanks around it, a
// starting value set by the caller and a parameter held constant.
void DefineUserModel(NonlinearRegression& reg) {
  ModelDefinition definition;
  definition.SetY("F1+c*0.5");
  definition.SetF1("a*exp(b*x)");
  definition.SetDescription("  Growth, with offset  ");
  reg.DefineUserModelSub(definition);
  reg.RegressionParameters()->Item("a")->SetInitialEstimate(2.0);
  reg.RegressionParameters()->Item("c")->SetInitialEstimate(3.0);
  reg.RegressionParameters()->Item("c")->SetInitialEstimateType(tsxEstimateConstant);
}

// Pre-defined model 16, a + b/x, whose label differs from its definition,
// fitted weighted to named series.
void FitPredefinedWeighted(NonlinearRegression& reg) {
  reg.DefineInternalModel(16);
  DataCollection data;
  const std::vector<std::vector<std::string>> columns = {{"Dose", "x"}, {"Response", "y"}, {"Error", "sd"}};
  const std::vector<std::vector<double>> values = {
      {0.5, 4, 1, 2, 8}, {9.1, 2.4, 5.2, 3.4, 1.9}, {0.2, 0.1, 0.1, 0.4, 0.1}};
  for (std::size_t j = 0; j < 3; ++j) {
    auto series = data.AddSeries(columns[j][0]);
    series->ImportFromArray(values[j]);
    series->SetRegressionKey(columns[j][1]);
  }
  reg.FitCollection(data);
}

using SaveTsfTest = TsfFileTest;

TEST_F(SaveTsfTest, WritesUserAndPredefinedModelsWhateverTheLocale) {
  for (const auto& separators : {test::EnglishSeparators(), test::DecimalCommaSeparators()}) {
    test::ScopedSeparators scoped(separators);
    NonlinearRegression user;
    DefineUserModel(user);
    user.Fit(kX, kY);
    ASSERT_TRUE(user.IsSolved()) << user.LastSolveError();
    user.SaveTSF(Path("user.tsf"), 8, 0);
    ExpectGolden(Path("user.tsf"), "single_user.tsf");

    NonlinearRegression predefined;
    FitPredefinedWeighted(predefined);
    ASSERT_TRUE(predefined.IsSolved()) << predefined.LastSolveError();
    ASSERT_TRUE(predefined.IsWeighted());
    predefined.SaveTSF(Path("predefined.tsf"), 8, 0);
    ExpectGolden(Path("predefined.tsf"), "single_predefined_weighted.tsf");
  }
}

TEST_F(SaveTsfTest, AnUnsolvedModelEndsWithItsUserModel) {
  NonlinearRegression reg;
  DefineUserModel(reg);
  reg.SaveTSF(Path("defined.tsf"), 7, 1);
  ExpectGolden(Path("defined.tsf"), "single_unsolved.tsf");
  // A solution forgotten by ClearFit is not written either.
  reg.Fit(kX, kY);
  ASSERT_TRUE(reg.IsSolved());
  reg.ClearFit();
  reg.SaveTSF(Path("cleared.tsf"), 7, 1);
  EXPECT_EQ(ReadFile(Path("cleared.tsf")), ReadFile(Path("defined.tsf")));
}

TEST_F(SaveTsfTest, ChecksComeInTheirOrderAndLeaveTheFileAlone) {
  WriteFile(Path("kept.tsf"), "old");
  NonlinearRegression reg;
  EXPECT_TSX_ERROR(reg.SaveTSF(Path("kept.tsf"), 9, 9), 10023,
                   "The model has not yet been defined, or the current definition is invalid");
  test::DefineExponential(reg);
  reg.Fit(kX, kY);
  ASSERT_TRUE(reg.IsSolved());
  EXPECT_TSX_ERROR(reg.SaveTSF(Path("kept.tsf"), 9, 9), 10034,
                   "Requested method or property is not valid for external models");

  DefineUserModel(reg);
  std::int32_t in_run = 0;
  reg.Events.IterationComplete = [&](std::int32_t, double, bool&) {
    try {
      reg.SaveTSF(Path("kept.tsf"), 8, 0);
    } catch (const Error& e) {
      in_run = e.HelpContext();
    }
  };
  reg.Fit(kX, kY);
  EXPECT_EQ(in_run, 10033);
  for (auto [major, minor] : {std::pair{8, 1}, {7, 0}, {9, 0}}) {
    EXPECT_TSX_ERROR(reg.SaveTSF(Path("kept.tsf"), major, minor), 10036,
                     "Version of Tessara specified in SaveTSF method is not supported");
  }
  EXPECT_EQ(ReadFile(Path("kept.tsf")), "old");
  EXPECT_EQ(Entries(), std::set<std::string>{"kept.tsf"});

  EXPECT_TSX_ERROR(reg.SaveTSF(Path("missing/file.tsf"), 8, 0), 10010, "Error writing to file");
  EXPECT_TSX_ERROR(reg.SaveTSF(dir_, 8, 0), 10010, "Error writing to file");

  // A writable file in a read-only folder: the new file cannot be made
  // beside it, and the old one is kept whole.
  ScopedNoPermissionOverride as_a_user;
  ASSERT_EQ(chmod(dir_.c_str(), 0555), 0);
  if (faccessat(AT_FDCWD, dir_.c_str(), W_OK, AT_EACCESS) == 0) GTEST_SKIP() << "runs as superuser";
  EXPECT_TSX_ERROR(reg.SaveTSF(Path("kept.tsf"), 8, 0), 10010, "Error writing to file");
  EXPECT_EQ(ReadFile(Path("kept.tsf")), "old");
  EXPECT_EQ(Entries(), std::set<std::string>{"kept.tsf"});
}

}  // namespace
}  // namespace tessarix
