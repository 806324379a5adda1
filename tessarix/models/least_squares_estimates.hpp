// Least-squares starting values for the pre-defined models with one variable.
//
// Every model of the catalogue becomes linear in a set of coefficients after a
// change of variables: the observations are transformed (log(y) for
// "a*exp(b*x)"), the weighted linear problem in the model's basis terms (1 and
// x there) is solved through a singular value decomposition, and the
// coefficients are turned back into the model's parameters (a = exp(c1)).
// With error-free data the chain gives the parameters exactly.
//
// Nothing here raises: each step reports by its result, and one observation
// that cannot be transformed (log of a y at or below 0, say) fails the chain.
// The weights are used as they stand, without correction for the transform.
#pragma once

#include <cstdint>
#include <span>

#include "tessarix/numerics/one_based.hpp"

namespace tessarix::detail {

// The whole chain for the model of `evaluation_code` whose estimator has
// `term_count` terms, on x, y, w (indexes 1..n). On success the coefficients
// are written, in order, to estimates[0..term_count-1]. A term count larger
// than estimates.size() writes what fits and reports failure: so the
// trigonometric models (two terms, one parameter) get their first coefficient
// and a failure. After any other failure estimates are untouched.
[[nodiscard]] bool ObtainLeastSquaresEstimates(std::int32_t evaluation_code, std::int32_t term_count, const double* x,
                                               const double* y, const double* w, std::int32_t n,
                                               std::span<double> estimates);

// t(1..n) = the transformed observations; m = the term count.
[[nodiscard]] bool LinearizeObservations(std::int32_t evaluation_code, std::int32_t term_count, const double* x,
                                         const double* y, Vector1& t, std::int32_t n, std::int32_t& m);

// The m basis terms at x into terms[1..m].
[[nodiscard]] bool EstimateBasis(std::int32_t evaluation_code, double x, double* terms);

// Rows sqrt(w(i))*B(x(i)) against sqrt(w(i))*t(i), solved for c(1..m).
[[nodiscard]] bool SolveEstimateSystem(std::int32_t evaluation_code, std::int32_t m, const double* x, const Vector1& t,
                                       const double* w, std::int32_t n, Vector1& c);

// Coefficients c(1..) into parameter values, in place.
[[nodiscard]] bool RecoverEstimateParameters(std::int32_t evaluation_code, Vector1& c);

}  // namespace tessarix::detail
