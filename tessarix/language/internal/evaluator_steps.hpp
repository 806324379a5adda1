// The steps of the language's arithmetic that both evaluators (point by point
// and by blocks) compute, so that the two give the same bits.
#pragma once

#include <cstdint>
#include <limits>

#include "tessarix/platform/rounding.hpp"

namespace tessarix::detail::steps {

constexpr double kTrue = -1.0;
constexpr double kFalse = 0.0;
constexpr double kFailed = std::numeric_limits<double>::quiet_NaN();

// The integer operators convert both operands to 32-bit integers, rounding
// half to even; a conversion out of range raises "Overflow", which the caller
// catches. NaN stands for a failed operation and fails the step's check.
inline double IntDivide(double a, double b) {
  const std::int32_t ia = RoundToInt32(a), ib = RoundToInt32(b);
  if (ib == 0) return kFailed;
  if (ia == std::numeric_limits<std::int32_t>::min() && ib == -1) return kFailed;  // overflows 32 bits
  return static_cast<double>(ia / ib);  // NOLINT(bugprone-integer-division): the language's integer division
}
inline double Mod(double a, double b) {
  const std::int32_t ia = RoundToInt32(a), ib = RoundToInt32(b);
  if (ib == 0) return kFailed;
  return ib == -1 ? 0.0 : static_cast<double>(ia % ib);
}
inline double Truth(bool holds) { return holds ? kTrue : kFalse; }
inline double Quotient(double a, double b) { return b == 0.0 ? kFailed : a / b; }

}  // namespace tessarix::detail::steps
