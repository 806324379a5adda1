#include "tessarix/numerics/weights.hpp"

#include <cmath>

#include "tessarix/platform/checked.hpp"

namespace tessarix::detail {

bool WeightsFromDeviations(const Vector1& sd, std::int32_t n, Vector1& w) {
  try {
    Num sum = 0.0;
    for (std::int32_t i = 1; i <= n; ++i) {
      const auto ui = static_cast<std::size_t>(i);
      // A deviation that is not finite is a fault like any other step, so
      // that the fit runs unweighted and never publishes it.
      const double a = std::fabs(Checked(sd[ui]));
      Num weight = 1.0;
      if (a < 1e-150) {
        weight = 1.0;
      } else if (a <= 1e+150) {
        weight = Num(1.0) / (Num(sd[ui]) * sd[ui]);
      }
      w[ui] = weight.value();
      sum += weight;
    }
    const Num mean = sum / static_cast<double>(n);
    for (std::int32_t i = 1; i <= n; ++i) {
      const auto ui = static_cast<std::size_t>(i);
      w[ui] = (Num(w[ui]) / mean).value();
    }
    return true;
  } catch (...) {
    return false;
  }
}

}  // namespace tessarix::detail
