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
#include "tessarix/platform/matrix.hpp"

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
  // percentage in one iteration. The trust-region method reads it as the
  // bound on the relative change of the parameters (see SetSolverMethod).
  double RegressionTolerance() const;
  void SetRegressionTolerance(double value);

  // The iteration of the fits: tsxSolverMarquardt (the default) or
  // tsxSolverTrustRegion. The setter raises 10033 when locked and 10027 for
  // any other value; the choice survives definitions and ClearFit.
  //
  // The trust-region method (MINPACK lmder's design: scaling by the
  // Jacobian's column norms, steps from a pivoted QR factorisation of the
  // weighted Jacobian, a trust radius adapted by the ratio of actual to
  // predicted reduction) ends at the best point it found. It stops
  //   - when the merit function reaches 0, or no step within the trust region
  //     changes it beyond rounding (tsxConvergedReduction);
  //   - when the trust radius falls below RegressionTolerance percent of the
  //     scaled parameters: with the default, their relative change is below
  //     1E-12 (tsxConvergedStep);
  //   - when the residuals are orthogonal to every column of the Jacobian to
  //     within a cosine of 1E-14 (tsxConvergedGradient);
  //   - after MaxIterations trial steps, or when the host aborts
  //     (tsxIterationLimit), at the best point;
  //   - when the radius collapses because no step near the best point can be
  //     evaluated (tsxStalled).
  // A singular or rank-deficient Jacobian gives a least-squares step, and a
  // step that cannot be computed or evaluated is rejected (the radius
  // shrinks), not the end of the run; so is an accepted point where the
  // derivatives fail or a parameter stops acting on the model. NumIterations
  // counts trial steps (never more than MaxIterations), and
  // NumUnchangedIterations the rejected ones since the last accepted step;
  // MaxUnchangedIterations is not used. Numerical parameter derivatives start
  // from a step of at least 3.684E-06 times the parameter's initial estimate
  // (3.684E-06 for an estimate of 0), so that a parameter at or near 0 has a
  // real derivative. The log names the method, the test that ended the run
  // and the passes over the data. Statistics, covariance (from the QR factor
  // of the Jacobian at the best point) and standard errors are those of the
  // best point; a Jacobian there with a column that depends exactly on the
  // others fails the run ("Singular matrix at the best point").
  SolverMethodEnum SolverMethod() const;
  void SetSolverMethod(SolverMethodEnum value);

  // Extension: how the parameter derivatives of a model in the model language
  // are had. tsxDerivativeNumerical (the default) differentiates the whole
  // model numerically (Ridders' extrapolated central differences, up to 20
  // evaluations per parameter and point); every result is then exactly what
  // it was before this setting existed. tsxDerivativeExact differentiates
  // the compiled model itself in the same pass as its values (forward mode:
  // each step carries the partial derivatives of the fitted parameters):
  // every function word by its closed-form derivative (the Bessel
  // recurrences, the digamma function for the gamma family, the densities of
  // the incomplete gamma and beta functions), the integer, relational and
  // logical words and the integer arguments by 0, a conditional by the branch
  // taken, and the few arguments without a usable closed form (the orders of
  // jnu..dknu, the shape arguments of igamma, ibeta, binomial, fdist,
  // student, chi2, legendre's x) by a numerical derivative of that one word.
  // The model values are the same bits as with the default. A derivative
  // that is not finite fails the evaluation of the point as a failed
  // numerical derivative does. A text model whose points depend on each
  // other (rnd, or sub-definitions saved inside a conditional) keeps the
  // numerical derivatives, and so do pre-defined models with analytic
  // derivatives and external models. The setter raises 10033 when locked and
  // InvalidPropertyValue (10027) for any other value; the choice survives
  // definitions and ClearFit.
  DerivativeMethodEnum DerivativeMethod() const;
  void SetDerivativeMethod(DerivativeMethodEnum value);

  // Extension: vector math for models in the model language (default
  // false). When true, the models whose points run by blocks (no rnd, no
  // sub-definition saved inside a conditional) compute exp, ln, sin and cos
  // of 64 points at a time by the C library's vector routines (glibc's
  // libmvec, AVX2 where the processor has it); with false, the default,
  // every result is exactly what it was before this setting existed. The
  // vector results are at most 4 units in the last place from the scalar
  // ones (measured over the whole argument ranges: exp [-700, 700], ln
  // [1E-300, 1E300], sin and cos [-1E5, 1E5]); a model's values differ from
  // the default by that much per step, amplified by the model's own
  // conditioning, and a fit by correspondingly little. Failures are found as
  // with false: a block in which any step fails is evaluated again point by
  // point with the scalar routines (only an exp within those few units of
  // its overflow threshold may come out finite where the scalar one does
  // not). Without libmvec (other systems) the
  // setting changes nothing. Fits (values and exact derivatives),
  // predictions and statistics all use it. The setter raises 10033 when
  // locked; the choice survives definitions and ClearFit.
  bool VectorMath() const;
  void SetVectorMath(bool value);

  // How the last run ended, whether or not it was solved: tsxNotRun before
  // any run and after a definition or ClearFit; tsxFailed when the run
  // failed (IsSolved false). With the Marquardt method a converged run
  // (also a merit function of 0) gives tsxConvergedReduction, the
  // unchanged-merit end tsxStalled, the iteration limit tsxIterationLimit.
  // With either method a run that the host stopped from IterationComplete
  // gives tsxIterationLimit (unless that iteration met a convergence test).
  // The trust-region method gives each of the reasons as its log tells.
  ConvergenceReasonEnum ConvergenceReason() const;
  // ---- extension: threads --------------------------------------------------------
  // The threads of a pass over the data, 1 (the default) or more. Helper
  // threads evaluate the model ahead of the calling thread, which forms the
  // sums in the order of the observations, so every result is the same for
  // any number of threads. A pass runs in parallel for pre-defined models
  // and for external models whose host has declared its events thread-safe;
  // user models (whose sub-definitions keep values from one evaluation to the
  // next) and other external models run on one thread. The setter raises
  // 10033 when locked and 10027 below 1.
  std::int32_t Threads() const;
  void SetThreads(std::int32_t value);
  // Whether the host's per-point events of an external model may be called
  // from several threads at once (default false). With more than one thread
  // an event may also be called again for rows a late helper had already
  // begun (the calling thread takes them over rather than wait), so the
  // events must depend on their arguments alone. The setter raises 10033
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

  // ---- extension: criteria, correlations and report of the solved fit ------------
  // Each raises 10023, then 10029.
  //
  // The information criteria rest on the Gaussian log-likelihood of the
  // weighted residuals with the variance estimated by maximum likelihood:
  //   -2 ln L = n * (ln(2 pi) + ln(SSENorm / n) + 1)
  // with n = NumObservations(). In a weighted fit the weights average 1 and
  // the term -sum(ln w) of the likelihood, which depends on the deviations
  // alone, is left out: criteria compare models fitted to the same data with
  // the same deviations. k counts the fitted parameters plus one for the
  // variance (a parameter held constant does not count):
  //   AIC  = -2 ln L + 2 k
  //   AICc = AIC + 2 k (k + 1) / (n - k - 1)
  //   BIC  = -2 ln L + k ln(n)
  // A perfect fit (SSENorm 0) has no finite criterion, and AICc needs
  // n > k + 1: both raise 10001 "General Error: Invalid procedure call or
  // argument".
  double AIC() const;
  double AICc() const;
  double BIC() const;
  // The correlations of the parameters, one row and one column per parameter
  // in model order: r(i, j) = C(i, j) / sqrt(C(i, i) * C(j, j)) from the
  // covariance matrix C of the fit (CalculateCovariance), in [-1, 1], 1 on the
  // diagonal. A parameter held constant has a row and a column of zeros, its
  // diagonal included.
  Matrix CorrelationMatrix() const;
  // The report of the solved fit as text, lines ended by "\n": the model, how
  // the solution ended, the parameters (value, standard error, t probability
  // and the half-width of the confidence interval at Percent percent), the
  // statistics with the information criteria, the correlations of the fitted
  // parameters (pairs with |r| above 0.99 flagged) and a summary of the
  // residuals. Numbers are written with the decimal separator of
  // CurrentSeparators(). Raises 10028 for a Percent outside (0, 100).
  std::string Report(double Percent = 95.0) const;

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
