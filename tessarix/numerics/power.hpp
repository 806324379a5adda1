// The power routine: every power in the library goes through it, the "^" of
// the model language, the hand-written formulas of the pre-defined models and
// the polynomial approximations of the special functions alike.
#pragma once

#include <span>

#include "tessarix/platform/checked.hpp"

namespace tessarix::detail {

// base raised to exponent, for a Double base and exponent. 0^0 is 1.
// Faults ("Invalid procedure call or argument") where no real result exists:
// a negative base with a non-integer exponent, zero to a negative power; an
// overflowing result faults "Overflow". Underflow gives 0.
[[nodiscard]] double Power(double base, double exponent);

// The same for formulas written on Num.
[[nodiscard]] inline Num Power(Num base, Num exponent) { return Num(Power(base.value(), exponent.value())); }

// c[0] + c[1]*y + c[2]*y^2 + ... as an explicit sum of powers, each power by
// Power and the terms added from the lowest degree up. The approximations of
// the special functions are defined by this form of evaluation, not by the
// nested (Horner) one, whose rounding differs in the last bits.
[[nodiscard]] double PowerSum(std::span<const double> coefficients, double y);

}  // namespace tessarix::detail
