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
        parallel_ = false;
        if (core.solved) {
          core.is_weighted = weighted;
          PublishTables(n, source.Columns(), weighted);
        }
        DataAccess::SetReadOnly(core.ResultTables(), true);
        ReleaseWorkArrays();
      },
      [this](const std::string& description) {
        core.locked = false;
        parallel_ = false;
        DataAccess::SetReadOnly(core.ResultTables(), true);
        ReleaseWorkArrays();
        core.last_error = std::string(kGeneralErrorPrefix) + description;
      });
}

// ---- the model ---------------------------------------------------------------------------------

bool RegressionEngine::ValueAt(std::span<const double> point, double& y) {
  return kind != nullptr && kind->Value(point, core.parameter_values.data(), y);
}

namespace {
// Rows of one thread's share of a parallel block: large, since every block
// costs a wake-up of the workers, yet with its values and derivatives (a row
// of parameter count + 1) within about 2 MiB a thread.
std::int32_t RowsPerThread(std::int32_t parameter_count) {
  constexpr std::int32_t kDoublesPerThread = 1 << 18;
  return std::clamp(kDoublesPerThread / (std::max(parameter_count, 0) + 2), 2048, 32768);
}
}  // namespace

std::int32_t RegressionEngine::BlockRows() const {
  if (parallel_) return RowsPerThread(core.parameter_count) * static_cast<std::int32_t>(thread_parameters_.size());
  return kind != nullptr ? kind->BlockRows() : 1;
}

void RegressionEngine::PrepareThreads() {
  parallel_ = false;
  thread_kinds_.clear();
  if (core.threads < 2 || kind == nullptr) return;
  if (model.type == tsxModelExternal && !core.thread_safe_events) return;
  for (std::int32_t t = 1; t < core.threads; ++t) {
    std::unique_ptr<PointModel> copy = kind->ThreadCopy();
    if (copy == nullptr) {
      thread_kinds_.clear();
      return;
    }
    thread_kinds_.push_back(std::move(copy));
  }
  if (pool_ == nullptr || pool_->Size() != core.threads) pool_ = std::make_unique<WorkerPool>(core.threads);
  const auto threads = static_cast<std::size_t>(core.threads);
  thread_parameters_.assign(threads, core.parameter_values);
  thread_failures_.assign(threads, RowFailure());
  thread_ok_.assign(threads, 1);
  parallel_ = true;
}

// Every thread evaluates its own share of the rows with its own copy of the
// parameter values; the caller sums the rows in their order afterwards, so
// the results are those of a serial pass whatever the number of threads.
bool RegressionEngine::EvaluateRowsInParallel(std::int32_t first, std::int32_t count, const std::int32_t* ia,
                                              double* values, double* derivatives, std::int32_t stride,
                                              RowFailure& failure) {
  struct Share {
    RegressionEngine* engine;
    std::int32_t first, count, share, stride;
    const std::int32_t* ia;
    double* values;
    double* derivatives;
  };
  const auto threads = static_cast<std::int32_t>(thread_parameters_.size());
  Share job{this, first, count, (count + threads - 1) / threads, stride, ia, values, derivatives};
  const Share* context = &job;
  pool_->Run(threads, [context](std::int32_t t) {
    const Share& j = *context;
    RegressionEngine& e = *j.engine;
    const auto ut = static_cast<std::size_t>(t);
    const std::int32_t begin = t * j.share;
    const std::int32_t rows = std::min(j.share, j.count - begin);
    e.thread_ok_[ut] = 1;
    if (rows <= 0) return;
    Vector1& parameters = e.thread_parameters_[ut];
    if (parameters.size() != e.core.parameter_values.size()) parameters.resize(e.core.parameter_values.size());
    std::copy(e.core.parameter_values.begin(), e.core.parameter_values.end(), parameters.begin());
    PointModel& share_model = t == 0 ? *e.kind : *e.thread_kinds_[ut - 1];
    const bool ok = share_model.EvaluateRows(
        e.points, j.first + begin, rows, parameters.data(), j.ia, e.core.parameter_count, j.values + begin,
        j.derivatives != nullptr ? j.derivatives + static_cast<std::ptrdiff_t>(begin) * j.stride : nullptr, j.stride,
        e.thread_failures_[ut]);
    e.thread_ok_[ut] = ok ? 1 : 0;
  });
  for (std::size_t t = 0; t < thread_ok_.size(); ++t) {
    if (!thread_ok_[t]) {
      failure = thread_failures_[t];
      return false;
    }
  }
  return true;
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
  for (const std::unique_ptr<PointModel>& copy : thread_kinds_) copy->SetDerivativeStepFloors(floors);
  if (kind != nullptr) kind->SetDerivativeStepFloors(std::move(floors));
}

}  // namespace tessarix::detail
