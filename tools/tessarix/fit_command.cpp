#include "fit_command.hpp"

#include <algorithm>
#include <cmath>
#include <optional>
#include <sstream>
#include <tessarix/core/error.hpp>
#include <tessarix/data/data_collection.hpp>
#include <tessarix/data/data_series.hpp>
#include <tessarix/multiple/multiple_nonlinear_regression.hpp>
#include <type_traits>
#include <utility>

#include "csv_table.hpp"
#include "fit_failure.hpp"
#include "fit_json.hpp"
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

std::string LevelText(double level) { return SignificantText(level, 6) + "%"; }

std::string Subtitle(const RegressionObject& regression) {
  return "R2 = " + SignificantText(regression.R2(), 6) +
         ", standard error = " + SignificantText(regression.StandardError(), 6) + ", " +
         std::to_string(regression.NumObservations()) + " observations" + (regression.IsWeighted() ? ", weighted" : "");
}

// The half-widths of both bands at one point; NaN where they cannot be had.
template <class Regression>
std::pair<double, double> BandsAt(Regression& regression, const std::vector<double>& point, double level) {
  try {
    if constexpr (std::is_same_v<Regression, NonlinearRegression>) {
      return {regression.ConfidenceBand(point[0], level), regression.PredictionBand(point[0], level)};
    } else {
      return {regression.ConfidenceBand(point, level), regression.PredictionBand(point, level)};
    }
  } catch (const Error&) {
    return {NAN, NAN};
  }
}

template <class Regression>
DataBands BandsAtData(Regression& regression, double level) {
  const auto tables = regression.ResultTables();
  const std::int32_t m = regression.NumIndependentVariables();
  std::vector<std::vector<double>> x;
  for (std::int32_t k = 1; k <= m; ++k) x.push_back(tables->Item(k)->ExportToArray());
  DataBands bands;
  std::vector<double> point(static_cast<std::size_t>(m));
  for (std::size_t i = 0; i < x[0].size(); ++i) {
    for (std::size_t k = 0; k < x.size(); ++k) point[k] = x[k][i];
    const auto [confidence, prediction] = BandsAt(regression, point, level);
    bands.confidence.push_back(confidence);
    bands.prediction.push_back(prediction);
  }
  return bands;
}

// The band columns of the table: bounds about the predicted values.
std::vector<ExtraColumn> BandColumns(const RegressionObject& regression, const DataBands& bands, double level) {
  const auto tables = regression.ResultTables();
  const std::vector<double> predicted = tables->Item(tables->Count() - 1)->ExportToArray();
  const std::string at = " " + LevelText(level);
  std::vector<ExtraColumn> columns = {{"Lower" + at + " confidence", {}},
                                      {"Upper" + at + " confidence", {}},
                                      {"Lower" + at + " prediction", {}},
                                      {"Upper" + at + " prediction", {}}};
  for (std::size_t i = 0; i < predicted.size(); ++i) {
    columns[0].values.push_back(predicted[i] - bands.confidence[i]);
    columns[1].values.push_back(predicted[i] + bands.confidence[i]);
    columns[2].values.push_back(predicted[i] - bands.prediction[i]);
    columns[3].values.push_back(predicted[i] + bands.prediction[i]);
  }
  return columns;
}

// The bands along the curve, broken where they cannot be had.
std::vector<std::vector<FitPlotData::BandPoint>> CurveBands(
    NonlinearRegression& regression, const std::vector<std::vector<std::pair<double, double>>>& curve, double level) {
  std::vector<std::vector<FitPlotData::BandPoint>> runs;
  for (const auto& run : curve) {
    runs.emplace_back();
    for (const auto& [x, y] : run) {
      const auto [confidence, prediction] = BandsAt(regression, {x}, level);
      if (!std::isfinite(confidence) || !std::isfinite(prediction)) {
        if (!runs.back().empty()) runs.emplace_back();
        continue;
      }
      runs.back().push_back({x, y - confidence, y + confidence, y - prediction, y + prediction});
    }
    if (runs.back().empty()) runs.pop_back();
  }
  return runs;
}

