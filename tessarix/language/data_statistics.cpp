#include "tessarix/language/data_statistics.hpp"

#include <algorithm>
#include <cmath>
#include <vector>

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
// Mean and sample standard deviation (divisor n - 1) of v[1..n].
void MeanAndStd(const double* v, std::int32_t n, double& mean, double& std_dev) {
  Num sum = 0.0;
  for (std::int32_t i = 1; i <= n; ++i) sum += v[i];
  const Num m = sum / static_cast<double>(n);
  Num ss = 0.0;
  for (std::int32_t i = 1; i <= n; ++i) {
    const Num d = Num(v[i]) - m;
    ss += d * d;
  }
  mean = m.value();
  std_dev = sqrt(ss / static_cast<double>(n - 1)).value();
}

// Positions of the first smallest and first largest of v[1..n]: strict
// comparisons, so the first observation wins a tie.
void Extremes(const double* v, std::int32_t n, std::int32_t& imin, std::int32_t& imax) {
  imin = imax = 1;
  for (std::int32_t i = 2; i <= n; ++i) {
    if (v[i] < v[imin]) imin = i;
    if (v[i] > v[imax]) imax = i;
  }
}
}  // namespace

DataStatistics ComputeDataStatistics(const double* x, const double* y, std::int32_t n) {
  DataStatistics s;
  if (n < 1) return s;
  std::int32_t ixmin = 1, ixmax = 1, iymin = 1, iymax = 1;
  Extremes(x, n, ixmin, ixmax);
  Extremes(y, n, iymin, iymax);
  s.xmin = x[ixmin];
  s.xmax = x[ixmax];
  s.ymin = y[iymin];
  s.ymax = y[iymax];
  s.xatymin = x[iymin];
  s.xatymax = x[iymax];
  s.yatxmin = y[ixmin];
  s.yatxmax = y[ixmax];
  MeanAndStd(x, n, s.xmean, s.xstd);
  MeanAndStd(y, n, s.ymean, s.ystd);
  return s;
}

DataStatistics ComputeDataStatistics(std::int32_t variables,
                                     const std::function<double(std::int32_t i, std::int32_t k)>& x, const double* y,
                                     std::int32_t n) {
  DataStatistics s;
  if (n < 1) return s;
  std::int32_t iymin = 1, iymax = 1;
  Extremes(y, n, iymin, iymax);
  s.ymin = y[iymin];
  s.ymax = y[iymax];
  MeanAndStd(y, n, s.ymean, s.ystd);
  s.variable_count = std::clamp(variables, 0, kVariablesWithDataWords);
  std::vector<double> column(static_cast<std::size_t>(n) + 1);
  for (std::int32_t k = 1; k <= s.variable_count; ++k) {
    for (std::int32_t i = 1; i <= n; ++i) column[static_cast<std::size_t>(i)] = x(i, k);
    VariableStatistics& v = s.variables[static_cast<std::size_t>(k - 1)];
    std::int32_t imin = 1, imax = 1;
    Extremes(column.data(), n, imin, imax);
    v.min = column[static_cast<std::size_t>(imin)];
    v.max = column[static_cast<std::size_t>(imax)];
    v.at_ymin = column[static_cast<std::size_t>(iymin)];
    v.at_ymax = column[static_cast<std::size_t>(iymax)];
    v.y_at_min = y[imin];
    v.y_at_max = y[imax];
    MeanAndStd(column.data(), n, v.mean, v.std);
  }
  return s;
}

}  // namespace tessarix::detail
