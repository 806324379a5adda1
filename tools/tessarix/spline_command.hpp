// `tessarix spline`: a natural cubic spline through the points of a data file,
// with a summary of its knots, values and derivatives at requested x, and the
// optional table, plot and result files.
#pragma once

#include <ostream>
#include <string>
#include <tessarix/spline/cubic_spline.hpp>
#include <vector>

#include "data_input.hpp"
#include "result_file.hpp"

namespace tessarix::tool {

struct SplineOptions {
  DataOptions data;        // the sd column is not used
  std::vector<double> at;  // --at: x values to report
  std::string table_path;  // --table
  std::string plot_path;   // --plot
  ResultFileOptions tsf;   // --tsf, --tsf-version
  int plot_points = 500;   // points of the spline in the plot
};

// The whole subcommand; returns the exit status, throws ToolError.
int RunSpline(const SplineOptions& options, std::ostream& out);

// The report of a solved spline: data, knots, and y, dy/dx and d2y/dx2 at
// each x of `at` (which must lie within the knots).
std::string SplineReport(CubicSpline& spline, const std::string& data_path, const std::string& x_name,
                         const std::string& y_name, const std::vector<double>& at);

}  // namespace tessarix::tool
