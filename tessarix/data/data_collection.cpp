#include "tessarix/data/data_collection.hpp"

#include <algorithm>

#include "tessarix/data/data_access.hpp"
#include "tessarix/foundation/error_catalogue.hpp"
#include "tessarix/foundation/error_handler.hpp"
#include "tessarix/platform/text_case.hpp"

namespace tessarix {

using detail::RaiseLibraryError;

void DataCollection::GuardWritable() const {
  if (read_only_) RaiseLibraryError(ErrorCode::ReadOnlyObject);
}

std::ptrdiff_t DataCollection::FindByName(const std::string& name) const {
  const auto it = positions_.find(detail::FoldCase(name));
  return it == positions_.end() ? -1 : static_cast<std::ptrdiff_t>(it->second);
}

std::shared_ptr<DataSeries> DataCollection::InsertNew(const std::string& name, std::int32_t preallocation) {
  if (FindByName(name) >= 0) RaiseLibraryError(ErrorCode::NameAlreadyInCollection);
  std::shared_ptr<DataSeries> series(new DataSeries());
  detail::DataAccess::SetName(*series, name);
  if (preallocation > 0) detail::DataAccess::ReserveObservations(*series, preallocation);
  members_.push_back(series);
  try {
    positions_.emplace(detail::FoldCase(name), members_.size() - 1);
  } catch (...) {
    members_.pop_back();
    throw;
  }
  return series;
}

void DataCollection::EraseAt(std::size_t index) {
  positions_.erase(detail::FoldCase(members_[index]->name_));
  members_.erase(members_.begin() + static_cast<std::ptrdiff_t>(index));
  if (index == members_.size()) return;
  for (auto& entry : positions_) {
    if (entry.second > index) --entry.second;
  }
}

void DataCollection::EraseAll() noexcept {
  members_.clear();
  positions_.clear();
}

std::shared_ptr<DataSeries> DataCollection::AddSeries(const std::string& Name, std::int32_t PreAllocation) {
  GuardWritable();
  if (FindByName(Name) >= 0) RaiseLibraryError(ErrorCode::NameAlreadyInCollection);
  return detail::RunUnderHandler([&] { return InsertNew(Name, PreAllocation); });
}

std::shared_ptr<DataSeries> DataCollection::Item(const Variant& SeriesIndex) const {
  const std::ptrdiff_t index = detail::DataAccess::IndexOf(*this, SeriesIndex);
  if (index < 0) RaiseLibraryError(ErrorCode::InvalidKeyOrIndex);
  return members_[static_cast<std::size_t>(index)];
}

void DataCollection::RemoveSeries(const Variant& SeriesIndex) {
  GuardWritable();
  detail::RunUnderHandler([&] {
    if (SeriesIndex.IsEmpty()) {
      if (members_.empty()) detail::RaiseFault(detail::FaultKind::SubscriptOutOfRange);
      EraseAt(members_.size() - 1);
      return;
    }
    EraseAt(detail::DataAccess::IndexOrFault(*this, SeriesIndex));
  });
}

std::int32_t DataCollection::NumObservationsMax() const noexcept {
  std::int32_t result = 0;
  for (const auto& s : members_) result = std::max(result, s->NumObservations());
  return result;
}

std::int32_t DataCollection::NumObservationsMin() const noexcept {
  if (members_.empty()) return 0;
  std::int32_t result = members_.front()->NumObservations();
  for (const auto& s : members_) result = std::min(result, s->NumObservations());
  return result;
}

void DataCollection::RemoveAllSeries() {
  GuardWritable();
  EraseAll();
}

void DataCollection::ClearRegressionKeys() {
  GuardWritable();
  detail::RunUnderHandler([&] {
    // Through the public setter, so that a member's own guard applies too.
    for (const auto& s : members_) s->SetRegressionKey("");
  });
}

void DataCollection::SetNumberDisplayFormats(const std::string& FormatString) {
  for (const auto& s : members_) s->SetNumberDisplayFormat(FormatString);
}

}  // namespace tessarix
