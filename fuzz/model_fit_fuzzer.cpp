// Fuzz target: a fit of a user model and the queries after it.
//
// Input: see model_input.hpp (the seeds of model_text serve here too). The
// model_text target covers the compiler and the evaluator fast; this one
// spends its time where a text meets the solver. Promises checked:
//   - a fit of a tiny data set either solves, with finite statistics and a
//     result table holding the caller's observations, or fails normally
//     (saying why, with no table) and leaves the estimates and the caller's
//     arrays alone;
//   - every prediction, derivative, root and integral that is delivered is
//     finite, roots lie in the scanned range (see RequireScanRoots); a query that
//     cannot answer raises its own error;
//   - under both separator sets; a smaller model after the input's on the
//     same object and the input after a larger model (the program grows)
//     stay safe;
//   - the class of several variables (x1, x2, ...) fits and answers its
//     queries under the same promises;
//   - the decimal-comma pass fits with the trust-region method, exact
//     derivatives and vector math, the several-variable fit with exact
//     derivatives.
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "fuzz_support.hpp"
#include "model_input.hpp"
#include "tessarix/core/multiple_nonlinear_regression.hpp"
#include "tessarix/core/nonlinear_regression.hpp"

namespace tessarix::fuzz {
namespace {

// Romberg integration may take 2^19 evaluations; kept to models short
// enough for that to stay fast.
constexpr std::size_t kMaxIntegralText = 200;

const std::vector<double> kX = {0.5, 1.0, 1.5, 2.0, 2.5, 3.0, 3.5, 4.0};
const std::vector<double> kY = {1.2, 1.9, 3.1, 3.9, 5.2, 5.8, 7.1, 8.0};

void CheckSolved(NonlinearRegression& reg, std::size_t n) {
  for (double v : {reg.R2(), reg.R2Adjust(), reg.SSE(), reg.SSENorm(), reg.SST(), reg.SSR(), reg.StandardError(),
                   reg.DurbinWatson(), reg.ProbF(), reg.ResidualSum(), reg.ResidualAverage()}) {
    RequireFinite(v, "statistic");
  }
  TSX_FUZZ_CHECK(reg.NumObservations() == static_cast<std::int32_t>(n), "NumObservations");
  const auto parameters = reg.RegressionParameters();
  for (const auto& p : *parameters) {
    RequireFinite(p->Value(), "parameter value");
    RequireFinite(p->StandardError(), "parameter standard error");
    RequireFinite(p->ProbT(), "parameter ProbT");
    RequireFinite(p->CalculateCIDelta(95.0), "confidence interval");
  }
  for (std::int32_t i = 1; i <= parameters->Count(); ++i) {
    RequireFinite(parameters->CalculateCovariance(i, 1), "covariance");
  }
  const auto tables = reg.ResultTables();
  TSX_FUZZ_CHECK(tables->Count() >= 4, "result table columns");
  for (const auto& column : *tables) RequireAllFinite(column->ExportToArray(), "result table");
}

// The post-fit queries; each may refuse with its own error, never with a NaN.
void Query(NonlinearRegression& reg, std::size_t text_size) {
  for (double x : {1.7, 0.0, -2.0, 1e6}) {
    double y = 0.0;
    if (AttemptExpecting("PredictValue", {ErrorCode::ModelEvaluationError}, [&] { y = reg.PredictValue(x); }) == 0) {
      RequireFinite(y, "PredictValue");
    }
    if (AttemptExpecting("CalculateDerivative", {ErrorCode::DerivativeError},
                         [&] { y = reg.CalculateDerivative(x); }) == 0) {
      RequireFinite(y, "CalculateDerivative");
    }
  }
  std::vector<double> ys;
  if (AttemptExpecting("PredictArray", {ErrorCode::ModelEvaluationError}, [&] { ys = reg.PredictArray(kX); }) == 0) {
    TSX_FUZZ_CHECK(ys.size() == kX.size(), "PredictArray size");
    RequireAllFinite(ys, "PredictArray");
  }
  std::vector<double> roots;
  AttemptExpecting("CalculateRoots", {}, [&] { roots = reg.CalculateRoots(4.0, 4.0, 0.5, 20); });
  RequireScanRoots(roots, 0.5, 4.0, "CalculateRoots");
  if (text_size <= kMaxIntegralText) {
    double integral = 0.0;
    if (AttemptExpecting("CalculateIntegral", {ErrorCode::IntegralError},
                         [&] { integral = reg.CalculateIntegral(0.5, 4.0); }) == 0) {
      RequireFinite(integral, "CalculateIntegral");
    }
  }
}

// A fit of the tiny data set and the queries after it.
void FitAndQuery(NonlinearRegression& reg, std::size_t text_size) {
  reg.SetMaxIterations(12);
  reg.SetMaxUnchangedIterations(3);
  const auto parameters = reg.RegressionParameters();
  std::vector<double> estimates;
  for (const auto& p : *parameters) estimates.push_back(p->InitialEstimate());
  const std::vector<double> x = kX, y = kY;
  const std::int32_t error = Attempt("Fit", [&] { reg.Fit(x, y); });
  TSX_FUZZ_CHECK(error == 0, "Fit raised on a defined model and good arrays: " + reg.LastSolveError());
  TSX_FUZZ_CHECK(SameBits(x, kX) && SameBits(y, kY), "the fit changed the caller's arrays");
  std::vector<double> after;
  for (const auto& p : *parameters) after.push_back(p->InitialEstimate());
  TSX_FUZZ_CHECK(SameBits(estimates, after), "the fit changed the initial estimates of a user model");
  if (!reg.IsSolved()) {
    TSX_FUZZ_CHECK(reg.LastSolveError() != "No errors" && !reg.LastSolveError().empty(),
                   "a failed fit without a reason");
    TSX_FUZZ_CHECK(reg.ResultTables()->Count() == 0, "a failed fit left a result table");
    AttemptExpecting("R2 unsolved", {ErrorCode::ModelNotSolved}, [&] { (void)reg.R2(); });
    return;
  }
  CheckSolved(reg, kX.size());
  const auto tables = reg.ResultTables();
  TSX_FUZZ_CHECK(SameBits(tables->Item(1)->ExportToArray(), kX), "result table X differs from the data");
  TSX_FUZZ_CHECK(SameBits(tables->Item(2)->ExportToArray(), kY), "result table Y differs from the data");
  Query(reg, text_size);
}

// The class of several variables: the same text with x1 .. xm.
void SeveralVariables(const std::vector<std::string>& lines, std::size_t text_size) {
  SetSystemSeparators(EnglishSeparators());
  MultipleNonlinearRegression reg;
  if (AttemptExpecting("Multiple DefineUserModel", kSeveralVariableDefinitionErrors,
                       [&] { Define(reg, lines, tsxLocaleEnglish, false); }) != 0) {
    return;
  }
  const std::int32_t m = reg.NumIndependentVariables();
  TSX_FUZZ_CHECK(m >= 1 && m <= 50, "NumIndependentVariables out of range");
  reg.SetMaxIterations(12);
  reg.SetMaxUnchangedIterations(3);
  reg.SetDerivativeMethod(tsxDerivativeExact);
  constexpr std::int32_t kRows = 12;
  Matrix x(kRows, m);
  std::vector<double> y(kRows);
  for (std::int32_t i = 0; i < kRows; ++i) {
    for (std::int32_t j = 0; j < m; ++j) x(i, j) = 0.5 + 0.25 * i + 0.125 * ((i * 7 + j * 3) % 5);
    y[static_cast<std::size_t>(i)] = 1.0 + 0.8 * i + 0.1 * (i % 3);
  }
  const std::int32_t error = Attempt("Multiple Fit", [&] { reg.Fit(x, y); });
  TSX_FUZZ_CHECK(error == 0, "Fit raised on a defined model and good arrays: " + reg.LastSolveError());
  if (!reg.IsSolved()) {
    TSX_FUZZ_CHECK(reg.ResultTables()->Count() == 0, "a failed fit left a result table");
    return;
  }
  for (double v : {reg.R2(), reg.SSE(), reg.StandardError(), reg.ProbF(), reg.DurbinWatson()}) {
    RequireFinite(v, "several variables: statistic");
  }
  for (const auto& p : *reg.RegressionParameters()) RequireFinite(p->Value(), "several variables: parameter");
  for (const auto& column : *reg.ResultTables()) RequireAllFinite(column->ExportToArray(), "several variables: table");
  const std::vector<double> point(static_cast<std::size_t>(m), 1.25);
  double v = 0.0;
  if (AttemptExpecting("Multiple PredictValue", {ErrorCode::ModelEvaluationError},
                       [&] { v = reg.PredictValue(point); }) == 0) {
    RequireFinite(v, "several variables: PredictValue");
  }
  if (AttemptExpecting("Multiple CalculateDerivative", {ErrorCode::DerivativeError},
                       [&] { v = reg.CalculateDerivative(point, m - 1); }) == 0) {
    RequireFinite(v, "several variables: CalculateDerivative");
  }
  if (text_size <= kMaxIntegralText) {
    std::vector<double> roots;
    AttemptExpecting("Multiple CalculateRoots", {}, [&] { roots = reg.CalculateRoots(4.0, point, 0, 0.5, 4.0, 20); });
    RequireScanRoots(roots, 0.5, 4.0, "several variables: CalculateRoots");
  }
}

}  // namespace
}  // namespace tessarix::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace tessarix;
  using namespace tessarix::fuzz;
  if (size > kMaxModelInput) return -1;
  const std::vector<std::string> lines = ReadModelInput(data, size).lines;

  // Fits under both separator sets; then a smaller model on the same object,
  // whose program now holds the records of both.
  for (int pass = 0; pass < 2; ++pass) {
    SetSystemSeparators(pass == 0 ? EnglishSeparators() : DecimalCommaSeparators());
    NonlinearRegression reg;
    if (pass == 1) {
      // The opt-in machinery under the same promises: the trust-region
      // method, the text differentiated exactly, the vector routines.
      reg.SetSolverMethod(tsxSolverTrustRegion);
      reg.SetDerivativeMethod(tsxDerivativeExact);
      reg.SetVectorMath(true);
    }
    if (Attempt("DefineUserModel", [&] { Define(reg, lines, tsxLocaleEnglish, false); }) == 0) {
      FitAndQuery(reg, size);
    }
    if (pass == 0 && Attempt("DefineUserModel a*x+b", [&] { reg.DefineUserModel("a*x+b"); }) == 0) {
      FitAndQuery(reg, 0);
    }
  }

  // A model with many parameters first, then the input on the same object.
  SetSystemSeparators(EnglishSeparators());
  NonlinearRegression grown;
  grown.DefineUserModel("a+b*x+c*x^2+d*x^3+e*x^4+f*x^5");
  if (Attempt("DefineUserModel after a larger model", [&] { Define(grown, lines, tsxLocaleEnglish, false); }) == 0) {
    FitAndQuery(grown, size);
  }
  SeveralVariables(lines, size);
  return 0;
}
