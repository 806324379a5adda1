// Bessel functions of integer order: rational and polynomial approximations
// for orders 0 and 1 (single-precision accuracy, about seven digits), and
// recurrences built on them for orders from 2 up. Behind the words "j0" to
// "k1" and "jn" to "kn" of the model language.
//
// Every arithmetic step is checked (RuntimeFault); an order below 2 in the
// order-n routines is InternalFailure 5000. Logarithms of x <= 0 in the
// Y and K functions fail as arithmetic faults.
#pragma once

#include <cstdint>

namespace tessarix::detail {

[[nodiscard]] double BesselJ0(double x);
[[nodiscard]] double BesselJ1(double x);
[[nodiscard]] double BesselY0(double x);  // x > 0
[[nodiscard]] double BesselY1(double x);  // x > 0
[[nodiscard]] double BesselI0(double x);
[[nodiscard]] double BesselI1(double x);
[[nodiscard]] double BesselK0(double x);  // x > 0
[[nodiscard]] double BesselK1(double x);  // x > 0

// Orders n >= 2. J: upward recurrence from J0, J1 where |x| > n, otherwise
// Miller's downward recurrence normalised by the sum rule; J is 0 at x = 0.
// Y and K: upward recurrences (x > 0). I: downward recurrence normalised by
// I0; I is 0 at x = 0.
[[nodiscard]] double BesselJn(std::int32_t n, double x);
[[nodiscard]] double BesselYn(std::int32_t n, double x);
[[nodiscard]] double BesselIn(std::int32_t n, double x);
[[nodiscard]] double BesselKn(std::int32_t n, double x);

}  // namespace tessarix::detail
