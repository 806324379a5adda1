// MultipleNonlinearRegression: non-linear least-squares regression of a
// model y = f(x1, ..., xm) with m independent variables, by the same
// Levenberg-Marquardt iteration, statistics, log, guards and errors as
// NonlinearRegression. Hosts include it as
// <tessarix/multiple/multiple_nonlinear_regression.hpp>.
//
// In model text the variables are x1, x2, ... xm (up to x50; x01..x09 are
// the same as x1..x9). A plain `x` is a parameter name here. Every variable
// from x1 to the highest one used must appear: "a*x1+b*x3" raises
// ModelIndependentVariableMissing (10020).
//
// The members shared with NonlinearRegression (definition by text or
// catalogue number, settings, statistics, parameters, result tables, log,
// Tag) are documented in core/regression_object.hpp.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "tessarix/core/multiple_events.hpp"
#include "tessarix/core/regression_object.hpp"
#include "tessarix/data/data_collection.hpp"
#include "tessarix/foundation/export.hpp"
#include "tessarix/platform/matrix.hpp"
#include "tessarix/platform/variant.hpp"

namespace tessarix {

class TESSARIX_API MultipleNonlinearRegression : public RegressionObject {
 public:
  // A new object: no model, MaxIterations 250, MaxUnchangedIterations 10,
  // RegressionTolerance 1E-10, empty log, LastSolveError "No errors".
  MultipleNonlinearRegression();
  ~MultipleNonlinearRegression();
  MultipleNonlinearRegression(const MultipleNonlinearRegression&) = delete;
  MultipleNonlinearRegression& operator=(const MultipleNonlinearRegression&) = delete;
  MultipleNonlinearRegression(MultipleNonlinearRegression&&) = delete;
  MultipleNonlinearRegression& operator=(MultipleNonlinearRegression&&) = delete;

  // The callbacks of the object (see multiple_events.hpp).
  MultipleNonlinearRegressionEvents Events;

  // ---- model definition ----------------------------------------------------
  // An external model of NumIndependentVars variables with the given
  // parameter names. NumIndependentVars below 1 raises InvalidArgument
  // (10028) before anything else; otherwise as NonlinearRegression's.
  void DefineExternalModel(std::int32_t NumIndependentVars, std::span<const std::string> Parameters,
                           bool ExternalDerivatives = false);
  void DefineExternalModelAlt(std::int32_t NumIndependentVars, const Variant& Parameters,
                              bool ExternalDerivatives = false);

  // ---- fitting ---------------------------------------------------------------
  // XObservations holds one row per observation and one column per variable
  // (columns beyond m are ignored). Each form raises, storing the message as
  // LastSolveError first: 10023 with no model, 10033 when locked,
  // InvalidArrayDimensions (10014) when X has no second dimension or fewer
  // than m columns, NoObservationsInArray (10006) when X has no rows or an
  // array has no elements, UnequalArrayDimensions (10013) for different
  // counts. A solution that fails does not raise: read IsSolved().
  //
  // ResultTables() then holds X1 .. Xm (keys X1 ..), Y (key Y), Standard
  // Deviation (key SD, weighted fits only), Predicted Y and Residuals.
  void Fit(const Matrix& XObservations, std::span<const double> YObservations);
  void FitWeighted(const Matrix& XObservations, std::span<const double> YObservations,
                   std::span<const double> StandardDeviations);
  // The same with Variant arrays: X two-dimensional. An argument that holds
  // no array raises ExpectedVariantArray (10042).
  void FitAlt(const Variant& XObservations, const Variant& YObservations);
  void FitWeightedAlt(const Variant& XObservations, const Variant& YObservations, const Variant& StandardDeviations);
  // The series keyed "x1" .. "xm", "y" and optionally "sd" (letter case
  // ignored). A missing "xk" raises MissingIndependentSeries (10025) with the
  // text "Missing independent data series Xk"; a missing "y" 10026; y or sd
  // of another length than x1 10012. The result tables take the series' names.
  void FitCollection(const DataCollection& ObservedData);

  // ---- post-fit queries: each raises 10023, then 10029 ---------------------------
  // The model at the point XValues (x1 first; m elements are read).
  // ModelEvaluationError (10030) when it cannot be evaluated there.
  double PredictValue(std::span<const double> XValues);
  double PredictValueAlt(const Variant& XValues);
  // The model at every row of XValues (one point per row); 10030 at the
  // first failure. No rows give an empty result.
  std::vector<double> PredictArray(const Matrix& XValues);
  Variant PredictArrayAlt(const Variant& XValues);
  // dy/dx along variable XIndex (0 is x1), the others held at their values in
  // XValues, by Ridders' extrapolated central differences. InvalidArgument
  // (10028) when XValues is empty or XIndex is not in 0..m-1;
  // DerivativeError (10031) when the model cannot be evaluated near the point.
  double CalculateDerivative(std::span<const double> XValues, std::int32_t XIndex);
  double CalculateDerivativeAlt(const Variant& XValues, std::int32_t XIndex);
  // The values of variable XIndex in [XLowerBound, XUpperBound] (either
  // order) where the model equals YValue, the others held at XValues, found
  // as NonlinearRegression::CalculateRoots finds them. NumIntervals below 3
  // raises 10028. An XIndex outside 0..m-1 fails at the array access: 10001
  // "General Error: Subscript out of range".
  std::vector<double> CalculateRoots(double YValue, std::span<const double> XValues, std::int32_t XIndex,
                                     double XLowerBound, double XUpperBound, std::int32_t NumIntervals = 100);
  // The same as a Variant array of Doubles; Empty when there is no root.
  Variant CalculateRootsAlt(double YValue, const Variant& XValues, std::int32_t XIndex, double XLowerBound,
                            double XUpperBound, std::int32_t NumIntervals = 100);

  // ---- result file -----------------------------------------------------------
  // Writes the model, the observations and the solution to FilePath as a
  // result file of the desktop application Tessara, as
  // NonlinearRegression::SaveTSF does, with the same errors in the same
  // order; between the version (10036) and the write (10010) a model of more
  // than 20 independent variables raises TooManyIndependentVariables (10041)
  // for version 8.0. Version 7.1 takes any number of variables.
  void SaveTSF(const std::string& FilePath, std::int32_t MajorVersion, std::int32_t MinorVersion);
};

}  // namespace tessarix
