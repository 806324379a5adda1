// The two elementary routines of the language that are more than a formula:
// its own two-argument arctangent and the generator behind "rnd".
#include <cmath>
#include <cstdint>
#include <cstring>

#include "tessarix/foundation/fault.hpp"
#include "tessarix/language/internal/function_table.hpp"
#include "tessarix/platform/checked.hpp"

namespace tessarix::detail {

namespace {
// The library's PI, not the full precision of a double.
constexpr double kPi = 3.14159265358979;
}  // namespace

double Atan2(double y, double x) {
  if (x > 0.0) return y == 0.0 ? 0.0 : Checked(std::atan(CheckedDiv(y, x)));
  if (x == 0.0) {
    if (y < 0.0) return -kPi / 2.0;
    if (y == 0.0) return 0.0;
    return kPi / 2.0;
  }
  if (x < 0.0) {
    if (y < 0.0) return Checked(std::atan(CheckedDiv(y, x)) - kPi);
    if (y == 0.0) return kPi;
    return Checked(std::atan(CheckedDiv(y, x)) + kPi);
  }
  RaiseFault(FaultKind::InvalidCall);  // x is not a number
}

namespace {
// A 24-bit linear congruential generator: every value k / 2^24 is exact in
// single precision. State per thread, so objects on different threads never
// share a sequence.
struct RandomState {
  std::uint32_t seed = 0x50000u;
  double last = 0.0;
  bool drawn = false;
};
thread_local RandomState t_random;

constexpr std::uint32_t kRandomMask = 0xFFFFFFu;
void RandomStep(RandomState& s) {
  s.seed = (s.seed * 0x43FD43FDu + 0xC39EC3u) & kRandomMask;
  s.last = static_cast<double>(static_cast<float>(s.seed) / 16777216.0f);
  s.drawn = true;
}
}  // namespace

double RandomNumber(double v) {
  RandomState& s = t_random;
  if (v < 0.0) {
    // Reseed from the single-precision bits of the argument.
    const float f = static_cast<float>(v);
    std::uint32_t bits = 0;
    std::memcpy(&bits, &f, sizeof bits);
    s.seed = (bits + (bits >> 24)) & kRandomMask;
    RandomStep(s);
  } else if (v > 0.0 || !s.drawn) {
    RandomStep(s);
  }
  return s.last;
}

}  // namespace tessarix::detail
