// The catalogue of several variables: every row against its reviewed
// expectation (golden/predefined_models_multiple.txt), every formula against
// the model language's evaluation of its text at random points, every
// analytic derivative against a numerical one, and the estimates that give
// noise-free parameters back.
#include "tessarix/models/multiple_catalogue.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "support/test_helpers.hpp"
#include "tessarix/language/text_model.hpp"
#include "tessarix/models/predefined_models.hpp"

namespace tessarix::detail {
namespace {

std::vector<std::string> GoldenLines() {
  std::ifstream in(TESSARIX_SOURCE_DIR "/tests/models/golden/predefined_models_multiple.txt");
  EXPECT_TRUE(in.is_open());
  std::vector<std::string> lines;
  for (std::string line; std::getline(in, line);) {
    if (!line.empty() && line[0] != '#') lines.push_back(line);
  }
  return lines;
}

TEST(MultipleCatalogue, EveryRowAsReviewed) {
  const std::vector<std::string> golden = GoldenLines();
  const std::vector<PredefinedModelInfo>& listing = PredefinedMultipleModels();
  ASSERT_EQ(golden.size(), 386u);
  ASSERT_EQ(listing.size(), 386u);
  for (std::size_t k = 0; k < listing.size(); ++k) {
    const PredefinedModelInfo& m = listing[k];
    SCOPED_TRACE(m.ID);
    const InternalModelEntry* e = FindMultipleInternalModel(m.ID);
    ASSERT_NE(e, nullptr);
    EXPECT_EQ(m.Definition, e->definition);
    EXPECT_EQ(m.Description, e->description);
    const std::string line = std::to_string(m.ID) + " | " + std::to_string(m.NumIndependentVariables) + " | " +
                             std::to_string(m.NumParameters) + " | " + std::to_string(e->estimate_term_count) + " | " +
                             std::to_string(e->evaluation_code) + " | " + m.Definition + " | " + m.Description + " | " +
                             std::string(e->file_label);
    EXPECT_EQ(line, golden[k]);
  }
  // The gaps between the IDs, and past the ends.
  std::int32_t listed = 0;
  for (std::int32_t id = -1; id <= 5800; ++id) {
    const bool exists = (id >= 1 && id <= 242) || (id >= 1000 && id <= 5702 && id % 100 <= 2);
    EXPECT_EQ(FindMultipleInternalModel(id) != nullptr, exists) << id;
    listed += exists ? 1 : 0;
  }
  EXPECT_EQ(listed, 386);
}

// A text compiled as a model of several variables, with its sorted names.
class CompiledText {
 public:
  explicit CompiledText(const std::string& text) {
    tessarix::ModelDefinition d;
    d.SetY(text);
    ModelDefinition english, local;
    names_ = model_.Define(d, tsxLocaleEnglish, test::EnglishSeparators(), english, local, 1);
  }
  const std::vector<std::string>& Names() const { return names_; }
  double Eval(const std::vector<double>& p, const std::vector<double>& x) {
    double y = 0.0;
    EXPECT_TRUE(model_.Evaluate(p.data(), x, stats_, y));
    return y;
  }

