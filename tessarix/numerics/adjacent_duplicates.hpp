// Removal of repeated neighbours from a sorted list of values.
#pragma once

#include <span>
#include <vector>

namespace tessarix::detail {

// A new zero-based array holding element 0 and every later element that
// differs from its predecessor. Only exactly equal neighbours count: values
// that differ in the last bit are both kept, and so are equal values that
// are not adjacent. An empty input gives an empty result.
std::vector<double> RemoveAdjacentDuplicates(std::span<const double> values);

}  // namespace tessarix::detail
