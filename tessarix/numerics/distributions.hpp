// The statistical distributions, all resting on the regularised incomplete
// beta function: the t and F probabilities of a fit, the t quantile of its
// confidence intervals, and the "ibeta", "student", "fdist" and "binomial"
// words of the model language.
//
// Failures as in the gamma family: RuntimeFault for a failed arithmetic step,
// InternalFailure 5000 for a rejected argument or an exhausted expansion.
#pragma once

#include <cstdint>

namespace tessarix::detail {

// I_x(a, b). x outside [0, 1] is 5000. The continued fraction stops at a
// relative change of 3e-7 (about seven correct digits) and fails with 5000
// after 100 terms, which very large a and b reach.
[[nodiscard]] double IncompleteBeta(double a, double b, double x);

// The continued fraction of I_x(a, b) by the modified Lentz method.
[[nodiscard]] double BetaFraction(double a, double b, double x);

// The t with Student's distribution function at t equal to p for n degrees of
// freedom: bisection on [0.25, 320] to within 1e-7 of p in at most 100 steps,
// rounded to four decimals. A quantile below 0.25 comes out near 0.25; one
// above 320 (tiny n, p close to 1) saturates at 320.
[[nodiscard]] double StudentTCritical(double p, std::int32_t n);

}  // namespace tessarix::detail
