#include "tessarix/data/data_series.hpp"

#include <algorithm>
#include <limits>

#include "tessarix/data/internal/operation_handler.hpp"
#include "tessarix/foundation/error_catalogue.hpp"
#include "tessarix/foundation/error_handler.hpp"
#include "tessarix/platform/checked.hpp"
#include "tessarix/platform/number_format.hpp"
#include "tessarix/platform/number_text.hpp"

namespace tessarix {

using detail::Checked;
using detail::RaiseLibraryError;

namespace {

std::int32_t CountOf(std::int64_t n) {
  if (n > std::numeric_limits<std::int32_t>::max()) detail::RaiseFault(detail::FaultKind::Overflow);
  return static_cast<std::int32_t>(n);
}

}  // namespace

void DataSeries::GuardWritable() const {
  if (read_only_) RaiseLibraryError(ErrorCode::ReadOnlyObject);
}

void DataSeries::EnsurePositions(std::int64_t n) {
  const auto needed = static_cast<std::size_t>(CountOf(n)) + 1;
  if (values_.size() >= needed) return;
  if (values_.capacity() < needed) values_.reserve(std::max(needed, values_.capacity() * 2));
  values_.resize(needed, 0.0);
}

void DataSeries::AddObservation(double Value) {
  GuardWritable();
  detail::RunUnderHandler([&] {
    // No value of the library is NaN or infinite, observations included.
    const double v = Checked(Value);
    InvalidateStatistics();
    const std::int64_t n = static_cast<std::int64_t>(count_) + 1;
    EnsurePositions(n);
    values_[static_cast<std::size_t>(n)] = v;
    count_ = static_cast<std::int32_t>(n);
  });
}

void DataSeries::RemoveObservation(std::int32_t ObservationIndex) {
  GuardWritable();
  // Removing "the last" of nothing is accepted silently.
  if (ObservationIndex == tsxLast && count_ == 0) return;
  if (ObservationIndex < -1 || ObservationIndex >= count_) RaiseLibraryError(ErrorCode::ObservationIndexOutOfBounds);
  InvalidateStatistics();
  if (ObservationIndex != tsxLast) {
    const auto first = values_.begin() + ObservationIndex + 2;
    const auto last = values_.begin() + count_ + 1;
    std::copy(first, last, first - 1);
  }
  values_[static_cast<std::size_t>(count_)] = 0.0;
  --count_;
}

void DataSeries::SetRegressionKey(const std::string& value) {
  GuardWritable();
  regression_key_ = value;
}

void DataSeries::Fill(double StartValue, double Increment, std::int32_t NumObservations, bool AppendData) {
  GuardWritable();
  if (NumObservations < 1) RaiseLibraryError(ErrorCode::InvalidArgument);
  detail::RunUnderHandler([&] {
    InvalidateStatistics();
    const std::int32_t first = AppendData ? CountOf(static_cast<std::int64_t>(count_) + 1) : 1;
    const std::int32_t last = CountOf(static_cast<std::int64_t>(first) + NumObservations - 1);
    // Compute into a scratch copy first: a fault at any step leaves the series whole.
    std::vector<double> fresh(static_cast<std::size_t>(NumObservations));
    for (std::int32_t k = 0; k < NumObservations; ++k) {
      fresh[static_cast<std::size_t>(k)] = Checked(Checked(static_cast<double>(k) * Increment) + StartValue);
    }
    EnsurePositions(last);
    std::copy(fresh.begin(), fresh.end(), values_.begin() + first);
    count_ = last;
  });
}

void DataSeries::RemoveAllObservations() {
  GuardWritable();
  InvalidateStatistics();
  count_ = 0;
  std::vector<double>(1, 0.0).swap(values_);
}

void DataSeries::ImportFromArray(std::span<const double> DataArray, bool AppendData) {
  GuardWritable();
  detail::RunWithSubscriptError(ErrorCode::SubscriptOutOfRange, [&] {
    // An array without dimensions has no upper bound to read.
    if (DataArray.empty()) detail::RaiseFault(detail::FaultKind::SubscriptOutOfRange);
    const std::int32_t n = CountOf(static_cast<std::int64_t>(DataArray.size()));
    for (double v : DataArray) (void)Checked(v);
    InvalidateStatistics();
    const std::int32_t first = AppendData ? count_ + 1 : 1;
    const std::int32_t total = CountOf(static_cast<std::int64_t>(first) + n - 1);
    EnsurePositions(total);
    std::copy(DataArray.begin(), DataArray.end(), values_.begin() + first);
    count_ = total;
  });
}

void DataSeries::ImportFromArrayAlt(const Variant& DataArray, bool AppendData) {
  GuardWritable();
  if (!DataArray.IsArray()) RaiseLibraryError(ErrorCode::ExpectedVariantArray);
  detail::RunWithSubscriptError(ErrorCode::SubscriptOutOfRange, [&] {
    const std::int32_t upper = DataArray.UpperBound(1);
    if (DataArray.Dimensions() != 1) detail::RaiseFault(detail::FaultKind::SubscriptOutOfRange);
    // Convert every element before touching the series, so that an element
    // that is no number changes nothing.
    std::vector<double> converted(static_cast<std::size_t>(upper) + 1);
    for (std::int32_t i = 0; i <= upper; ++i)
      converted[static_cast<std::size_t>(i)] = Checked(DataArray.At(i).ToDouble());
    InvalidateStatistics();
    const std::int32_t first = AppendData ? count_ + 1 : 1;
    const std::int32_t total = CountOf(static_cast<std::int64_t>(first) + upper);
    EnsurePositions(total);
    std::copy(converted.begin(), converted.end(), values_.begin() + first);
    count_ = total;
  });
}

std::vector<double> DataSeries::ExportToArray() {
  return detail::RunWithSubscriptError(ErrorCode::ArgumentExceedsArraySize, [&] {
    return std::vector<double>(values_.begin() + 1, values_.begin() + count_ + 1);
  });
}

Variant DataSeries::ExportToArrayAlt() {
  if (count_ == 0) return Variant();
  return detail::RunWithSubscriptError(ErrorCode::ArgumentExceedsArraySize, [&] {
    std::vector<Variant> elements;
    elements.reserve(static_cast<std::size_t>(count_));
    for (std::int32_t k = 1; k <= count_; ++k) elements.emplace_back(values_[static_cast<std::size_t>(k)]);
    return Variant::Array(std::move(elements));
  });
}

void DataSeries::SetObservation(std::int32_t ObservationIndex, double Value) {
  GuardWritable();
  if (ObservationIndex < 0 || ObservationIndex >= count_) RaiseLibraryError(ErrorCode::ObservationIndexOutOfBounds);
  values_[static_cast<std::size_t>(ObservationIndex) + 1] = detail::RunUnderHandler([&] { return Checked(Value); });
  InvalidateStatistics();
}

double DataSeries::GetObservation(std::int32_t ObservationIndex) {
  if (ObservationIndex < 0 || ObservationIndex >= count_) RaiseLibraryError(ErrorCode::ObservationIndexOutOfBounds);
  return values_[static_cast<std::size_t>(ObservationIndex) + 1];
}

std::string DataSeries::GetObservationFormatted(std::int32_t ObservationIndex) {
  const double value = GetObservation(ObservationIndex);
  if (detail::IsGeneralFormat(number_display_format_)) return detail::NumberText(value);
  return detail::FormatNumber(value, number_display_format_);
}

std::int32_t DataSeries::GetObservationIndex(SearchTypeEnum SearchType, double SearchValue) {
  if (count_ < 1) RaiseLibraryError(ErrorCode::TooFewObservations);
  const double* a = values_.data();
  switch (SearchType) {
    case tsxMinimum:
    case tsxMaximum: {
      std::int32_t best = 1;
      for (std::int32_t k = 2; k <= count_; ++k) {
        if (SearchType == tsxMinimum ? a[k] < a[best] : a[k] > a[best]) best = k;
      }
      return best - 1;
    }
    case tsxValue:
      for (std::int32_t k = 1; k <= count_; ++k) {
        if (a[k] == SearchValue) return k - 1;
      }
      return -1;
  }
  RaiseLibraryError(ErrorCode::InvalidArgument);
}

}  // namespace tessarix
