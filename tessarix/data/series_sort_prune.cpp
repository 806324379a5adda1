// Sort and Prune of a single series.
#include "tessarix/data/data_series.hpp"
#include "tessarix/data/internal/logical_test.hpp"
#include "tessarix/data/internal/operation_handler.hpp"
#include "tessarix/foundation/error_catalogue.hpp"
#include "tessarix/numerics/sort_values.hpp"

namespace tessarix {

void DataSeries::Sort(SortTypeEnum SortDirection) {
  GuardWritable();
  if (count_ < 2) return;
  if (SortDirection != tsxSortAscending && SortDirection != tsxSortDescending) {
    detail::RaiseLibraryError(ErrorCode::InvalidArgument);
  }
  // In place on the storage; the statistics stay valid.
  detail::SortValues(values_, count_, SortDirection);
}

void DataSeries::Prune(double Value, LogicalTypeEnum LogicalOperator) {
  GuardWritable();
  if (!detail::IsLogicalOperator(LogicalOperator)) detail::RaiseLibraryError(ErrorCode::InvalidArgument);
  detail::RunWithSubscriptError(ErrorCode::ArgumentExceedsArraySize, [&] {
    // One compaction pass instead of a removal per match: the same survivors
    // in the same order, in linear time.
    std::int32_t kept = 0;
    for (std::int32_t k = 1; k <= count_; ++k) {
      const double v = values_[static_cast<std::size_t>(k)];
      if (!detail::LogicalTestHolds(v, LogicalOperator, Value)) values_[static_cast<std::size_t>(++kept)] = v;
    }
    for (std::int32_t k = kept + 1; k <= count_; ++k) values_[static_cast<std::size_t>(k)] = 0.0;
    count_ = kept;
    InvalidateStatistics();
  });
}

}  // namespace tessarix
