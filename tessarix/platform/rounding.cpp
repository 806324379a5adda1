#include "tessarix/platform/rounding.hpp"

#include <cmath>
#include <limits>

#include "tessarix/foundation/fault.hpp"

namespace tessarix::detail {

double RoundHalfEven(double x) noexcept {
  const double floor_x = std::floor(x);
  const double diff = x - floor_x;
  if (diff < 0.5) return floor_x;
  if (diff > 0.5) return floor_x + 1.0;
  // A tie: take the even neighbour.
  return std::fmod(floor_x, 2.0) == 0.0 ? floor_x : floor_x + 1.0;
}

namespace {
template <class Int>
Int RoundToWidth(double x) {
  if (!std::isfinite(x)) RaiseFault(FaultKind::Overflow);
  const double r = RoundHalfEven(x);
  if (r < static_cast<double>(std::numeric_limits<Int>::min()) ||
      r > static_cast<double>(std::numeric_limits<Int>::max())) {
    RaiseFault(FaultKind::Overflow);
  }
  return static_cast<Int>(r);
}
}  // namespace

std::int16_t RoundToInt16(double x) { return RoundToWidth<std::int16_t>(x); }
std::int32_t RoundToInt32(double x) { return RoundToWidth<std::int32_t>(x); }

void IncrementCounter16(std::int16_t& counter) {
  if (counter == std::numeric_limits<std::int16_t>::max()) RaiseFault(FaultKind::Overflow);
  ++counter;
}

std::int16_t ToCounter16(std::int64_t value) {
  if (value < std::numeric_limits<std::int16_t>::min() || value > std::numeric_limits<std::int16_t>::max()) {
    RaiseFault(FaultKind::Overflow);
  }
  return static_cast<std::int16_t>(value);
}

}  // namespace tessarix::detail
