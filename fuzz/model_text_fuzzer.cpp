// Fuzz target: the text of a user model.
//
// Input: the model text. With line feeds, the first line is Y and the lines
// after it are F1 .. F9 (DefineUserModelSub); a single line is a plain
// DefineUserModel. The text is defined three ways:
//   A  English separators, tsxLocaleEnglish;
//   B  decimal-comma separators, tsxLocaleEnglish (the library converts);
//   C  decimal-comma separators, tsxLocaleLocal, with the text converted here.
// Promises checked:
//   - a definition either succeeds or raises a model-definition error;
//   - where the text holds no ";" (so that both conversions are lossless) the
//     three agree: the same error or the same parameters, the same English
//     form, and the same value bit for bit at every point;
//   - every value, parameter derivative, statistic, prediction, derivative,
//     root and integral that is delivered is finite; a failed evaluation is
//     reported, never a NaN;
//   - a fit of a tiny data set either solves, with finite statistics and a
//     result table holding the caller's observations, or fails normally and
//     leaves the estimates alone;
//   - a second definition on the same object (the program grows) stays safe;
//   - the class of several variables (x1, x2, ...) defines, fits and answers
//     its queries under the same promises.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "fuzz_support.hpp"
#include "tessarix/core/multiple_nonlinear_regression.hpp"
#include "tessarix/core/nonlinear_regression.hpp"
#include "tessarix/language/text_model.hpp"
#include "tessarix/numerics/extrapolated_derivative.hpp"

