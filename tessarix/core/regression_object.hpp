// RegressionObject: the members that NonlinearRegression and
// MultipleNonlinearRegression share, member for member: model definition by
// text or catalogue number, the solver settings, the solved state and its
// statistics, the parameters, the result tables, the log and Tag. A host
// never creates one: it uses these members through either class.
//
// Errors are tessarix::Error (see foundation/error_code.hpp for the names).
// The guards named on the members are:
//   ModelNotDefined (10023): the model is not defined, or its definition failed;
//   ModelNotSolved (10029): the model is not solved;
//   LockedDuringSolution (10033): a fit is running and the call comes from an
//     event handler;
//   NotValidForExternalModels (10034): the member is not valid for an external model.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "tessarix/core/regression_parameters.hpp"
#include "tessarix/data/data_collection.hpp"
#include "tessarix/foundation/enums.hpp"
#include "tessarix/foundation/error.hpp"
#include "tessarix/foundation/export.hpp"
#include "tessarix/language/model_definition.hpp"

namespace tessarix {

namespace detail {
class RegressionEngine;
}

class TESSARIX_API RegressionObject {
 public:
  RegressionObject(const RegressionObject&) = delete;
  RegressionObject& operator=(const RegressionObject&) = delete;
  RegressionObject(RegressionObject&&) = delete;
  RegressionObject& operator=(RegressionObject&&) = delete;

  // ---- model definition ----------------------------------------------------
  // Every definition first raises 10033 when locked, then forgets the previous
  // model (parameters, result tables, solved state); the solver settings,
  // Tag, the log and LastSolveError stay. A failed definition leaves no model.

  // A model in the model language, e.g. "a*exp(-b*x)+c"; its parameters
  // (estimate 1.0, fitted) are the names of the text in sorted order.
  // Locale tsxLocaleLocal reads the text with the user's decimal and list
  // separators. Raises 10015 to 10021 for a text that is no valid model.
  void DefineUserModel(const std::string& Definition, InputLocaleEnum Locale = tsxLocaleEnglish,
                       const std::string& Description = "");
  // A model with sub-definitions F1 to F9 that Y and each other may refer to.
  void DefineUserModelSub(const tessarix::ModelDefinition& Definition, InputLocaleEnum Locale = tsxLocaleEnglish);
  // A pre-defined model of the class's catalogue (PredefinedModels() for
  // NonlinearRegression, PredefinedMultipleModels() for the multi-variable class);
  // InvalidPredefinedModelId (10022) for another ID (the previous model is
  // gone all the same).
  void DefineInternalModel(std::int32_t ModelID);

  // Copies of the definition in English and in the user's local form;
  // changing a copy changes nothing here. Raise 10023, then 10034.
  tessarix::ModelDefinition ModelDefinition() const;
  tessarix::ModelDefinition ModelDefinitionLocal() const;

  // tsxModelUser, tsxModelInternal or tsxModelExternal. Raises 10023.
  ModelTypeEnum ModelType() const;
  bool IsValidModel() const;
  // The number of independent variables of the model. Raises 10023.
  std::int32_t NumIndependentVariables() const;

  // The parameters of the model, in model order; empty before a definition.
  // The same collection object for the life of this object.
  std::shared_ptr<tessarix::RegressionParameters> RegressionParameters() const;

  // ---- the solved state ----------------------------------------------------
  // Forgets the solution (result tables, log, solved state); the model and
  // the parameters' estimates stay. Raises 10033.
  void ClearFit();

  bool IsSolved() const;
  // Why the last fit failed: "No errors" when nothing is stored. The text is
  // returned as stored, including a trailing line end where the failure
  // text carries one ("Error evaluating the function at X = 3\r\n").
  std::string LastSolveError() const;

  // The columns of the last solved fit (see the Fit forms of each class).
  // Read-only for the host; refilled in place by every fit, empty after a
  // failed one.
  std::shared_ptr<DataCollection> ResultTables() const;

  // ---- solver settings -------------------------------------------------------
  // Each setter raises 10033 when locked and InvalidPropertyValue (10027) for
  // a value out of range (below 1; for the tolerance at or below 0), keeping
  // the old value.
  std::int32_t MaxIterations() const;
  void SetMaxIterations(std::int32_t value);
  std::int32_t MaxUnchangedIterations() const;
  void SetMaxUnchangedIterations(std::int32_t value);
  // The run converges when the merit function falls by less than this
  // percentage in one iteration.
  double RegressionTolerance() const;
  void SetRegressionTolerance(double value);

  // ---- extension: threads --------------------------------------------------------
  // The threads of a pass over the data, 1 (the default) or more. Each thread
  // evaluates the model on its share of the observations and the sums are
  // then formed in the order of the observations, so every result is the same
  // for any number of threads. A pass runs in parallel for pre-defined models
  // and for external models whose host has declared its events thread-safe;
  // user models (whose sub-definitions keep values from one evaluation to the
  // next) and other external models run on one thread. The setter raises
  // 10033 when locked and 10027 below 1.
  std::int32_t Threads() const;
  void SetThreads(std::int32_t value);
  // Whether the host's per-point events of an external model may be called
  // from several threads at once (default false). The setter raises 10033
  // when locked.
  bool ThreadSafeEvents() const;
  void SetThreadSafeEvents(bool value);

  // ---- results of the solved fit: each raises 10023, then 10029 ---------------
  // Iterations of the run, counting the last one (one more than
  // MaxIterations when the limit was reached).
  std::int32_t NumIterations() const;
  // Iterations without a change of the merit function at the end of the run.
  std::int32_t NumUnchangedIterations() const;
  std::int32_t NumObservations() const;
  bool IsWeighted() const;
  // Sum of the residuals y - f(x), and their mean.
  double ResidualSum() const;
  double ResidualAverage() const;
  // Unweighted sum of squared residuals.
  double SSE() const;
  // Weighted sum of squared residuals (equal to SSE in an unweighted fit).
  double SSENorm() const;
  // Weighted total sum of squares about the weighted mean of y.
  double SST() const;
  // SST() - SSE(), computed on request (in a weighted fit this mixes the
  // weighted total with the unweighted residual sum).
  double SSR() const;
  // 1 - SSENorm / SST, and its adjusted form; negative values are reported as 0.
  double R2() const;
  double R2Adjust() const;
  // sqrt(SSENorm / DOFError).
  double StandardError() const;
  // Unweighted Durbin-Watson statistic of the residuals; 0 when SSE is 0.
  double DurbinWatson() const;
  // Probability of the F statistic of the regression; 0 for a perfect fit.
  double ProbF() const;
  // Fitted parameters - 1 (at least 1), observations - fitted parameters (at
  // least 1), and their sum.
  std::int32_t DOFRegression() const;
  std::int32_t DOFError() const;
  std::int32_t DOFTotal() const;

  // ---- log -------------------------------------------------------------------
  // The log of the last run, lines ended by "\r\n".
  std::string SolutionLog() const;
  // Writes the log and one more line end to FilePath, replacing the file or
  // appending to it. Raises FileWriteError (10010) when the file cannot be
  // written.
  void SaveLog(const std::string& FilePath, bool Append = false);

  // The caller's own text, kept as it is.
  std::string Tag() const;
  void SetTag(const std::string& value);

 protected:
  explicit RegressionObject(std::unique_ptr<detail::RegressionEngine> engine);
  ~RegressionObject();

  std::unique_ptr<detail::RegressionEngine> engine_;
};

}  // namespace tessarix
