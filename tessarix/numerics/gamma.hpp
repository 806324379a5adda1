// The gamma family: log-gamma, factorials, digamma, the regularised incomplete
// gamma functions, the error functions and the beta function.
//
// Every arithmetic step is checked (platform/checked.hpp): a step that would
// produce a NaN or an infinity raises a RuntimeFault. A rejected argument or
// an expansion that does not converge raises the bare InternalFailure 5000.
// The expansions stop at a relative change of 3e-7: the results are good to
// about seven digits, by design.
#pragma once

namespace tessarix::detail {

// ln(Gamma(xx)) by the six-term Lanczos approximation, about 1e-10 relative
// for xx > 0. A non-positive argument fails in one of the logarithms or
// divisions of the formula, except where the formula continues on its own:
// in the intervals above -5.5 where Gamma is positive (-2..-1, -4..-3, part of
// -6..-5) the result approximates ln Gamma (GammaLn(-1.5) = 0.86004701...).
[[nodiscard]] double GammaLn(double xx);

// n! for the integer part of n: the exact product up to 32, exp(GammaLn(n + 1))
// above. A negative n is InternalFailure 5000; past 170 the result overflows.
[[nodiscard]] double Factorial(double n);

// ln(n!) = GammaLn(n + 1) for the integer part of n; negative n: 5000.
[[nodiscard]] double FactorialLn(double n);

// psi(n) for the integer part of a positive integer n: the harmonic sum up to
// n - 1 less Euler's constant 0.5772156649. For n below 1 the sum is empty
// and the result is -0.5772156649. n beyond the 16-bit range faults "Overflow",
// as the counters of the language are 16-bit.
[[nodiscard]] double Digamma(double n);

// Regularised incomplete gamma functions P(a, x) and Q(a, x) = 1 - P(a, x).
// Need x >= 0 and a > 0, else 5000. Below x = a + 1 by the series, above by
// the continued fraction; each has 100 terms, after which it fails with 5000
// (so a large a close to x, as GammaP(1000, 1000), is out of range).
[[nodiscard]] double GammaP(double a, double x);
[[nodiscard]] double GammaQ(double a, double x);

// The two expansions behind GammaP and GammaQ: the series gives P(a, x), the
// continued fraction (modified Lentz) gives Q(a, x).
[[nodiscard]] double GammaSeries(double a, double x);
[[nodiscard]] double GammaFraction(double a, double x);

// The error function and its complement, through GammaP(0.5, x^2).
[[nodiscard]] double Erf(double x);
[[nodiscard]] double Erfc(double x);

// B(z, w) = exp(GammaLn(z) + GammaLn(w) - GammaLn(z + w)).
[[nodiscard]] double BetaFunction(double z, double w);

}  // namespace tessarix::detail
