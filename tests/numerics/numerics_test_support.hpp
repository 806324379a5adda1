// Helpers of the numerics tests: which failure a call raised.
#pragma once

#include <cmath>
#include <string>

#include "tessarix/numerics/internal_failure.hpp"
#include "tessarix/platform/fault.hpp"

namespace tessarix::test {

// "internal N" for an InternalFailure, the fault's description for a
// RuntimeFault, "none" when the call returned.
template <class F>
std::string FailureOf(F&& f) {
  try {
    f();
  } catch (const detail::InternalFailure& e) {
    return "internal " + std::to_string(e.Code());
  } catch (const detail::RuntimeFault& e) {
    return e.Description();
  }
  return "none";
}

// |actual - expected| <= tolerance * max(1, |expected|): relative away from
// zero, absolute near it.
inline bool Near(double actual, double expected, double tolerance) {
  return std::fabs(actual - expected) <= tolerance * std::fmax(1.0, std::fabs(expected));
}

}  // namespace tessarix::test

#define EXPECT_REL_NEAR(actual, expected, tolerance) \
  EXPECT_PRED3(::tessarix::test::Near, (actual), (expected), (tolerance))
