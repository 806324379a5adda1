// Sorting, pruning and the statistics between members of a DataCollection.
#include <numeric>
#include <vector>

#include "tessarix/data/data_access.hpp"
#include "tessarix/data/data_collection.hpp"
#include "tessarix/data/internal/logical_test.hpp"
#include "tessarix/data/internal/operation_handler.hpp"
#include "tessarix/foundation/error_catalogue.hpp"
#include "tessarix/foundation/error_handler.hpp"
#include "tessarix/numerics/sort_values.hpp"
#include "tessarix/platform/checked.hpp"

namespace tessarix {

using detail::Checked;
using detail::CheckedDiv;
using detail::DataAccess;
using detail::RaiseLibraryError;

namespace {

bool IsSortDirection(SortTypeEnum d) { return d == tsxSortAscending || d == tsxSortDescending; }

// Means of x[1..n] and y[1..n] from a pass of sums.
void Means(const std::vector<double>& x, const std::vector<double>& y, std::int32_t n, double& mx, double& my) {
  double sx = 0.0, sy = 0.0;
  for (std::int32_t i = 1; i <= n; ++i) {
    sx = Checked(sx + x[static_cast<std::size_t>(i)]);
    sy = Checked(sy + y[static_cast<std::size_t>(i)]);
  }
  mx = CheckedDiv(sx, n);
  my = CheckedDiv(sy, n);
}

double PearsonCorrelation(const std::vector<double>& x, const std::vector<double>& y, std::int32_t n) {
  double mx = 0.0, my = 0.0;
  Means(x, y, n, mx, my);
  double sxx = 0.0, syy = 0.0, sxy = 0.0;
  for (std::int32_t i = 1; i <= n; ++i) {
    const double dx = Checked(x[static_cast<std::size_t>(i)] - mx);
    const double dy = Checked(y[static_cast<std::size_t>(i)] - my);
    sxx = Checked(sxx + Checked(dx * dx));
    syy = Checked(syy + Checked(dy * dy));
    sxy = Checked(sxy + Checked(dx * dy));
  }
  // The constant keeps a constant series from dividing by zero.
  return CheckedDiv(sxy, Checked(detail::CheckedSqrt(Checked(sxx * syy)) + 1E-20));
}

double SampleCovariance(const std::vector<double>& x, const std::vector<double>& y, std::int32_t n) {
  double mx = 0.0, my = 0.0;
  Means(x, y, n, mx, my);
  double sxy = 0.0;
  for (std::int32_t i = 1; i <= n; ++i) {
    sxy = Checked(sxy +
                  Checked(Checked(x[static_cast<std::size_t>(i)] - mx) * Checked(y[static_cast<std::size_t>(i)] - my)));
  }
  return CheckedDiv(sxy, n - 1.0);
}

}  // namespace

void DataCollection::Sort(SortTypeEnum SortDirection) {
  GuardWritable();
  if (!IsSortDirection(SortDirection)) RaiseLibraryError(ErrorCode::InvalidArgument);
  detail::RunUnderHandler([&] {
    for (const auto& s : members_) s->Sort(SortDirection);
  });
}

void DataCollection::Prune(double Value, LogicalTypeEnum LogicalOperator) {
  GuardWritable();
  // Each member prunes itself and the first one refuses a bad operator; an
  // empty collection has nobody to look at it (unlike Sort, which checks the
  // direction first).
  if (!members_.empty() && !detail::IsLogicalOperator(LogicalOperator)) RaiseLibraryError(ErrorCode::InvalidArgument);
  detail::RunWithSubscriptError(ErrorCode::ArgumentExceedsArraySize, [&] {
    for (const auto& s : members_) s->Prune(Value, LogicalOperator);
  });
}

void DataCollection::SortOnSeries(const Variant& SeriesIndex, SortTypeEnum SortDirection) {
  GuardWritable();
  if (!IsSortDirection(SortDirection)) RaiseLibraryError(ErrorCode::InvalidArgument);
  if (NumObservationsMax() != NumObservationsMin()) RaiseLibraryError(ErrorCode::UnequalSeriesLengths);
  detail::RunUnderHandler([&] {
    const std::int32_t n = NumObservationsMax();
    std::vector<std::int32_t> index(static_cast<std::size_t>(n) + 1, 0);
    std::iota(index.begin() + 1, index.end(), 1);
    const std::shared_ptr<DataSeries> key = Item(SeriesIndex);
    std::vector<double> sorted;
    DataAccess::CopyValuesOut(*key, sorted);
    detail::SortValuesWithIndex(sorted, index, n, SortDirection);
    // Every other member is permuted once instead of being sorted.
    for (const auto& s : members_) {
      if (s->Name() != key->Name()) {
        DataAccess::ReorderByIndex(*s, index);
      } else {
        DataAccess::CopyValuesIn(*s, sorted, n);
      }
    }
  });
}

void DataCollection::PruneOnSeries(const Variant& SeriesIndex, double Value, LogicalTypeEnum LogicalOperator) {
  GuardWritable();
  if (NumObservationsMax() != NumObservationsMin()) RaiseLibraryError(ErrorCode::UnequalSeriesLengths);
  const std::vector<double> keys = detail::RunWithSubscriptError(ErrorCode::ArgumentExceedsArraySize, [&] {
    return members_[DataAccess::IndexOrFault(*this, SeriesIndex)]->ExportToArray();
  });
  if (!detail::IsLogicalOperator(LogicalOperator)) RaiseLibraryError(ErrorCode::InvalidArgument);
  detail::RunWithSubscriptError(ErrorCode::ArgumentExceedsArraySize, [&] {
    // The rows that survive, then one compaction per member (the same result
    // as removing the matching rows one by one from the end, in linear time).
    std::vector<std::int32_t> keep;
    keep.reserve(keys.size());
    for (std::size_t i = 0; i < keys.size(); ++i) {
      if (!detail::LogicalTestHolds(keys[i], LogicalOperator, Value)) keep.push_back(static_cast<std::int32_t>(i) + 1);
    }
    if (keep.size() == keys.size()) return;
    std::vector<double> column;
    std::vector<double> compacted(keep.size() + 1, 0.0);
    for (const auto& s : members_) {
      DataAccess::CopyValuesOut(*s, column);
      for (std::size_t k = 0; k < keep.size(); ++k) compacted[k + 1] = column[static_cast<std::size_t>(keep[k])];
      DataAccess::CopyValuesIn(*s, compacted, static_cast<std::int32_t>(keep.size()));
    }
  });
}

namespace {

// Fetches both members and checks the counts; the copies are one-based.
struct MemberPair {
  std::vector<double> x, y;
  std::int32_t n = 0;
};

MemberPair FetchPair(const DataCollection& c, const Variant& a, const Variant& b) {
  std::shared_ptr<DataSeries> s1, s2;
  // A bad key is a general error here, not 10002.
  detail::RunUnderHandler([&] {
    s1 = c.Item(a);
    s2 = c.Item(b);
  });
  if (s1->NumObservations() != s2->NumObservations()) RaiseLibraryError(ErrorCode::UnequalSeriesLengths);
  if (s1->NumObservations() <= 1) RaiseLibraryError(ErrorCode::TooFewObservations);
  MemberPair p;
  p.n = s1->NumObservations();
  DataAccess::CopyValuesOut(*s1, p.x);
  DataAccess::CopyValuesOut(*s2, p.y);
  return p;
}

}  // namespace

double DataCollection::CalculateCorrelation(const Variant& SeriesIndex1, const Variant& SeriesIndex2) {
  const MemberPair p = FetchPair(*this, SeriesIndex1, SeriesIndex2);
  if (SeriesIndex1 == SeriesIndex2) return 1.0;
  return detail::RunUnderHandler([&] { return PearsonCorrelation(p.x, p.y, p.n); });
}

double DataCollection::CalculateCovariance(const Variant& SeriesIndex1, const Variant& SeriesIndex2) {
  const MemberPair p = FetchPair(*this, SeriesIndex1, SeriesIndex2);
  return detail::RunUnderHandler([&] { return SampleCovariance(p.x, p.y, p.n); });
}

}  // namespace tessarix
