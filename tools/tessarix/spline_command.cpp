#include "spline_command.hpp"

#include <algorithm>
#include <sstream>
#include <tessarix/core/error.hpp>
#include <tessarix/core/global_constants.hpp>
#include <tessarix/data/data_collection.hpp>
#include <tessarix/data/data_series.hpp>

#include "csv_table.hpp"
#include "svg_plot.hpp"
#include "text_format.hpp"
#include "tool_error.hpp"

namespace tessarix::tool {

namespace {

constexpr int kValueDigits = 10;
constexpr int kDerivativeDigits = 8;
constexpr std::size_t kKnotsShownAtEachEnd = 10;

struct Knot {
  double x, y, second_derivative;
};

// The knots as the cubic pieces tell them: piece i starts at knot i with
// d = y and 2b = y''; the last knot ends the last piece, with y'' = 0 (the
// natural end).
std::vector<Knot> Knots(CubicSpline& spline) {
  std::vector<Knot> knots;
  const std::int32_t intervals = spline.NumIntervals();
  for (std::int32_t i = 1; i <= intervals; ++i) {
    const CubicInformation piece = spline.GetCubicByInterval(i);
    knots.push_back({piece.LowerBound(), piece.d(), 2.0 * piece.b()});
  }
  const double last = spline.GetCubicByInterval(intervals).UpperBound();
  knots.push_back({last, spline.PredictValue(last), 0.0});
  return knots;
}

// y'' at x from the piece that holds it; on a knot, the value the spline
// stores there rather than the end of the piece to its left.
double SecondDerivativeAt(CubicSpline& spline, double x) {
  const CubicInformation piece = spline.GetCubicByValue(x);
  if (x == piece.UpperBound()) {
    return piece.Interval() < spline.NumIntervals() ? 2.0 * spline.GetCubicByInterval(piece.Interval() + 1).b() : 0.0;
  }
  const double t = x - piece.LowerBound();
  return 6.0 * piece.a() * t + 2.0 * piece.b();
}

// A table of right-aligned columns under a heading and a rule; a row of one
// cell is a note between the rows.
std::string Table(const std::vector<std::string>& heading, const std::vector<std::vector<std::string>>& rows) {
  std::vector<std::size_t> width(heading.size());
  for (std::size_t j = 0; j < heading.size(); ++j) width[j] = heading[j].size();
  for (const auto& row : rows) {
    if (row.size() != heading.size()) continue;
    for (std::size_t j = 0; j < row.size(); ++j) width[j] = std::max(width[j], row[j].size());
  }
  std::string text;
  auto line = [&](const std::vector<std::string>& cells) {
    std::string out = " ";
    for (std::size_t j = 0; j < cells.size(); ++j) out += "  " + PadLeft(cells[j], width[j]);
    text += out + '\n';
  };
  line(heading);
  std::size_t total = 0;
  for (std::size_t w : width) total += w + 2;
  text += "  " + std::string(total - 1, '-') + '\n';
  for (const auto& row : rows) {
    if (row.size() == heading.size()) {
      line(row);
    } else if (!row.empty()) {
      text += "  " + row[0] + '\n';
    }
  }
  return text;
}

// Why a fit left the spline unsolved: the failure line of its log.
std::string FailureReason(const CubicSpline& spline) {
  std::istringstream lines(spline.SolutionLog());
  std::string line;
  while (std::getline(lines, line)) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    if (line.rfind("Solution failed", 0) == 0) return line;
  }
  return spline.LastSolveError();
}

FitPlotData PlotData(CubicSpline& spline, int points) {
  FitPlotData plot;
  const auto tables = spline.ResultTables();
  plot.x = tables->Item(1)->ExportToArray();
  plot.y = tables->Item(2)->ExportToArray();
  plot.residuals = tables->Item(4)->ExportToArray();
  plot.x_label = tables->Item(1)->Name();
  plot.y_label = tables->Item(2)->Name();
  plot.title = "Natural cubic spline of " + plot.y_label + " by " + plot.x_label;
  plot.subtitle = std::to_string(spline.NumObservations()) + " observations, " +
                  std::to_string(spline.NumIntervals() + 1) + " knots";
  plot.curve_label = "cubic spline";
  const auto [lo, hi] = std::minmax_element(plot.x.begin(), plot.x.end());
  const double x_low = *lo, x_high = *hi;
  std::vector<double> xs(static_cast<std::size_t>(points));
  for (int i = 0; i < points; ++i) {
    xs[static_cast<std::size_t>(i)] = i == points - 1 ? x_high : x_low + (x_high - x_low) * i / (points - 1);
  }
  // Rounding can move an x a hair past the last knot, which the spline refuses.
  for (double& x : xs) x = std::clamp(x, x_low, x_high);
  const std::vector<double> ys = spline.PredictArray(xs);
  plot.curve.emplace_back();
  for (std::size_t i = 0; i < xs.size(); ++i) plot.curve.back().emplace_back(xs[i], ys[i]);
  return plot;
}

}  // namespace

