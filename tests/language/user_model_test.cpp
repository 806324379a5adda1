// User models through the public object: definition, errors, the stored
// forms, and fits of text models.
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

TEST(UserModel, DefinitionRegistersSortedParameters) {
  NonlinearRegression reg;
  reg.DefineUserModel("c*x^2+B*x+a", tsxLocaleEnglish, "quadratic");
  EXPECT_TRUE(reg.IsValidModel());
  EXPECT_EQ(reg.ModelType(), tsxModelUser);
  EXPECT_EQ(ParameterNames(reg), (std::vector<std::string>{"B", "a", "c"}));
  EXPECT_EQ(reg.RegressionParameters()->Item(1)->InitialEstimate(), 1.0);
  EXPECT_EQ(reg.ModelDefinition().Y(), "c*x^2+B*x+a");
  EXPECT_EQ(reg.ModelDefinition().Description(), "quadratic");

  ModelDefinition sub;
  sub.SetY("F1+F2");
  sub.SetF1("a*x");
  sub.SetF2("b");
  reg.DefineUserModelSub(sub);
  EXPECT_EQ(ParameterNames(reg), (std::vector<std::string>{"a", "b"}));
  const ModelDefinition copy = reg.ModelDefinition();
  EXPECT_EQ(copy.F1(), "a*x");
  EXPECT_EQ(copy.F2(), "b");
  EXPECT_EQ(copy.F3(), "");
}

TEST(UserModel, DefinitionErrorsReachTheCallerWithTheirNumbers) {
  NonlinearRegression reg;
  reg.DefineUserModel("a*x");
  ModelDefinition gap;
  gap.SetY("F1+F2");
  gap.SetF1("a*x");
  gap.SetF3("b");
  EXPECT_TSX_ERROR(reg.DefineUserModelSub(gap), 10018, "Model definition error, missing sub-definition F2");
  EXPECT_FALSE(reg.IsValidModel());  // the failed definition destroyed the previous model
  EXPECT_EQ(reg.RegressionParameters()->Count(), 0);
  EXPECT_TSX_CODE(reg.ModelDefinition(), 10023);

  EXPECT_TSX_CODE(reg.DefineUserModel("a+b"), 10019);
  EXPECT_TSX_CODE(reg.DefineUserModel("x+1"), 10021);
  EXPECT_TSX_CODE(reg.DefineUserModel("a+("), 10015);
  EXPECT_EQ(reg.RegressionParameters()->Count(), 0);
  // A fault of the jump-table builder is a general error.
  NonlinearRegression marker;
  EXPECT_TSX_ERROR(marker.DefineUserModel("if(x>0,endif,b)"), 10001, "General Error: Subscript out of range");
  EXPECT_FALSE(marker.IsValidModel());
  // The object stays usable.
  reg.DefineUserModel("a*x+b");
  EXPECT_TRUE(reg.IsValidModel());
}

TEST(UserModel, LocalFormsUnderDecimalComma) {
  test::ScopedSeparators comma(test::DecimalCommaSeparators());
  NonlinearRegression reg;
  reg.DefineUserModel("a*x+1.5+max(b,x)");
  EXPECT_EQ(reg.ModelDefinition().Y(), "a*x+1.5+max(b,x)");
  EXPECT_EQ(reg.ModelDefinitionLocal().Y(), "a*x+1,5+max(b;x)");
  reg.DefineUserModel("a*x+1,5", tsxLocaleLocal);
  EXPECT_EQ(reg.ModelDefinition().Y(), "a*x+1.5");
  EXPECT_EQ(reg.ModelDefinitionLocal().Y(), "a*x+1,5");
  // Fitted with the constant read in the local form. (On a new object: the
  // program of this one still holds the first model, whose "b" now lies
  // beyond the parameter array, so that every evaluation here fails.)
  const std::vector<double> x{0, 1, 2, 3, 4};
  std::vector<double> y;
  for (double xi : x) y.push_back(2 * xi + 1.5 + 0.01 * xi * xi);
  reg.Fit(x, y);
  EXPECT_FALSE(reg.IsSolved());
  NonlinearRegression fresh;
  fresh.DefineUserModel("a*x+1,5", tsxLocaleLocal);
  fresh.Fit(x, y);
  ASSERT_TRUE(fresh.IsSolved()) << fresh.LastSolveError();
  EXPECT_NEAR(fresh.RegressionParameters()->Item(1)->Value(), 2.0 + 0.01 * 100.0 / 30.0,
              1e-9);  // 0.01 * sum x^3 / sum x^2
}

