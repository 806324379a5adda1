// Fuzz target: the text of a user model, compiled and evaluated; no fit (the
// fits and the queries after them are the model_fit target's), so that the
// compiler and the evaluator see thousands of texts a second.
//
// Input: see model_input.hpp. The text is defined three ways:
//   A  English separators, tsxLocaleEnglish;
//   B  decimal-comma separators, tsxLocaleEnglish (the library converts);
//   C  decimal-comma separators, tsxLocaleLocal, with the text converted here.
// Promises checked:
//   - a definition either succeeds or raises a model-definition error, on the
//     object and through the language's door alike, and both agree;
//   - where the text holds no ";" (so that both conversions are lossless) the
//     three agree: the same error or the same parameters, the same English
//     form, and the same value bit for bit at every point;
//   - every value and parameter derivative that is delivered is finite; a
//     failed evaluation is reported and leaves its result alone, never a NaN;
//   - the block evaluator gives, bit for bit, the values of the evaluation
//     point by point and stops at the same failing point;
//   - a definition on an object whose program already holds a larger model
//     (the program grows) succeeds or fails as on a fresh object;
//   - the several-variable mode (x1 .. xm) defines on its class as through
//     the language, and its values, one point or a block, obey the same rules.
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "fuzz_support.hpp"
#include "model_input.hpp"
#include "tessarix/core/multiple_nonlinear_regression.hpp"
#include "tessarix/core/nonlinear_regression.hpp"
#include "tessarix/foundation/fault.hpp"
#include "tessarix/language/text_model.hpp"
#include "tessarix/numerics/extrapolated_derivative.hpp"

