// Array import and export of a DataCollection: one series per column, one
// row per observation.
#include <vector>

#include "tessarix/data/data_access.hpp"
#include "tessarix/data/data_collection.hpp"
#include "tessarix/data/internal/operation_handler.hpp"
#include "tessarix/foundation/error_catalogue.hpp"
#include "tessarix/platform/checked.hpp"

namespace tessarix {

using detail::DataAccess;
using detail::FaultKind;
using detail::RaiseFault;

void DataCollection::ImportSeriesFromArray(const Matrix& DataArray, std::span<const std::string> NameArray) {
  GuardWritable();
  detail::RunWithSubscriptError(ErrorCode::SubscriptOutOfRange, [&] {
    // A Matrix without a second dimension, or without rows, has no bounds to read.
    if (DataArray.Cols() == 0 || DataArray.Rows() == 0) RaiseFault(FaultKind::SubscriptOutOfRange);
    const std::int32_t rows = DataArray.Rows();
    std::vector<double> scratch(static_cast<std::size_t>(rows) + 1);  // one-based
    // Column by column: a Name array too short fails after the earlier
    // columns were added, and they stay.
    for (std::int32_t j = 0; j < DataArray.Cols(); ++j) {
      // As in a series's own import, a non-finite element is refused (10001)
      // before the column's series is made.
      for (std::int32_t i = 0; i < rows; ++i) {
        scratch[static_cast<std::size_t>(i) + 1] = detail::Checked(DataArray(i, j));
      }
      if (static_cast<std::size_t>(j) >= NameArray.size()) RaiseFault(FaultKind::SubscriptOutOfRange);
      const auto series = DataAccess::ReplaceSeries(*this, NameArray[static_cast<std::size_t>(j)], rows);
      DataAccess::CopyValuesIn(*series, scratch, rows);
    }
  });
}

void DataCollection::ImportSeriesFromArrayAlt(const Variant& DataArray, const Variant& NameArray) {
  GuardWritable();
  if (!DataArray.IsArray() || !NameArray.IsArray()) detail::RaiseLibraryError(ErrorCode::ExpectedVariantArray);
  detail::RunWithSubscriptError(ErrorCode::SubscriptOutOfRange, [&] {
    const std::int32_t rows = DataArray.UpperBound(1) + 1;
    const std::int32_t cols = DataArray.UpperBound(2) + 1;
    std::vector<double> scratch(static_cast<std::size_t>(rows) + 1);  // one-based
    for (std::int32_t j = 0; j < cols; ++j) {
      // Elements convert before the series is made: an element that is no
      // number fails the column without replacing a series of that name.
      for (std::int32_t i = 0; i < rows; ++i) {
        scratch[static_cast<std::size_t>(i) + 1] = detail::Checked(DataArray.At(i, j).ToDouble());
      }
      const std::string name = NameArray.At(j).ToString();
      const auto series = DataAccess::ReplaceSeries(*this, name, rows);
      DataAccess::CopyValuesIn(*series, scratch, rows);
    }
  });
}

Matrix DataCollection::ExportSeriesToArray() {
  if (NumObservationsMax() != NumObservationsMin()) detail::RaiseLibraryError(ErrorCode::UnequalSeriesLengths);
  return detail::RunWithSubscriptError(ErrorCode::SubscriptOutOfRange, [&] {
    const std::int32_t rows = NumObservationsMax();
    if (rows == 0 || members_.empty()) RaiseFault(FaultKind::SubscriptOutOfRange);
    Matrix result(rows, Count());
    for (std::int32_t j = 0; j < Count(); ++j) {
      DataAccess::CopyColumnOut(*members_[static_cast<std::size_t>(j)], result, j);
    }
    return result;
  });
}

Variant DataCollection::ExportSeriesToArrayAlt() {
  if (NumObservationsMax() != NumObservationsMin()) detail::RaiseLibraryError(ErrorCode::UnequalSeriesLengths);
  const std::int32_t rows = NumObservationsMax();
  if (rows == 0 || members_.empty()) return Variant();
  return detail::RunWithSubscriptError(ErrorCode::SubscriptOutOfRange, [&] {
    Variant result = Variant::Array(rows, Count());
    for (std::int32_t j = 0; j < Count(); ++j) {
      DataAccess::CopyColumnOutVariant(*members_[static_cast<std::size_t>(j)], result, j);
    }
    return result;
  });
}

}  // namespace tessarix