 private:
  TextModel model_;
  DataStatistics stats_;
  std::vector<std::string> names_;
};

std::string Replaced(std::string text, const std::string& from, const std::string& to) {
  const auto at = text.find(from);
  if (at != std::string::npos) text.replace(at, from.size(), to);
  return text;
}

// Parameters in (0.2, 0.9), so that the bases of the power models are
// positive and the exponential rows stay finite; points in (0.4, 3).
struct Draw {
  std::mt19937 random{20261124};
  std::vector<double> Values(std::size_t count, double low, double high, std::size_t first = 0) {
    std::uniform_real_distribution<double> u(low, high);
    std::vector<double> v(count + first, 0.0);
    for (std::size_t k = first; k < v.size(); ++k) v[k] = u(random);
    return v;
  }
};

TEST(MultipleCatalogue, FormulasAgreeWithTheirTextsAndDerivatives) {
  test::ScopedSeparators english(test::EnglishSeparators());
  Draw draw;
  for (const PredefinedModelInfo& m : PredefinedMultipleModels()) {
    SCOPED_TRACE(m.ID);
    const InternalModelEntry* e = FindMultipleInternalModel(m.ID);
    CompiledText shown(m.Definition);
    ASSERT_EQ(static_cast<std::int32_t>(shown.Names().size()), m.NumParameters);
    // What the arithmetic is: the text itself, except in the rows whose text
    // says otherwise: the product of "hh*x34", and the plain sum of ID 1302.
    const bool plus_defect = m.Definition.find("hh+x34") != std::string::npos;
    std::string fitted = Replaced(m.Definition, "hh+x34", "hh*x34");
    if (m.ID == 1302) fitted = m.Definition.substr(4, m.Definition.size() - 5);
    CompiledText text(fitted);
    const auto count = static_cast<std::size_t>(m.NumParameters);
    for (int trial = 0; trial < 4; ++trial) {
      const std::vector<double> p = draw.Values(count, 0.2, 0.9, 1);
      const std::vector<double> x = draw.Values(static_cast<std::size_t>(m.NumIndependentVariables), 0.4, 3.0);
      double y = 0.0;
      ASSERT_TRUE(EvaluateMultiplePredefined(e->evaluation_code, p.data(), x, y));
      EXPECT_EQ(y, text.Eval(p, x));
      if (plus_defect || m.ID == 1302) {
        EXPECT_NE(y, shown.Eval(p, x));
      }
      std::vector<double> d(count + 2, -777.0);
      ASSERT_TRUE(MultiplePredefinedDerivatives(e->evaluation_code, p.data(), x, d.data()));
      EXPECT_EQ(d[count + 1], -777.0);
      for (std::size_t j = 1; j <= count; ++j) {
        std::vector<double> q = p;
        const double h = 1e-5;
        q[j] = p[j] + h;
        const double up = text.Eval(q, x);
        q[j] = p[j] - h;
        const double numerical = (up - text.Eval(q, x)) / (2 * h);
        EXPECT_NEAR(d[j], numerical, 1e-6 * std::max(1.0, std::fabs(y))) << "parameter " << j;
      }
    }
    // A point without all the model's variables fails rather than reading on.
    const std::vector<double> p(count + 1, 0.5);
    const std::vector<double> short_point(static_cast<std::size_t>(m.NumIndependentVariables) - 1, 1.0);
    double y = 0.0;
    EXPECT_FALSE(EvaluateMultiplePredefined(e->evaluation_code, p.data(), short_point, y));
  }
}

TEST(MultipleCatalogue, EstimatesGiveNoiseFreeParametersBack) {
  Draw draw;
  for (const PredefinedModelInfo& m : PredefinedMultipleModels()) {
    if (m.ID == 1302) continue;  // estimated from log(y) of a plain sum: see the regression tests
    SCOPED_TRACE(m.ID);
    const InternalModelEntry* e = FindMultipleInternalModel(m.ID);
    const auto count = static_cast<std::size_t>(m.NumParameters);
    const std::int32_t width = m.NumIndependentVariables;
    const std::int32_t n = m.NumParameters + 20;
    const std::vector<double> p = draw.Values(count, 0.2, 0.9, 1);
    // Row 0 of the table and element 0 of y and w are not read.
    const std::vector<double> points = draw.Values(static_cast<std::size_t>((n + 1) * width), 0.4, 3.0);
    std::vector<double> y(static_cast<std::size_t>(n) + 1, 0.0), w(static_cast<std::size_t>(n) + 1, 1.0);
    for (std::int32_t i = 1; i <= n; ++i) {
      const std::span<const double> point(points.data() + i * width, static_cast<std::size_t>(width));
      ASSERT_TRUE(EvaluateMultiplePredefined(e->evaluation_code, p.data(), point, y[static_cast<std::size_t>(i)]));
    }
    std::vector<double> estimates(count, -1.0);
    ASSERT_TRUE(ObtainMultipleLeastSquaresEstimates(e->evaluation_code, e->estimate_term_count, points.data(), width,
                                                    y.data(), w.data(), n, estimates));
    for (std::size_t j = 0; j < count; ++j) EXPECT_NEAR(estimates[j], p[j + 1], 1e-6) << "parameter " << j + 1;
    // One observation that the transform cannot take fails the chain and
    // leaves the estimates alone.
    if (m.ID <= 3 || m.Description.find("Exponential") != std::string::npos) {
      y[3] = 0.0;
      std::vector<double> kept(count, -1.0);
      EXPECT_FALSE(ObtainMultipleLeastSquaresEstimates(e->evaluation_code, e->estimate_term_count, points.data(), width,
                                                       y.data(), w.data(), n, kept));
      EXPECT_EQ(kept, std::vector<double>(count, -1.0));
    }
  }
}

}  // namespace
}  // namespace tessarix::detail
