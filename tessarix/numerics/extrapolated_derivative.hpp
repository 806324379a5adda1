// The derivative of a function of one variable by central differences
// refined by polynomial extrapolation over a shrinking step (Ridders'
// method). Up to 20 evaluations give a derivative good to many more digits
// than one difference can, which the convergence of a fit depends on.
#pragma once

#include <cmath>
#include <cstdint>

#include "tessarix/numerics/internal_failure.hpp"
#include "tessarix/numerics/one_based.hpp"
#include "tessarix/platform/checked.hpp"

namespace tessarix::detail {

inline constexpr double kDerivativeStepFactor = 3.684e-06;    // relative first step; absolute at 0
inline constexpr double kDerivativeStepShrink = 1.4;          // ratio of successive steps
inline constexpr double kDerivativeStepShrinkSquared = 1.96;  // ratio of the extrapolation
inline constexpr std::int32_t kDerivativeTableRows = 10;
inline constexpr double kDerivativeSafeFactor = 2.0;  // stop when the error grows by this factor
inline constexpr double kDerivativeBigError = 1e+30;

// The derivative of f at v into `answer`. `f(t, y)` evaluates the function at
// t into y and reports success. `ratio_squared` is the square of the step
// ratio used by the extrapolation (1.96 for parameters; the x-derivative
// computes 1.4 * 1.4). `table` is the work table, at least 10 x 10
// (one-based); its old contents do not matter.
//
// The first step is v * 3.684e-06 (3.684e-06 at v = 0), taken as the exactly
// representable difference (v + step) - v, so it is negative for negative v.
// Each further step is the previous one / 1.4; the answer is the entry of the
// table whose error estimate was the smallest, and the walk stops when the
// diagonal moves by twice that error or more. A failed evaluation or a failed
// arithmetic step gives false at once (and no answer).
//
// `min_step` > 0 is a floor of the first step's size: where |v| * 3.684e-06
// is smaller (v = 0 included), the first step is v + min_step - v (v -
// min_step - v for negative v). 0, the default, leaves the rule above as it is.
template <class F>
[[nodiscard]] bool ExtrapolatedDerivative(F&& f, double v, double ratio_squared, Matrix1& table, double& answer,
                                          double min_step = 0.0) {
  try {
    const Num variable(v);
    Num moved = v == 0.0 ? variable + kDerivativeStepFactor : variable + variable * kDerivativeStepFactor;
    if (min_step > 0.0 && !(std::fabs(v * kDerivativeStepFactor) >= min_step)) {
      moved = v < 0.0 ? variable - min_step : variable + min_step;
    }
    Num h = moved - variable;

    double f_plus = 0.0;
    double f_minus = 0.0;
    if (!f((variable + h).value(), f_plus) || !f((variable - h).value(), f_minus)) return false;
    table(1, 1) = ((Num(f_plus) - f_minus) / (h + h)).value();
    Num err = kDerivativeBigError;
    double best = table(1, 1);

    for (std::int32_t i = 2; i <= kDerivativeTableRows; ++i) {
      h = h / kDerivativeStepShrink;
      if (!f((variable + h).value(), f_plus) || !f((variable - h).value(), f_minus)) return false;
      table(1, i) = ((Num(f_plus) - f_minus) / (h + h)).value();
      Num fac = ratio_squared;
      for (std::int32_t j = 2; j <= i; ++j) {
        table(j, i) = ((Num(table(j - 1, i)) * fac - table(j - 1, i - 1)) / (fac - 1.0)).value();
        fac = fac * ratio_squared;
        const Num e1 = abs(Num(table(j, i)) - table(j - 1, i));
        const Num e2 = abs(Num(table(j, i)) - table(j - 1, i - 1));
        const Num errt = e1 > e2 ? e1 : e2;
        if (errt <= err) {
          err = errt;
          best = table(j, i);
        }
      }
      if (abs(Num(table(i, i)) - table(i - 1, i - 1)) >= kDerivativeSafeFactor * err) break;
    }
    answer = best;
    return true;
  } catch (const RuntimeFault&) {
    return false;
  } catch (const InternalFailure&) {
    return false;
  }
}

}  // namespace tessarix::detail
