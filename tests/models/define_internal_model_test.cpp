// Pre-defined models through NonlinearRegression: the definition, its error
// and its state, and the least-squares estimates in the run with their log
// lines.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>
#include <vector>

#include "support/test_helpers.hpp"
#include "tessarix/core/nonlinear_regression.hpp"
#include "tessarix/core/regression_parameters.hpp"
#include "tessarix/platform/number_text.hpp"

namespace tessarix {
namespace {

constexpr const char* kInvalidId = "Invalid ID for pre-defined model";

// The solution log holds `line` as a whole line.
bool HasLine(const NonlinearRegression& reg, const std::string& line) {
  return ("\r\n" + reg.SolutionLog()).find("\r\n" + line + "\r\n") != std::string::npos;
}

// y = 2*exp(-1.5*x) with a small ripple, so that the fit has work to do.
struct Data {
  std::vector<double> x, y;
};
Data Exponential(double ripple = 0.0) {
  Data d;
  for (int i = 0; i < 20; ++i) {
    const double x = 0.1 * i;
    d.x.push_back(x);
    d.y.push_back(2.0 * std::exp(-1.5 * x) * (1.0 + ripple * ((i % 3) - 1)));
  }
  return d;
}

TEST(DefineInternalModel, CatalogueEntryBecomesTheModel) {
  NonlinearRegression reg;
  reg.DefineInternalModel(69);
  EXPECT_TRUE(reg.IsValidModel());
  EXPECT_EQ(reg.ModelType(), tsxModelInternal);
  EXPECT_EQ(reg.ModelDefinition().Y(), "a*exp((-(x-b)^2)/(2*c^2))");
  EXPECT_EQ(reg.ModelDefinition().Description(), "Gaussian (Normal) Distribution Model");
  const auto params = reg.RegressionParameters();
  ASSERT_EQ(params->Count(), 3);
  EXPECT_EQ(params->Item(1)->Name(), "a");
  EXPECT_EQ(params->Item(2)->Name(), "b");
  EXPECT_EQ(params->Item(3)->Name(), "c");
  // A model without description reads an empty one.
  reg.DefineInternalModel(26);
  EXPECT_EQ(reg.ModelDefinition().Y(), "log(x-a)");
  EXPECT_EQ(reg.ModelDefinition().Description(), "");
  // The trigonometric models: one parameter.
  reg.DefineInternalModel(57);
  EXPECT_EQ(reg.RegressionParameters()->Count(), 1);
}

TEST(DefineInternalModel, InvalidIdLeavesNoModel) {
  NonlinearRegression reg;
  for (std::int32_t id : {0, 299, -1}) {
    reg.DefineInternalModel(36);
    ASSERT_EQ(reg.RegressionParameters()->Count(), 2);
    EXPECT_TSX_ERROR(reg.DefineInternalModel(id), 10022, kInvalidId);
    // The earlier model is gone: the reset came first.
    EXPECT_FALSE(reg.IsValidModel());
    EXPECT_EQ(reg.RegressionParameters()->Count(), 0);
    EXPECT_TSX_CODE(reg.ModelType(), 10023);
  }
}

TEST(DefineInternalModel, SameTextTwoModels) {
  // IDs 11 and 45 share "a+b*log(x)", IDs 16 and 50 "a+b/x": one text and one
  // set of parameters, yet two entries, each with its own description and its
  // own arithmetic, whose fits agree to rounding.
  std::vector<double> x, y;
  for (int i = 0; i < 12; ++i) {
    x.push_back(0.5 + 0.25 * i);
    y.push_back(0.3 - 1.7 * std::log(x.back()) + 0.8 / x.back() + 0.01 * ((i % 3) - 1));
  }
  for (const auto& [first, second] : {std::pair{11, 45}, std::pair{16, 50}}) {
    SCOPED_TRACE(second);
    NonlinearRegression one, other;
    one.DefineInternalModel(first);
    other.DefineInternalModel(second);
    EXPECT_EQ(one.ModelDefinition().Y(), other.ModelDefinition().Y());
    EXPECT_NE(one.ModelDefinition().Description(), other.ModelDefinition().Description());
    one.Fit(x, y);
    other.Fit(x, y);
    ASSERT_TRUE(one.IsSolved() && other.IsSolved());
    for (const char* name : {"a", "b"}) {
      const double v = one.RegressionParameters()->Item(name)->Value();
      EXPECT_NEAR(other.RegressionParameters()->Item(name)->Value(), v, 1e-12 * std::max(1.0, std::fabs(v))) << name;
    }
  }
}

TEST(DefineInternalModel, LocalFormFollowsTheSeparators) {
  test::ScopedSeparators comma(test::DecimalCommaSeparators());
  NonlinearRegression reg;
  reg.DefineInternalModel(76);
  EXPECT_EQ(reg.ModelDefinition().Y(), "a+b*x^1.5");
  EXPECT_EQ(reg.ModelDefinitionLocal().Y(), "a+b*x^1,5");
  ASSERT_EQ(reg.RegressionParameters()->Count(), 2);
  const std::vector<double> x{1, 2, 3, 4, 5};
  std::vector<double> y;
  for (double v : x) y.push_back(0.5 + 3.0 * std::pow(v, 1.5));
  reg.Fit(x, y);
  ASSERT_TRUE(reg.IsSolved());
  EXPECT_NEAR(reg.RegressionParameters()->Item("b")->Value(), 3.0, 1e-12);
}

TEST(DefineInternalModel, LockedDuringTheRun) {
  NonlinearRegression reg;
  reg.DefineInternalModel(36);
  int events = 0;
  reg.Events.IterationComplete = [&](std::int32_t, double, bool& abort) {
    ++events;
    EXPECT_TSX_CODE(reg.DefineInternalModel(1), 10033);
    abort = true;
  };
  const Data d = Exponential(0.01);
  reg.Fit(d.x, d.y);
  EXPECT_EQ(events, 1);
  EXPECT_EQ(reg.ModelDefinition().Y(), "a*exp(b*x)");
}

TEST(PredefinedEstimates, ExactEstimatesFromNoiseFreeData) {
  NonlinearRegression reg;
  reg.DefineInternalModel(36);
  const Data d = Exponential();
  reg.Fit(d.x, d.y);
  ASSERT_TRUE(reg.IsSolved());
  EXPECT_TRUE(HasLine(reg, "Beginning solution for pre-defined model a*exp(b*x)"));
  EXPECT_TRUE(HasLine(reg, "Least Squares estimates successful"));
  const auto a = reg.RegressionParameters()->Item("a");
  const auto b = reg.RegressionParameters()->Item("b");
  EXPECT_NEAR(a->InitialEstimate(), 2.0, 1e-12);
  EXPECT_NEAR(b->InitialEstimate(), -1.5, 1e-12);
  EXPECT_LE(reg.NumIterations(), 2);
  EXPECT_NEAR(a->Value(), 2.0, 1e-12);
  // The queries evaluate the pre-defined formula too.
  EXPECT_NEAR(reg.PredictValue(0.5), 2.0 * std::exp(-0.75), 1e-12);
  // The library's estimate is no user setting: the next fit estimates afresh.
  const Data other = [] {
    Data e;
    for (int i = 0; i < 10; ++i) {
      e.x.push_back(i);
      e.y.push_back(0.5 * std::exp(0.2 * i));
    }
    return e;
  }();
  reg.Fit(other.x, other.y);
  EXPECT_TRUE(HasLine(reg, "Least Squares estimates successful"));
  EXPECT_NEAR(a->InitialEstimate(), 0.5, 1e-12);
}

TEST(PredefinedEstimates, FailureLeavesTheDefaults) {
  NonlinearRegression reg;
  reg.DefineInternalModel(36);
  Data d = Exponential(0.01);
  d.y[4] = 0.0;  // log(y) fails for this one observation
  reg.Fit(d.x, d.y);
  EXPECT_TRUE(HasLine(reg, "Least Squares estimates failed, using defaults"));
  EXPECT_TRUE(HasLine(reg, "a = 1 (fitted)"));
  EXPECT_TRUE(HasLine(reg, "b = 1 (fitted)"));
}

TEST(PredefinedEstimates, UserSettingSwitchesTheEstimatorOff) {
  NonlinearRegression reg;
  reg.DefineInternalModel(36);
  const Data d = Exponential(0.01);
  const auto params = reg.RegressionParameters();
  // One estimate set by the caller: no estimates for any parameter.
  params->Item("b")->SetInitialEstimate(-1.0);
  reg.Fit(d.x, d.y);
  EXPECT_TRUE(HasLine(reg, "Using user defined estimates"));
  EXPECT_TRUE(HasLine(reg, "a = 1 (fitted)"));
  EXPECT_TRUE(HasLine(reg, "b = -1 (fitted)"));
  // SetDefaultEstimates turns the estimator back on.
  params->SetDefaultEstimates();
  reg.Fit(d.x, d.y);
  EXPECT_TRUE(HasLine(reg, "Least Squares estimates successful"));
  // The estimate type alone counts as a setting too.
  params->SetDefaultEstimates();
  params->Item("a")->SetInitialEstimateType(tsxEstimateAdjust);
  reg.Fit(d.x, d.y);
  EXPECT_TRUE(HasLine(reg, "Using user defined estimates"));
}

TEST(PredefinedEstimates, TrigonometricModelsReportFailureButKeepTheirEstimate) {
  // Two estimator terms against one parameter: the first coefficient is
  // written to a, the second finds no parameter, and the log reports failure.
  for (std::int32_t id : {57, 58}) {
    SCOPED_TRACE(id);
    NonlinearRegression reg;
    reg.DefineInternalModel(id);
    std::vector<double> x, y;
    for (int i = 0; i < 12; ++i) {
      x.push_back(0.1 * i);
      y.push_back(id == 57 ? std::cos(x.back() + 0.3) : std::sin(x.back() + 0.3));
    }
    reg.Fit(x, y);
    EXPECT_TRUE(HasLine(reg, "Least Squares estimates failed, using defaults"));
    const auto a = reg.RegressionParameters()->Item("a");
    EXPECT_NEAR(a->InitialEstimate(), 0.3, 1e-12);
    EXPECT_TRUE(HasLine(reg, "a = " + detail::NumberText(a->InitialEstimate()) + " (fitted)"));
    ASSERT_TRUE(reg.IsSolved());
    EXPECT_NEAR(a->Value(), 0.3, 1e-12);
  }
}

TEST(PredefinedEstimates, GaussianFitFromItsEstimates) {
  NonlinearRegression reg;
  reg.DefineInternalModel(69);
  std::vector<double> x, y;
  for (int i = 0; i < 40; ++i) {
    x.push_back(0.05 * i);
    const double r = 1.0 + 0.002 * ((i % 5) - 2);
    y.push_back(3.0 * std::exp(-(x.back() - 0.9) * (x.back() - 0.9) / (2 * 0.25 * 0.25)) * r);
  }
  reg.Fit(x, y);
  ASSERT_TRUE(reg.IsSolved());
  EXPECT_TRUE(HasLine(reg, "Least Squares estimates successful"));
  EXPECT_NEAR(reg.RegressionParameters()->Item("a")->Value(), 3.0, 0.01);
  EXPECT_NEAR(reg.RegressionParameters()->Item("b")->Value(), 0.9, 0.001);
  EXPECT_NEAR(std::fabs(reg.RegressionParameters()->Item("c")->Value()), 0.25, 0.001);
}

}  // namespace
}  // namespace tessarix
