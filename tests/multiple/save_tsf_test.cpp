// MultipleNonlinearRegression::SaveTSF: the checks before the write.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "resultfile/tsf_files.hpp"
#include "support/test_helpers.hpp"
#include "tessarix/multiple/multiple_nonlinear_regression.hpp"

namespace tessarix {
namespace {

using MultipleSaveTsfTest = TsfFileTest;

TEST_F(MultipleSaveTsfTest, RefusesNoModelAndExternalModelsBeforeTheVersionAndTheWidth) {
  MultipleNonlinearRegression r;
  EXPECT_TSX_ERROR(r.SaveTSF(Path("out.tsf"), 9, 9), 10023,
                   "The model has not yet been defined, or the current definition is invalid");
  // 21 variables would be too wide for version 8.0, but the kind is refused first.
  std::vector<std::string> names;
  for (char c = 'a'; c <= 'v'; ++c) names.emplace_back(1, c);
  r.DefineExternalModel(21, names);
  for (auto [major, minor] : {std::pair{8, 0}, {7, 1}, {9, 9}}) {
    EXPECT_TSX_ERROR(r.SaveTSF(Path("out.tsf"), major, minor), 10034,
                     "Requested method or property is not valid for external models");
  }
  EXPECT_TRUE(Entries().empty());
}

}  // namespace
}  // namespace tessarix
