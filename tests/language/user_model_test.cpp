// User models through the public object: what the language hands to it
// (parameters, both forms of the text, the errors) and fits of text models.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "support/test_helpers.hpp"
#include "tessarix/core/nonlinear_regression.hpp"

namespace tessarix {
namespace {

std::vector<std::string> ParameterNames(const NonlinearRegression& reg) {
  std::vector<std::string> names;
  for (const auto& p : *reg.RegressionParameters()) names.push_back(p->Name());
  return names;
}

TEST(UserModel, DefinitionReachesTheObject) {
  NonlinearRegression reg;
  ModelDefinition sub;
  sub.SetY("F1+c*x^2+B");
  sub.SetF1("a*x");
  sub.SetDescription("quadratic");
  reg.DefineUserModelSub(sub);
  EXPECT_EQ(ParameterNames(reg), (std::vector<std::string>{"B", "a", "c"}));
  EXPECT_EQ(reg.ModelDefinition().F1(), "a*x");
  EXPECT_EQ(reg.ModelDefinition().F2(), "");
  EXPECT_EQ(reg.ModelDefinition().Description(), "quadratic");

  // A failed definition leaves no model; a fault of the jump-table builder is
  // a general error.
  EXPECT_TSX_ERROR(reg.DefineUserModel("a+b"), 10019,
                   "Model definition error, no independent variables detected in model");
  EXPECT_FALSE(reg.IsValidModel());
  EXPECT_EQ(reg.RegressionParameters()->Count(), 0);
  EXPECT_TSX_ERROR(reg.DefineUserModel("if(x>0,endif,b)"), 10001, "General Error: Subscript out of range");
  reg.DefineUserModel("a*x+b");
  EXPECT_TRUE(reg.IsValidModel());

  test::ScopedSeparators comma(test::DecimalCommaSeparators());
  NonlinearRegression local;
  local.DefineUserModel("a*x+1,5+max(b;x)", tsxLocaleLocal);
  EXPECT_EQ(local.ModelDefinition().Y(), "a*x+1.5+max(b,x)");
  EXPECT_EQ(local.ModelDefinitionLocal().Y(), "a*x+1,5+max(b;x)");
}

TEST(UserModel, FitsUseTheDataWordsOfTheirOwnData) {
  // A model that cannot be evaluated at an observation fails the run, not
  // the caller.
  NonlinearRegression bad;
  bad.DefineUserModel("a/x+b");
  bad.Fit(std::vector<double>{0, 1, 2}, std::vector<double>{1, 2, 3});
  EXPECT_FALSE(bad.IsSolved());

  // y = 2 (x - xmean) + ymean holds exactly only with the statistics of the
  // data being fitted; each fit refreshes them, and the queries use those of
  // the last fit.
  NonlinearRegression centred;
  centred.DefineUserModel("a*(x-xmean)+ymean");
  centred.Fit(std::vector<double>{1, 2, 3, 4, 5}, std::vector<double>{3, 5, 7, 9, 11});
  ASSERT_TRUE(centred.IsSolved()) << centred.LastSolveError();
  EXPECT_NEAR(centred.PredictValue(20.0), 2.0 * (20.0 - 3.0) + 7.0, 1e-6);
  centred.Fit(std::vector<double>{15, 14, 13, 12, 11}, std::vector<double>{9, 7, 5, 3, 1});
  ASSERT_TRUE(centred.IsSolved()) << centred.LastSolveError();
  EXPECT_LT(centred.SSE(), 1e-12);
  EXPECT_NEAR(centred.PredictValue(20.0), 2.0 * (20.0 - 13.0) + 5.0, 1e-6);
}

}  // namespace
}  // namespace tessarix
