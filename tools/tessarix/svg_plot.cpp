#include "svg_plot.hpp"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <sstream>

#include "plot_axis.hpp"
#include "text_format.hpp"
#include "tool_error.hpp"

namespace tessarix::tool {

namespace {

// Page layout in pixels.
constexpr double kWidth = 880;
constexpr double kHeight = 660;
constexpr double kLeft = 96;  // room for the y tick labels and the y label
constexpr double kRight = 860;
constexpr double kFitTop = 78;  // below title and subtitle
constexpr double kFitBottom = 428;
constexpr double kResTop = 452;
constexpr double kResBottom = 586;

constexpr const char* kPointColour = "#1f5fa8";
constexpr const char* kCurveColour = "#d1342f";
constexpr const char* kGridColour = "#e3e3e3";

std::string Xml(std::string_view text) {
  const std::string clean = CleanText(text);
  std::string out;
  out.reserve(clean.size());
  for (char c : clean) {
    switch (c) {
      case '&':
        out += "&amp;";
        break;
      case '<':
        out += "&lt;";
        break;
      case '>':
        out += "&gt;";
        break;
      case '"':
        out += "&quot;";
        break;
      case '\'':
        out += "&apos;";
        break;
      default:
        out.push_back(c);
    }
  }
  return out;
}

std::string Px(double v) {
  char buffer[32];
  std::snprintf(buffer, sizeof buffer, "%.2f", v);
  return buffer;
}

struct Range {
  double lo = 0.0, hi = 0.0;
  bool empty = true;
  void Add(double v) {
    if (!std::isfinite(v)) return;
    if (empty) {
      lo = hi = v;
      empty = false;
      return;
    }
    lo = std::min(lo, v);
    hi = std::max(hi, v);
  }
};

// The y range of the upper panel: the data, and the curve as long as it stays
// near them, so that a curve running off to a pole does not flatten the plot.
Range FitPanelRange(const FitPlotData& data) {
  Range r;
  for (double v : data.y) r.Add(v);
  const double span = r.empty ? 1.0 : std::max(r.hi - r.lo, std::fabs(r.hi) * 1e-9);
  const double lo_limit = r.lo - 0.5 * span, hi_limit = r.hi + 0.5 * span;
  for (const auto& run : data.curve) {
    for (const auto& p : run) {
      if (r.empty) {
        r.Add(p.second);
        continue;
      }
      r.Add(std::clamp(p.second, lo_limit, hi_limit));
    }
  }
  if (!r.empty) {
    for (const auto& run : data.bands) {
      for (const auto& b : run) {
        r.Add(std::clamp(b.prediction_low, lo_limit, hi_limit));
        r.Add(std::clamp(b.prediction_high, lo_limit, hi_limit));
      }
    }
  }
  if (r.empty) r.Add(0.0);
  return r;
}

// A pixel coordinate that stays printable however far off the panel a value
// lies (the clip path hides what is outside).
double Clamped(double pixel) { return std::clamp(pixel, -1e5, 1e5); }

class SvgWriter {
 public:
  std::ostringstream out;

