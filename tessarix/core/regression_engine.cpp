// The engine's own steps: guards, the common part of every definition, the
// fit path, the result tables, and the model seen by the run.
#include "tessarix/core/internal/regression_engine.hpp"

#include <algorithm>

#include "tessarix/core/internal/parameter_access.hpp"
#include "tessarix/data/data_access.hpp"
#include "tessarix/data/data_collection.hpp"
#include "tessarix/foundation/error_catalogue.hpp"
#include "tessarix/foundation/fault.hpp"
#include "tessarix/numerics/weights.hpp"
#include "tessarix/platform/rounding.hpp"
#include "tessarix/platform/separators.hpp"

namespace tessarix::detail {

RegressionEngine::RegressionEngine(std::unique_ptr<RegressionHooks> hooks) : hooks_(std::move(hooks)) {}

// ---- guards ---------------------------------------------------------------------------

void RegressionEngine::GuardDefined() const {
  if (!core.valid) RaiseLibraryError(ErrorCode::ModelNotDefined);
}

void RegressionEngine::GuardSolved() const {
  if (!core.solved) RaiseLibraryError(ErrorCode::ModelNotSolved);
}

void RegressionEngine::GuardLocked() const {
  if (core.locked) RaiseLibraryError(ErrorCode::LockedDuringSolution);
}

void RegressionEngine::StoreAndRaise(ErrorCode code) {
  core.last_error = ErrorMessage(code);
  RaiseLibraryError(code);
}

void RegressionEngine::StoreAndRaise(ErrorCode code, const std::string& message) {
  core.last_error = message;
  throw ErrorFactory::Make(code, message);
}

// ---- definitions -------------------------------------------------------------------------

void RegressionEngine::BeginDefinition() {
  GuardLocked();
  ResetCoreModel(core);
  points.Release();
  kind.reset();
  model.definition_english = tessarix::ModelDefinition();
  model.definition_local = tessarix::ModelDefinition();
}

void RegressionEngine::AbandonDefinition(const std::string& description) {
  core.valid = false;
  core.parameter_count = 0;
  kind.reset();
  ParameterAccess::RemoveAllParameters(core.Parameters());
  core.last_error = std::string(kGeneralErrorPrefix) + description;
}

void RegressionEngine::InstallModel(const std::vector<std::string>& names, std::unique_ptr<PointModel> new_kind) {
  const std::int16_t count = ToCounter16(static_cast<std::int64_t>(names.size()));
  core.parameter_values = MakeVector1(count);
  for (const std::string& name : names) ParameterAccess::AddParameter(core.Parameters(), name);
  core.parameter_count = count;
  kind = std::move(new_kind);
  core.valid = true;
}

void RegressionEngine::DefineText(const tessarix::ModelDefinition& definition, InputLocaleEnum locale,
                                  const std::function<std::unique_ptr<PointModel>()>& make_kind) {
  RunDefinition(
      [&] {
        // The multi-variable class reads x1..xm; the number of variables
        // comes from the text.
        const std::int32_t mode = hooks_->SeveralVariables() ? 1 : 0;
        const std::vector<std::string> names = model.text.Define(
            definition, locale, CurrentSeparators(), model.definition_english, model.definition_local, mode);
        variables = model.text.IndependentVariables();
        InstallModel(names, make_kind());
      },
      LibraryErrors::PassThrough);
}

// ---- the fit -------------------------------------------------------------------------------

void RegressionEngine::ReleaseWorkArrays() {
  points.Release();
  core.ReleaseWorkArrays();
}

namespace {

// A work array (one-based, 1..n) becomes the column: taken over, not copied.
void AddColumn(DataCollection& tables, const std::string& name, const std::string& key, std::vector<double>&& values,
               std::int32_t n) {
  const std::shared_ptr<DataSeries> series = DataAccess::ReplaceSeries(tables, name, 0);
  if (!key.empty()) series->SetRegressionKey(key);
  DataAccess::AdoptValues(*series, std::move(values), n);
}

}  // namespace

void RegressionEngine::PublishTables(std::int32_t n, const ResultColumns& columns, bool with_deviations) {
  DataCollection& tables = core.ResultTables();
  DataAccess::SetReadOnly(tables, false);
  const std::int32_t width = points.Width();
  if (width == 1) {
    AddColumn(tables, columns.x_names[0], columns.x_keys[0], points.TakeValues(), n);
  } else {
    for (std::int32_t j = 1; j <= width; ++j) {
      Vector1 column = MakeVector1(n);
      for (std::int32_t i = 1; i <= n; ++i) column[static_cast<std::size_t>(i)] = points.At(i, j);
      AddColumn(tables, columns.x_names[static_cast<std::size_t>(j - 1)],
                columns.x_keys[static_cast<std::size_t>(j - 1)], std::move(column), n);
    }
    points.Release();
  }
  AddColumn(tables, columns.y, "Y", std::move(core.y), n);
  if (with_deviations) AddColumn(tables, columns.sd, "SD", std::move(core.deviations), n);
  AddColumn(tables, columns.predicted, "", std::move(core.predicted), n);
  AddColumn(tables, "Residuals", "", std::move(core.residuals), n);
}

void RegressionEngine::Fit(ObservationSource& source) {
  core.last_error.clear();
  if (!core.valid) StoreAndRaise(ErrorCode::ModelNotDefined);
  if (core.locked) StoreAndRaise(ErrorCode::LockedDuringSolution);
  ClearCoreFit(core);
  const std::int32_t n = source.Validate(*this);
  const bool has_deviations = source.HasDeviations();

  RunUnderHandler(
      [&] {
        points.Allocate(n, variables);
        core.y = MakeVector1(n);
        // The caller's deviations are kept only for a weighted fit, for its table.
        if (has_deviations) core.deviations = MakeVector1(n, 1.0);
        core.weights = MakeVector1(n, 1.0);
        core.predicted = MakeVector1(n);
        core.residuals = MakeVector1(n);
        source.Read(points, core.y, core.deviations);

        core.solution_log.clear();
        // Weights that cannot be computed leave the fit unweighted, silently.
        const bool weighted = has_deviations && WeightsFromDeviations(core.deviations, n, core.weights);
        if (has_deviations && !weighted) std::fill(core.weights.begin(), core.weights.end(), 1.0);

        PrepareThreads();
        core.locked = true;
        SolveModel(core, *this, n);
        core.locked = false;
        EndParallelPass();
        if (core.solved) {
          core.is_weighted = weighted;
          PublishTables(n, source.Columns(), weighted);
        }
        DataAccess::SetReadOnly(core.ResultTables(), true);
        ReleaseWorkArrays();
      },
      [this](const std::string& description) {
        core.locked = false;
        EndParallelPass();
        DataAccess::SetReadOnly(core.ResultTables(), true);
        ReleaseWorkArrays();
        core.last_error = std::string(kGeneralErrorPrefix) + description;
      });
}

// ---- the model ---------------------------------------------------------------------------------

bool RegressionEngine::ValueAt(std::span<const double> point, double& y) {
  return kind != nullptr && kind->Value(point, core.parameter_values.data(), y);
}

std::int32_t RegressionEngine::BlockRows() const { return kind != nullptr ? kind->BlockRows() : 1; }

void RegressionEngine::PrepareThreads() {
  parallel_ = false;
  if (core.threads < 2 || kind == nullptr) return;
  if (model.type == tsxModelExternal && !core.thread_safe_events) return;
  // A kind without copies for other threads runs serially.
  if (kind->ThreadCopy() == nullptr) return;
  if (pass_ == nullptr || pass_->Threads() != core.threads) {
    pass_.reset();
    pass_ = std::make_unique<ParallelPass>(core.threads);
  }
  pass_->Prepare(*kind, kind->BlockRows(), core.parameter_count);
  parallel_ = true;
}

void RegressionEngine::EndParallelPass() {
  if (pass_ != nullptr && parallel_) pass_->Quiesce();
  parallel_ = false;
}

// The caller asks for the blocks of a pass in their order and sums each one
// before the next; the helpers evaluate ahead of it (ParallelPass). A block
// asked for out of that order is evaluated here, on the caller's thread.
bool RegressionEngine::EvaluateRowsInParallel(std::int32_t first, std::int32_t count, const std::int32_t* ia,
                                              double* values, double* derivatives, std::int32_t stride,
                                              RowFailure& failure) {
  double* const parameters = core.parameter_values.data();
  const bool with_values = values != nullptr;
  if (first == 1) pass_->Begin(points, points.Count(), parameters, ia, stride, with_values);
  if (!pass_->IsNext(first, count, ia, stride, with_values)) {
    return kind->EvaluateRows(points, first, count, parameters, ia, core.parameter_count, values, derivatives, stride,
                              failure);
  }
  bool ok = false;
  try {
    ok = pass_->Take(*kind, parameters, first, count, values, derivatives, failure);
  } catch (...) {
    pass_->End();
    throw;
  }
  if (!ok) pass_->End();
  return ok;
}

bool RegressionEngine::EvaluateRows(std::int32_t first, std::int32_t count, const std::int32_t* ia, double* values,
                                    double* derivatives, std::int32_t stride, RowFailure& failure) {
  if (kind == nullptr) {
    failure = {first, false};
    return false;
  }
  if (parallel_) return EvaluateRowsInParallel(first, count, ia, values, derivatives, stride, failure);
  return kind->EvaluateRows(points, first, count, core.parameter_values.data(), ia, core.parameter_count, values,
                            derivatives, stride, failure);
}

std::string RegressionEngine::PointText(std::int32_t i) const { return hooks_->PointText(points.Row(i)); }

void RegressionEngine::ComputeDataStatistics() {
  core.data_statistics = hooks_->ComputeDataStatistics(points, core.y, points.Count());
}

bool RegressionEngine::ObtainLeastSquaresEstimates() {
  if (kind == nullptr || !kind->HasLeastSquaresEstimates()) return false;
  // The estimates of the run's observations, written into the parameters as
  // library estimates (the caller-set mark stays clear). The chain writes
  // nothing on a failure, except for the models with more estimator terms
  // than parameters: their first coefficients stand although it failed.
  tessarix::RegressionParameters& parameters = core.Parameters();
  const std::int32_t count = parameters.Count();
  std::vector<double> estimates(static_cast<std::size_t>(count));
  for (std::int32_t l = 1; l <= count; ++l) {
    estimates[static_cast<std::size_t>(l - 1)] = ParameterAccess::At(parameters, l).InitialEstimate();
  }
  const bool ok = kind->ObtainLeastSquaresEstimates(points, core.y, core.weights, points.Count(), estimates);
  for (std::int32_t l = 1; l <= count; ++l) {
    ParameterAccess::SetDefaultEstimate(ParameterAccess::At(parameters, l), estimates[static_cast<std::size_t>(l - 1)]);
  }
  return ok;
}

void RegressionEngine::IterationComplete(std::int32_t iteration, double sse, bool& abort) {
  hooks_->IterationComplete(iteration, sse, abort);
}

// The copies of a parallel pass differentiate as the model itself does.
void RegressionEngine::SetDerivativeStepFloors(std::vector<double> floors) {
  if (parallel_) pass_->SetDerivativeStepFloors(floors);
  if (kind != nullptr) kind->SetDerivativeStepFloors(std::move(floors));
}

}  // namespace tessarix::detail