FitPlotData PlotData(NonlinearRegression& regression, const std::string& model_label, int points, double level) {
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
  plot.level_text = LevelText(level);
  if (!plot.x.empty()) {
    const auto [lo, hi] = std::minmax_element(plot.x.begin(), plot.x.end());
    plot.curve = FittedCurve(regression, *lo, *hi, points);
    plot.bands = CurveBands(regression, plot.curve, level);
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

// The data and the curve of the parameters a failed fit reached.
FitPlotData FailedPlotData(const LoadedData& data, const std::string& model_text, const std::string& model_label,
                           const FailureSummary& failure, int points) {
  FitPlotData plot;
  plot.x = data.x->ExportToArray();
  plot.y = data.y->ExportToArray();
  plot.x_label = data.x->Name();
  plot.y_label = data.y->Name();
  plot.title = model_label;
  plot.subtitle = "the fit failed: " + failure.reason;
  plot.curve_label = "last parameters of the failed fit";
  plot.failed = true;
  if (plot.x.empty()) return plot;
  const auto [lo, hi] = std::minmax_element(plot.x.begin(), plot.x.end());
  // One evaluation of the last curve for the plotted points and the observations.
  std::vector<double> xs = EvenlySpaced(*lo, *hi, points);
  const std::size_t grid = xs.size();
  xs.insert(xs.end(), plot.x.begin(), plot.x.end());
  const auto ys = LastCurve(model_text, failure, xs);
  plot.curve.emplace_back();
  for (std::size_t i = 0; i < grid; ++i) {
    if (ys[i]) {
      plot.curve.back().emplace_back(xs[i], *ys[i]);
    } else if (!plot.curve.back().empty()) {
      plot.curve.emplace_back();
    }
  }
  if (plot.curve.back().empty()) plot.curve.pop_back();
  for (std::size_t i = 0; i < plot.x.size(); ++i) {
    const auto& f = ys[grid + i];
    plot.residuals.push_back(f ? plot.y[i] - *f : NAN);
  }
  return plot;
}

// The arguments of `tessarix rank` on the columns of this fit.
std::string RankArguments(const DataOptions& data) {
  std::string arguments = data.path;
  if (!data.x_column.empty()) arguments += " --x " + data.x_column;
  if (!data.y_column.empty()) arguments += " --y " + data.y_column;
  if (!data.sd_column.empty()) arguments += " --sd " + data.sd_column;
  return arguments;
}

template <class Regression>
[[noreturn]] void ReportFailure(Regression& regression, const FitOptions& options, const LoadedData& data,
                                const ReportHeading& heading, const IterationTrace& trace, std::ostream& out) {
  std::vector<std::string> estimated;
  for (const auto& [name, value] : options.model.estimates) estimated.push_back(name);
  const FailureSummary failure = SummariseFailure(regression, trace, estimated, data.rows, RankArguments(options.data));
  if (options.json) {
    out << FailedFitJson(failure, heading, options.level);
  } else {
    out << FailureReport(failure, heading);
  }
  if (!options.plot_path.empty()) {
    if constexpr (std::is_same_v<Regression, NonlinearRegression>) {
      WriteFitPlot(options.plot_path, FailedPlotData(data, regression.ModelDefinition().Y(), heading.model_label,
                                                     failure, options.plot_points));
      if (!options.json)
        out << "\nPlot of the data and the last curve written to " << CleanText(options.plot_path) << '\n';
    } else if (!options.json) {
      out << "\nNo plot: a failed fit of several variables has no surface to show\n";
    }
  }
  throw ToolError("the fit failed: " + failure.reason);
}

// Everything after the model is set up: the fit, the log, the report and the
// files. `plot_data` makes the plot of a solved fit.
template <class Regression, class Plot>
int FitAndReport(Regression& regression, const FitOptions& options, const LoadedData& data, std::ostream& out,
                 Plot&& plot_data) {
  IterationTrace trace;
  regression.Events.IterationComplete = [&trace](std::int32_t iteration, double sse, bool&) {
    trace.Record(iteration, sse);
  };
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
  ReportHeading heading;
  heading.data = options.data;
  for (const auto& x : data.xs) heading.x_names.push_back(x->Name());
  heading.y_name = data.y->Name();
  heading.sd_name = data.sd ? data.sd->Name() : "";
  heading.model_label = ModelLabel(regression, options.model);
  heading.skipped = data.skipped;
  if (!regression.IsSolved()) ReportFailure(regression, options, data, heading, trace, out);

  const DataBands bands = BandsAtData(regression, options.level);
  if (options.json) {
    out << SolvedFitJson(regression, heading, bands, options.level);
  } else {
    out << FitReport(regression, heading, options.level);
  }
  // The notes on written files follow the report after one empty line; the
  // JSON document stands alone.
  std::ostringstream quiet;
  std::ostream& notes = options.json ? quiet : out;
  const char* gap = "\n";
  if (!options.table_path.empty()) {
    WriteResultTable(options.table_path, *regression.ResultTables(), BandColumns(regression, bands, options.level));
    notes << std::exchange(gap, "") << "Table written to " << CleanText(options.table_path) << '\n';
  }
  if (!options.plot_path.empty()) {
    WriteFitPlot(options.plot_path, plot_data(heading.model_label));
    notes << std::exchange(gap, "") << "Plot written to " << CleanText(options.plot_path) << '\n';
  }
  if (!options.tsf.path.empty()) notes << std::exchange(gap, "");
  SaveResultFile(regression, options.tsf, notes);
  return kExitOk;
}

}  // namespace

std::vector<double> EvenlySpaced(double x_low, double x_high, int points) {
  std::vector<double> xs(static_cast<std::size_t>(std::max(points, 0)));
  for (int i = 0; i < points; ++i) {
    xs[static_cast<std::size_t>(i)] = i == points - 1 ? x_high : x_low + (x_high - x_low) * i / std::max(points - 1, 1);
  }
  return xs;
}

std::vector<std::vector<std::pair<double, double>>> FittedCurve(NonlinearRegression& regression, double x_low,
                                                                double x_high, int points) {
  std::vector<std::vector<std::pair<double, double>>> runs;
  if (points < 2 || !(x_high > x_low)) return runs;
  const std::vector<double> xs = EvenlySpaced(x_low, x_high, points);
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
    SetUpModel(regression, options.model, data.xs.size());
    // The library would ignore columns beyond the model's variables; here a
    // column named and not used is a mistake in the command.
    const auto variables = static_cast<std::size_t>(regression.NumIndependentVariables());
    if (variables != data.xs.size()) {
      const std::string read = variables == 1 ? "x1" : "x1 .. x" + std::to_string(variables);
      throw ToolError("the model reads " + read + " but --x names " + std::to_string(data.xs.size()) +
                          " columns: give one column per variable",
                      kExitUsage);
    }
    return FitAndReport(regression, options, data, out,
                        [&](const std::string& label) { return SurfacePlotData(regression, label); });
  }
  NonlinearRegression regression;
  SetUpModel(regression, options.model);
  return FitAndReport(regression, options, data, out, [&](const std::string& label) {
    return PlotData(regression, label, options.plot_points, options.level);
  });
}

}  // namespace tessarix::tool
