#include "tessarix/platform/float_flags.hpp"

#include <cfenv>

namespace tessarix::detail {

namespace {
constexpr int kFailureFlags = FE_OVERFLOW | FE_DIVBYZERO | FE_INVALID;
}  // namespace

FlagWatch::FlagWatch() noexcept : saved_(std::fetestexcept(kFailureFlags)) {
  if (saved_ != 0) std::feclearexcept(kFailureFlags);
}

FlagWatch::~FlagWatch() {
  if (std::fetestexcept(kFailureFlags) != saved_) {
    std::feclearexcept(kFailureFlags);
    if (saved_ != 0) std::feraiseexcept(saved_);
  }
}

bool FlagsCanBeWatched() noexcept {
#if defined(__GLIBC__)
  return (fegetexcept() & kFailureFlags) == 0;
#else
  return true;
#endif
}

bool FlagWatch::Clean() const noexcept { return std::fetestexcept(kFailureFlags) == 0; }

bool AllFinite(const double* values, long n) noexcept {
  FiniteTally tally;
  for (long i = 0; i < n; ++i) tally.Add(values[i]);
  return tally.AllFinite();
}

}  // namespace tessarix::detail
