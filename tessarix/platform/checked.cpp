#include "tessarix/platform/checked.hpp"

namespace tessarix::detail {

void RaiseNonFinite(double result) { RaiseFault(std::isnan(result) ? FaultKind::InvalidCall : FaultKind::Overflow); }

void RaiseDivisionFault(double numerator) {
  if (numerator == 0.0 || !std::isfinite(numerator)) {
    RaiseFault(FaultKind::InvalidCall);
  }
  RaiseFault(FaultKind::DivisionByZero);
}

double CheckedSqrt(double x) {
  if (!(x >= 0.0)) {
    RaiseFault(FaultKind::InvalidCall);
  }
  return Checked(std::sqrt(x));
}

double CheckedLog(double x) {
  if (!(x > 0.0)) {
    RaiseFault(FaultKind::InvalidCall);
  }
  return Checked(std::log(x));
}

double CheckedExp(double x) {
  if (std::isnan(x)) {
    RaiseFault(FaultKind::InvalidCall);
  }
  return Checked(std::exp(x));
}

}  // namespace tessarix::detail
