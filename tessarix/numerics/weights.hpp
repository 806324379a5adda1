// Weights of a weighted fit from the standard deviations of the observations.
#pragma once

#include <cstdint>

#include "tessarix/numerics/one_based.hpp"

namespace tessarix::detail {

// w[i] = 1 / sd[i]^2, normalised so that the weights average 1 (their sum is
// n); sd and w are one-based, 1..n. A deviation whose magnitude is below
// 1E-150 or above 1E+150 (a zero one among them) gets the weight 1.0 before
// normalising: an ordinary weight, not the largest. False when a step faults
// (a NaN or an infinite deviation among them), with w then undefined.
[[nodiscard]] bool WeightsFromDeviations(const Vector1& sd, std::int32_t n, Vector1& w);

}  // namespace tessarix::detail
