#include "fit_command.hpp"

#include <algorithm>
#include <tessarix/core/error.hpp>
#include <tessarix/data/data_collection.hpp>
#include <tessarix/data/data_series.hpp>
#include <tessarix/multiple/multiple_nonlinear_regression.hpp>
#include <utility>

#include "csv_table.hpp"
#include "report.hpp"
#include "svg_plot.hpp"
#include "text_format.hpp"
#include "tool_error.hpp"

namespace tessarix::tool {

namespace {

// LastSolveError keeps the line end of some messages; a one-line error does not.
std::string OneLine(std::string text) {
  while (!text.empty() && (text.back() == '\n' || text.back() == '\r')) text.pop_back();
  for (char& c : text) {
    if (c == '\r' || c == '\n') c = ' ';
  }
  return text;
}

std::string Subtitle(const RegressionObject& regression) {
  return "R2 = " + SignificantText(regression.R2(), 6) +
         ", standard error = " + SignificantText(regression.StandardError(), 6) + ", " +
         std::to_string(regression.NumObservations()) + " observations" + (regression.IsWeighted() ? ", weighted" : "");
}

FitPlotData PlotData(NonlinearRegression& regression, const std::string& model_label, int points) {
  FitPlotData plot;
  const auto tables = regression.ResultTables();
  const std::int32_t columns = tables->Count();
  plot.x = tables->Item(1)->ExportToArray();
  plot.y = tables->Item(2)->ExportToArray();
  plot.residuals = tables->Item(columns)->ExportToArray();
  plot.x_label = tables->Item(1)->Name();
  plot.y_label = tables->Item(2)->Name();
  plot.title = model_label;
  plot.subtitle = Subtitle(regression);
  if (!plot.x.empty()) {
    const auto [lo, hi] = std::minmax_element(plot.x.begin(), plot.x.end());
    plot.curve = FittedCurve(regression, *lo, *hi, points);
  }
  return plot;
}

// A surface cannot be drawn against one axis: the observations go against
// the predicted values, around the line where the two are equal, and the
// residuals below against the predicted values too.
FitPlotData SurfacePlotData(const RegressionObject& regression, const std::string& model_label) {
  FitPlotData plot;
  const auto tables = regression.ResultTables();
  const std::int32_t columns = tables->Count();
  const auto y = tables->Item(regression.NumIndependentVariables() + 1);
  plot.x = tables->Item(columns - 1)->ExportToArray();
  plot.y = y->ExportToArray();
  plot.residuals = tables->Item(columns)->ExportToArray();
  plot.x_label = "predicted " + y->Name();
  plot.y_label = "observed " + y->Name();
  plot.title = model_label;
  plot.subtitle = Subtitle(regression);
  plot.curve_label = "observed = predicted";
  if (!plot.x.empty()) {
    const auto [lo, hi] = std::minmax_element(plot.x.begin(), plot.x.end());
    plot.curve.push_back({{*lo, *lo}, {*hi, *hi}});
  }
  return plot;
}

// Everything after the model is set up: the fit, the log, the report and the
// files. `curve_plot` draws the plot of a solved fit.
template <class Regression, class Plot>
int FitAndReport(Regression& regression, const FitOptions& options, const LoadedData& data, std::ostream& out,
                 Plot&& plot_data) {
  try {
    regression.FitCollection(*data.collection);
  } catch (const Error& e) {
    throw ToolError("the fit could not start: " + OneLine(e.Description()));
  }
  // The log tells the story of a failed run too, so it is saved either way.
  if (!options.log_path.empty()) {
    try {
      regression.SaveLog(options.log_path);
    } catch (const Error& e) {
      throw ToolError("cannot write the log file '" + CleanText(options.log_path) + "': " + e.Description());
    }
  }
  if (!regression.IsSolved()) {
    throw ToolError("the fit failed: " + OneLine(regression.LastSolveError()));
  }
  ReportHeading heading;
  heading.data_path = options.data.path;
  for (const auto& x : data.xs) heading.x_names.push_back(x->Name());
  heading.y_name = data.y->Name();
  heading.sd_name = data.sd ? data.sd->Name() : "";
  heading.model_label = ModelLabel(regression, options.model);
  out << FitReport(regression, heading);
  // The notes on written files follow the report after one empty line.
  const char* gap = "\n";
  if (!options.table_path.empty()) {
    WriteResultTable(options.table_path, *regression.ResultTables());
    out << std::exchange(gap, "") << "Table written to " << CleanText(options.table_path) << '\n';
  }
  if (!options.plot_path.empty()) {
    WriteFitPlot(options.plot_path, plot_data(heading.model_label));
    out << std::exchange(gap, "") << "Plot written to " << CleanText(options.plot_path) << '\n';
  }
  if (!options.tsf.path.empty()) out << std::exchange(gap, "");
  SaveResultFile(regression, options.tsf, out);
  return kExitOk;
}

}  // namespace

std::vector<std::vector<std::pair<double, double>>> FittedCurve(NonlinearRegression& regression, double x_low,
                                                                double x_high, int points) {
  std::vector<std::vector<std::pair<double, double>>> runs;
  if (points < 2 || !(x_high > x_low)) return runs;
  std::vector<double> xs(static_cast<std::size_t>(points));
  for (int i = 0; i < points; ++i) {
    xs[static_cast<std::size_t>(i)] = i == points - 1 ? x_high : x_low + (x_high - x_low) * i / (points - 1);
  }
  try {
    const std::vector<double> ys = regression.PredictArray(xs);
    runs.emplace_back();
    for (std::size_t i = 0; i < xs.size() && i < ys.size(); ++i) runs.back().emplace_back(xs[i], ys[i]);
    return runs;
  } catch (const Error&) {
    // Some point of the range cannot be evaluated (a pole, a domain limit):
    // go point by point and leave a gap there.
  }
  runs.emplace_back();
  for (double x : xs) {
    try {
      runs.back().emplace_back(x, regression.PredictValue(x));
    } catch (const Error&) {
      if (!runs.back().empty()) runs.emplace_back();
    }
  }
  if (runs.back().empty()) runs.pop_back();
  return runs;
}

int RunFit(const FitOptions& options, std::ostream& out) {
  const LoadedData data = LoadData(options.data);
  if (data.xs.size() > 1) {
    MultipleNonlinearRegression regression;
    SetUpModel(regression, options.model);
    return FitAndReport(regression, options, data, out,
                        [&](const std::string& label) { return SurfacePlotData(regression, label); });
  }
  NonlinearRegression regression;
  SetUpModel(regression, options.model);
  return FitAndReport(regression, options, data, out,
                      [&](const std::string& label) { return PlotData(regression, label, options.plot_points); });
}

}  // namespace tessarix::tool
