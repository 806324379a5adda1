// The text report of a solved fit, laid out to be read at a glance: data and
// model, how the solution ended, the parameter table, the statistics and a
// summary of the residuals.
#pragma once

#include <string>
#include <tessarix/core/regression_object.hpp>
#include <vector>

namespace tessarix::tool {

struct ReportHeading {
  std::string data_path;
  std::vector<std::string> x_names;  // one per independent variable
  std::string y_name, sd_name;       // sd_name empty: unweighted
  std::string model_label;
};

// The report of `regression`, which must be solved.
std::string FitReport(const RegressionObject& regression, const ReportHeading& heading);

// The lines of the solution log that tell how the iterations ended, joined by
// "; " (empty if the log has none).
std::string EndingLines(const std::string& solution_log);

}  // namespace tessarix::tool
