#include "plot_axis.hpp"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace tessarix::tool {

namespace {

// The "nice" number of 1, 2, 5 or 10 times a power of ten nearest above `x`.
double NiceStep(double x) {
  const double exponent = std::floor(std::log10(x));
  const double power = std::pow(10.0, exponent);
  const double fraction = x / power;
  double nice = 10.0;
  if (fraction <= 1.0)
    nice = 1.0;
  else if (fraction <= 2.0)
    nice = 2.0;
  else if (fraction <= 5.0)
    nice = 5.0;
  return nice * power;
}

}  // namespace

AxisScale NiceScale(double lo, double hi, int target_ticks) {
  if (lo > hi) std::swap(lo, hi);
  if (hi - lo <= std::fabs(hi) * 1e-12 || !(hi - lo > 0.0)) {
    // A single value: show a band of 10% of it (or one unit around zero).
    const double half = lo == 0.0 ? 1.0 : std::fabs(lo) * 0.1;
    lo -= half;
    hi += half;
  }
  if (target_ticks < 2) target_ticks = 2;
  // Ranges near the largest doubles would overflow the tick arithmetic.
  lo = std::max(lo, -1e300);
  hi = std::min(hi, 1e300);
  AxisScale scale;
  scale.step = NiceStep((hi - lo) / target_ticks);
  scale.low = std::floor(lo / scale.step) * scale.step;
  scale.high = std::ceil(hi / scale.step) * scale.step;
  const long count = std::lround((scale.high - scale.low) / scale.step);
  for (long i = 0; i <= count; ++i) {
    scale.ticks.push_back(scale.low + static_cast<double>(i) * scale.step);
  }
  return scale;
}

AxisScale SymmetricScale(double extent, int target_ticks) {
  extent = std::fabs(extent);
  if (!(extent > 0.0)) extent = 1.0;
  AxisScale half = NiceScale(0.0, extent, std::max(1, target_ticks / 2));
  AxisScale scale;
  scale.step = half.step;
  scale.high = half.high;
  scale.low = -half.high;
  const long count = std::lround((scale.high - scale.low) / scale.step);
  for (long i = 0; i <= count; ++i) {
    scale.ticks.push_back(scale.low + static_cast<double>(i) * scale.step);
  }
  return scale;
}

std::string TickLabel(double value, double step) {
  if (std::fabs(value) < step * 1e-9) value = 0.0;
  char buffer[48];
  const double magnitude = std::max(std::fabs(value), step);
  if (magnitude >= 1e6 || step < 1e-4) {
    // Scientific form with as many digits as tell the ticks apart.
    const int digits =
        std::clamp(static_cast<int>(std::floor(std::log10(magnitude)) - std::floor(std::log10(step))), 0, 12);
    std::snprintf(buffer, sizeof buffer, "%.*e", digits, value);
  } else {
    const int decimals = std::clamp(static_cast<int>(-std::floor(std::log10(step) + 1e-9)), 0, 12);
    std::snprintf(buffer, sizeof buffer, "%.*f", decimals, value);
  }
  return buffer;
}

double AxisMap::operator()(double value) const {
  const double t = (value - low_) / (high_ - low_);
  const double limited = std::clamp(t, -10.0, 11.0);
  return pixel_low_ + limited * (pixel_high_ - pixel_low_);
}

}  // namespace tessarix::tool
