// Bessel functions of real order with full double accuracy: Steed's method
// with Temme's series for small x (J, Y) and the analogous frame for the
// modified functions (I, K). Behind the words "jnu" to "dknu" of the model
// language, and the base of the spherical and Airy functions.
//
// Failures: x <= 0 or nu < 0 and every iteration limit raise InternalFailure
// 5000; ChebyshevValue outside its interval raises 500; arithmetic steps are
// checked (RuntimeFault). An order above 32767.5 faults "Overflow" (the
// recurrence counters are 16-bit).
#pragma once

#include <cstdint>
#include <span>

namespace tessarix::detail {

struct BesselJYResult {
  double j = 0, y = 0, dj = 0, dy = 0;  // J_nu(x), Y_nu(x) and their x-derivatives
};
struct BesselIKResult {
  double i = 0, k = 0, di = 0, dk = 0;  // I_nu(x), K_nu(x) and their x-derivatives
};

// x > 0, nu >= 0.
[[nodiscard]] BesselJYResult BesselJY(double x, double nu);
[[nodiscard]] BesselIKResult BesselIK(double x, double nu);

// The gamma quantities of Temme's series for |x| <= 1/2, from Chebyshev
// expansions: gam1 = (1/Gamma(1-x) - 1/Gamma(1+x))/(2x),
// gam2 = (1/Gamma(1-x) + 1/Gamma(1+x))/2, gampl = 1/Gamma(1+x),
// gammi = 1/Gamma(1-x).
struct GammaTerms {
  double gam1 = 0, gam2 = 0, gampl = 0, gammi = 0;
};
[[nodiscard]] GammaTerms GammaSeriesTerms(double x);

// The Chebyshev series sum' c(j) T_(j-1)(y) on [a, b], y the image of x, by
// Clenshaw's recurrence over c(1..count) (one-based: c[0] is not read).
// x outside [a, b] raises InternalFailure 500.
[[nodiscard]] double ChebyshevValue(double a, double b, std::span<const double> c, std::int32_t count, double x);

}  // namespace tessarix::detail
