// NonlinearRegression: creation, guards, settings, the plain members and the
// getters of the solved statistics.
#include "tessarix/core/nonlinear_regression.hpp"

#include <cmath>

#include "tessarix/core/internal/nonlinear_regression_impl.hpp"
#include "tessarix/core/internal/parameter_access.hpp"
#include "tessarix/foundation/error_catalogue.hpp"
#include "tessarix/foundation/fault.hpp"
#include "tessarix/platform/number_text.hpp"

namespace tessarix {

using detail::RaiseLibraryError;

NonlinearRegression::NonlinearRegression() : impl_(std::make_unique<detail::NonlinearRegressionImpl>(Events)) {}

NonlinearRegression::~NonlinearRegression() = default;

// ---- model ----------------------------------------------------------------------

tessarix::ModelDefinition NonlinearRegression::ModelDefinition() const {
  impl_->GuardDefined();
  if (impl_->model.type == tsxModelExternal) RaiseLibraryError(ErrorCode::NotValidForExternalModels);
  return impl_->model.definition_english;
}

tessarix::ModelDefinition NonlinearRegression::ModelDefinitionLocal() const {
  impl_->GuardDefined();
  if (impl_->model.type == tsxModelExternal) RaiseLibraryError(ErrorCode::NotValidForExternalModels);
  return impl_->model.definition_local;
}

ModelTypeEnum NonlinearRegression::ModelType() const {
  impl_->GuardDefined();
  return impl_->model.type;
}

bool NonlinearRegression::IsValidModel() const { return impl_->core.valid; }

std::int32_t NonlinearRegression::NumIndependentVariables() const {
  impl_->GuardDefined();
  return 1;
}

std::shared_ptr<tessarix::RegressionParameters> NonlinearRegression::RegressionParameters() const {
  impl_->core.Parameters();
  return impl_->core.parameters;
}

// ---- run state --------------------------------------------------------------------

void NonlinearRegression::ClearFit() {
  impl_->GuardLocked();
  detail::ClearCoreFit(impl_->core);
}

bool NonlinearRegression::IsSolved() const { return impl_->core.solved; }

std::string NonlinearRegression::LastSolveError() const {
  const std::string& text = impl_->core.last_error;
  if (text.empty()) return "No errors";
  // Returned as stored, a trailing line end included.
  return text;
}

std::shared_ptr<DataCollection> NonlinearRegression::ResultTables() const {
  impl_->core.ResultTables();
  return impl_->core.result_tables;
}

std::string NonlinearRegression::SolutionLog() const { return impl_->core.solution_log; }

void NonlinearRegression::SaveLog(const std::string& FilePath, bool Append) {
  if (!detail::WriteLogFile(impl_->core.solution_log, FilePath, Append)) RaiseLibraryError(ErrorCode::FileWriteError);
}

std::string NonlinearRegression::Tag() const { return impl_->core.tag; }
void NonlinearRegression::SetTag(const std::string& value) { impl_->core.tag = value; }

// ---- solver settings ----------------------------------------------------------------

std::int32_t NonlinearRegression::MaxIterations() const { return impl_->core.max_iterations; }

void NonlinearRegression::SetMaxIterations(std::int32_t value) {
  impl_->GuardLocked();
  if (value < 1) RaiseLibraryError(ErrorCode::InvalidPropertyValue);
  impl_->core.max_iterations = value;
}

std::int32_t NonlinearRegression::MaxUnchangedIterations() const { return impl_->core.max_unchanged_iterations; }

void NonlinearRegression::SetMaxUnchangedIterations(std::int32_t value) {
  impl_->GuardLocked();
  if (value < 1) RaiseLibraryError(ErrorCode::InvalidPropertyValue);
  impl_->core.max_unchanged_iterations = value;
}

double NonlinearRegression::RegressionTolerance() const { return impl_->core.regression_tolerance; }

void NonlinearRegression::SetRegressionTolerance(double value) {
  impl_->GuardLocked();
  // A NaN or an infinity is no tolerance either.
  if (!(value > 0.0) || !std::isfinite(value)) RaiseLibraryError(ErrorCode::InvalidPropertyValue);
  impl_->core.regression_tolerance = value;
}

// ---- statistics of the solved model -----------------------------------------------------

#define TSX_SOLVED_GETTER(Type, Name, expression) \
  Type NonlinearRegression::Name() const {        \
    impl_->GuardDefined();                        \
    impl_->GuardSolved();                         \
    return expression;                            \
  }

TSX_SOLVED_GETTER(std::int32_t, NumIterations, impl_->core.num_iterations)
TSX_SOLVED_GETTER(std::int32_t, NumUnchangedIterations, impl_->core.num_unchanged_iterations)
TSX_SOLVED_GETTER(std::int32_t, NumObservations, impl_->core.num_observations)
TSX_SOLVED_GETTER(bool, IsWeighted, impl_->core.is_weighted)
TSX_SOLVED_GETTER(double, ResidualSum, impl_->core.statistics.residual_sum)
TSX_SOLVED_GETTER(double, ResidualAverage, impl_->core.statistics.residual_average)
TSX_SOLVED_GETTER(double, SSE, impl_->core.statistics.sse)
TSX_SOLVED_GETTER(double, SSENorm, impl_->core.statistics.sse_norm)
TSX_SOLVED_GETTER(double, SST, impl_->core.statistics.sst)
TSX_SOLVED_GETTER(double, SSR, impl_->core.statistics.sst - impl_->core.statistics.sse)
TSX_SOLVED_GETTER(double, R2, impl_->core.statistics.r2)
TSX_SOLVED_GETTER(double, R2Adjust, impl_->core.statistics.r2_adjust)
TSX_SOLVED_GETTER(double, StandardError, impl_->core.statistics.standard_error)
TSX_SOLVED_GETTER(double, DurbinWatson, impl_->core.statistics.durbin_watson)
TSX_SOLVED_GETTER(double, ProbF, impl_->core.statistics.prob_f)
TSX_SOLVED_GETTER(std::int32_t, DOFRegression, impl_->core.statistics.dof_regression)
TSX_SOLVED_GETTER(std::int32_t, DOFError, impl_->core.statistics.dof_error)
TSX_SOLVED_GETTER(std::int32_t, DOFTotal, impl_->core.statistics.dof_total)

#undef TSX_SOLVED_GETTER

}  // namespace tessarix

