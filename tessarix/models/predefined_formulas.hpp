// The hand-written formulas of the pre-defined models with one variable and
// their analytic derivatives: the fast path of a fit, selected by the model's
// evaluation code.
//
// Both routines report failure by their result and never raise: a step that
// gives an invalid operation, a division by zero or an overflow (an infinity
// or NaN operand included) ends the call with false, and the output is then
// not to be used. Underflow is no failure. Dispatch is one indexed jump and
// nothing allocates.
#pragma once

#include <cstdint>

namespace tessarix::detail {

// The model value at x. a holds the parameters from index 1 (a[1] is `a`).
// An evaluation code that belongs to no model gives false.
[[nodiscard]] bool EvaluatePredefined(std::int32_t evaluation_code, const double* a, double x, double& y) noexcept;

// The partial derivatives by each parameter at x into d[1..p], p being the
// number of parameters of the model (one for the two trigonometric models,
// whose estimator works with two terms). Linear models give their term values.
[[nodiscard]] bool PredefinedDerivatives(std::int32_t evaluation_code, const double* a, double x, double* d) noexcept;

// Values and, when d is not null, derivatives at x[0..n-1]: y[r] and
// d[r * stride + 1 ..]. The same arithmetic as the two routines above, step
// for step, without a test per step: true when no step of the block failed
// (every output is then what the routines above give); false when one may
// have, and the caller then evaluates the points one by one through them to
// find the failure. The caller's floating-point flags are kept.
[[nodiscard]] bool EvaluatePredefinedBlock(std::int32_t evaluation_code, const double* a, const double* x,
                                           std::int32_t n, double* y, double* d, std::int32_t stride) noexcept;

}  // namespace tessarix::detail
