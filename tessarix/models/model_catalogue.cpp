#include "tessarix/models/model_catalogue.hpp"

#include <array>
#include <string>
#include <vector>

#include "tessarix/models/internal/linear_terms.hpp"
#include "tessarix/models/predefined_models.hpp"

namespace tessarix::detail {
namespace {

struct ListedModel {
  std::string_view definition;
  std::string_view description;
  std::int32_t term_count;
  std::int32_t code;
};

// IDs 1 to 74, written out. The texts are literals of the model language and
// stay as they are, "x^.5" without its leading zero included.
constexpr std::array<ListedModel, 74> kListedModels = {{
    {"a*x+b", "First Order Polynomial", 2, 1},
    {"a*x^2+b*x+c", "Second Order Polynomial", 3, 2},
    {"a*x^3+b*x^2+c*x+d", "Third Order Polynomial", 4, 3},
    {"a*x^4+b*x^3+c*x^2+d*x+e", "Fourth Order Polynomial", 5, 4},
    {"a*x^5+b*x^4+c*x^3+d*x^2+e*x+f", "Fifth Order Polynomial", 6, 5},
    {"a*x^6+b*x^5+c*x^4+d*x^3+e*x^2+f*x+g", "Sixth Order Polynomial", 7, 6},
    {"a*x^7+b*x^6+c*x^5+d*x^4+e*x^3+f*x^2+g*x+h", "Seventh Order Polynomial", 8, 7},
    {"a*x^8+b*x^7+c*x^6+d*x^5+e*x^4+f*x^3+g*x^2+h*x+i", "Eighth Order Polynomial", 9, 8},
    {"a*x^9+b*x^8+c*x^7+d*x^6+e*x^5+f*x^4+g*x^3+h*x^2+i*x+j", "Ninth Order Polynomial", 10, 9},
    {"a*x^10+b*x^9+c*x^8+d*x^7+e*x^6+f*x^5+g*x^4+h*x^3+i*x^2+j*x+k", "Tenth Order Polynomial", 11, 10},
    {"a+b*log(x)", "First Order Logarithm", 2, 80},
    {"a+b*log(x)+c*log(x)^2", "Second Order Logarithm", 3, 81},
    {"a+b*log(x)+c*log(x)^2+d*log(x)^3", "Third Order Logarithm", 4, 82},
    {"a+b*log(x)+c*log(x)^2+d*log(x)^3+e*log(x)^4", "Fourth Order Logarithm", 5, 83},
    {"a+b*log(x)+c*log(x)^2+d*log(x)^3+e*log(x)^4+f*log(x)^5", "Fifth Order Logarithm", 6, 84},
    {"a+b/x", "First Order Inverse Polynomial (Hyperbolic)", 2, 60},
    {"a+b/x+c/x^2", "Second Order Inverse Polynomial", 3, 61},
    {"a+b/x+c/x^2+d/x^3", "Third Order Inverse Polynomial", 4, 62},
    {"a+b/x+c/x^2+d/x^3+e/x^4", "Fourth Order Inverse Polynomial", 5, 63},
    {"a+b/x+c/x^2+d/x^3+e/x^4+f/x^5", "Fifth Order Inverse Polynomial", 6, 64},
    {"a+b/log(x)", "First Order Inverse Logarithm", 2, 70},
    {"a+b/log(x)+c/log(x)^2", "Second Order Inverse Logarithm", 3, 71},
    {"a+b/log(x)+c/log(x)^2+d/log(x)^3", "Third Order Inverse Logarithm", 4, 72},
    {"a+b/log(x)+c/log(x)^2+d/log(x)^3+e/log(x)^4", "Fourth Order Inverse Logarithm", 5, 73},
    {"a+b/log(x)+c/log(x)^2+d/log(x)^3+e/log(x)^4+f/log(x)^5", "Fifth Order Inverse Logarithm", 6, 74},
    {"log(x-a)", "", 1, 13},
    {"1/(1+a*x)", "", 1, 11},
    {"exp(x-a)", "", 1, 12},
    {"x^a", "", 1, 15},
    {"a^(1/x)", "Root Model", 1, 16},
    {"1/(x+a)", "", 1, 14},
    {"1-1/(x^a)", "", 1, 17},
    {"log(a+b*x)", "", 2, 18},
    {"a*x^b", "Power (Freundlich)", 2, 23},
    {"a*b^x", "Modified Power", 2, 19},
    {"a*exp(b*x)", "Exponential", 2, 20},
    {"a*exp(b/x)", "Modified Exponential", 2, 21},
    {"exp(a+b*x)", "", 2, 22},
    {"a*b*x/(1+b*x)", "Rectangular Hyperbola", 2, 24},
    {"x/(a*x+b)", "", 2, 25},
    {"1/(a+b*x)", "Reciprocal Model (Shinozaki & Kira)", 2, 26},
    {"a/(1+b*x)", "", 2, 27},
    {"a*(x-b)", "Reparameterization of First Order Polynomial", 2, 28},
    {"a*(1+x)^b", "", 2, 29},
    {"a+b*log(x)", "Logarithm Model", 2, 32},
    {"1/(a+b*log(x))", "Reciprocal Logarithm Model", 2, 33},
    {"a*x^(b*x)", "Geometric Model", 2, 35},
    {"a*x^(b/x)", "Modified Geometric Model", 2, 36},
    {"a*x/(b+x)", "Saturation Growth Model", 2, 52},
    {"a+b/x", "Hyperbolic Fit", 2, 53},
    {"a*b^x*x^c", "Hoerl", 3, 37},
    {"a*b^(1/x)*x^c", "Modified Hoerl", 3, 38},
    {"1/(a+b*x+c*x^2)", "Reciprocal Quadratic (Holliday)", 3, 30},
    {"exp(a+b/x+c*log(x))", "Vapor Pressure Model", 3, 34},
    {"a+b*x+c/x^2", "Heat Capacity Model", 3, 54},
    {"a/(1+b*x+c*x^2)", "", 3, 31},
    // The trigonometric pair: one parameter, but their estimator fits two
    // terms (1 and x); the second coefficient has nowhere to go.
    {"cos(x+a)", "Trigonometric", 2, 39},
    {"sin(x+a)", "Trigonometric II", 2, 40},
    {"1-exp(-a*x^2)", "", 1, 41},
    {"exp(-a*x^2)", "", 1, 42},
    {"a*cos(x)+b*sin(x)", "Two Parameter", 2, 43},
    {"x/(a+b*x-c*x^2)", "", 3, 44},
    {"a+b*cos(x)+c*sin(x)", "", 3, 45},
    {"exp(a+b*x+c*x^2)", "", 3, 46},
    {"x/(a+b*x+c*sqr(x))", "Gunary Model", 3, 47},
    {"a*x^b*exp(-c*x)", "", 3, 48},
    {"x^a*exp(b-c*x)", "", 3, 49},
    {"a*x^b*(1-x)^c", "Beta Distribution Model", 3, 50},
    {"a*exp((-(x-b)^2)/(2*c^2))", "Gaussian (Normal) Distribution Model", 3, 51},
    {"1-exp(-x^a)", "", 1, 55},
    {"exp(-x^a)", "", 1, 56},
    {"1-exp(-a*x^b)", "", 2, 57},
    {"1-exp(-a*b^x)", "", 2, 58},
    {"exp(-exp(a-b*x))", "", 2, 59},
}};

// The fit file's short names of IDs 6 to 25.
constexpr std::int32_t kFirstLabelledId = 6;
constexpr std::array<std::string_view, 20> kFileLabels = {
    "Sixth order polynomial",         "Seventh order polynomial",        "Eighth order polynomial",
    "Ninth order polynomial",         "Tenth order polynomial",          "First order logarithm",
    "Second order logarithm",         "Third order logarithm",           "Fourth order logarithm",
    "Fifth order logarithm",          "First order inverse polynomial",  "Second order inverse polynomial",
    "Third order inverse polynomial", "Fourth order inverse polynomial", "Fifth order inverse polynomial",
    "First order inverse logarithm",  "Second order inverse logarithm",  "Third order inverse logarithm",
    "Fourth order inverse logarithm", "Fifth order inverse logarithm",
};

// ---- IDs 75 to 298, generated from the term list at compile time ----------

struct GeneratedText {
  std::array<char, 40> chars{};
  std::size_t size = 0;