namespace tessarix::fuzz {
namespace {

constexpr std::size_t kMaxInput = 2048;
// Romberg integration may take 2^19 evaluations; kept to models short
// enough for that to stay fast.
constexpr std::size_t kMaxIntegralText = 200;

const std::vector<double> kX = {0.5, 1.0, 1.5, 2.0, 2.5, 3.0, 3.5, 4.0};
const std::vector<double> kY = {1.2, 1.9, 3.1, 3.9, 5.2, 5.8, 7.1, 8.0};
const std::vector<double> kPoints = {0.0, 1.0, -1.0, 0.5, 2.75, 1e-300, -3.5, 1e10, -1e300, 710.0};

const std::initializer_list<ErrorCode> kDefinitionErrors = {
    ErrorCode::GeneralError,      ErrorCode::ModelSyntax,
    ErrorCode::ModelCyclic,       ErrorCode::ModelUndefinedSubReference,
    ErrorCode::ModelMissingSub,   ErrorCode::ModelNoIndependentVariables,
    ErrorCode::ModelNoParameters,
};
// The several-variable mode adds "one of x1..xm missing".
const std::initializer_list<ErrorCode> kSeveralVariableDefinitionErrors = {
    ErrorCode::GeneralError,
    ErrorCode::ModelSyntax,
    ErrorCode::ModelCyclic,
    ErrorCode::ModelUndefinedSubReference,
    ErrorCode::ModelMissingSub,
    ErrorCode::ModelNoIndependentVariables,
    ErrorCode::ModelIndependentVariableMissing,
    ErrorCode::ModelNoParameters,
};

struct Outcome {
  std::int32_t error = 0;
  std::vector<std::string> parameters;
  std::string english_y;
  std::vector<double> values;  // at kPoints; NaN marks a failed evaluation
};

std::string ToLocalText(const std::string& english) {
  std::string local = english;
  for (char& c : local) {
    if (c == '.') {
      c = ',';
    } else if (c == ',') {
      c = ';';
    }
  }
  return local;
}

ModelDefinition MakeDefinition(const std::vector<std::string>& lines, bool local) {
  ModelDefinition def;
  auto text = [&](std::size_t i) { return local ? ToLocalText(lines[i]) : lines[i]; };
  def.SetY(text(0));
  using Setter = void (ModelDefinition::*)(const std::string&);
  static constexpr Setter kSetters[] = {&ModelDefinition::SetF1, &ModelDefinition::SetF2, &ModelDefinition::SetF3,
                                        &ModelDefinition::SetF4, &ModelDefinition::SetF5, &ModelDefinition::SetF6,
                                        &ModelDefinition::SetF7, &ModelDefinition::SetF8, &ModelDefinition::SetF9};
  for (std::size_t k = 1; k < lines.size() && k <= 9; ++k) (def.*kSetters[k - 1])(text(k));
  return def;
}

void Define(RegressionObject& reg, const std::vector<std::string>& lines, InputLocaleEnum locale, bool local_text) {
  if (lines.size() == 1) {
    reg.DefineUserModel(local_text ? ToLocalText(lines[0]) : lines[0], locale, "fuzz");
  } else {
    reg.DefineUserModelSub(MakeDefinition(lines, local_text), locale);
  }
}

detail::DataStatistics TinyStatistics() {
  std::vector<double> x(kX.size() + 1), y(kY.size() + 1);
  std::copy(kX.begin(), kX.end(), x.begin() + 1);
  std::copy(kY.begin(), kY.end(), y.begin() + 1);
  return detail::ComputeDataStatistics(x.data(), y.data(), static_cast<std::int32_t>(kX.size()));
}

// The language's door directly: values at every point and the parameter
// derivatives the fit would take, with every parameter at `start`.
std::vector<double> EvaluateThroughLanguage(const std::vector<std::string>& lines, InputLocaleEnum locale,
                                            const SystemSeparators& separators, bool local_text, double start) {
  detail::TextModel model;
  ModelDefinition english, local;
  std::vector<std::string> names;
  const std::int32_t error = AttemptExpecting("TextModel::Define", kDefinitionErrors, [&] {
    names = model.Define(MakeDefinition(lines, local_text), locale, separators, english, local);
  });
  if (error != 0) return {};
  std::vector<double> parameters(names.size() + 1, start);
  const detail::DataStatistics words = TinyStatistics();
  std::vector<double> values;
  for (double x : kPoints) {
    double y = -12345.0;
    if (model.Evaluate(parameters.data(), x, words, y)) {
      RequireFinite(y, "TextModel::Evaluate");
      values.push_back(y);
    } else {
      TSX_FUZZ_CHECK(y == -12345.0, "a failed evaluation changed its result");
      values.push_back(std::nan(""));
    }
  }
  detail::Matrix1 table(detail::kDerivativeTableRows, detail::kDerivativeTableRows);
  for (std::size_t l = 1; l < parameters.size() && l <= 6; ++l) {
    for (double x : {0.0, 1.5}) {
      const double held = parameters[l];
      const auto f = [&](double trial, double& y) {
        parameters[l] = trial;
        return model.Evaluate(parameters.data(), x, words, y);
      };
      double derivative = 0.0;
      if (detail::ExtrapolatedDerivative(f, held, detail::kDerivativeStepShrinkSquared, table, derivative)) {
        RequireFinite(derivative, "parameter derivative");
      }
      parameters[l] = held;
    }
  }
  return values;
}

Outcome DefineOutcome(const std::vector<std::string>& lines, const SystemSeparators& separators, InputLocaleEnum locale,
                      bool local_text) {
  SetSystemSeparators(separators);
  NonlinearRegression reg;
  Outcome outcome;
  outcome.error =
      AttemptExpecting("DefineUserModel", kDefinitionErrors, [&] { Define(reg, lines, locale, local_text); });
  if (outcome.error != 0) {
    TSX_FUZZ_CHECK(!reg.IsValidModel(), "a failed definition left a valid model");
    TSX_FUZZ_CHECK(reg.RegressionParameters()->Count() == 0, "a failed definition left parameters");
    return outcome;
  }
  TSX_FUZZ_CHECK(reg.IsValidModel(), "a definition that raised nothing left no valid model");
  for (const auto& p : *reg.RegressionParameters()) outcome.parameters.push_back(p->Name());
  TSX_FUZZ_CHECK(!outcome.parameters.empty(), "a valid model without parameters");
  outcome.english_y = reg.ModelDefinition().Y();
  outcome.values = EvaluateThroughLanguage(lines, locale, separators, local_text, 1.0);
  TSX_FUZZ_CHECK(outcome.values.size() == kPoints.size(), "the language refused a model the object accepted");
  return outcome;
}

bool SameValues(const std::vector<double>& a, const std::vector<double>& b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (std::isnan(a[i]) != std::isnan(b[i])) return false;
    if (!std::isnan(a[i]) && !SameBits({&a[i], 1}, {&b[i], 1})) return false;
  }
  return true;
}

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
  RequireAllFinite(roots, "CalculateRoots");
  for (std::size_t i = 0; i < roots.size(); ++i) {
    TSX_FUZZ_CHECK(roots[i] >= 0.5 && roots[i] <= 4.0, "a root outside the interval");
    TSX_FUZZ_CHECK(i == 0 || roots[i - 1] < roots[i], "roots not ascending or repeated");
  }
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
    RequireAllFinite(roots, "several variables: CalculateRoots");
  }
}

}  // namespace
}  // namespace tessarix::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace tessarix;
  using namespace tessarix::fuzz;
  if (size > kMaxInput) return -1;
  std::vector<std::string> lines(1);
  for (std::size_t i = 0; i < size; ++i) {
    if (data[i] == '\n') {
      if (lines.size() == 10) break;
      lines.emplace_back();
    } else {
      lines.back() += static_cast<char>(data[i]);
    }
  }
  bool has_semicolon = false, has_rnd = false;
  for (const std::string& line : lines) {
    has_semicolon = has_semicolon || line.find(';') != std::string::npos;
    std::string lower = line;
    for (char& c : lower) c = static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
    has_rnd = has_rnd || lower.find("rnd") != std::string::npos;
  }

  const Outcome a = DefineOutcome(lines, EnglishSeparators(), tsxLocaleEnglish, false);
  const Outcome b = DefineOutcome(lines, DecimalCommaSeparators(), tsxLocaleEnglish, false);
  const Outcome c = DefineOutcome(lines, DecimalCommaSeparators(), tsxLocaleLocal, true);
  if (a.error == 0) TSX_FUZZ_CHECK(a.english_y == lines[0], "ModelDefinition().Y() is not the text as given");
  if (!has_semicolon) {
    for (const Outcome* other : {&b, &c}) {
      TSX_FUZZ_CHECK(other->error == a.error, "the locales disagree on the definition's error");
      TSX_FUZZ_CHECK(other->parameters == a.parameters, "the locales disagree on the parameters");
      TSX_FUZZ_CHECK(other->english_y == a.english_y, "the locales disagree on the English form");
      if (!has_rnd) TSX_FUZZ_CHECK(SameValues(other->values, a.values), "the locales disagree on the model's values");
    }
  }

  // Fits under both separator sets; then a smaller model on the same object,
  // whose program now holds the records of both.
  for (int pass = 0; pass < 2; ++pass) {
    SetSystemSeparators(pass == 0 ? EnglishSeparators() : DecimalCommaSeparators());
    NonlinearRegression reg;
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
