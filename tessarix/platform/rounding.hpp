// Conversions of a real to an integer: half to even, with "Overflow" outside
// the target width; and 16-bit counters that fault on overflow.
#pragma once

#include <cstdint>

namespace tessarix::detail {

// Nearest integer, ties to the even neighbour (2.5 -> 2, 3.5 -> 4, -2.5 -> -2),
// independent of the floating-point rounding mode. Faults "Overflow" outside
// [INT16_MIN, INT16_MAX] or [INT32_MIN, INT32_MAX] and for NaN or infinity.
[[nodiscard]] std::int16_t RoundToInt16(double x);
[[nodiscard]] std::int32_t RoundToInt32(double x);

// Half-to-even rounding without a range check (the value stays a double).
[[nodiscard]] double RoundHalfEven(double x) noexcept;

// counter + 1 for a 16-bit counter; "Overflow" past 32767.
void IncrementCounter16(std::int16_t& counter);
// A 16-bit counter's value from a wider count; "Overflow" when it does not fit.
[[nodiscard]] std::int16_t ToCounter16(std::int64_t value);

}  // namespace tessarix::detail
