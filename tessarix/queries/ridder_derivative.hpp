// The first derivative of a fitted curve by x: Ridders' extrapolated central
// differences, the method of the parameter derivatives of a fit applied to x.
#pragma once

#include "tessarix/numerics/extrapolated_derivative.hpp"
#include "tessarix/numerics/one_based.hpp"

namespace tessarix::detail {

// df/dx at x into `derivative`; `f(t, y)` evaluates the curve at t and
// reports success. The first step is x * 3.684e-6 (3.684e-6 at x = 0), with
// the sign of x; the steps shrink by 1.4 and the extrapolation uses 1.4
// squared as computed in double arithmetic (1.9599999999999997). Up to 20
// evaluations; a failure of any of them gives false, even when a good
// estimate was already at hand.
template <class F>
[[nodiscard]] bool RidderDerivative(F&& f, double x, double& derivative) {
  Matrix1 table(kDerivativeTableRows, kDerivativeTableRows);
  const double shrink_squared = kDerivativeStepShrink * kDerivativeStepShrink;
  return ExtrapolatedDerivative(f, x, shrink_squared, table, derivative);
}

}  // namespace tessarix::detail