// ---- the object's own operations ------------------------------------------------------

namespace tessarix::detail {

void NonlinearRegressionImpl::GuardDefined() const {
  if (!core.valid) RaiseLibraryError(ErrorCode::ModelNotDefined);
}

void NonlinearRegressionImpl::GuardSolved() const {
  if (!core.solved) RaiseLibraryError(ErrorCode::ModelNotSolved);
}

void NonlinearRegressionImpl::GuardLocked() const {
  if (core.locked) RaiseLibraryError(ErrorCode::LockedDuringSolution);
}

void NonlinearRegressionImpl::BeginDefinition() {
  GuardLocked();
  ResetCoreModel(core);
  x.clear();
  model.definition_failed = false;
  model.external_derivatives = false;
  model.alternative_events = false;
  model.definition_english = tessarix::ModelDefinition();
  model.definition_local = tessarix::ModelDefinition();
}

std::string NonlinearRegressionImpl::PointText(std::int32_t i) const {
  return NumberText(x[static_cast<std::size_t>(i)]);
}

void NonlinearRegressionImpl::ComputeDataStatistics() {
  core.data_statistics =
      detail::ComputeDataStatistics(x.data(), core.y.data(), static_cast<std::int32_t>(x.size()) - 1);
}

bool NonlinearRegressionImpl::ObtainLeastSquaresEstimates() { return ObtainInternalEstimates(*this); }

void NonlinearRegressionImpl::IterationComplete(std::int32_t iteration, double sse, bool& abort) {
  if (events.IterationComplete) InvokeHostHandler([&] { events.IterationComplete(iteration, sse, abort); });
}

}  // namespace tessarix::detail