std::string SplineReport(CubicSpline& spline, const std::string& data_path, const std::string& x_name,
                         const std::string& y_name, const std::vector<double>& at) {
  const std::vector<Knot> knots = Knots(spline);
  double y_min = knots.front().y, y_max = knots.front().y;
  for (const Knot& k : knots) {
    y_min = std::min(y_min, k.y);
    y_max = std::max(y_max, k.y);
  }
  const std::int32_t observations = spline.NumObservations();
  std::ostringstream out;
  auto item = [&](const char* name, const std::string& value) { out << PadRight(name, 14) << value << '\n'; };
  out << "Tessarix " << GlobalConstants::tsxMajorVersion() << '.' << GlobalConstants::tsxMinorVersion() << '.'
      << GlobalConstants::tsxRevision() << " natural cubic spline\n\n";
  item("Data", CleanText(data_path));
  item("", "x = " + CleanText(x_name) + ", y = " + CleanText(y_name));
  item("Observations", std::to_string(observations));
  item("Knots", std::to_string(knots.size()) +
                    (static_cast<std::int32_t>(knots.size()) < observations ? " (points of equal x averaged)" : ""));
  item("X range",
       SignificantText(knots.front().x, kValueDigits) + " to " + SignificantText(knots.back().x, kValueDigits));
  item("Y range", SignificantText(y_min, kValueDigits) + " to " + SignificantText(y_max, kValueDigits));

  std::vector<std::vector<std::string>> rows;
  for (std::size_t i = 0; i < knots.size(); ++i) {
    if (knots.size() > 2 * kKnotsShownAtEachEnd && i == kKnotsShownAtEachEnd) {
      rows.push_back({"... " + std::to_string(knots.size() - 2 * kKnotsShownAtEachEnd) + " more knots ..."});
      i = knots.size() - kKnotsShownAtEachEnd;
    }
    rows.push_back({std::to_string(i + 1), SignificantText(knots[i].x, kValueDigits),
                    SignificantText(knots[i].y, kValueDigits),
                    SignificantText(knots[i].second_derivative, kDerivativeDigits)});
  }
  out << '\n' << Table({"Knot", "x", "y", "d2y/dx2"}, rows);

  if (!at.empty()) {
    rows.clear();
    for (double x : at) {
      rows.push_back({SignificantText(x, kValueDigits), SignificantText(spline.PredictValue(x), kValueDigits),
                      SignificantText(spline.CalculateDerivative(x), kDerivativeDigits),
                      SignificantText(SecondDerivativeAt(spline, x), kDerivativeDigits)});
    }
    out << "\nValues\n" << Table({"x", "y", "dy/dx", "d2y/dx2"}, rows);
  }
  return out.str();
}

int RunSpline(const SplineOptions& options, std::ostream& out) {
  if (options.data.x_column.find(',') != std::string::npos) {
    throw ToolError("spline: --x names one column; a spline has one independent variable", kExitUsage);
  }
  const LoadedData data = LoadData(options.data);
  CubicSpline spline;
  try {
    spline.FitCollection(*data.collection);
  } catch (const Error& e) {
    throw ToolError("the spline could not be computed: " + e.Description());
  }
  if (!spline.IsSolved()) {
    throw ToolError("the spline failed: " + FailureReason(spline) + " (it needs at least three distinct x)");
  }
  const CubicInformation first = spline.GetCubicByInterval(1);
  const CubicInformation last = spline.GetCubicByInterval(spline.NumIntervals());
  for (double x : options.at) {
    if (!(x >= first.LowerBound() && x <= last.UpperBound())) {
      throw ToolError("--at " + SignificantText(x, kValueDigits) + " lies outside the knots, " +
                      SignificantText(first.LowerBound(), kValueDigits) + " to " +
                      SignificantText(last.UpperBound(), kValueDigits) + ": the spline does not extrapolate");
    }
  }
  try {
    out << SplineReport(spline, options.data.path, data.x->Name(), data.y->Name(), options.at);
  } catch (const Error& e) {
    throw ToolError("the spline cannot be evaluated: " + e.Description());
  }
  if (!options.table_path.empty()) {
    WriteResultTable(options.table_path, *spline.ResultTables());
    out << "\nTable written to " << CleanText(options.table_path) << '\n';
  }
  if (!options.plot_path.empty()) {
    FitPlotData plot;
    try {
      plot = PlotData(spline, options.plot_points);
    } catch (const Error& e) {
      throw ToolError("the spline cannot be drawn: " + e.Description());
    }
    WriteFitPlot(options.plot_path, plot);
    out << (options.table_path.empty() ? "\n" : "") << "Plot written to " << CleanText(options.plot_path) << '\n';
  }
  if (!options.tsf.path.empty() && options.table_path.empty() && options.plot_path.empty()) out << '\n';
  SaveResultFile(spline, options.tsf, out);
  return kExitOk;
}

}  // namespace tessarix::tool