namespace tessarix::fuzz {
namespace {

const std::vector<double> kPoints = {0.0, 1.0, -1.0, 0.5, 2.75, 1e-300, -3.5, 1e10, -1e300, 710.0};
constexpr double kUntouched = -12345.0;

// TextModel::Define through the language's door: its catalogue errors, or a
// run-time fault of the jump-table builder, which the object reports as the
// general error (10001).
template <class F>
std::int32_t DefineThroughLanguage(std::string_view where, std::initializer_list<ErrorCode> allowed, F&& define) {
  bool fault = false;
  const std::int32_t error = AttemptExpecting(where, allowed, [&] {
    try {
      define();
    } catch (const detail::RuntimeFault&) {
      fault = true;
    }
  });
  return fault ? static_cast<std::int32_t>(ErrorCode::GeneralError) : error;
}

struct Outcome {
  std::int32_t error = 0;
  std::vector<std::string> parameters;
  std::string english_y;
  std::vector<double> values;  // at the points; NaN marks a failed evaluation
};

// Values at `count` points of `width` elements, one point at a time.
std::vector<double> PointByPoint(detail::TextModel& model, const std::vector<double>& parameters,
                                 const std::vector<double>& points, std::int32_t width) {
  std::vector<double> values;
  const auto w = static_cast<std::size_t>(width);
  for (std::size_t r = 0; r + w <= points.size(); r += w) {
    double y = kUntouched;
    if (model.Evaluate(parameters.data(), std::span<const double>(points.data() + r, w), TinyStatistics(), y)) {
      RequireFinite(y, "TextModel::Evaluate");
      values.push_back(y);
    } else {
      TSX_FUZZ_CHECK(y == kUntouched, "a failed evaluation changed its result");
      values.push_back(std::nan(""));
    }
  }
  return values;
}

// The block evaluator on a model defined afresh (so that the values the
// sub-definitions saved start as they did for `row_values`) against the
// values point by point.
void CheckBlock(detail::TextModel& model, const std::vector<double>& parameters, const std::vector<double>& points,
                std::int32_t width, const std::vector<double>& row_values, bool random) {
  const auto rows = static_cast<std::int32_t>(row_values.size());
  std::vector<double> y(row_values.size(), kUntouched);
  const std::int32_t done =
      model.EvaluateBlock(parameters.data(), points.data(), width, rows, TinyStatistics(), y.data());
  TSX_FUZZ_CHECK(done >= 0 && done <= rows, "EvaluateBlock counted outside its rows");
  for (std::int32_t r = 0; r < done; ++r) RequireFinite(y[static_cast<std::size_t>(r)], "TextModel::EvaluateBlock");
  if (random) return;
  std::int32_t first_failure = rows;
  for (std::int32_t r = 0; r < rows; ++r) {
    if (std::isnan(row_values[static_cast<std::size_t>(r)])) {
      first_failure = r;
      break;
    }
  }
  TSX_FUZZ_CHECK(done == first_failure, "the block stopped at another point than the evaluation point by point");
  for (std::int32_t r = 0; r < done; ++r) {
    const auto i = static_cast<std::size_t>(r);
    TSX_FUZZ_CHECK(SameBits({&y[i], 1}, {&row_values[i], 1}), "the block's value differs from the point's");
  }
}

// One form of the text. Through the language's door: the error or the
// parameters, the English form, and the values at every point, every
// parameter at 1. For the first form (`thorough`) also the object's
// definition, which must agree with the language's, the block evaluator and
// the parameter derivatives the fit would take; the other forms must agree
// with the first on everything else.
Outcome DefineOutcome(const ModelInput& input, const SystemSeparators& separators, InputLocaleEnum locale,
                      bool local_text, bool thorough) {
  SetSystemSeparators(separators);
  Outcome outcome;
  detail::TextModel model;
  ModelDefinition english, local;
  const ModelDefinition definition = MakeDefinition(input.lines, local_text);
  outcome.error = DefineThroughLanguage("TextModel::Define", kDefinitionErrors, [&] {
    outcome.parameters = model.Define(definition, locale, separators, english, local);
  });
  if (thorough) {
    NonlinearRegression reg;
    const std::int32_t error =
        AttemptExpecting("DefineUserModel", kDefinitionErrors, [&] { Define(reg, input.lines, locale, local_text); });
    TSX_FUZZ_CHECK(error == outcome.error, "the object and the language disagree on the definition");
    if (error != 0) {
      TSX_FUZZ_CHECK(!reg.IsValidModel(), "a failed definition left a valid model");
      TSX_FUZZ_CHECK(reg.RegressionParameters()->Count() == 0, "a failed definition left parameters");
    } else {
      TSX_FUZZ_CHECK(reg.IsValidModel(), "a definition that raised nothing left no valid model");
      std::vector<std::string> names;
      for (const auto& p : *reg.RegressionParameters()) names.push_back(p->Name());
      TSX_FUZZ_CHECK(names == outcome.parameters, "the object and the language name other parameters");
      TSX_FUZZ_CHECK(reg.ModelDefinition().Y() == english.Y(),
                     "the object and the language differ on the English form");
    }
  }
  if (outcome.error != 0) return outcome;
  TSX_FUZZ_CHECK(!outcome.parameters.empty(), "a valid model without parameters");
  TSX_FUZZ_CHECK(model.IndependentVariables() == 1, "a model of x with other than one variable");
  outcome.english_y = english.Y();
  std::vector<double> parameters(outcome.parameters.size() + 1, 1.0);
  outcome.values = PointByPoint(model, parameters, kPoints, 1);
  if (!thorough) return outcome;

  detail::TextModel fresh;
  (void)fresh.Define(definition, locale, separators, english, local);
  CheckBlock(fresh, parameters, kPoints, 1, outcome.values, input.has_rnd);
  detail::Matrix1 table(detail::kDerivativeTableRows, detail::kDerivativeTableRows);
  for (std::size_t l = 1; l < parameters.size() && l <= 6; ++l) {
    for (double x : {0.0, 1.5}) {
      const double held = parameters[l];
      const auto f = [&](double trial, double& y) {
        parameters[l] = trial;
        return model.Evaluate(parameters.data(), x, TinyStatistics(), y);
      };
      double derivative = 0.0;
      if (detail::ExtrapolatedDerivative(f, held, detail::kDerivativeStepShrinkSquared, table, derivative)) {
        RequireFinite(derivative, "parameter derivative");
      }
      parameters[l] = held;
    }
  }
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

// The class of several variables and the language in that mode.
void SeveralVariables(const ModelInput& input) {
  SetSystemSeparators(EnglishSeparators());
  MultipleNonlinearRegression reg;
  const std::int32_t object_error = AttemptExpecting("Multiple DefineUserModel", kSeveralVariableDefinitionErrors,
                                                     [&] { Define(reg, input.lines, tsxLocaleEnglish, false); });
  detail::TextModel model, fresh;
  ModelDefinition english, local;
  std::vector<std::string> names;
  const ModelDefinition definition = MakeDefinition(input.lines, false);
  const std::int32_t error = DefineThroughLanguage("TextModel::Define x1..xm", kSeveralVariableDefinitionErrors, [&] {
    names = model.Define(definition, tsxLocaleEnglish, EnglishSeparators(), english, local, 1);
  });
  TSX_FUZZ_CHECK(error == object_error, "the object and the language disagree on a several-variable definition");
  if (error != 0) {
    TSX_FUZZ_CHECK(!reg.IsValidModel(), "a failed definition left a valid model");
    return;
  }
  const std::int32_t m = model.IndependentVariables();
  TSX_FUZZ_CHECK(m >= 1 && m <= 50, "IndependentVariables out of range");
  TSX_FUZZ_CHECK(reg.NumIndependentVariables() == m, "the object and the language count other variables");
  TSX_FUZZ_CHECK(reg.RegressionParameters()->Count() == static_cast<std::int32_t>(names.size()),
                 "the object and the language name other parameters");
  std::vector<double> parameters(names.size() + 1, 1.0);
  std::vector<double> points;
  for (std::int32_t r = 0; r < 4; ++r) {
    for (std::int32_t j = 0; j < m; ++j) points.push_back(kPoints[static_cast<std::size_t>((r * 3 + j) % 10)]);
  }
  const std::vector<double> values = PointByPoint(model, parameters, points, m);
  (void)fresh.Define(definition, tsxLocaleEnglish, EnglishSeparators(), english, local, 1);
  CheckBlock(fresh, parameters, points, m, values, input.has_rnd);
}

}  // namespace
}  // namespace tessarix::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace tessarix;
  using namespace tessarix::fuzz;
  if (size > kMaxModelInput) return -1;
  const ModelInput input = ReadModelInput(data, size);

