// Fourteen values that describe the data of a run, refreshed at the start of
// each fit before the first evaluation, and read by the data words of the
// model language ("xmin" ... "yrange").
#pragma once

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

struct DataStatistics {
  double xmin = 0, xmax = 0, ymin = 0, ymax = 0;
  double xmean = 0, ymean = 0;
  double xstd = 0, ystd = 0;        // sample standard deviations, divisor n - 1
  double xatymin = 0, xatymax = 0;  // x of the first observation holding the smallest / largest y
  double yatxmin = 0, yatxmax = 0;  // y of the first observation holding the smallest / largest x

  // The value of a data word; the ranges are |max - min|, computed at each
  // lookup. Faults ("Overflow") like any other step.
  double Lookup(DataWord word) const;
};

// From one-based arrays x[1..n], y[1..n]. With n = 1 the standard deviations
// divide by zero and fault; callers compute the statistics only after the
// count test of the run.
DataStatistics ComputeDataStatistics(const double* x, const double* y, std::int32_t n);
// The same with observation i of x at x[x_stride * i]: one variable of a
// table of points. A run with several variables has one DataStatistics per
// variable, all with the same y values.
DataStatistics ComputeDataStatistics(const double* x, std::ptrdiff_t x_stride, const double* y, std::int32_t n);

}  // namespace tessarix::detail
