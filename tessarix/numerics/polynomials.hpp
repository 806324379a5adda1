// The associated Legendre function and the small helpers behind the words
// "legendre", "floor", "ceil", "max", "min" and "mag" of the model language.
#pragma once

#include <cstdint>

namespace tessarix::detail {

// P_l^m(x) with the Condon-Shortley phase (-1)^m and no normalisation, by the
// upward recurrence in l. m < 0, m > l or |x| > 1 raise InternalFailure 5000.
// The integer steps 2m + 1, 2l - 1 and l + m - 1 are 16-bit: beyond 32767
// they fault "Overflow". Other steps are checked (RuntimeFault).
[[nodiscard]] double LegendreP(std::int32_t l, std::int32_t m, double x);

// Largest integer not above v.
[[nodiscard]] double Floor(double v);
// v when v is an integer; for v > 0 its integer part plus 1; for v < 0 the
// truncation toward 0, which is the next integer upward (-2.1 -> -2, and
// -0.5 -> 0, never -0).
[[nodiscard]] double Ceil(double v);
// a when a >= b, else b; MinOf: b when a >= b, else a. With equal arguments
// MaxOf gives the first and MinOf the second.
[[nodiscard]] double MaxOf(double a, double b);
[[nodiscard]] double MinOf(double a, double b);
// sqrt(a^2 + b^2) without scaling: a square that overflows is a fault even
// where the result would fit.
[[nodiscard]] double Magnitude(double a, double b);

}  // namespace tessarix::detail