TEST(UserModel, FitsOfTextModels) {
  std::vector<double> x, y;
  for (int i = 0; i < 40; ++i) {
    x.push_back(0.25 * i);
    y.push_back(3.0 * std::exp(-0.7 * x.back()) + 0.5 + 0.01 * std::sin(7.0 * i));
  }
  NonlinearRegression reg;
  reg.DefineUserModel("a*exp(-b*x)+c");
  reg.Fit(x, y);
  ASSERT_TRUE(reg.IsSolved()) << reg.LastSolveError();
  const auto p = reg.RegressionParameters();
  EXPECT_NEAR(p->Item(1)->Value(), 3.0, 0.02);
  EXPECT_NEAR(p->Item(2)->Value(), 0.7, 0.01);
  EXPECT_NEAR(p->Item(3)->Value(), 0.5, 0.01);

  // The same with a sub-definition, a conditional and the data words.
  ModelDefinition d;
  d.SetY("if(x>=xmin,F1,0)+c*(ymax-ymax)");
  d.SetF1("a*exp(-b*x)+c");
  NonlinearRegression sub;
  sub.DefineUserModelSub(d);
  sub.Fit(x, y);
  ASSERT_TRUE(sub.IsSolved()) << sub.LastSolveError();
  for (std::int32_t i = 1; i <= 3; ++i) {
    EXPECT_NEAR(sub.RegressionParameters()->Item(i)->Value(), p->Item(i)->Value(), 1e-6);
  }

  // A model that cannot be evaluated at an observation fails the run, not
  // the caller.
  NonlinearRegression bad;
  bad.DefineUserModel("a/x+b");
  bad.Fit(x, y);
  EXPECT_FALSE(bad.IsSolved());
}

TEST(UserModel, DataWordsAreThoseOfTheFittedData) {
  // y = 2 (x - xmean) + ymean holds exactly only with the statistics of the
  // data being fitted; each fit refreshes them, and the queries after it use
  // those of the last fit.
  NonlinearRegression reg;
  reg.DefineUserModel("a*(x-xmean)+ymean");
  reg.Fit(std::vector<double>{1, 2, 3, 4, 5}, std::vector<double>{3, 5, 7, 9, 11});
  ASSERT_TRUE(reg.IsSolved()) << reg.LastSolveError();
  EXPECT_LT(reg.SSE(), 1e-12);
  EXPECT_NEAR(reg.RegressionParameters()->Item("a")->Value(), 2.0, 1e-7);
  EXPECT_NEAR(reg.PredictValue(20.0), 2.0 * (20.0 - 3.0) + 7.0, 1e-6);

  reg.Fit(std::vector<double>{15, 14, 13, 12, 11}, std::vector<double>{9, 7, 5, 3, 1});
  ASSERT_TRUE(reg.IsSolved()) << reg.LastSolveError();
  EXPECT_LT(reg.SSE(), 1e-12);
  EXPECT_NEAR(reg.PredictValue(20.0), 2.0 * (20.0 - 13.0) + 5.0, 1e-6);

  // The first observation holding the extreme: x at the smallest y.
  NonlinearRegression first;
  first.DefineUserModel("a*x+xatymin");
  first.Fit(std::vector<double>{1, 2, 3, 4, 5}, std::vector<double>{5, 3, 9, 3, 11});
  ASSERT_TRUE(first.IsSolved()) << first.LastSolveError();
  EXPECT_NEAR(first.PredictValue(0.0), 2.0, 1e-9);
}

TEST(UserModel, RedefinitionInsideASolutionIsLocked) {
  NonlinearRegression reg;
  reg.DefineUserModel("a*x+b");
  bool raised = false;
  reg.Events.IterationComplete = [&](std::int32_t, double, bool&) {
    try {
      reg.DefineUserModel("a*x");
    } catch (const Error& e) {
      raised = e.HelpContext() == 10033;
    }
  };
  reg.Fit(std::vector<double>{1, 2, 3, 4}, std::vector<double>{2, 4.1, 5.9, 8});
  EXPECT_TRUE(raised);
  EXPECT_TRUE(reg.IsSolved());
}

}  // namespace
}  // namespace tessarix
