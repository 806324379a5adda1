// Helpers of the numerics tests: which failure a call raised.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "tessarix/foundation/fault.hpp"
#include "tessarix/numerics/internal_failure.hpp"
#include "tessarix/numerics/one_based.hpp"

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

// A one-based matrix from rows written out in the test.
inline detail::Matrix1 FromRows(const std::vector<std::vector<double>>& rows) {
  detail::Matrix1 m(static_cast<std::int32_t>(rows.size()), static_cast<std::int32_t>(rows[0].size()));
  for (std::size_t i = 0; i < rows.size(); ++i) {
    for (std::size_t j = 0; j < rows[i].size(); ++j) {
      m(static_cast<std::int32_t>(i + 1), static_cast<std::int32_t>(j + 1)) = rows[i][j];
    }
  }
  return m;
}

// Every element of a one-based matrix against rows written out in the test.
inline void ExpectMatrixNear(const detail::Matrix1& m, const std::vector<std::vector<double>>& rows, double tolerance) {
  ASSERT_EQ(m.Rows(), static_cast<std::int32_t>(rows.size()));
  for (std::size_t i = 0; i < rows.size(); ++i) {
    for (std::size_t j = 0; j < rows[i].size(); ++j) {
      EXPECT_NEAR(m(static_cast<std::int32_t>(i + 1), static_cast<std::int32_t>(j + 1)), rows[i][j], tolerance)
          << "at (" << i + 1 << ", " << j + 1 << ")";
    }
  }
}

}  // namespace tessarix::test

#define EXPECT_REL_NEAR(actual, expected, tolerance) \
  EXPECT_PRED3(::tessarix::test::Near, (actual), (expected), (tolerance))
