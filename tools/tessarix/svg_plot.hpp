// The fit plot as SVG, written by hand: the observations and the fitted curve
// in an upper panel, the residuals in a lower panel on the same x axis, with
// axes, ticks, grid lines, labels and a legend.
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace tessarix::tool {

struct FitPlotData {
  std::string title;     // shown above the plot (the model)
  std::string subtitle;  // one line of statistics under the title
  std::string x_label;
  std::string y_label;
  std::vector<double> x;  // observations
  std::vector<double> y;
  std::vector<double> residuals;  // one per observation
  // The fitted curve as runs of (x, y) points; a break between runs is a
  // place where the model could not be evaluated.
  std::vector<std::vector<std::pair<double, double>>> curve;
  // The legend's words for the curve.
  std::string curve_label = "fitted model";
  // The bands around the curve as runs of points (one variable only): the
  // confidence band is shaded, the prediction band drawn as dashed lines.
  struct BandPoint {
    double x, confidence_low, confidence_high, prediction_low, prediction_high;
  };
  std::vector<std::vector<BandPoint>> bands;
  std::string level_text = "95%";  // for the legend: "95%"
  // The fit failed: the curve is that of the last parameters, and the plot says so.
  bool failed = false;
};

// The whole SVG document. All texts are escaped; numbers are finite.
std::string RenderFitPlot(const FitPlotData& data);

// Writes RenderFitPlot(data) to `path`; throws ToolError when it cannot.
void WriteFitPlot(const std::string& path, const FitPlotData& data);

}  // namespace tessarix::tool