  void Line(double x1, double y1, double x2, double y2, const std::string& attrs) {
    out << "<line x1=\"" << Px(x1) << "\" y1=\"" << Px(y1) << "\" x2=\"" << Px(x2) << "\" y2=\"" << Px(y2) << "\" "
        << attrs << "/>\n";
  }
  void Text(double x, double y, std::string_view text, const std::string& attrs) {
    out << "<text x=\"" << Px(x) << "\" y=\"" << Px(y) << "\" " << attrs << ">" << Xml(text) << "</text>\n";
  }
};

// Grid lines and tick labels of a y axis, the frame of its panel.
void DrawYAxis(SvgWriter& svg, const AxisScale& scale, const AxisMap& map, double top, double bottom) {
  svg.out << "<g class=\"y-axis\">\n";
  for (double t : scale.ticks) {
    const double py = map(t);
    svg.Line(kLeft, py, kRight, py, std::string("stroke=\"") + kGridColour + "\"");
    svg.Line(kLeft - 5, py, kLeft, py, "stroke=\"#000\"");
    svg.Text(kLeft - 8, py + 4, TickLabel(t, scale.step), "text-anchor=\"end\" class=\"tick-label\"");
  }
  svg.out << "<rect x=\"" << Px(kLeft) << "\" y=\"" << Px(top) << "\" width=\"" << Px(kRight - kLeft) << "\" height=\""
          << Px(bottom - top) << "\" fill=\"none\" stroke=\"#000\"/>\n";
  svg.out << "</g>\n";
}

void DrawXGrid(SvgWriter& svg, const AxisScale& scale, const AxisMap& map, double top, double bottom, bool labels) {
  svg.out << "<g class=\"x-axis\">\n";
  for (double t : scale.ticks) {
    const double px = map(t);
    svg.Line(px, top, px, bottom, std::string("stroke=\"") + kGridColour + "\"");
    svg.Line(px, bottom, px, bottom + 5, "stroke=\"#000\"");
    if (labels) {
      svg.Text(px, bottom + 19, TickLabel(t, scale.step), "text-anchor=\"middle\" class=\"tick-label\"");
    }
  }
  svg.out << "</g>\n";
}

void ClipPath(SvgWriter& svg, const char* id, double top, double bottom) {
  svg.out << "<clipPath id=\"" << id << "\"><rect x=\"" << Px(kLeft) << "\" y=\"" << Px(top) << "\" width=\""
          << Px(kRight - kLeft) << "\" height=\"" << Px(bottom - top) << "\"/></clipPath>\n";
}

// The confidence band as shaded areas and the prediction band as two dashed
// lines, one piece per run of the curve.
void DrawBands(SvgWriter& svg, const FitPlotData& data, const AxisMap& mx, const AxisMap& my) {
  if (data.bands.empty()) return;
  svg.out << "<g class=\"confidence-band\" clip-path=\"url(#fit-area)\" fill=\"" << kCurveColour
          << "\" fill-opacity=\"0.16\" stroke=\"none\">\n";
  for (const auto& run : data.bands) {
    if (run.size() < 2) continue;
    svg.out << "<polygon points=\"";
    for (std::size_t i = 0; i < run.size(); ++i) {
      svg.out << (i ? " " : "") << Px(mx(run[i].x)) << ',' << Px(Clamped(my(run[i].confidence_high)));
    }
    for (std::size_t i = run.size(); i-- > 0;) {
      svg.out << ' ' << Px(mx(run[i].x)) << ',' << Px(Clamped(my(run[i].confidence_low)));
    }
    svg.out << "\"/>\n";
  }
  svg.out << "</g>\n";
  svg.out << "<g class=\"prediction-band\" clip-path=\"url(#fit-area)\" fill=\"none\" stroke=\"" << kCurveColour
          << "\" stroke-width=\"1\" stroke-dasharray=\"6,4\">\n";
  for (const auto& run : data.bands) {
    if (run.size() < 2) continue;
    for (const bool upper : {false, true}) {
      svg.out << "<polyline points=\"";
      for (std::size_t i = 0; i < run.size(); ++i) {
        const double y = upper ? run[i].prediction_high : run[i].prediction_low;
        svg.out << (i ? " " : "") << Px(mx(run[i].x)) << ',' << Px(Clamped(my(y)));
      }
      svg.out << "\"/>\n";
    }
  }
  svg.out << "</g>\n";
}

}  // namespace

std::string RenderFitPlot(const FitPlotData& data) {
  Range xr;
  for (double v : data.x) xr.Add(v);
  for (const auto& run : data.curve) {
    for (const auto& p : run) xr.Add(p.first);
  }
  if (xr.empty) xr.Add(0.0);
  const AxisScale xs = NiceScale(xr.lo, xr.hi, 8);
  const Range yr = FitPanelRange(data);
  const AxisScale ys = NiceScale(yr.lo, yr.hi, 6);
  double extent = 0.0;
  for (double r : data.residuals) {
    if (std::isfinite(r)) extent = std::max(extent, std::fabs(r));
  }
  const AxisScale rs = SymmetricScale(extent * 1.05, 4);

  const AxisMap mx(xs, kLeft, kRight);
  const AxisMap my(ys, kFitBottom, kFitTop);
  const AxisMap mr(rs, kResBottom, kResTop);

  SvgWriter svg;
  svg.out << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
          << "<svg xmlns=\"http://www.w3.org/2000/svg\" version=\"1.1\" width=\"" << kWidth << "\" height=\"" << kHeight
          << "\" viewBox=\"0 0 " << kWidth << ' ' << kHeight
          << "\" font-family=\"DejaVu Sans, Helvetica, Arial, sans-serif\" font-size=\"12\">\n";
  svg.out << "<title>" << Xml(data.title) << "</title>\n";
  svg.out << "<defs>\n";
  ClipPath(svg, "fit-area", kFitTop, kFitBottom);
  ClipPath(svg, "residual-area", kResTop, kResBottom);
  svg.out << "</defs>\n";
  svg.out << "<rect width=\"100%\" height=\"100%\" fill=\"#fff\"/>\n";
  svg.Text(kWidth / 2, 28, Abbreviate(data.title, 110),
           "text-anchor=\"middle\" font-size=\"15\" font-weight=\"bold\" class=\"title\"");
  svg.Text(kWidth / 2, 50, Abbreviate(data.subtitle, 130), "text-anchor=\"middle\" fill=\"#444\" class=\"subtitle\"");

  // Upper panel: observations and the fitted curve.
  svg.out << "<g class=\"fit-panel\">\n";
  DrawXGrid(svg, xs, mx, kFitTop, kFitBottom, false);
  DrawYAxis(svg, ys, my, kFitTop, kFitBottom);
  DrawBands(svg, data, mx, my);
  svg.out << "<g class=\"fitted-curve\" clip-path=\"url(#fit-area)\" fill=\"none\" stroke=\"" << kCurveColour
          << "\" stroke-width=\"2\">\n";
  for (const auto& run : data.curve) {
    // A step from above the panel to below it (or back) is a pole: the
    // curve is broken there rather than joined by a vertical line.
    std::vector<std::vector<std::pair<double, double>>> pieces(1);
    for (std::size_t i = 0; i < run.size(); ++i) {
      const double px = mx(run[i].first), py = my(run[i].second);
      if (!pieces.back().empty()) {
        const double before = pieces.back().back().second;
        if ((before < kFitTop && py > kFitBottom) || (before > kFitBottom && py < kFitTop)) {
          pieces.emplace_back();
        }
      }
      pieces.back().emplace_back(px, py);
    }
    for (const auto& piece : pieces) {
      if (piece.size() < 2) continue;
      svg.out << "<polyline points=\"";
      for (std::size_t i = 0; i < piece.size(); ++i) {
        svg.out << (i ? " " : "") << Px(piece[i].first) << ',' << Px(piece[i].second);
      }
      svg.out << "\"/>\n";
    }
  }
  svg.out << "</g>\n";
  svg.out << "<g class=\"data-points\" clip-path=\"url(#fit-area)\" fill=\"" << kPointColour
          << "\" fill-opacity=\"0.75\" stroke=\"#0b2f5a\" stroke-width=\"0.8\">\n";
  const std::size_t n = std::min(data.x.size(), data.y.size());
  for (std::size_t i = 0; i < n; ++i) {
    svg.out << "<circle cx=\"" << Px(mx(data.x[i])) << "\" cy=\"" << Px(my(data.y[i])) << "\" r=\"3.5\"/>\n";
  }
  svg.out << "</g>\n";
  // Legend, top left inside the panel.
  const bool bands = !data.bands.empty();
  const double legend_width = std::max(150.0, 40.0 + 7.0 * static_cast<double>(DisplayWidth(data.curve_label)));
  svg.out << "<g class=\"legend\">\n"
          << "<rect x=\"" << Px(kLeft + 10) << "\" y=\"" << Px(kFitTop + 10) << "\" width=\"" << Px(legend_width)
          << "\" height=\"" << (bands ? 82 : 46) << "\" fill=\"#fff\" fill-opacity=\"0.85\" stroke=\"#bbb\"/>\n"
          << "<circle cx=\"" << Px(kLeft + 26) << "\" cy=\"" << Px(kFitTop + 25) << "\" r=\"3.5\" fill=\""
          << kPointColour << "\"/>\n";
  svg.Text(kLeft + 40, kFitTop + 29, "observations", "");
  svg.Line(kLeft + 16, kFitTop + 43, kLeft + 36, kFitTop + 43,
           std::string("stroke=\"") + kCurveColour + "\" stroke-width=\"2\"");
  svg.Text(kLeft + 40, kFitTop + 47, data.curve_label, "");
  if (bands) {
    svg.out << "<rect x=\"" << Px(kLeft + 16) << "\" y=\"" << Px(kFitTop + 55)
            << "\" width=\"20\" height=\"10\" fill=\"" << kCurveColour << "\" fill-opacity=\"0.16\"/>\n";
    svg.Text(kLeft + 40, kFitTop + 65, data.level_text + " confidence band", "");
    svg.Line(kLeft + 16, kFitTop + 79, kLeft + 36, kFitTop + 79,
             std::string("stroke=\"") + kCurveColour + "\" stroke-width=\"1\" stroke-dasharray=\"6,4\"");
    svg.Text(kLeft + 40, kFitTop + 83, data.level_text + " prediction band", "");
  }
  svg.out << "</g>\n";
  if (data.failed) {
    svg.Text(kRight - 12, kFitTop + 26, "THE FIT FAILED",
             std::string("text-anchor=\"end\" font-size=\"16\" font-weight=\"bold\" fill=\"") + kCurveColour +
                 "\" class=\"failed-note\"");
  }
  svg.out << "</g>\n";

  // Lower panel: residuals as stems from the zero line.
  svg.out << "<g class=\"residual-panel\">\n";
  DrawXGrid(svg, xs, mx, kResTop, kResBottom, true);
  DrawYAxis(svg, rs, mr, kResTop, kResBottom);
  svg.Line(kLeft, mr(0.0), kRight, mr(0.0), "stroke=\"#555\" stroke-dasharray=\"5,3\" class=\"zero-line\"");
  svg.out << "<g class=\"residuals\" clip-path=\"url(#residual-area)\" fill=\"" << kPointColour << "\" stroke=\""
          << kPointColour << "\">\n";
  const std::size_t nr = std::min(data.x.size(), data.residuals.size());
  for (std::size_t i = 0; i < nr; ++i) {
    // A failed fit's last curve may not reach every observation.
    if (!std::isfinite(data.x[i]) || !std::isfinite(data.residuals[i])) continue;
    const double px = mx(data.x[i]);
    svg.Line(px, mr(0.0), px, mr(data.residuals[i]), "stroke-width=\"1\"");
    svg.out << "<circle cx=\"" << Px(px) << "\" cy=\"" << Px(mr(data.residuals[i])) << "\" r=\"2.5\"/>\n";
  }
  svg.out << "</g>\n";
  svg.out << "</g>\n";

  // Axis labels.
  svg.Text((kLeft + kRight) / 2, kResBottom + 44, data.x_label,
           "text-anchor=\"middle\" font-size=\"13\" class=\"axis-label\"");
  const double fit_mid = (kFitTop + kFitBottom) / 2, res_mid = (kResTop + kResBottom) / 2;
  svg.Text(
      22, fit_mid, data.y_label,
      "text-anchor=\"middle\" font-size=\"13\" class=\"axis-label\" transform=\"rotate(-90 22 " + Px(fit_mid) + ")\"");
  svg.Text(
      22, res_mid, "residual",
      "text-anchor=\"middle\" font-size=\"13\" class=\"axis-label\" transform=\"rotate(-90 22 " + Px(res_mid) + ")\"");
  svg.out << "</svg>\n";
  return svg.out.str();
}

void WriteFitPlot(const std::string& path, const FitPlotData& data) {
  const std::string text = RenderFitPlot(data);
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  if (!file) throw ToolError("cannot write the plot file '" + CleanText(path) + "'");
  file << text;
  file.close();
  if (!file) throw ToolError("error writing the plot file '" + CleanText(path) + "'");
}

}  // namespace tessarix::tool
