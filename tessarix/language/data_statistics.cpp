#include "tessarix/language/data_statistics.hpp"

#include <algorithm>
#include <cmath>

#include "tessarix/foundation/fault.hpp"
#include "tessarix/platform/checked.hpp"

namespace tessarix::detail {

double DataStatistics::Lookup(DataWord word) const {
  switch (word) {
    case DataWord::XMin:
      return xmin;
    case DataWord::XMax:
      return xmax;
    case DataWord::YMin:
      return ymin;
    case DataWord::YMax:
      return ymax;
    case DataWord::XMean:
      return xmean;
    case DataWord::YMean:
      return ymean;
    case DataWord::XStd:
      return xstd;
    case DataWord::YStd:
      return ystd;
    case DataWord::XAtYMin:
      return xatymin;
    case DataWord::XAtYMax:
      return xatymax;
    case DataWord::YAtXMin:
      return yatxmin;
    case DataWord::YAtXMax:
      return yatxmax;
    case DataWord::XRange:
      return std::fabs(Checked(xmax - xmin));
    case DataWord::YRange:
      return std::fabs(Checked(ymax - ymin));
  }
  return 0.0;
}

double DataStatistics::Lookup(DataWord word, std::int32_t variable) const {
  if (variable == 0) return Lookup(word);
  switch (word) {
    case DataWord::YMin:
    case DataWord::YMax:
    case DataWord::YMean:
    case DataWord::YStd:
    case DataWord::YRange:
      return Lookup(word);
    default:
      break;
  }
  if (variable < 1 || variable > variable_count) RaiseFault(FaultKind::SubscriptOutOfRange);
  const VariableStatistics& v = variables[static_cast<std::size_t>(variable - 1)];
  switch (word) {
    case DataWord::XMin:
      return v.min;
    case DataWord::XMax:
      return v.max;
    case DataWord::XMean:
      return v.mean;
    case DataWord::XStd:
      return v.std;
    case DataWord::XAtYMin:
      return v.at_ymin;
    case DataWord::XAtYMax:
      return v.at_ymax;
    case DataWord::YAtXMin:
      return v.y_at_min;
    case DataWord::YAtXMax:
      return v.y_at_max;
    case DataWord::XRange:
      return std::fabs(Checked(v.max - v.min));
    default:
      return 0.0;
  }
}

namespace {
// Mean and sample standard deviation (divisor n - 1) of v[stride * i] for
// i = 1..n.
void MeanAndStd(const double* v, std::ptrdiff_t stride, std::int32_t n, double& mean, double& std_dev) {
  Num sum = 0.0;
  for (std::int32_t i = 1; i <= n; ++i) sum += v[stride * i];
  const Num m = sum / static_cast<double>(n);
  Num ss = 0.0;
  for (std::int32_t i = 1; i <= n; ++i) {
    const Num d = Num(v[stride * i]) - m;
    ss += d * d;
  }
  mean = m.value();
  std_dev = sqrt(ss / static_cast<double>(n - 1)).value();
}

// The means and standard deviations of x and of y as MeanAndStd gives them,
// x's first. The sums of the two run side by side in one loop, each in its
// own order, without a test per step: a sum that has met a value that is not
// finite stays so, and only then do the checked loops run, to raise the
// fault of their step.
void MeansAndStds(const double* x, std::ptrdiff_t x_stride, const double* y, std::int32_t n, DataStatistics& s) {
  double sum_x = 0.0;
  double sum_y = 0.0;
  for (std::int32_t i = 1; i <= n; ++i) {
    sum_x = sum_x + x[x_stride * i];
    sum_y = sum_y + y[i];
  }
  const double count = static_cast<double>(n);
  const double mean_x = sum_x / count;
  const double mean_y = sum_y / count;
  double ss_x = 0.0;
  double ss_y = 0.0;
  for (std::int32_t i = 1; i <= n; ++i) {
    const double dx = x[x_stride * i] - mean_x;
    const double dy = y[i] - mean_y;
    ss_x = ss_x + dx * dx;
    ss_y = ss_y + dy * dy;
  }
  if (!std::isfinite(sum_x) || !std::isfinite(sum_y) || !std::isfinite(ss_x) || !std::isfinite(ss_y)) {
    MeanAndStd(x, x_stride, n, s.xmean, s.xstd);
    MeanAndStd(y, 1, n, s.ymean, s.ystd);
    return;
  }
  s.xmean = mean_x;
  s.xstd = sqrt(Num(ss_x) / static_cast<double>(n - 1)).value();
  s.ymean = mean_y;
  s.ystd = sqrt(Num(ss_y) / static_cast<double>(n - 1)).value();
}
}  // namespace

DataStatistics ComputeDataStatistics(const double* x, const double* y, std::int32_t n) {
  return ComputeDataStatistics(x, 1, y, n);
}

DataStatistics ComputeDataStatistics(const double* x, std::ptrdiff_t x_stride, const double* y, std::int32_t n) {
  DataStatistics s;
  if (n < 1) return s;
  std::int32_t ixmin = 1, ixmax = 1, iymin = 1, iymax = 1;
  const auto X = [&](std::int32_t i) { return x[x_stride * i]; };
  for (std::int32_t i = 2; i <= n; ++i) {
    // Strict comparisons: the first observation wins a tie.
    if (X(i) < X(ixmin)) ixmin = i;
    if (X(i) > X(ixmax)) ixmax = i;
    if (y[i] < y[iymin]) iymin = i;
    if (y[i] > y[iymax]) iymax = i;
  }
  s.xmin = X(ixmin);
  s.xmax = X(ixmax);
  s.ymin = y[iymin];
  s.ymax = y[iymax];
  s.xatymin = X(iymin);
  s.xatymax = X(iymax);
  s.yatxmin = y[ixmin];
  s.yatxmax = y[ixmax];
  MeansAndStds(x, x_stride, y, n, s);
  return s;
}

DataStatistics ComputeTableStatistics(const double* points, std::int32_t variables, const double* y, std::int32_t n) {
  if (variables < 1) return DataStatistics();
  DataStatistics s = ComputeDataStatistics(points, variables, y, n);
  s.variable_count = std::min(variables, kVariablesWithDataWords);
  for (std::int32_t k = 1; k <= s.variable_count; ++k) {
    const DataStatistics one = k == 1 ? s : ComputeDataStatistics(points + (k - 1), variables, y, n);
    VariableStatistics& v = s.variables[static_cast<std::size_t>(k - 1)];
    v.min = one.xmin;
    v.max = one.xmax;
    v.mean = one.xmean;
    v.std = one.xstd;
    v.at_ymin = one.xatymin;
    v.at_ymax = one.xatymax;
    v.y_at_min = one.yatxmin;
    v.y_at_max = one.yatxmax;
  }
  return s;
}

}  // namespace tessarix::detail
