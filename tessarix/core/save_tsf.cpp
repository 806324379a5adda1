// SaveTSF of the two regression classes: the object's model, observations
// and solution as a plain description, written by the result-file writer.
#include <algorithm>
#include <string>
#include <vector>

#include "tessarix/core/internal/parameter_access.hpp"
#include "tessarix/core/internal/regression_engine.hpp"
#include "tessarix/core/multiple_nonlinear_regression.hpp"
#include "tessarix/core/nonlinear_regression.hpp"
#include "tessarix/data/data_access.hpp"
#include "tessarix/foundation/error_catalogue.hpp"
#include "tessarix/language/data_statistics.hpp"
#include "tessarix/language/model_definition.hpp"
#include "tessarix/numerics/one_based.hpp"
#include "tessarix/numerics/sort_values.hpp"
#include "tessarix/platform/number_text.hpp"
#include "tessarix/resultfile/tsf_writer.hpp"

namespace tessarix {

namespace {

using detail::RegressionEngine;
using detail::TsfDocument;
using detail::TsfForm;

// Tessara's multi-variable files of version 8.0 hold at most this many
// independent variables; version 7.1 files are not limited.
constexpr std::int32_t kMaxTessaraVariables = 20;

detail::TsfVariableSummary VariableSummary(const detail::DataStatistics& words) {
  return {words.xmin, words.xmax, words.xmean, words.xstd, words.xatymin, words.xatymax, words.yatxmin, words.yatxmax};
}

// The column names and observations from the result tables, which a solved
// fit filled (X .. , Y, SD when weighted, then predicted values and
// residuals). Before a fit the tables are empty: the names are then those
// that the array forms of Fit give the columns, and there are no rows.
void AddColumns(const RegressionEngine& e, TsfDocument& d) {
  const std::int32_t columns = e.variables + (d.weighted ? 2 : 1);
  const DataCollection& tables = e.core.ResultTables();
  if (tables.Count() < columns) {
    for (std::int32_t k = 1; k <= e.variables; ++k) {
      std::string name = "X";
      if (d.form == TsfForm::MultiVariable) name += detail::IntegerText(k);
      d.column_names.push_back(name);
    }
    d.column_names.emplace_back("Y");
    if (d.weighted) d.column_names.emplace_back("Standard Deviation");
    return;
  }
  for (std::int32_t j = 1; j <= columns; ++j) {
    const std::shared_ptr<DataSeries> series = tables.Item(j);
    const double* values = detail::DataAccess::Values(*series);
    d.column_names.push_back(series->Name());
    d.input_columns.emplace_back(values + 1, values + 1 + series->NumObservations());
  }
}

void AddModel(const RegressionEngine& e, TsfDocument& d) {
  d.user_model = e.model.type == tsxModelUser;
  for (int k = 0; k <= 9; ++k) {
    d.model.formulas[static_cast<std::size_t>(k)] =
        detail::ModelDefinitionAccess::Formula(e.model.definition_english, k);
  }
  d.model.description = e.model.definition_english.Description();
  d.model.file_label = e.model.model_file_label;

  const RegressionParameters& parameters = e.core.Parameters();
  for (std::int32_t i = 1; i <= parameters.Count(); ++i) {
    const RegressionParameter& p = detail::ParameterAccess::At(parameters, i);
    detail::TsfParameter entry;
    entry.initial_estimate = p.InitialEstimate();
    entry.estimate_type = p.InitialEstimateType();
    if (e.core.solved) {
      entry.value = detail::ParameterAccess::RawValue(p);
      entry.variance = parameters.CalculateCovariance(i, i);
    }
    d.parameters.push_back(entry);
  }
}

void AddSolution(const RegressionEngine& e, TsfDocument& d) {
  const detail::RegressionCore& c = e.core;
  const detail::RegressionStatistics& s = c.statistics;
  detail::TsfSolution solution;
  solution.sse = s.sse;
  solution.sse_norm = s.sse_norm;
  solution.sst = s.sst;
  solution.residual_average = s.residual_average;
  solution.residual_sum = s.residual_sum;
  solution.durbin_watson = s.durbin_watson;
  solution.r2 = s.r2;
  solution.r2_adjust = s.r2_adjust;
  solution.standard_error = s.standard_error;
  solution.dof_error = s.dof_error;
  solution.dof_regression = s.dof_regression;
  solution.num_observations = c.num_observations;
  solution.num_iterations = c.num_iterations;

  // The data summary by the data words' own routine, from the columns the
  // file holds. The run keeps the words of the first variables only; the
  // file wants those of every variable.
  const DataCollection& tables = c.ResultTables();
  const std::shared_ptr<DataSeries> y = tables.Item(e.variables + 1);
  for (std::int32_t k = 1; k <= e.variables; ++k) {
    const detail::DataStatistics words = detail::ComputeDataStatistics(
        detail::DataAccess::Values(*tables.Item(k)), detail::DataAccess::Values(*y), y->NumObservations());
    solution.variables.push_back(VariableSummary(words));
    if (k > 1) continue;
    solution.y_min = words.ymin;
    solution.y_max = words.ymax;
    solution.y_mean = words.ymean;
    solution.y_std = words.ystd;
  }
  if (d.form == TsfForm::SingleVariable) {
    // The X column sorted by the library's own sort; the tables keep the
    // order of the input.
    const std::vector<double>& x = d.input_columns.at(0);
    std::vector<double> sorted = detail::MakeVector1(static_cast<std::int32_t>(x.size()));
    std::copy(x.begin(), x.end(), sorted.begin() + 1);
    detail::SortValues(sorted, static_cast<std::int32_t>(x.size()), 0);
    solution.sorted_x.assign(sorted.begin() + 1, sorted.end());
  }
  d.solution = std::move(solution);
}

TsfDocument RegressionDocument(const RegressionEngine& e, TsfForm form, std::int32_t major_version,
                               std::int32_t minor_version) {
  TsfDocument d;
  d.form = form;
  d.major_version = major_version;
  d.minor_version = minor_version;
  d.weighted = e.core.is_weighted;
  d.variables = e.variables;
  d.tolerance = e.core.regression_tolerance;
  d.max_iterations = e.core.max_iterations;
  d.max_unchanged_iterations = e.core.max_unchanged_iterations;
  AddColumns(e, d);
  AddModel(e, d);
  if (e.core.solved) AddSolution(e, d);
  return d;
}

// A defined model is written solved or not: an unsolved one ends with its
// user model. The checks come in this order: a model, no run in progress, no
// external model, a known version, the width of the model.
void SaveRegressionFile(RegressionEngine& e, TsfForm form, const std::string& path, std::int32_t major_version,
                        std::int32_t minor_version) {
  e.GuardDefined();
  e.GuardLocked();
  if (e.model.type == tsxModelExternal) detail::RaiseLibraryError(ErrorCode::NotValidForExternalModels);
  if (!detail::IsSupportedTsfVersion(major_version, minor_version)) {
    detail::RaiseLibraryError(ErrorCode::UnsupportedTessaraVersion);
  }
  // Only version 8.0 is limited; version 7.1 files take any width.
  if (form == TsfForm::MultiVariable && major_version == 8 && e.variables > kMaxTessaraVariables) {
    detail::RaiseLibraryError(ErrorCode::TooManyIndependentVariables);
  }
  bool written = false;
  try {
    written = detail::WriteTsfFile(RegressionDocument(e, form, major_version, minor_version), path);
  } catch (...) {
    // Whatever stops the description stops the file.
    written = false;
  }
  if (!written) detail::RaiseLibraryError(ErrorCode::FileWriteError);
}

}  // namespace

void NonlinearRegression::SaveTSF(const std::string& FilePath, std::int32_t MajorVersion, std::int32_t MinorVersion) {
  SaveRegressionFile(*engine_, TsfForm::SingleVariable, FilePath, MajorVersion, MinorVersion);
}

void MultipleNonlinearRegression::SaveTSF(const std::string& FilePath, std::int32_t MajorVersion,
                                          std::int32_t MinorVersion) {
  SaveRegressionFile(*engine_, TsfForm::MultiVariable, FilePath, MajorVersion, MinorVersion);
}

}  // namespace tessarix
