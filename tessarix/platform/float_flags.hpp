// The floating-point exception flags as the failure signal of a whole block of
// unchecked arithmetic: the loops that run without a test per step (the
// pre-defined models over a block of points, the sums of the normal
// equations) clear the flags of a failed step, run, and look once.
#pragma once

#include <bit>
#include <cstdint>

namespace tessarix::detail {

// Clears FE_OVERFLOW, FE_DIVBYZERO and FE_INVALID on construction; Clean()
// tells whether none of them has been raised since. The flags the caller held
// before are put back on destruction. The arithmetic watched must sit in a
// call the compiler cannot see into (a function reached through a pointer or
// kept out of line), so that none of it moves across the flag tests.
class FlagWatch {
 public:
  FlagWatch() noexcept;
  ~FlagWatch();
  FlagWatch(const FlagWatch&) = delete;
  FlagWatch& operator=(const FlagWatch&) = delete;
  [[nodiscard]] bool Clean() const noexcept;

 private:
  int saved_ = 0;
};

// False when the thread runs with one of the three exceptions unmasked (a
// host that traps them): an unchecked step would then trap where the checked
// one tests its operands first, so the checked way must be taken.
[[nodiscard]] bool FlagsCanBeWatched() noexcept;

// Whether every value handed to Add was finite, told from the exponent bits:
// no branch, and no flag raised (a comparison with a NaN would raise one).
class FiniteTally {
 public:
  // The exponent plus its lowest bit carries into the sign bit only when
  // the exponent is all ones; an "or" of those sums has no chain of
  // comparisons, and runs on several values at once.
  void Add(double v) noexcept { seen_ |= (std::bit_cast<std::uint64_t>(v) & kExponentBits) + kExponentLowBit; }
  [[nodiscard]] bool AllFinite() const noexcept { return (seen_ & kSignBit) == 0; }

 private:
  static constexpr std::uint64_t kExponentBits = 0x7ff0000000000000ULL;
  static constexpr std::uint64_t kExponentLowBit = 0x0010000000000000ULL;
  static constexpr std::uint64_t kSignBit = 0x8000000000000000ULL;
  std::uint64_t seen_ = 0;
};

// True when every one of the n values is finite.
[[nodiscard]] bool AllFinite(const double* values, long n) noexcept;

}  // namespace tessarix::detail