  const Outcome a = DefineOutcome(input, EnglishSeparators(), tsxLocaleEnglish, false, true);
  const Outcome b = DefineOutcome(input, DecimalCommaSeparators(), tsxLocaleEnglish, false, false);
  const Outcome c = DefineOutcome(input, DecimalCommaSeparators(), tsxLocaleLocal, true, false);
  if (a.error == 0) TSX_FUZZ_CHECK(a.english_y == input.lines[0], "the English form is not the text as given");
  if (!input.has_semicolon) {
    for (const Outcome* other : {&b, &c}) {
      TSX_FUZZ_CHECK(other->error == a.error, "the locales disagree on the definition's error");
      TSX_FUZZ_CHECK(other->parameters == a.parameters, "the locales disagree on the parameters");
      TSX_FUZZ_CHECK(other->english_y == a.english_y, "the locales disagree on the English form");
      if (!input.has_rnd) {
        TSX_FUZZ_CHECK(SameValues(other->values, a.values), "the locales disagree on the model's values");
      }
    }
  }

  // A model with many parameters first, then the input on the same object.
  SetSystemSeparators(EnglishSeparators());
  NonlinearRegression grown;
  grown.DefineUserModel("a+b*x+c*x^2+d*x^3+e*x^4+f*x^5");
  const std::int32_t error = AttemptExpecting("DefineUserModel after a larger model", kDefinitionErrors,
                                              [&] { Define(grown, input.lines, tsxLocaleEnglish, false); });
  TSX_FUZZ_CHECK(error == a.error, "a grown program changed the definition's outcome");
  if (error == 0) {
    std::vector<std::string> names;
    for (const auto& p : *grown.RegressionParameters()) names.push_back(p->Name());
    TSX_FUZZ_CHECK(names == a.parameters, "a grown program changed the parameters");
  }
  SeveralVariables(input);
  return 0;
}
