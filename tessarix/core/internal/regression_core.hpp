// The state that every regression class shares (settings, run state, solved
// statistics, log, parameters, result tables) and the interface through which
// the shared engine (driver, iteration, statistics, log) reaches the model of
// a class. The engine never sees a point: it asks for the model at
// observation i of the run, and the class knows whether that point is one x
// or a row of several.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "tessarix/core/internal/point_model.hpp"
#include "tessarix/foundation/enums.hpp"
#include "tessarix/language/data_statistics.hpp"
#include "tessarix/numerics/one_based.hpp"

namespace tessarix {
class RegressionParameters;
class DataCollection;
}  // namespace tessarix

namespace tessarix::detail {

inline constexpr std::string_view kLineEnd = "\r\n";

// The goodness-of-fit values of the last run, as CalculateStatistics left them.
struct RegressionStatistics {
  double residual_sum = 0.0;
  double residual_average = 0.0;
  double sse = 0.0;       // unweighted sum of squared residuals
  double sse_norm = 0.0;  // weighted sum of squared residuals
  double sst = 0.0;       // weighted total sum of squares
  double r2 = 0.0;
  double r2_adjust = 0.0;
  double standard_error = 0.0;
  double durbin_watson = 0.0;
  double prob_f = 0.0;
  std::int32_t fitted_count = 0;  // parameters the run fitted (not fixed)
  std::int32_t dof_regression = 0;
  std::int32_t dof_error = 0;
  std::int32_t dof_total = 0;
};

// What the Marquardt iteration keeps between its calls. The trial values,
// the gradient and the step are fixed at 100 parameters (index 0 unused): a
// model with more fails its run with "Subscript out of range".
inline constexpr std::int32_t kMaxFittedParameters = 100;
struct MarquardtState {
  std::int16_t fitted_count = 0;
  double old_merit = 0.0;
  Vector1 atry = MakeVector1(kMaxFittedParameters);
  Vector1 beta = MakeVector1(kMaxFittedParameters);
  Vector1 da = MakeVector1(kMaxFittedParameters);
  // One block of the pass over the data: the model values and the
  // derivatives (a row of parameter count + 1 per observation, one-based);
  // sized per run.
  std::vector<double> block_values;
  std::vector<double> block_derivatives;
  std::int32_t block_stride = 0;
  // The sums of the normal equations while a block is added without a test
  // per step: the lower triangle row by row, the gradient, the merit. Grows
  // on the first pass of a run and no more.
  std::vector<double> block_sums;
};

// The run's view of a regression class's model.
class RunModel {
 public:
  virtual ~RunModel() = default;
  // How many observations EvaluateRows takes at once.
  virtual std::int32_t BlockRows() const = 0;
  // The model at observations first..first+count-1 (1..n) of the run with the
  // current parameter values into values[0..count-1] and, when `ia` is not
  // null, the derivatives by every parameter l with ia[l] != 0 into
  // derivatives[r * stride + l]. With `ia` not null, a null `values` asks
  // for the derivatives only: the caller has the values at these parameters
  // already (an external model's value events are then not raised). False
  // at the first observation where the value or the derivatives cannot be
  // had (`failure` says which); the rows before it are complete.
  [[nodiscard]] virtual bool EvaluateRows(std::int32_t first, std::int32_t count, const std::int32_t* ia,
                                          double* values, double* derivatives, std::int32_t stride,
                                          RowFailure& failure) = 0;
  // The point of observation i as the failure texts show it.
  virtual std::string PointText(std::int32_t i) const = 0;
  // The data words of the run, computed before anything evaluates the model.
  virtual void ComputeDataStatistics() = 0;
  // Least-squares starting values of a pre-defined model; false when they fail.
  [[nodiscard]] virtual bool ObtainLeastSquaresEstimates() = 0;
  // The IterationComplete event.
  virtual void IterationComplete(std::int32_t iteration, double sse, bool& abort) = 0;
  // Floors of the first step of the numerical parameter derivatives (one per
  // parameter, one-based), or empty for the plain relative step.
  virtual void SetDerivativeStepFloors(std::vector<double> floors) = 0;
  // The log banner's class name and the model line of a run.
  virtual std::string_view ClassName() const = 0;
  virtual ModelTypeEnum Type() const = 0;
  virtual std::string ModelText() const = 0;
};

struct RegressionCore {
  RegressionCore();
  ~RegressionCore();
  RegressionCore(const RegressionCore&) = delete;
  RegressionCore& operator=(const RegressionCore&) = delete;

  // Solver settings.
  std::int32_t max_iterations = 250;
  std::int32_t max_unchanged_iterations = 10;
  double regression_tolerance = 1e-10;  // a percentage
  SolverMethodEnum solver_method = tsxSolverMarquardt;
  // Extension: the parameter derivatives of a text model.
  DerivativeMethodEnum derivative_method = tsxDerivativeNumerical;
  // Extension: the vector routines for the text models that run by blocks.
  bool vector_math = false;
  // Extensions: threads of a pass over the data (results do not depend on
  // them), and whether the host's per-point events may run on several.
  std::int32_t threads = 1;
  bool thread_safe_events = false;

  // Model and run state.
  bool valid = false;
  bool solved = false;
  bool locked = false;  // from just before a run starts until it returns
  bool is_weighted = false;
  std::int16_t parameter_count = 0;
  std::int32_t num_iterations = 0;
  std::int32_t num_unchanged_iterations = 0;
  std::int32_t num_observations = 0;
  // How the last run ended; tsxNotRun after a definition or ClearFit.
  ConvergenceReasonEnum convergence_reason = tsxNotRun;
  std::string solution_log;
  std::string last_error;
  std::string tag;

  // The parameter values the model reads, 1..parameter count.
  Vector1 parameter_values;

  RegressionStatistics statistics;
  MarquardtState marquardt;
  DataStatistics data_statistics;

  // Created on first need, so that const getters can hand them out.
  mutable std::shared_ptr<tessarix::RegressionParameters> parameters;
  mutable std::shared_ptr<tessarix::DataCollection> result_tables;

  // Work arrays of one run (1..n), beside the points that the class keeps:
  // Y, the caller's deviations, the weights, the predicted values and the
  // residuals of the last pass over the data.
  Vector1 y;
  Vector1 deviations;
  Vector1 weights;
  Vector1 predicted;
  Vector1 residuals;

  tessarix::RegressionParameters& Parameters() const;
  tessarix::DataCollection& ResultTables() const;

  void AppendLine(std::string_view text);
  void ReleaseWorkArrays();
};

// The run: log, estimates, iterations, statistics, publication of the
// parameters. Called with the lock set and the work arrays filled; the result
// is only the state of `core`. Never raises.
void SolveModel(RegressionCore& core, RunModel& model, std::int32_t n);

// The object's part of a new model definition: parameters removed, result
// tables emptied, flags and counts cleared, work arrays released.
void ResetCoreModel(RegressionCore& core);

// ClearFit without its guard.
void ClearCoreFit(RegressionCore& core);

// "Final parameter values:" or "Last parameter values:" and a line per
// parameter: name " = " value (values one-based, by position).
void AppendParameterValues(RegressionCore& core, const Vector1& values, bool is_last);

// Writes the log and one more line end; false on any failure.
[[nodiscard]] bool WriteLogFile(const std::string& text, const std::string& path, bool append);

}  // namespace tessarix::detail