  constexpr void Append(std::string_view s) {
    for (char ch : s) {
      if (size == chars.size()) throw "generated definition too long";
      chars[size++] = ch;
    }
  }
  // A coefficient and its term: "b*x*log(x)", but "b/x" for "1/x".
  constexpr void AppendTerm(char coefficient, std::string_view term) {
    Append(std::string_view(&coefficient, 1));
    if (term.starts_with("1/")) {
      Append(term.substr(1));
    } else {
      Append("*");
      Append(term);
    }
  }
  constexpr std::string_view View() const { return std::string_view(chars.data(), size); }
};

constexpr std::array<GeneratedText, kLinearRunSize> BuildLinearRunTexts() {
  std::array<GeneratedText, kLinearRunSize> texts{};
  for (std::size_t k = 0; k < texts.size(); ++k) {
    texts[k].Append("a+");
    texts[k].AppendTerm('b', kLinearTerms[kLinearRun[k].first].text);
    if (kLinearRun[k].second != 0) {
      texts[k].Append("+");
      texts[k].AppendTerm('c', kLinearTerms[kLinearRun[k].second].text);
    }
  }
  return texts;
}

constexpr std::array<GeneratedText, kLinearRunSize> kLinearRunTexts = BuildLinearRunTexts();

static_assert(kLinearRunTexts[0].View() == "a+b*x*log(x)");
static_assert(kLinearRunTexts[11].View() == "a+b/x^.5");
static_assert(kLinearRunTexts[223].View() == "a+b/x^2+c*exp(-x)");

constexpr std::array<InternalModelEntry, kLastInternalModelId + 1> BuildCatalogue() {
  std::array<InternalModelEntry, kLastInternalModelId + 1> entries{};
  for (std::int32_t id = 1; id <= 74; ++id) {
    const ListedModel& m = kListedModels[static_cast<std::size_t>(id - 1)];
    InternalModelEntry& e = entries[static_cast<std::size_t>(id)];
    e.definition = m.definition;
    e.description = m.description;
    e.file_label = m.definition;
    if (id >= kFirstLabelledId && id < kFirstLabelledId + static_cast<std::int32_t>(kFileLabels.size())) {
      e.file_label = kFileLabels[static_cast<std::size_t>(id - kFirstLabelledId)];
    }
    e.estimate_term_count = m.term_count;
    e.evaluation_code = m.code;
  }
  for (std::int32_t id = kLinearRunFirstId; id <= kLinearRunLastId; ++id) {
    const auto k = static_cast<std::size_t>(id - kLinearRunFirstId);
    InternalModelEntry& e = entries[static_cast<std::size_t>(id)];
    e.definition = kLinearRunTexts[k].View();
    e.file_label = e.definition;
    e.estimate_term_count = kLinearRun[k].second == 0 ? 2 : 3;
    e.evaluation_code = id + kLinearRunCodeOffset;
  }
  return entries;
}

constexpr std::array<InternalModelEntry, kLastInternalModelId + 1> kCatalogue = BuildCatalogue();

// Parameter count by evaluation code, from the catalogue itself.
constexpr std::array<std::int32_t, kLastEvaluationCode + 1> BuildParameterCounts() {
  std::array<std::int32_t, kLastEvaluationCode + 1> counts{};
  for (std::int32_t id = 1; id <= kLastInternalModelId; ++id) {
    const InternalModelEntry& e = kCatalogue[static_cast<std::size_t>(id)];
    const bool trigonometric = e.evaluation_code == 39 || e.evaluation_code == 40;
    counts[static_cast<std::size_t>(e.evaluation_code)] = trigonometric ? 1 : e.estimate_term_count;
  }
  return counts;
}

constexpr std::array<std::int32_t, kLastEvaluationCode + 1> kParameterCounts = BuildParameterCounts();

static_assert(kCatalogue[36].evaluation_code == 20 && kCatalogue[36].definition == "a*exp(b*x)");
static_assert(kCatalogue[298].evaluation_code == 313);
static_assert(kParameterCounts[65] == 0 && kParameterCounts[39] == 1 && kParameterCounts[10] == 11);

}  // namespace

const InternalModelEntry* FindInternalModel(std::int32_t model_id) noexcept {
  if (model_id < kFirstInternalModelId || model_id > kLastInternalModelId) {
    return nullptr;
  }
  return &kCatalogue[static_cast<std::size_t>(model_id)];
}

std::int32_t ParameterCountOfCode(std::int32_t evaluation_code) noexcept {
  if (evaluation_code < 0 || evaluation_code > kLastEvaluationCode) {
    return 0;
  }
  return kParameterCounts[static_cast<std::size_t>(evaluation_code)];
}

}  // namespace tessarix::detail

namespace tessarix {

const std::vector<PredefinedModelInfo>& PredefinedModels() {
  static const std::vector<PredefinedModelInfo> listing = [] {
    std::vector<PredefinedModelInfo> models;
    for (std::int32_t id = detail::kFirstInternalModelId; id <= detail::kLastInternalModelId; ++id) {
      const detail::InternalModelEntry* entry = detail::FindInternalModel(id);
      models.push_back({id, std::string(entry->definition), std::string(entry->description),
                        detail::ParameterCountOfCode(entry->evaluation_code), 1});
    }
    return models;
  }();
  return listing;
}

}  // namespace tessarix
