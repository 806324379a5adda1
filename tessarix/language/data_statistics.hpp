// The values that describe the data of a run, refreshed at the start of each
// fit before the first evaluation, and read by the data words of the model
// language: "xmin" ... "yrange" with one variable; "x1min" ... "yatx9max"
// and the words of y with several.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace tessarix::detail {

// ORDER: the data words of the language map onto these in this order.
enum class DataWord : std::uint8_t {
  XMin,
  XMax,
  YMin,
  YMax,
  XMean,
  YMean,
  XStd,
  YStd,
  XAtYMin,
  XAtYMax,
  YAtXMin,
  YAtXMax,
  XRange,
  YRange,
};
inline constexpr int kDataWordCount = 14;

// The words of one independent variable among several ("x3min" and so on).
struct VariableStatistics {
  double min = 0, max = 0, mean = 0;
  double std = 0;                     // sample standard deviation, divisor n - 1
  double at_ymin = 0, at_ymax = 0;    // the variable at the first observation holding the smallest / largest y
  double y_at_min = 0, y_at_max = 0;  // y at the first observation holding its smallest / largest value
};

// Only the first nine variables have data words.
inline constexpr int kVariablesWithDataWords = 9;

struct DataStatistics {
  double xmin = 0, xmax = 0, ymin = 0, ymax = 0;
  double xmean = 0, ymean = 0;
  double xstd = 0, ystd = 0;        // sample standard deviations, divisor n - 1
  double xatymin = 0, xatymax = 0;  // x of the first observation holding the smallest / largest y
  double yatxmin = 0, yatxmax = 0;  // y of the first observation holding the smallest / largest x

  // With several variables: those of variables 1 .. variable_count (at most
  // nine) at variables[k - 1]; the words of y use the fields above.
  std::array<VariableStatistics, kVariablesWithDataWords> variables{};
  std::int32_t variable_count = 0;

  // The value of a data word; the ranges are |max - min|, computed at each
  // lookup. Faults ("Overflow") like any other step.
  double Lookup(DataWord word) const;
  // The same for variable k of several (k = 0: the single x). The words of y
  // ignore k. A variable the statistics do not hold faults with "Subscript
  // out of range".
  double Lookup(DataWord word, std::int32_t variable) const;
};

// From one-based arrays x[1..n], y[1..n]. With n = 1 the standard deviations
// divide by zero and fault; callers compute the statistics only after the
// count test of the run.
DataStatistics ComputeDataStatistics(const double* x, const double* y, std::int32_t n);
// The same with observation i of x at x[x_stride * i]: one variable of a
// table of points.
DataStatistics ComputeDataStatistics(const double* x, std::ptrdiff_t x_stride, const double* y, std::int32_t n);

// All the words of a run with several variables, from a table of points:
// variable k (1..variables) of observation i (1..n) at
// points[variables * i + k - 1], y[1..n] as above. The variables of the data
// words (the first nine) get their statistics, the fields of the single x
// those of x1.
DataStatistics ComputeTableStatistics(const double* points, std::int32_t variables, const double* y, std::int32_t n);

}  // namespace tessarix::detail
