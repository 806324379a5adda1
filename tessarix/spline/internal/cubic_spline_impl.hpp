// The inside of a CubicSpline: the points of a fit while it runs, the solution
// that the queries (and the result file) read afterwards, the log and the
// result tables.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "tessarix/data/data_collection.hpp"
#include "tessarix/numerics/one_based.hpp"
#include "tessarix/spline/internal/spline_math.hpp"

namespace tessarix::detail {

inline constexpr std::string_view kSplineLineEnd = "\r\n";

struct CubicSplineImpl {
  bool solved = false;
  std::string solution_log;
  std::string last_error;
  std::string tag;

  // Points as supplied (NumObservations), duplicates included.
  std::int32_t num_observations = 0;

  // Created on first need, so that the const getter can hand them out.
  mutable std::shared_ptr<tessarix::DataCollection> result_tables;

  // Arrays of one fit (1..n), in the order of the input: the supplied points,
  // the spline at them and the residuals. Released when the fit ends.
  Vector1 input_x;
  Vector1 input_y;
  Vector1 predicted;
  Vector1 residuals;

  // The solution, kept after the fit: the knots after sorting and averaging,
  // the second derivatives, and the ranges of the knots.
  SplineKnots knots;
  SplineRanges ranges;

  tessarix::DataCollection& ResultTables() const;
  void AppendLine(std::string_view text);

  // Empties the result tables (they stay read-only), clears the solved flag
  // and releases every array of the fit and of the solution.
  void ReleaseSolution();
  void ReleaseFitArrays();

  void GuardSolved() const;               // 10029
  void GuardInRange(double x) const;      // 10039, also for NaN
  bool InRange(double x) const noexcept;  // between the first and the last knot
};

}  // namespace tessarix::detail
