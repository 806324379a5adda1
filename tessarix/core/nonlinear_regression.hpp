// NonlinearRegression: non-linear least-squares regression of a model
// y = f(x) with one independent variable, by a Levenberg-Marquardt iteration.
//
// A host defines a model (a user model written in the model language, a
// pre-defined model of the catalogue, or an external model that it evaluates
// itself through Events), calls one of the Fit forms, and reads IsSolved, the
// statistics, RegressionParameters(), ResultTables(), LastSolveError() and the
// log. A fit whose solution fails does not raise: IsSolved() stays false and
// LastSolveError() and the log tell why.
//
// Errors are tessarix::Error. The guards named on the members are:
//   10023 the model is not defined (or its definition failed),
//   10029 the model is not solved,
//   10033 the object is locked: a fit is running and the call comes from an
//         event handler,
//   10034 the member is not valid for an external model.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "tessarix/core/events.hpp"
#include "tessarix/core/regression_parameters.hpp"
#include "tessarix/data/data_collection.hpp"
#include "tessarix/foundation/enums.hpp"
#include "tessarix/foundation/error.hpp"
#include "tessarix/foundation/export.hpp"
#include "tessarix/language/model_definition.hpp"
#include "tessarix/platform/variant.hpp"

namespace tessarix {

namespace detail {
struct NonlinearRegressionImpl;
}

class TESSARIX_API NonlinearRegression {
 public:
  // A new object: no model, MaxIterations 250, MaxUnchangedIterations 10,
  // RegressionTolerance 1E-10, empty log, LastSolveError "No errors".
  NonlinearRegression();
  ~NonlinearRegression();
  NonlinearRegression(const NonlinearRegression&) = delete;
  NonlinearRegression& operator=(const NonlinearRegression&) = delete;
  NonlinearRegression(NonlinearRegression&&) = delete;
  NonlinearRegression& operator=(NonlinearRegression&&) = delete;

  // The callbacks of the object (see events.hpp).
  NonlinearRegressionEvents Events;

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
  // Pre-defined model 1 to 298 of the catalogue; 10022 for another ID (the
  // previous model is gone all the same).
  void DefineInternalModel(std::int32_t ModelID);
  // An external model with the given parameter names, in this order. The
  // model's values come from Events.EvaluateExternal; its derivatives from
  // Events.DerivativeExternal when ExternalDerivatives is true, otherwise
  // numerically from the values. Two equal names (letter case ignored)
  // raise 10001.
  void DefineExternalModel(std::span<const std::string> Parameters, bool ExternalDerivatives = false);
  // The same with the names in a Variant array (10042 when it holds none);
  // the model then raises the Alt events instead.
  void DefineExternalModelAlt(const Variant& Parameters, bool ExternalDerivatives = false);

  // Copies of the definition in English and in the user's local form;
  // changing a copy changes nothing here. Raise 10023, then 10034.
  tessarix::ModelDefinition ModelDefinition() const;
  tessarix::ModelDefinition ModelDefinitionLocal() const;

  // tsxModelUser, tsxModelInternal or tsxModelExternal. Raises 10023.
  ModelTypeEnum ModelType() const;
  bool IsValidModel() const;
  // Always 1. Raises 10023.
  std::int32_t NumIndependentVariables() const;

  // The parameters of the model, in model order; empty before a definition.
  // The same collection object for the life of this object.
  std::shared_ptr<tessarix::RegressionParameters> RegressionParameters() const;

  // ---- fitting ---------------------------------------------------------------
  // Each form raises (storing the message as LastSolveError first) 10023 with
  // no model, 10033 when locked, 10006 for an empty array, 10013 for arrays of
  // different lengths; then it runs ClearFit and the solution. A solution that
  // fails does not raise: read IsSolved(). Any other failure is 10001.

