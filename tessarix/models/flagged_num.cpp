// The steps of FlaggedNum, kept out of line so that the compiler neither folds
// a power with a constant exponent into multiplications (the power routine
// calls pow, whose last bit may differ) nor moves them across the flag tests.
#include "tessarix/models/internal/flagged_num.hpp"

#include <cfenv>
#include <cmath>
#include <limits>

namespace tessarix::detail {

namespace {
double Refused() noexcept {
  std::feraiseexcept(FE_INVALID);
  return std::numeric_limits<double>::quiet_NaN();
}
}  // namespace

double FlaggedExp(double x) noexcept { return std::exp(x); }
double FlaggedLog(double x) noexcept { return std::log(x); }
double FlaggedSqrt(double x) noexcept { return std::sqrt(x); }
double FlaggedSin(double x) noexcept { return std::sin(x); }
double FlaggedCos(double x) noexcept { return std::cos(x); }

// The tests of the checked power routine, in its order.
double FlaggedPower(double base, double exponent) noexcept {
  if (base == 0.0) {
    if (exponent < 0.0) return Refused();
    return exponent == 0.0 ? 1.0 : 0.0;
  }
  if (base < 0.0 && std::trunc(exponent) != exponent) return Refused();
  return std::pow(base, exponent);
}

}  // namespace tessarix::detail
