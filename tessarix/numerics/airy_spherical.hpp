// Spherical Bessel functions and Airy functions, both from the real-order
// Bessel routines. Behind the words "sphjn" to "dsphyn" and "airya" to
// "dairyb" of the model language.
//
// The constants sqrt(pi/2) = 1.2533141, 1/sqrt(3) = 0.57735027 and
// 2/sqrt(3) = 1.15470054 are the library's short values: the spherical
// functions are good to about 3e-8 relative and the Airy functions to about
// 2e-9, whatever the accuracy of the Bessel routines beneath.
#pragma once

#include <cstdint>

namespace tessarix::detail {

struct SphericalBesselResult {
  double sj = 0, sy = 0, dsj = 0, dsy = 0;  // j_n(x), y_n(x) and their x-derivatives
};
// n >= 0 and x > 0, else InternalFailure 5000.
[[nodiscard]] SphericalBesselResult SphericalBessel(std::int32_t n, double x);

struct AiryResult {
  double ai = 0, bi = 0, dai = 0, dbi = 0;  // Ai(x), Bi(x) and their derivatives
};
// Every real x; at 0 the tabulated values 0.35502805 and -0.2588194.
[[nodiscard]] AiryResult Airy(double x);

}  // namespace tessarix::detail
