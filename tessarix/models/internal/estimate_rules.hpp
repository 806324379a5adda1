// The change of variables behind the least-squares estimates, as a row's
// estimate rule reads: the transformed observation, the basis terms and the
// way back from coefficients to parameters. Failures raise RuntimeFault; the
// chain of least_squares_estimates.cpp turns them into a failed estimate.
#pragma once

#include "tessarix/models/internal/model_row.hpp"
#include "tessarix/platform/checked.hpp"

namespace tessarix::detail {

// T for the observation (x, y).
Num TransformObservation(Transform transform, Num x, Num y);

// The basis terms of the row at x into b[1..m], m its estimate term count.
void EstimateBasisTerms(const ModelRow& row, Num x, double* b);

// Coefficients c[1..m] into parameters, in place.
void RecoverParameters(const ModelRow& row, double* c);

}  // namespace tessarix::detail
