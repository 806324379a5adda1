#include "tessarix/data/data_access.hpp"

#include <algorithm>
#include <cmath>

#include "tessarix/foundation/fault.hpp"
#include "tessarix/platform/rounding.hpp"
#include "tessarix/platform/text_case.hpp"

namespace tessarix::detail {

namespace {

[[noreturn]] void SubscriptFault() { RaiseFault(FaultKind::SubscriptOutOfRange); }

}  // namespace

void DataAccess::SetName(DataSeries& series, const std::string& name) { series.name_ = name; }

void DataAccess::ReserveObservations(DataSeries& series, std::int32_t count) {
  if (count < 0) SubscriptFault();
  // Capacity only: pages are touched when values arrive, so a generous
  // preallocation costs address space, not memory.
  std::vector<double> fresh(1, 0.0);
  fresh.reserve(static_cast<std::size_t>(count) + 1);
  series.values_.swap(fresh);
}

void DataAccess::CopyValuesOut(const DataSeries& series, std::vector<double>& values) {
  const auto n = static_cast<std::size_t>(series.count_);
  values.assign(series.values_.begin(), series.values_.begin() + static_cast<std::ptrdiff_t>(n) + 1);
  values[0] = 0.0;
}

void DataAccess::CopyValuesOut(const DataSeries& series, Matrix1& m, std::int32_t column) {
  if (m.Rows() < series.count_ || column < 1 || column > m.Cols()) SubscriptFault();
  for (std::int32_t k = 1; k <= series.count_; ++k) m(k, column) = series.values_[static_cast<std::size_t>(k)];
}

void DataAccess::CopyValuesIn(DataSeries& series, std::span<const double> values, std::int32_t count) {
  if (count < 0 || values.size() < static_cast<std::size_t>(count) + 1) SubscriptFault();
  series.statistics_valid_ = false;
  series.EnsurePositions(count);
  std::copy(values.begin() + 1, values.begin() + count + 1, series.values_.begin() + 1);
  series.count_ = count;
}

void DataAccess::AdoptValues(DataSeries& series, std::vector<double>&& values, std::int32_t count) {
  if (count < 0 || values.size() < static_cast<std::size_t>(count) + 1) SubscriptFault();
  series.statistics_valid_ = false;
  series.values_ = std::move(values);
  series.count_ = count;
}

void DataAccess::CopyValuesIn(DataSeries& series, const Matrix1& m, std::int32_t count, std::int32_t column) {
  if (count < 0 || m.Rows() < count || column < 1 || column > m.Cols()) SubscriptFault();
  series.statistics_valid_ = false;
  series.EnsurePositions(count);
  for (std::int32_t k = 1; k <= count; ++k) series.values_[static_cast<std::size_t>(k)] = m(k, column);
  series.count_ = count;
}

void DataAccess::CopyColumnOut(const DataSeries& series, Matrix& m, std::int32_t column) {
  if (m.Rows() < series.count_ || column < 0 || column >= m.Cols()) SubscriptFault();
  for (std::int32_t i = 0; i < series.count_; ++i) m(i, column) = series.values_[static_cast<std::size_t>(i) + 1];
}

void DataAccess::CopyColumnOutVariant(const DataSeries& series, Variant& m, std::int32_t column) {
  for (std::int32_t i = 0; i < series.count_; ++i) m.At(i, column) = series.values_[static_cast<std::size_t>(i) + 1];
}

void DataAccess::ReorderByIndex(DataSeries& series, std::span<const std::int32_t> index) {
  const std::int32_t n = series.count_;
  if (index.size() < static_cast<std::size_t>(n) + 1) SubscriptFault();
  std::vector<double> reordered(series.values_.size(), 0.0);
  for (std::int32_t i = 1; i <= n; ++i) {
    const std::int32_t from = index[static_cast<std::size_t>(i)];
    if (from < 1 || from > n) SubscriptFault();
    reordered[static_cast<std::size_t>(i)] = series.values_[static_cast<std::size_t>(from)];
  }
  series.values_.swap(reordered);
}

void DataAccess::SetReadOnly(DataSeries& series, bool read_only) noexcept { series.read_only_ = read_only; }

bool DataAccess::StatisticsValid(const DataSeries& series) noexcept { return series.statistics_valid_; }

const double* DataAccess::Values(const DataSeries& series) noexcept { return series.values_.data(); }

std::shared_ptr<DataSeries> DataAccess::ReplaceSeries(DataCollection& collection, const std::string& name,
                                                      std::int32_t preallocation) {
  const std::ptrdiff_t existing = collection.FindByName(name);
  if (existing >= 0) collection.EraseAt(static_cast<std::size_t>(existing));
  return collection.InsertNew(name, preallocation);
}

std::shared_ptr<DataSeries> DataAccess::FindSeriesByKey(const DataCollection& collection, std::string_view key) {
  for (const auto& s : collection.members_) {
    if (FoldCase(s->regression_key_) == key) return s;
  }
  return nullptr;
}

bool DataAccess::FindSeriesByKey(const DataCollection& collection, std::string_view key, std::string& name,
                                 std::int32_t& count) {
  const std::shared_ptr<DataSeries> s = FindSeriesByKey(collection, key);
  if (!s) return false;
  name = s->name_;
  count = s->count_;
  return true;
}

void DataAccess::SetReadOnly(DataCollection& collection, bool read_only) noexcept {
  collection.read_only_ = read_only;
  for (const auto& s : collection.members_) s->read_only_ = read_only;
}

void DataAccess::RemoveAllSeries(DataCollection& collection) noexcept { collection.EraseAll(); }

namespace {

// The position a numeric Variant stands for, rounded half to even as the
// platform's keyed collection does; nullopt-like -1 when it fits no Long.
std::int64_t PositionOf(const Variant& index) {
  const double v = index.ToDouble();
  if (!std::isfinite(v) || std::fabs(v) > 2147483647.0) return -1;
  return static_cast<std::int64_t>(RoundHalfEven(v));
}

}  // namespace

std::ptrdiff_t DataAccess::IndexOf(const DataCollection& collection, const Variant& index) {
  switch (index.Type()) {
    case VariantType::Long:
    case VariantType::Double:
    case VariantType::Boolean: {
      const std::int64_t position = PositionOf(index);
      if (position < 1 || position > static_cast<std::int64_t>(collection.members_.size())) return -1;
      return static_cast<std::ptrdiff_t>(position - 1);
    }
    case VariantType::String:
      return collection.FindByName(index.ToString());
    case VariantType::Empty:
    case VariantType::Array:
      break;
  }
  return -1;
}

std::size_t DataAccess::IndexOrFault(const DataCollection& collection, const Variant& index) {
  const std::ptrdiff_t found = IndexOf(collection, index);
  if (found >= 0) return static_cast<std::size_t>(found);
  switch (index.Type()) {
    case VariantType::String:
      RaiseFault(FaultKind::InvalidCall);
    case VariantType::Empty:
    case VariantType::Array:
      RaiseFault(FaultKind::TypeMismatch);
    default:
      RaiseFault(FaultKind::SubscriptOutOfRange);
  }
}

}  // namespace tessarix::detail
