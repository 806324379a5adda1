#include "tessarix/numerics/adjacent_duplicates.hpp"

namespace tessarix::detail {

std::vector<double> RemoveAdjacentDuplicates(std::span<const double> values) {
  std::vector<double> kept;
  if (values.empty()) return kept;
  kept.reserve(values.size());
  kept.push_back(values[0]);
  for (std::size_t i = 1; i < values.size(); ++i) {
    if (values[i] != values[i - 1]) kept.push_back(values[i]);
  }
  return kept;
}

}  // namespace tessarix::detail
