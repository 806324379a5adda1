// The "^" of the language: a real result or a failure.
#pragma once

#include <cmath>

namespace tessarix::detail {

// a to the power b; not finite (a failed operation) where no real result
// exists: a negative base with a non-integer exponent, zero to a negative
// power, an overflow. 0^0 is 1.
[[nodiscard]] inline double LanguagePower(double a, double b) { return std::pow(a, b); }

}  // namespace tessarix::detail
