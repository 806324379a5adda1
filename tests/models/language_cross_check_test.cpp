// The hand-written formulas against the model language's evaluation of each
// definition text, over all 298 models: the compiled text names the
// parameters a, b, c, ... in order, gives the same values (to the bit where
// the formula follows the text operator by operator, to rounding where it is
// nested by design), fails where the formula fails, and its numerical
// derivative agrees with each analytic one.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <string>
#include <vector>

#include "support/test_helpers.hpp"
#include "tessarix/language/text_model.hpp"
#include "tessarix/models/model_catalogue.hpp"
#include "tessarix/models/predefined_formulas.hpp"

namespace tessarix::detail {
namespace {

// A definition text compiled as the regression object compiles it.
class CompiledText {
 public:
  explicit CompiledText(const std::string& text) {
    tessarix::ModelDefinition d;
    d.SetY(text);
    ModelDefinition english, local;
    names_ = model_.Define(d, tsxLocaleEnglish, test::EnglishSeparators(), english, local);
  }
  const std::vector<std::string>& Names() const { return names_; }
  bool Eval(const double* p, double x, double& y) { return model_.Evaluate(p, x, stats_, y); }

 private:
  TextModel model_;
  DataStatistics stats_;
  std::vector<std::string> names_;
};

const std::vector<std::vector<double>> kParameterSets = {
    {0, 1.3, 0.7, 0.45, 0.9, 1.1, 0.6, 0.8, 1.2, 0.5, 0.75, 1.05},
    {0, -0.4, 1.6, -0.8, 0.3, -1.2, 0.9, -0.5, 0.4, -0.7, 1.1, -0.2},
    {0, 0.8, 2.1, 1.4, -0.6, 0.2, -1.1, 0.35, 0.65, -0.9, 0.15, 0.55},
    {0, 2.5, -0.3, 0.05, 1.7, -0.45, 0.25, 1.9, -0.15, 0.6, -1.3, 0.95},
};
const std::array<double, 7> kAbscissas = {-0.7, 0.0, 0.35, 0.85, 1.0, 1.7, 3.2};

// The families nested by Horner's scheme or by division: equal to the text up
// to rounding. All other formulas follow their text step by step.
bool NestedByDesign(std::int32_t id) { return id <= 25; }

// The derivative of the text by parameter j at x: central differences with
// steps h and h/2, extrapolated. False where the text fails at a shifted
// parameter.
bool NumericalDerivative(CompiledText& text, std::vector<double> p, std::size_t j, double x, double& derivative) {
  const double h = 1e-5 * std::max(1.0, std::fabs(p[j]));
  const double keep = p[j];
  auto central = [&](double step, double& out) {
    double up = 0.0, down = 0.0;
    p[j] = keep + step;
    const bool ok_up = text.Eval(p.data(), x, up);
    p[j] = keep - step;
    const bool ok_down = text.Eval(p.data(), x, down);
    out = (up - down) / (2 * step);
    return ok_up && ok_down;
  };
  double d1 = 0.0, d2 = 0.0;
  if (!central(h, d1) || !central(h / 2, d2)) return false;
  derivative = (4 * d2 - d1) / 3;
  return true;
}

TEST(LanguageCrossCheck, DefinitionTextsAgreeWithTheFormulas) {
  test::ScopedSeparators english(test::EnglishSeparators());
  for (std::int32_t id = 1; id <= 298; ++id) {
    SCOPED_TRACE(id);
    const InternalModelEntry* e = FindInternalModel(id);
    CompiledText text{std::string(e->definition)};
    const std::int32_t count = ParameterCountOfCode(e->evaluation_code);
    ASSERT_EQ(static_cast<std::int32_t>(text.Names().size()), count);
    for (std::int32_t j = 0; j < count; ++j) {
      EXPECT_EQ(text.Names()[static_cast<std::size_t>(j)], std::string(1, static_cast<char>('a' + j)));
    }
    int both = 0;
    for (const auto& p : kParameterSets) {
      for (double x : kAbscissas) {
        double by_text = 0.0, by_formula = 0.0;
        const bool text_ok = text.Eval(p.data(), x, by_text);
        const bool formula_ok = EvaluatePredefined(e->evaluation_code, p.data(), x, by_formula);
        // Horner's form at x = 0 never forms the power 0^k of the text, so
        // both may only disagree on failure where the text fails alone.
        if (!NestedByDesign(id)) {
          EXPECT_EQ(formula_ok, text_ok) << "x = " << x << " set " << p[1];
        }
        if (!(text_ok && formula_ok)) continue;
        ++both;
        std::array<double, 13> d;
        d.fill(-777.0);
        const bool derivatives_ok = PredefinedDerivatives(e->evaluation_code, p.data(), x, d.data());
        if (NestedByDesign(id)) {
          // Linear in the parameters: the derivatives are the terms, and the
          // rounding is relative to the largest of the pieces p(j)*term(j).
          ASSERT_TRUE(derivatives_ok) << "x = " << x;
          double scale = 1e-300;
          for (std::size_t j = 1; j <= static_cast<std::size_t>(count); ++j) scale += std::fabs(p[j] * d[j]);
          EXPECT_NEAR(by_formula, by_text, 1e-15 * scale) << "x = " << x;
        } else {
          EXPECT_EQ(by_formula, by_text) << "x = " << x;
        }
        // Each analytic derivative against a numerical derivative of the text.
        if (x <= 0.0 || x == 1.0) continue;  // edges of the domains of log(x) and (1-x)^c
        ASSERT_TRUE(derivatives_ok) << "x = " << x;
        // Exactly one derivative per parameter: IDs 57 and 58 have one.
        EXPECT_EQ(d[static_cast<std::size_t>(count) + 1], -777.0);
        for (std::size_t j = 1; j <= static_cast<std::size_t>(count); ++j) {
          double numerical = 0.0;
          if (!NumericalDerivative(text, p, j, x, numerical)) continue;
          EXPECT_NEAR(d[j], numerical, 1e-6 * std::max({1.0, std::fabs(d[j]), std::fabs(by_text)}))
              << "parameter " << j << " x = " << x;
        }
      }
    }
    EXPECT_GE(both, 6);
  }
}

}  // namespace
}  // namespace tessarix::detail
