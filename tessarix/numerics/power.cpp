#include "tessarix/numerics/power.hpp"

#include <cmath>
#include <cstddef>

namespace tessarix::detail {

double Power(double base, double exponent) {
  if (base == 0.0) {
    if (exponent < 0.0) {
      RaiseFault(FaultKind::InvalidCall);
    }
    return exponent == 0.0 ? 1.0 : 0.0;
  }
  if (base < 0.0 && std::trunc(exponent) != exponent) {
    RaiseFault(FaultKind::InvalidCall);
  }
  return Checked(std::pow(base, exponent));
}

double PowerSum(std::span<const double> coefficients, double y) {
  if (coefficients.empty()) {
    return 0.0;
  }
  double sum = coefficients[0];
  for (std::size_t k = 1; k < coefficients.size(); ++k) {
    const double term = Checked(coefficients[k] * Power(y, static_cast<double>(k)));
    sum = Checked(sum + term);
  }
  return sum;
}

}  // namespace tessarix::detail
