// The members both regression classes share: definition by text or catalogue
// number, settings, the solved state and its statistics, the log and Tag.
#include "tessarix/core/regression_object.hpp"

#include <cmath>

#include "tessarix/core/internal/model_kinds.hpp"
#include "tessarix/core/internal/regression_engine.hpp"
#include "tessarix/foundation/error_catalogue.hpp"

namespace tessarix {

using detail::RaiseLibraryError;

RegressionObject::RegressionObject(std::unique_ptr<detail::RegressionEngine> engine) : engine_(std::move(engine)) {}

RegressionObject::~RegressionObject() = default;

// ---- model definition -----------------------------------------------------------------

void RegressionObject::DefineUserModel(const std::string& Definition, InputLocaleEnum Locale,
                                       const std::string& Description) {
  engine_->GuardLocked();
  tessarix::ModelDefinition definition;
  definition.SetY(Definition);
  definition.SetDescription(Description);
  DefineUserModelSub(definition, Locale);
}

// The compiled program, its scratch and the sub-definition marks outlive
// every redefinition on the object (the compiler's own rules); the reset of
// the object clears only the language's flags.
void RegressionObject::DefineUserModelSub(const tessarix::ModelDefinition& Definition, InputLocaleEnum Locale) {
  detail::RegressionEngine& e = *engine_;
  e.BeginDefinition();
  e.model.text.ResetFlags();
  e.model.type = tsxModelUser;
  e.model.model_file_label = "User Model: " + Definition.Y();
  e.model.model_text.clear();
  for (int k = 0; k <= 9; ++k) {
    e.model.model_text.push_back(detail::ModelDefinitionAccess::Formula(Definition, k));
  }
  e.DefineText(Definition, Locale, [&e] {
    return detail::MakeTextKind(e.model.text, e.core.data_statistics, e.core.derivative_method, e.core.vector_math);
  });
}

// The catalogue's text is compiled exactly like a user model, which names the
// parameters (a, b, c, ... in order) and leaves the definition readable
// through ModelDefinition; the fit itself runs the hand-written formula
// selected by the evaluation code.
void RegressionObject::DefineInternalModel(std::int32_t ModelID) {
  detail::RegressionEngine& e = *engine_;
  // The reset comes before the ID is looked at: an invalid ID leaves no model
  // at all, the earlier one gone.
  e.BeginDefinition();
  e.model.text.ResetFlags();
  const detail::InternalModelEntry* entry = e.Hooks().FindPredefinedModel(ModelID);
  if (entry == nullptr) {
    // No entry: code and term count 0, the label left as it stood.
    e.model.evaluation_code = 0;
    e.model.estimate_term_count = 0;
    RaiseLibraryError(ErrorCode::InvalidPredefinedModelId);
  }
  e.model.evaluation_code = entry->evaluation_code;
  e.model.estimate_term_count = entry->estimate_term_count;
  e.model.model_file_label = std::string(entry->file_label);

  tessarix::ModelDefinition definition;
  definition.SetY(std::string(entry->definition));
  definition.SetDescription(std::string(entry->description));
  e.model.model_text.assign(1, definition.Y());
  e.model.type = tsxModelInternal;
  // The catalogue's texts are English; the stored local form follows the
  // user's separators ("x^1.5" reads "x^1,5" where the comma is decimal).
  e.DefineText(definition, tsxLocaleEnglish, [&e] {
    return e.Hooks().SeveralVariables()
               ? detail::MakeMultiplePredefinedKind(e.model.evaluation_code, e.model.estimate_term_count)
               : detail::MakePredefinedKind(e.model.evaluation_code, e.model.estimate_term_count);
  });
}

tessarix::ModelDefinition RegressionObject::ModelDefinition() const {
  engine_->GuardDefined();
  if (engine_->model.type == tsxModelExternal) RaiseLibraryError(ErrorCode::NotValidForExternalModels);
  return engine_->model.definition_english;
}

tessarix::ModelDefinition RegressionObject::ModelDefinitionLocal() const {
  engine_->GuardDefined();
  if (engine_->model.type == tsxModelExternal) RaiseLibraryError(ErrorCode::NotValidForExternalModels);
  return engine_->model.definition_local;
}

ModelTypeEnum RegressionObject::ModelType() const {
  engine_->GuardDefined();
  return engine_->model.type;
}

bool RegressionObject::IsValidModel() const { return engine_->core.valid; }

std::int32_t RegressionObject::NumIndependentVariables() const {
  engine_->GuardDefined();
  return engine_->variables;
}

std::shared_ptr<tessarix::RegressionParameters> RegressionObject::RegressionParameters() const {
  engine_->core.Parameters();
  return engine_->core.parameters;
}

// ---- the solved state --------------------------------------------------------------------

void RegressionObject::ClearFit() {
  engine_->GuardLocked();
  detail::ClearCoreFit(engine_->core);
}

bool RegressionObject::IsSolved() const { return engine_->core.solved; }

std::string RegressionObject::LastSolveError() const {
  const std::string& text = engine_->core.last_error;
  if (text.empty()) return "No errors";
  // Returned as stored, a trailing line end included.
  return text;
}

std::shared_ptr<DataCollection> RegressionObject::ResultTables() const {
  engine_->core.ResultTables();
  return engine_->core.result_tables;
}

std::string RegressionObject::SolutionLog() const { return engine_->core.solution_log; }

void RegressionObject::SaveLog(const std::string& FilePath, bool Append) {
  if (!detail::WriteLogFile(engine_->core.solution_log, FilePath, Append)) {
    RaiseLibraryError(ErrorCode::FileWriteError);
  }
}

std::string RegressionObject::Tag() const { return engine_->core.tag; }
void RegressionObject::SetTag(const std::string& value) { engine_->core.tag = value; }

// ---- solver settings --------------------------------------------------------------------------

std::int32_t RegressionObject::MaxIterations() const { return engine_->core.max_iterations; }

void RegressionObject::SetMaxIterations(std::int32_t value) {
  engine_->GuardLocked();
  if (value < 1) RaiseLibraryError(ErrorCode::InvalidPropertyValue);
  engine_->core.max_iterations = value;
}

std::int32_t RegressionObject::MaxUnchangedIterations() const { return engine_->core.max_unchanged_iterations; }

void RegressionObject::SetMaxUnchangedIterations(std::int32_t value) {
  engine_->GuardLocked();
  if (value < 1) RaiseLibraryError(ErrorCode::InvalidPropertyValue);
  engine_->core.max_unchanged_iterations = value;
}

double RegressionObject::RegressionTolerance() const { return engine_->core.regression_tolerance; }

void RegressionObject::SetRegressionTolerance(double value) {
  engine_->GuardLocked();
  // A NaN or an infinity is no tolerance either.
  if (!(value > 0.0) || !std::isfinite(value)) RaiseLibraryError(ErrorCode::InvalidPropertyValue);
  engine_->core.regression_tolerance = value;
}

SolverMethodEnum RegressionObject::SolverMethod() const { return engine_->core.solver_method; }

void RegressionObject::SetSolverMethod(SolverMethodEnum value) {
  engine_->GuardLocked();
  if (value != tsxSolverMarquardt && value != tsxSolverTrustRegion) RaiseLibraryError(ErrorCode::InvalidPropertyValue);
  engine_->core.solver_method = value;
}

DerivativeMethodEnum RegressionObject::DerivativeMethod() const { return engine_->core.derivative_method; }

void RegressionObject::SetDerivativeMethod(DerivativeMethodEnum value) {
  engine_->GuardLocked();
  if (value != tsxDerivativeNumerical && value != tsxDerivativeExact) {
    RaiseLibraryError(ErrorCode::InvalidPropertyValue);
  }
  engine_->core.derivative_method = value;
}

bool RegressionObject::VectorMath() const { return engine_->core.vector_math; }

void RegressionObject::SetVectorMath(bool value) {
  engine_->GuardLocked();
  engine_->core.vector_math = value;
}

ConvergenceReasonEnum RegressionObject::ConvergenceReason() const { return engine_->core.convergence_reason; }

// ---- threads ----------------------------------------------------------------------------------

std::int32_t RegressionObject::Threads() const { return engine_->core.threads; }

void RegressionObject::SetThreads(std::int32_t value) {
  engine_->GuardLocked();
  if (value < 1) RaiseLibraryError(ErrorCode::InvalidPropertyValue);
  engine_->core.threads = value;
}

bool RegressionObject::ThreadSafeEvents() const { return engine_->core.thread_safe_events; }

void RegressionObject::SetThreadSafeEvents(bool value) {
  engine_->GuardLocked();
  engine_->core.thread_safe_events = value;
}

// ---- statistics of the solved model -----------------------------------------------------------

#define TSX_SOLVED_GETTER(Type, Name, expression) \
  Type RegressionObject::Name() const {           \
    engine_->GuardQuery();                        \
    return expression;                            \
  }

TSX_SOLVED_GETTER(std::int32_t, NumIterations, engine_->core.num_iterations)
TSX_SOLVED_GETTER(std::int32_t, NumUnchangedIterations, engine_->core.num_unchanged_iterations)
TSX_SOLVED_GETTER(std::int32_t, NumObservations, engine_->core.num_observations)
TSX_SOLVED_GETTER(bool, IsWeighted, engine_->core.is_weighted)
TSX_SOLVED_GETTER(double, ResidualSum, engine_->core.statistics.residual_sum)
TSX_SOLVED_GETTER(double, ResidualAverage, engine_->core.statistics.residual_average)
TSX_SOLVED_GETTER(double, SSE, engine_->core.statistics.sse)
TSX_SOLVED_GETTER(double, SSENorm, engine_->core.statistics.sse_norm)
TSX_SOLVED_GETTER(double, SST, engine_->core.statistics.sst)
TSX_SOLVED_GETTER(double, SSR, engine_->core.statistics.sst - engine_->core.statistics.sse)
TSX_SOLVED_GETTER(double, R2, engine_->core.statistics.r2)
TSX_SOLVED_GETTER(double, R2Adjust, engine_->core.statistics.r2_adjust)
TSX_SOLVED_GETTER(double, StandardError, engine_->core.statistics.standard_error)
TSX_SOLVED_GETTER(double, DurbinWatson, engine_->core.statistics.durbin_watson)
TSX_SOLVED_GETTER(double, ProbF, engine_->core.statistics.prob_f)
TSX_SOLVED_GETTER(std::int32_t, DOFRegression, engine_->core.statistics.dof_regression)
TSX_SOLVED_GETTER(std::int32_t, DOFError, engine_->core.statistics.dof_error)
TSX_SOLVED_GETTER(std::int32_t, DOFTotal, engine_->core.statistics.dof_total)

#undef TSX_SOLVED_GETTER

}  // namespace tessarix
