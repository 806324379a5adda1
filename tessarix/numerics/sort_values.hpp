// The shared sort of the library: a non-recursive quicksort with
// median-of-three pivots and insertion sort for short stretches, on one-based
// arrays. Series sorting, the median, the spline's data intake and the result
// file all use it, so that every caller sees the same order of equal keys.
//
// The sort is not stable: equal values stop both partition scans and are
// exchanged across the pivot. Which of several equal keys ends first is part
// of the behaviour (it shows in the companion arrays), which is why the steps
// below are fixed and must not be replaced by std::sort.
#pragma once

#include <cstdint>
#include <span>

namespace tessarix::detail {

// Sorts values[1 .. count] in place; ascending when `direction` is 0, else
// descending. `values` must hold at least count + 1 elements (element 0 is
// not touched); a smaller array is the fault "Subscript out of range".
// The values must not be NaN (no value of the library ever is).
void SortValues(std::span<double> values, std::int32_t count, std::int32_t direction);

// The same, moving index[k] with values[k] at every move and swap.
void SortValuesWithIndex(std::span<double> values, std::span<std::int32_t> index, std::int32_t count,
                         std::int32_t direction);

// The same with a companion array of Double (the spline sorts x with y).
void SortValuesWithValues(std::span<double> values, std::span<double> companion, std::int32_t count,
                          std::int32_t direction);

}  // namespace tessarix::detail
