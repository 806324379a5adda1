// The catalogue of the pre-defined models with one variable, gathered at
// compile time from its sources: the power series (IDs 1 to 25) and the run
// of IDs 75 to 298, each made by its rule, and the nonlinear models written
// out row by row (IDs 26 to 74). Gathering checks that every ID from 1 to 298
// has exactly one row and every evaluation code at most one; a catalogue that
// breaks either does not compile.
#include "tessarix/models/model_catalogue.hpp"

#include <array>
#include <string>
#include <vector>

#include "tessarix/models/internal/linear_run.hpp"
#include "tessarix/models/internal/model_row.hpp"
#include "tessarix/models/internal/one_parameter_models.hpp"
#include "tessarix/models/internal/power_series.hpp"
#include "tessarix/models/internal/three_parameter_models.hpp"
#include "tessarix/models/internal/two_parameter_models.hpp"
#include "tessarix/models/predefined_models.hpp"

namespace tessarix::detail {
namespace {

// The most parameters (and estimator terms) of any model: the tenth order
// polynomial.
constexpr std::int32_t kMostParameters = kMostRowParameters;

// Slot 0 stays empty, so that the row of an ID is rows[ID].
using RowTable = std::array<ModelRow, kLastInternalModelId + 1>;

template <std::size_t kCount>
constexpr void Place(RowTable& table, const std::array<ModelRow, kCount>& rows) {
  for (const ModelRow& row : rows) {
    if (row.id < kFirstInternalModelId || row.id > kLastInternalModelId) throw "a row outside IDs 1 to 298";
    ModelRow& slot = table[static_cast<std::size_t>(row.id)];
    if (slot.id != 0) throw "two rows for one ID";
    const InternalModelEntry& e = row.entry;
    if (e.evaluation_code < 1 || e.evaluation_code > kLastEvaluationCode) throw "an evaluation code out of range";
    if (row.parameter_count < 1 || row.parameter_count > kMostParameters) throw "a parameter count out of range";
    if (e.estimate_term_count < 1 || e.estimate_term_count > kMostParameters) throw "a term count out of range";
    if (e.definition.empty() || e.file_label.empty()) throw "a row without its text";
    if (row.value == nullptr || row.derivatives == nullptr || row.block == nullptr) throw "a row without its formula";
    slot = row;
  }
}

constexpr RowTable BuildRows() {
  RowTable table{};
  Place(table, SeriesRows());
  Place(table, written::kOneParameterModels);
  Place(table, written::kTwoParameterModels);
  Place(table, written::kThreeParameterModels);
  Place(table, RunRows());
  for (std::int32_t id = kFirstInternalModelId; id <= kLastInternalModelId; ++id) {
    if (table[static_cast<std::size_t>(id)].id != id) throw "an ID without a row";
  }
  return table;
}

constexpr RowTable kRows = BuildRows();

constexpr std::array<const ModelRow*, kLastEvaluationCode + 1> BuildCodeIndex() {
  std::array<const ModelRow*, kLastEvaluationCode + 1> index{};
  for (std::int32_t id = kFirstInternalModelId; id <= kLastInternalModelId; ++id) {
    const ModelRow& row = kRows[static_cast<std::size_t>(id)];
    const auto code = static_cast<std::size_t>(row.entry.evaluation_code);
    if (index[code] != nullptr) throw "two rows with one evaluation code";
    index[code] = &row;
  }
  return index;
}

// Telling rows of each source.
static_assert(kRows[10].entry.definition == "a*x^10+b*x^9+c*x^8+d*x^7+e*x^6+f*x^5+g*x^4+h*x^3+i*x^2+j*x+k");
static_assert(kRows[16].entry.description == "First Order Inverse Polynomial (Hyperbolic)");
static_assert(kRows[16].entry.file_label == "First order inverse polynomial");
static_assert(kRows[36].entry.evaluation_code == 20 && kRows[36].entry.definition == "a*exp(b*x)");
static_assert(kRows[57].entry.estimate_term_count == 2 && kRows[57].parameter_count == 1);
static_assert(kRows[86].entry.definition == "a+b/x^.5");
static_assert(kRows[298].entry.definition == "a+b/x^2+c*exp(-x)" && kRows[298].entry.evaluation_code == 313);

}  // namespace

constexpr std::array<const ModelRow*, kLastEvaluationCode + 1> kRowByCode = BuildCodeIndex();

const InternalModelEntry* FindInternalModel(std::int32_t model_id) noexcept {
  if (model_id < kFirstInternalModelId || model_id > kLastInternalModelId) {
    return nullptr;
  }
  return &kRows[static_cast<std::size_t>(model_id)].entry;
}

std::int32_t ParameterCountOfCode(std::int32_t evaluation_code) noexcept {
  const ModelRow* row = RowOfCode(evaluation_code);
  return row == nullptr ? 0 : row->parameter_count;
}

}  // namespace tessarix::detail

namespace tessarix {

// Made from the rows, like everything else the catalogue gives out. The
// catalogue of several variables will be gathered the same way (written rows
// and family rules into a table of its own, its IDs not contiguous) and listed
// beside this one with the same record.
const std::vector<PredefinedModelInfo>& PredefinedModels() {
  static const std::vector<PredefinedModelInfo> listing = [] {
    std::vector<PredefinedModelInfo> models;
    for (std::int32_t id = detail::kFirstInternalModelId; id <= detail::kLastInternalModelId; ++id) {
      const detail::ModelRow& row = detail::kRows[static_cast<std::size_t>(id)];
      models.push_back(
          {id, std::string(row.entry.definition), std::string(row.entry.description), row.parameter_count, 1});
    }
    return models;
  }();
  return listing;
}

}  // namespace tessarix
