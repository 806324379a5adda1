// CubicSpline: interpolation of paired X and Y data by a natural cubic spline.
//
// A host hands the spline its points with one of the Fit forms. The points are
// sorted by X; points of exactly equal X are averaged into one knot (the mean
// of their Y); the spline through the m knots is the natural one: its second
// derivative is 0 at the first and the last knot. The fit needs at least three
// distinct X. A fit that cannot be solved (too few distinct X) does not raise:
// IsSolved() stays false and the log tells why.
//
// A solved spline answers values, derivatives, roots and integrals for x
// between its first and last knot (both included), and gives the cubic of
// each interval as a CubicInformation. Only the value is computed from the
// polynomial pieces: the derivative, the integral and the roots treat the
// spline as a function of x and use the same numerical methods as the
// regression classes' queries (Ridders' differences, Romberg integration,
// scan and bisection), so they carry method error.
//
// Errors are tessarix::Error. The guards named on the members are:
//   10029 the spline is not solved,
//   10039 an x (or an interval) lies outside the knots.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "tessarix/data/data_collection.hpp"
#include "tessarix/foundation/error.hpp"
#include "tessarix/foundation/export.hpp"
#include "tessarix/platform/variant.hpp"
#include "tessarix/spline/cubic_information.hpp"

namespace tessarix {

namespace detail {
struct CubicSplineImpl;
}

class TESSARIX_API CubicSpline {
 public:
  // A new spline: not solved, empty log, LastSolveError "No errors", Tag "".
  CubicSpline();
  ~CubicSpline();
  CubicSpline(const CubicSpline&) = delete;
  CubicSpline& operator=(const CubicSpline&) = delete;
  CubicSpline(CubicSpline&&) = delete;
  CubicSpline& operator=(CubicSpline&&) = delete;

  // ---- fitting ---------------------------------------------------------------
  // Every form first forgets the previous solution (ClearFit), empties the log
  // and LastSolveError, and starts a new log. Then, storing the message as
  // LastSolveError first, Fit and FitAlt raise 10006 for an empty array and
  // 10013 for arrays of different lengths. With fewer than three distinct X
  // the spline is not solved ("Solution failed: not enough data points" in
  // the log and, for Fit and FitAlt, in LastSolveError) and nothing is raised.
  // Any other failure (a value that is not finite, an overflow of the
  // arithmetic on huge values) raises 10001 "General Error: " + the
  // failure's description, stored as LastSolveError, and leaves no solution.
  //
  // After a solved fit ResultTables() holds X, Y, Predicted Y (the spline at
  // each X) and Residuals (Y - Predicted Y), in the order of the input. The
  // residuals are 0 up to rounding, except at points of equal X, which the
  // spline passes at their mean.

  // The points (XObservations[i], YObservations[i]), in any order.
  void Fit(std::span<const double> XObservations, std::span<const double> YObservations);
  // The same for Variant arrays, each element converted to a Double. An
  // argument that holds no array raises 10042 (LastSolveError stays
  // "No errors"); an element that is no number raises 10001.
  void FitAlt(const Variant& XObservations, const Variant& YObservations);
  // The series whose RegressionKey is "x" and "y" (letter case ignored).
  // Raises 10024 without x, 10026 without y, 10012 when their lengths differ
  // or when a series keyed "sd" has another length (the spline is not
  // weighted: "sd" plays no other part). The first two table columns take the
  // names of the host's series. An empty pair of series is a fit of too few
  // points. Unlike Fit, a completed FitCollection leaves LastSolveError at
  // "No errors" also when the spline could not be solved: read IsSolved()
  // and the log.
  void FitCollection(const DataCollection& ObservedData);

  // Forgets the solution: not solved, result tables emptied. The log and
  // LastSolveError stay.
  void ClearFit();

  bool IsSolved() const;
  // Why the last fit failed: "No errors" when nothing is stored.
  std::string LastSolveError() const;
  // The points of the last solved fit as supplied, duplicates included.
  // Raises 10029.
  std::int32_t NumObservations() const;