  // Unweighted fit of the observations (x[i], y[i]).
  void Fit(std::span<const double> XObservations, std::span<const double> YObservations);
  // Fit weighted by 1 / sd^2, normalised so that the weights average 1. A
  // deviation of 0 (below 1E-150) or above 1E+150 counts as weight 1 before
  // normalising. If the weights cannot be computed the fit is unweighted
  // (IsWeighted false) and no error is raised.
  void FitWeighted(std::span<const double> XObservations, std::span<const double> YObservations,
                   std::span<const double> StandardDeviations);
  // The forms for Variant arrays. An argument that holds no array raises
  // 10042 and leaves LastSolveError at "42"; an element that does not
  // convert to a Double raises 10001.
  void FitAlt(const Variant& XObservations, const Variant& YObservations);
  void FitWeightedAlt(const Variant& XObservations, const Variant& YObservations, const Variant& StandardDeviations);
  // The series whose RegressionKey is "x", "y" and (optional, weights) "sd"
  // (letter case ignored). Raises 10024 without x, 10026 without y, 10012 for
  // series of different lengths.
  void FitCollection(const DataCollection& ObservedData);

  // Forgets the solution (result tables, log, solved state); the model and
  // the parameters' estimates stay. Raises 10033.
  void ClearFit();

  bool IsSolved() const;
  // Why the last fit failed: "No errors" when nothing is stored. The text is
  // returned as stored, including a trailing line end where the failure
  // text carries one ("Error evaluating the function at X = 3\r\n").
  std::string LastSolveError() const;

  // The columns of the last solved fit: X (key "X"), Y (key "Y"), Standard
  // Deviation (key "SD", weighted fits only), Predicted Y, Residuals
  // (FitCollection uses the names of its series). Read-only for the host;
  // refilled in place by every fit, empty after a failed one.
  std::shared_ptr<DataCollection> ResultTables() const;

  // ---- solver settings -------------------------------------------------------
  // Each setter raises 10033 when locked and 10027 for a value out of range
  // (below 1; for the tolerance at or below 0), keeping the old value.
  std::int32_t MaxIterations() const;
  void SetMaxIterations(std::int32_t value);
  std::int32_t MaxUnchangedIterations() const;
  void SetMaxUnchangedIterations(std::int32_t value);
  // The run converges when the merit function falls by less than this
  // percentage in one iteration.
  double RegressionTolerance() const;
  void SetRegressionTolerance(double value);

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

  // ---- post-fit queries: each raises 10023, then 10029 --------------------------
  // The model at XValue with the fitted parameters; 10030 when it cannot be
  // evaluated there.
  double PredictValue(double XValue);
  // The model at every element; 10030 at the first failure. An empty span
  // gives an empty result.
  std::vector<double> PredictArray(std::span<const double> XValues);
  // The same for a Variant array (10042 when it holds none); the result is a
  // Variant array of Doubles.
  Variant PredictArrayAlt(const Variant& XValues);
  // dy/dx at XValue by Ridders' extrapolated central differences; 10031 when
  // the model cannot be evaluated near XValue.
  double CalculateDerivative(double XValue);
  // The x in [XLowerBound, XUpperBound] (either order) where the model equals
  // YValue, ascending, found by a scan of NumIntervals intervals and
  // bisection. Only sign changes between scan points are seen: two roots in
  // one interval are missed, and a pole is reported like a root. No root
  // gives an empty result. NumIntervals below 3 raises 10028.
  std::vector<double> CalculateRoots(double YValue, double XLowerBound, double XUpperBound,
                                     std::int32_t NumIntervals = 100);
  // The same as a Variant array of Doubles; Empty when there is no root.
  Variant CalculateRootsAlt(double YValue, double XLowerBound, double XUpperBound, std::int32_t NumIntervals = 100);
  // The integral from XLowerBound to XUpperBound (reversed bounds give the
  // negated value) by Romberg integration to a relative 1e-6. Raises 10040
  // when the model fails anywhere on the interval, its bounds included.
  double CalculateIntegral(double XLowerBound, double XUpperBound);

  // ---- log -------------------------------------------------------------------
  // The log of the last run, lines ended by "\r\n".
  std::string SolutionLog() const;
  // Writes the log and one more line end to FilePath, replacing the file or
  // appending to it. Raises 10010 when the file cannot be written.
  void SaveLog(const std::string& FilePath, bool Append = false);

  // The caller's own text, kept as it is.
  std::string Tag() const;
  void SetTag(const std::string& value);

 private:
  std::unique_ptr<detail::NonlinearRegressionImpl> impl_;
};

}  // namespace tessarix
