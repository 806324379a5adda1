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
// The members shared with MultipleNonlinearRegression (definition by text or
// catalogue number, settings, statistics, parameters, result tables, log,
// Tag) are documented in core/regression_object.hpp; this header documents
// what is this class's own. Errors are tessarix::Error with the guards listed
// there.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "tessarix/core/events.hpp"
#include "tessarix/core/regression_object.hpp"
#include "tessarix/data/data_collection.hpp"
#include "tessarix/foundation/enums.hpp"
#include "tessarix/foundation/error.hpp"
#include "tessarix/foundation/export.hpp"
#include "tessarix/language/model_definition.hpp"
#include "tessarix/platform/variant.hpp"

namespace tessarix {

class TESSARIX_API NonlinearRegression : public RegressionObject {
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
  // DefineUserModel, DefineUserModelSub and DefineInternalModel (IDs 1 to
  // 298) are those of RegressionObject.

  // An external model with the given parameter names, in this order. The
  // model's values come from Events.EvaluateExternal; its derivatives from
  // Events.DerivativeExternal when ExternalDerivatives is true, otherwise
  // numerically from the values. Two equal names (letter case ignored)
  // raise 10001.
  void DefineExternalModel(std::span<const std::string> Parameters, bool ExternalDerivatives = false);
  // The same with the names in a Variant array (10042 when it holds none);
  // the model then raises the Alt events instead.
  void DefineExternalModelAlt(const Variant& Parameters, bool ExternalDerivatives = false);

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

  // The columns of a solved fit in ResultTables(): X (key "X"), Y (key "Y"),
  // Standard Deviation (key "SD", weighted fits only), Predicted Y,
  // Residuals (FitCollection uses the names of its series).

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

  // ---- result file -----------------------------------------------------------
  // Writes the model, the observations and the solution to FilePath as a
  // result file of the desktop application Tessara, version 7.1 or 8.0
  // (MajorVersion, MinorVersion); the versions differ only in the version
  // line. A model defined but not solved is written without its solution.
  // The file is replaced as a whole: when the write fails an existing file
  // stays as it was. Raises, in this order: 10023 with no model, 10033 when
  // locked, NotValidForExternalModels (10034) for an external model,
  // UnsupportedTessaraVersion (10036) for another version, FileWriteError
  // (10010) when the file cannot be written.
  void SaveTSF(const std::string& FilePath, std::int32_t MajorVersion, std::int32_t MinorVersion);
};

}  // namespace tessarix
