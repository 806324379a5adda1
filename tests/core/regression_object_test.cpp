// NonlinearRegression as an object: defaults, guards, settings, parameters.
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "external_models.hpp"
#include "support/test_helpers.hpp"
#include "tessarix/core/nonlinear_regression.hpp"

namespace tessarix {
namespace {

const char* const kNotDefined = "The model has not yet been defined, or the current definition is invalid";
const char* const kNotSolved = "The model is not solved, the requested property is not available";
const char* const kLocked = "Requested method or property is locked and cannot be accessed during solution";

// Data of y = 2 exp(0.3 x) with a little noise, solved quickly.
void FitExponential(NonlinearRegression& reg) {
  const std::vector<double> x{0, 1, 2, 3, 4, 5, 6};
  const std::vector<double> y{2.01, 2.69, 3.65, 4.91, 6.65, 8.95, 12.12};
  reg.Fit(x, y);
}

TEST(NonlinearRegressionObject, FreshObjectHasItsDefaults) {
  NonlinearRegression reg;
  EXPECT_FALSE(reg.IsValidModel());
  EXPECT_FALSE(reg.IsSolved());
  EXPECT_EQ(reg.MaxIterations(), 250);
  EXPECT_EQ(reg.MaxUnchangedIterations(), 10);
  EXPECT_EQ(reg.RegressionTolerance(), 1e-10);
  EXPECT_EQ(reg.LastSolveError(), "No errors");
  EXPECT_EQ(reg.Tag(), "");
  EXPECT_EQ(reg.SolutionLog(), "");
  EXPECT_EQ(reg.RegressionParameters()->Count(), 0);
  EXPECT_EQ(reg.RegressionParameters(), reg.RegressionParameters());
  EXPECT_EQ(reg.ResultTables()->Count(), 0);
  EXPECT_TRUE(reg.ResultTables()->IsReadOnly());
  reg.SetTag("run 7");
  EXPECT_EQ(reg.Tag(), "run 7");
}

TEST(NonlinearRegressionObject, UndefinedModelGuardsComeFirst) {
  NonlinearRegression reg;
  EXPECT_TSX_ERROR(reg.ModelType(), 10023, kNotDefined);
  EXPECT_TSX_ERROR(reg.R2(), 10023, kNotDefined);  // not 10029: the model guard comes first
  EXPECT_TSX_ERROR(reg.NumIterations(), 10023, kNotDefined);
  EXPECT_TSX_ERROR(reg.ModelDefinition(), 10023, kNotDefined);
  EXPECT_TSX_ERROR(reg.NumIndependentVariables(), 10023, kNotDefined);
  // The guards of the getters leave the last error text alone.
  EXPECT_EQ(reg.LastSolveError(), "No errors");
}

TEST(NonlinearRegressionObject, DefinedExternalModel) {
  NonlinearRegression reg;
  test::DefineExponential(reg);
  EXPECT_TRUE(reg.IsValidModel());
  EXPECT_EQ(reg.ModelType(), tsxModelExternal);
  EXPECT_EQ(reg.NumIndependentVariables(), 1);
  EXPECT_TSX_ERROR(reg.ModelDefinition(), 10034, "Requested method or property is not valid for external models");
  EXPECT_TSX_CODE(reg.ModelDefinitionLocal(), 10034);
  EXPECT_TSX_ERROR(reg.SSE(), 10029, kNotSolved);
  EXPECT_TSX_CODE(reg.IsWeighted(), 10029);
  const auto params = reg.RegressionParameters();
  ASSERT_EQ(params->Count(), 2);
  EXPECT_EQ(params->Item(1)->Name(), "a");
  EXPECT_EQ(params->Item(2)->Name(), "b");
  EXPECT_EQ(params->Item(2)->InitialEstimate(), 1.0);
  EXPECT_EQ(params->Item(2)->InitialEstimateType(), tsxEstimateAdjust);
  EXPECT_TSX_ERROR(params->Item(1)->Value(), 10029, kNotSolved);
}

TEST(NonlinearRegressionObject, SettersRefuseBadValuesAndKeepTheOld) {
  NonlinearRegression reg;
  EXPECT_TSX_ERROR(reg.SetMaxIterations(0), 10027, "Invalid property value");
  EXPECT_EQ(reg.MaxIterations(), 250);
  EXPECT_TSX_CODE(reg.SetMaxUnchangedIterations(0), 10027);
  EXPECT_EQ(reg.MaxUnchangedIterations(), 10);
  EXPECT_TSX_CODE(reg.SetRegressionTolerance(0.0), 10027);
  EXPECT_TSX_CODE(reg.SetRegressionTolerance(-1e-5), 10027);
  EXPECT_TSX_CODE(reg.SetRegressionTolerance(std::nan("")), 10027);
  EXPECT_EQ(reg.RegressionTolerance(), 1e-10);
  reg.SetMaxIterations(1);
  reg.SetMaxUnchangedIterations(3);
  reg.SetRegressionTolerance(0.5);
  EXPECT_EQ(reg.MaxIterations(), 1);
  EXPECT_EQ(reg.MaxUnchangedIterations(), 3);
  EXPECT_EQ(reg.RegressionTolerance(), 0.5);
}

TEST(NonlinearRegressionObject, LockedDuringTheRunForGuardedOperations) {
  NonlinearRegression reg;
  test::DefineExponential(reg);
  int events = 0;
  reg.Events.IterationComplete = [&](std::int32_t, double, bool& abort) {
    ++events;
    EXPECT_TSX_ERROR(reg.SetMaxIterations(5), 10033, kLocked);
    EXPECT_TSX_CODE(reg.SetMaxUnchangedIterations(5), 10033);
    EXPECT_TSX_CODE(reg.SetRegressionTolerance(1.0), 10033);
    EXPECT_TSX_CODE(reg.ClearFit(), 10033);
    EXPECT_TSX_CODE(reg.DefineExternalModel(std::vector<std::string>{"q"}), 10033);
    EXPECT_TSX_CODE(reg.DefineExternalModelAlt(Variant::Array({Variant("q")})), 10033);
    const std::vector<double> x{1, 2, 3};
    EXPECT_TSX_ERROR(reg.Fit(x, x), 10033, kLocked);
    // Getters stay usable.
    EXPECT_EQ(reg.MaxIterations(), 250);
    EXPECT_FALSE(reg.IsSolved());
    abort = true;
  };
  // Near the solution, so that one iteration gives a fit the statistics accept.
  reg.RegressionParameters()->Item("a")->SetInitialEstimate(2.0);
  reg.RegressionParameters()->Item("b")->SetInitialEstimate(0.3);
  FitExponential(reg);
  EXPECT_EQ(events, 1);
  EXPECT_TRUE(reg.IsSolved());
  EXPECT_EQ(reg.MaxIterations(), 250);
  EXPECT_EQ(reg.RegressionParameters()->Count(), 2);
}

TEST(NonlinearRegressionObject, ClearFitKeepsTheModelAndTheEstimates) {
  NonlinearRegression reg;
  test::DefineExponential(reg);
  reg.RegressionParameters()->Item("b")->SetInitialEstimate(0.25);
  FitExponential(reg);
  ASSERT_TRUE(reg.IsSolved());
  EXPECT_EQ(reg.ResultTables()->Count(), 4);
  const auto held_tables = reg.ResultTables();
  reg.ClearFit();
  EXPECT_FALSE(reg.IsSolved());
  EXPECT_EQ(reg.ConvergenceReason(), tsxNotRun);
  EXPECT_TRUE(reg.IsValidModel());
  EXPECT_TSX_ERROR(reg.R2(), 10029, kNotSolved);
  EXPECT_TSX_CODE(reg.RegressionParameters()->Item(1)->Value(), 10029);
  EXPECT_EQ(reg.RegressionParameters()->Count(), 2);
  EXPECT_EQ(reg.RegressionParameters()->Item("b")->InitialEstimate(), 0.25);
  EXPECT_EQ(held_tables->Count(), 0);  // emptied in place
  EXPECT_TRUE(held_tables->IsReadOnly());
  EXPECT_EQ(reg.SolutionLog(), "");
}

TEST(NonlinearRegressionObject, DefinitionFailuresLeaveNoModel) {
  NonlinearRegression reg;
  test::DefineExponential(reg);
  FitExponential(reg);
  ASSERT_TRUE(reg.IsSolved());
  // Names are keys without regard to case.
  EXPECT_TSX_ERROR(reg.DefineExternalModel(std::vector<std::string>{"a", "b", "A"}), 10001,
                   "General Error: This key is already associated with an element of this collection");
  EXPECT_FALSE(reg.IsValidModel());
  EXPECT_FALSE(reg.IsSolved());
  EXPECT_EQ(reg.ResultTables()->Count(), 0);
  EXPECT_EQ(reg.LastSolveError(), "General Error: This key is already associated with an element of this collection");
  EXPECT_TSX_CODE(reg.ModelType(), 10023);

  EXPECT_TSX_ERROR(reg.DefineExternalModelAlt(Variant("a")), 10042, "Expected variant array");
  EXPECT_TSX_CODE(reg.DefineExternalModel(std::vector<std::string>{}), 10001);
  EXPECT_FALSE(reg.IsValidModel());

  reg.DefineExternalModelAlt(Variant::Array({Variant("k"), Variant(2)}));
  EXPECT_TRUE(reg.IsValidModel());
  EXPECT_EQ(reg.RegressionParameters()->Item(2)->Name(), "2");
}

TEST(RegressionParameters, LookupEstimatesAndDefaults) {
  NonlinearRegression reg;
  reg.DefineExternalModel(std::vector<std::string>{"Alpha", "beta"});
  const auto params = reg.RegressionParameters();
  EXPECT_EQ(params->Item("ALPHA")->Name(), "Alpha");
  EXPECT_EQ((*params)["Beta"]->Name(), "beta");
  EXPECT_EQ(params->Item(2.0)->Name(), "beta");
  EXPECT_TSX_ERROR(params->Item(0), 10002, "Invalid key or index");
  EXPECT_TSX_CODE(params->Item(3), 10002);
  EXPECT_TSX_CODE(params->Item("gamma"), 10002);
  EXPECT_TSX_CODE(params->Item(Variant()), 10002);
  std::vector<std::string> names;
  for (const auto& p : *params) names.push_back(p->Name());
  EXPECT_EQ(names, (std::vector<std::string>{"Alpha", "beta"}));

  const auto alpha = params->Item(1);
  EXPECT_TSX_ERROR(alpha->SetInitialEstimateType(static_cast<EstimateTypeEnum>(2)), 10027, "Invalid property value");
  EXPECT_EQ(alpha->InitialEstimateType(), tsxEstimateAdjust);
  alpha->SetInitialEstimate(4.5);
  alpha->SetInitialEstimateType(tsxEstimateConstant);
  EXPECT_EQ(alpha->InitialEstimate(), 4.5);
  params->SetDefaultEstimates();
  EXPECT_EQ(alpha->InitialEstimate(), 1.0);
  EXPECT_EQ(alpha->InitialEstimateType(), tsxEstimateAdjust);

  EXPECT_TSX_ERROR(params->CalculateCovariance(1, 2), 10029, kNotSolved);
  EXPECT_TSX_CODE(alpha->CalculateCIDelta(95.0), 10029);
}

TEST(RegressionParameters, CovarianceAndConfidenceOfASolvedFit) {
  NonlinearRegression reg;
  test::DefineExponential(reg);
  FitExponential(reg);
  ASSERT_TRUE(reg.IsSolved());
  const auto params = reg.RegressionParameters();
  const auto a = params->Item("a");
  const auto b = params->Item("b");
  // The covariance is unscaled: the standard errors carry the residual
  // standard error, CalculateCovariance does not.
  const double s = reg.StandardError();
  EXPECT_NEAR(a->StandardError(), std::sqrt(params->CalculateCovariance("a", "a")) * s, 1e-15);
  EXPECT_NEAR(b->StandardError(), std::sqrt(params->CalculateCovariance(2, "B")) * s, 1e-15);
  EXPECT_EQ(params->CalculateCovariance(1, 2), params->CalculateCovariance("b", "a"));
  EXPECT_LT(params->CalculateCovariance(1, 2), 0.0);  // a and b of a*exp(b*x) trade off
  EXPECT_TSX_ERROR(params->CalculateCovariance("zz", 1), 10001, "General Error: Invalid key or index");

  EXPECT_TSX_ERROR(a->CalculateCIDelta(0.0), 10028, "Invalid argument");
  EXPECT_TSX_CODE(a->CalculateCIDelta(100.0), 10028);
  // 7 observations, 2 parameters: t(0.975, 5) = 2.5706.
  EXPECT_EQ(reg.DOFError(), 5);
  EXPECT_NEAR(a->CalculateCIDelta(95.0) / a->StandardError(), 2.5706, 1e-4);
  // ProbT: two-sided p of t = value / se with 5 degrees of freedom; both
  // parameters are far from 0.
  EXPECT_LT(a->ProbT(), 1e-6);
  EXPECT_GT(a->ProbT(), 0.0);
  // With 5 degrees of freedom the two-sided p has a closed form in
  // theta = arctan(t / sqrt(5)) (loose: it cancels this far in the tail).
  for (const auto& p : *params) {
    const double theta = std::atan(std::fabs(p->Value() / p->StandardError()) / std::sqrt(5.0));
    const double c = std::cos(theta);
    const double tail = 1.0 - 2.0 / M_PI * (theta + std::sin(theta) * c * (1.0 + 2.0 / 3.0 * c * c));
    EXPECT_NEAR(p->ProbT(), tail, 1e-3 * tail) << p->Name();
  }
}

}  // namespace
}  // namespace tessarix
