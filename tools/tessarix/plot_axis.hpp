// Axis scales for the plots: a data range widened to round numbers, with
// evenly spaced ticks at steps of 1, 2 or 5 times a power of ten.
#pragma once

#include <string>
#include <vector>

namespace tessarix::tool {

struct AxisScale {
  double low = 0.0;           // the axis runs from low ...
  double high = 1.0;          // ... to high, both on tick positions
  double step = 0.2;          // distance between ticks
  std::vector<double> ticks;  // low, low + step, ..., high
};

// A scale that covers [lo, hi] with about `target_ticks` intervals. A range of
// zero width is widened around its value; lo and hi must be finite.
AxisScale NiceScale(double lo, double hi, int target_ticks = 6);

// A scale symmetric about zero that covers [-extent, extent].
AxisScale SymmetricScale(double extent, int target_ticks = 4);

// Label of a tick: as many decimals as the step needs, and no "-0".
std::string TickLabel(double value, double step);

// Linear map of an axis value to a pixel coordinate.
class AxisMap {
 public:
  AxisMap(const AxisScale& scale, double pixel_low, double pixel_high)
      : low_(scale.low), high_(scale.high), pixel_low_(pixel_low), pixel_high_(pixel_high) {}
  // The pixel of `value`, held within a wide band around the axis so that
  // points far outside it still give sane coordinates (the plot clips them).
  double operator()(double value) const;

 private:
  double low_, high_, pixel_low_, pixel_high_;
};

}  // namespace tessarix::tool
