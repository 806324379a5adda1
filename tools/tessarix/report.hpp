// The text report of a fit: the tool's heading (data file, columns, rows that
// could not be read) above the library's own report of the solved fit.
#pragma once

#include <string>
#include <tessarix/core/regression_object.hpp>
#include <vector>

#include "data_input.hpp"

namespace tessarix::tool {

struct ReportHeading {
  DataOptions data;                  // the file and how it was read
  std::vector<std::string> x_names;  // one per independent variable
  std::string y_name, sd_name;       // sd_name empty: unweighted
  std::string model_label;           // "y = a*exp(b*x)", for plots and failures
  RowCheck skipped;                  // the rows the import left out
};

// The title line and the heading: the data file, its columns and weighting
// (`weighted`: whether the fit used the deviations), the rows left out.
std::string HeadingText(const ReportHeading& heading, bool weighted);

// The whole report of `regression`, which must be solved, with the
// parameters' confidence intervals at `level` percent.
std::string FitReport(const RegressionObject& regression, const ReportHeading& heading, double level);

// The lines of the solution log that tell how the iterations ended, joined by
// "; " (empty if the log has none).
std::string EndingLines(const std::string& solution_log);

// The name of the iteration `regression` ran, as the library's report gives it
// ("trust-region Levenberg-Marquardt" or "Marquardt").
std::string MethodName(const RegressionObject& regression);

// `text` with every line made printable (CleanText), line ends kept.
std::string PrintableLines(const std::string& text);

}  // namespace tessarix::tool
