// The change of variables behind the least-squares estimates, by evaluation
// code: the transformed observation, the basis terms and the way back from
// coefficients to parameters. Failures raise RuntimeFault; the chain of
// least_squares_estimates.cpp turns them into a failed estimate.
#pragma once

#include <cstdint>

#include "tessarix/platform/checked.hpp"

namespace tessarix::detail {

// T for the observation (x, y).
Num TransformObservation(std::int32_t code, Num x, Num y);

// The basis terms at x into b[1..m].
void EstimateBasisTerms(std::int32_t code, Num x, double* b);

// Coefficients c[1..m] into parameters, in place; codes whose parameters are
// the coefficients as they stand are left alone.
void RecoverParameters(std::int32_t code, double* c);

}  // namespace tessarix::detail
