// The state shared by the regression classes: its owned objects and the
// resets that a new definition and a new fit make.
#include "tessarix/core/internal/regression_core.hpp"

#include "tessarix/core/internal/parameter_access.hpp"
#include "tessarix/core/regression_parameters.hpp"
#include "tessarix/data/data_access.hpp"
#include "tessarix/data/data_collection.hpp"

namespace tessarix::detail {

RegressionCore::RegressionCore() = default;

RegressionCore::~RegressionCore() = default;

tessarix::RegressionParameters& RegressionCore::Parameters() const {
  if (!parameters) parameters = ParameterAccess::MakeCollection();
  return *parameters;
}

tessarix::DataCollection& RegressionCore::ResultTables() const {
  if (!result_tables) {
    result_tables = std::make_shared<tessarix::DataCollection>();
    DataAccess::SetReadOnly(*result_tables, true);
  }
  return *result_tables;
}

void RegressionCore::AppendLine(std::string_view text) {
  solution_log += text;
  solution_log += kLineEnd;
}

void RegressionCore::ReleaseWorkArrays() {
  // Released, not only emptied: a fit of a million observations should not
  // keep its memory until the next one.
  Vector1().swap(y);
  Vector1().swap(deviations);
  Vector1().swap(weights);
  Vector1().swap(predicted);
  Vector1().swap(residuals);
}

namespace {
// Empties the read-only result tables, which stay read-only.
void EmptyResultTables(RegressionCore& core) {
  tessarix::DataCollection& tables = core.ResultTables();
  if (tables.Count() > 0) {
    DataAccess::RemoveAllSeries(tables);
  }
  DataAccess::SetReadOnly(tables, true);
}
}  // namespace

void ResetCoreModel(RegressionCore& core) {
  ParameterAccess::RemoveAllParameters(core.Parameters());
  EmptyResultTables(core);
  core.solved = false;
  core.valid = false;
  core.parameter_count = 0;
  core.num_observations = 0;
  core.is_weighted = false;
  core.convergence_reason = tsxNotRun;
  core.ReleaseWorkArrays();
  Vector1().swap(core.parameter_values);
}

void ClearCoreFit(RegressionCore& core) {
  EmptyResultTables(core);
  core.solved = false;
  core.num_observations = 0;
  core.is_weighted = false;
  core.convergence_reason = tsxNotRun;
  core.solution_log.clear();
  ParameterAccess::SetSolved(core.Parameters(), false);
}

}  // namespace tessarix::detail
