// The fourteen statistics of a series and their cache.
#include <cmath>
#include <vector>

#include "tessarix/data/data_series.hpp"
#include "tessarix/foundation/error_catalogue.hpp"
#include "tessarix/numerics/power.hpp"
#include "tessarix/numerics/sort_values.hpp"
#include "tessarix/platform/checked.hpp"
#include "tessarix/platform/rounding.hpp"

namespace tessarix {

using detail::Checked;
using detail::CheckedDiv;
using detail::CheckedSqrt;

double DataSeries::ComputeMedian() const {
  std::vector<double> sorted(values_.begin(), values_.begin() + count_ + 1);
  detail::SortValues(sorted, count_, tsxSortAscending);
  const std::int32_t n = count_;
  if (n % 2 == 0) {
    return CheckedDiv(Checked(sorted[static_cast<std::size_t>(n / 2)] + sorted[static_cast<std::size_t>(n / 2 + 1)]),
                      2.0);
  }
  // n / 2 + 1 ends in .5 and rounds half to even: for n = 5 this is 4, not
  // the middle 3. Long-standing behaviour that results depend on.
  const std::int32_t r = detail::RoundToInt32(static_cast<double>(n) / 2.0 + 1.0);
  return sorted[static_cast<std::size_t>(r)];
}

bool DataSeries::ComputeStatistics() const {
  const std::int32_t n = count_;
  if (n < 2) return false;
  try {
    const double* a = values_.data();
    StatisticsCache s;
    double sum = 0.0;
    double maximum = a[1];
    double minimum = a[1];
    for (std::int32_t i = 1; i <= n; ++i) {
      sum = Checked(sum + a[i]);
      if (a[i] > maximum) maximum = a[i];
      if (a[i] < minimum) minimum = a[i];
    }
    const double dn = static_cast<double>(n);
    const double mean = CheckedDiv(sum, dn);
    s.maximum = maximum;
    s.minimum = minimum;
    s.sum = sum;
    s.mean = mean;
    s.range = Checked(maximum - minimum);

    double s1 = 0.0, sa = 0.0, s2 = 0.0, s3 = 0.0, s4 = 0.0;
    for (std::int32_t i = 1; i <= n; ++i) {
      const double d = Checked(a[i] - mean);
      const double d2 = Checked(d * d);
      const double d3 = Checked(d2 * d);
      const double d4 = Checked(d3 * d);
      s1 = Checked(s1 + d);
      sa = Checked(sa + std::fabs(d));
      s2 = Checked(s2 + d2);
      s3 = Checked(s3 + d3);
      s4 = Checked(s4 + d4);
    }
    s.mean_absolute_deviation = CheckedDiv(sa, dn);
    s.sum_of_squared_deviation = s2;
    s.mean_square_deviation = CheckedDiv(s2, dn);
    s.root_mean_square = CheckedSqrt(s.mean_square_deviation);
    s.variance = CheckedDiv(Checked(s2 - CheckedDiv(detail::Power(s1, 2.0), dn)), dn - 1.0);
    s.standard_deviation = CheckedSqrt(s.variance);
    if (s.variance == 0.0) {
      s.skewness = 0.0;
      s.kurtosis = 0.0;
    } else {
      // Moments divided by n, scale from the n - 1 variance: the estimators
      // mix the two forms on purpose.
      s.skewness = CheckedDiv(s3, Checked(detail::Power(s.standard_deviation, 3.0) * dn));
      s.kurtosis = Checked(CheckedDiv(s4, Checked(detail::Power(s.variance, 2.0) * dn)) - 3.0);
    }
    s.median = ComputeMedian();
    statistics_ = s;
    statistics_valid_ = true;
    return true;
  } catch (...) {
    // A fault (or an exhausted allocator for the median's copy) at any step.
    statistics_valid_ = false;
    return false;
  }
}

const DataSeries::StatisticsCache& DataSeries::Statistics(std::int32_t minimum_count) const {
  if (count_ < minimum_count) detail::RaiseLibraryError(ErrorCode::TooFewObservations);
  if (!statistics_valid_ && !ComputeStatistics()) detail::RaiseLibraryError(ErrorCode::StatisticMathError);
  return statistics_;
}

// With exactly one observation the statistics that need only one give their
// value without touching the cache.
double DataSeries::Maximum() const { return count_ == 1 ? values_[1] : Statistics(1).maximum; }
double DataSeries::Minimum() const { return Statistics(2).minimum; }
double DataSeries::Mean() const { return count_ == 1 ? values_[1] : Statistics(1).mean; }
double DataSeries::Sum() const { return count_ == 1 ? values_[1] : Statistics(1).sum; }
double DataSeries::MeanAbsoluteDeviation() const { return Statistics(2).mean_absolute_deviation; }
double DataSeries::MeanSquareDeviation() const { return Statistics(2).mean_square_deviation; }
double DataSeries::Median() const { return count_ == 1 ? values_[1] : Statistics(1).median; }
double DataSeries::Range() const { return count_ == 1 ? 0.0 : Statistics(1).range; }
double DataSeries::RootMeanSquare() const { return Statistics(2).root_mean_square; }
double DataSeries::StandardDeviation() const { return Statistics(2).standard_deviation; }
double DataSeries::SumOfSquaredDeviation() const { return Statistics(2).sum_of_squared_deviation; }
double DataSeries::Variance() const { return Statistics(2).variance; }
double DataSeries::Kurtosis() const { return Statistics(2).kurtosis; }
double DataSeries::Skewness() const { return Statistics(2).skewness; }

}  // namespace tessarix