  // The columns of the last solved fit (see the Fit forms). Read-only for the
  // host; refilled in place by every fit, empty after a failed one.
  std::shared_ptr<DataCollection> ResultTables() const;

  // ---- queries on the solved spline: each raises 10029 first -------------------
  // An x argument must lie between the first and the last knot, both
  // included; otherwise 10039 "X value is out of range of fitted spline".

  // m - 1 for m knots.
  std::int32_t NumIntervals() const;
  // The cubic of interval 1 .. NumIntervals() (from knot i to knot i + 1);
  // 10039 for another index. A coefficient that overflows raises 10001.
  CubicInformation GetCubicByInterval(std::int32_t Interval);
  // The cubic of the first interval that holds XValue: an x on an inner knot
  // gets the interval to its left, the last knot the last interval.
  CubicInformation GetCubicByValue(double XValue);

  // The spline at XValue; 10030 when the arithmetic fails (huge values).
  double PredictValue(double XValue);
  // The spline at every element, each checked as it is reached (10039,
  // 10030). An empty span raises 10005.
  std::vector<double> PredictArray(std::span<const double> XValues);
  // The same for a one-dimensional Variant array (10042 when it holds none,
  // 10005 when it has no elements or two dimensions, 10001 for an element
  // that is no number); the result is a Variant array of Doubles.
  Variant PredictArrayAlt(const Variant& XValues);

  // dy/dx at XValue by Ridders' extrapolated central differences on the
  // spline's values (at the end knots the differences step outside and use
  // the end cubic); 10031 when the spline cannot be evaluated there.
  double CalculateDerivative(double XValue);
  // The integral from XLowerBound to XUpperBound, both inside the knots
  // (reversed bounds give the negated value), by Romberg integration to a
  // relative 1e-6; 10040 when it fails.
  double CalculateIntegral(double XLowerBound, double XUpperBound);
  // The x in [XLowerBound, XUpperBound] (either order, both inside the knots)
  // where the spline equals YValue, ascending, by a scan of NumIntervals
  // intervals and bisection. Only changes of sign between scan points are
  // seen: two roots within one scan interval are missed; a root on a scan
  // point is reported once. No root gives an empty result. NumIntervals below
  // 3 raises 10028 (after the bounds' 10039).
  std::vector<double> CalculateRoots(double YValue, double XLowerBound, double XUpperBound,
                                     std::int32_t NumIntervals = 100);
  // The same as a Variant array of Doubles; Empty when there is no root.
  Variant CalculateRootsAlt(double YValue, double XLowerBound, double XUpperBound, std::int32_t NumIntervals = 100);

  // ---- log ---------------------------------------------------------------------
  // The log of the last fit, lines ended by "\r\n": the banner, "Beginning
  // solution for Cubic Spline", "Averaging duplicate points detected" when
  // points of equal X were averaged, then "Solution complete" or "Solution
  // failed: not enough data points" followed by an empty line.
  std::string SolutionLog() const;
  // Writes the log and one more line end to FilePath, replacing the file or
  // appending to it; works in every state (an empty log too). Raises 10010
  // when the file cannot be written.
  void SaveLog(const std::string& FilePath, bool Append = false);

  // ---- result file -------------------------------------------------------------
  // Writes the points and the knots of the solved spline to FilePath as a
  // result file of the desktop application Tessara, version 7.1 or 8.0
  // (MajorVersion, MinorVersion); the versions differ only in the version
  // line. The file is replaced as a whole: when the write fails an existing
  // file stays as it was. Raises, in this order: 10029 when not solved,
  // UnsupportedTessaraVersion (10036) for another version, FileWriteError
  // (10010) when the file cannot be written.
  void SaveTSF(const std::string& FilePath, std::int32_t MajorVersion, std::int32_t MinorVersion);

  // The caller's own text, kept as it is.
  std::string Tag() const;
  void SetTag(const std::string& value);

 private:
  std::unique_ptr<detail::CubicSplineImpl> impl_;
};

}  // namespace tessarix
