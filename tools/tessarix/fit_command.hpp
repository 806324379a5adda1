// `tessarix fit`: one model fitted to one data file, with the report on
// standard output and the optional log, table, plot and result files.
#pragma once

#include <ostream>
#include <string>
#include <tessarix/core/nonlinear_regression.hpp>
#include <utility>
#include <vector>

#include "data_input.hpp"
#include "model_setup.hpp"
#include "result_file.hpp"

namespace tessarix::tool {

struct FitOptions {
  DataOptions data;
  ModelOptions model;
  std::string log_path;    // --log
  std::string table_path;  // --table
  std::string plot_path;   // --plot
  ResultFileOptions tsf;   // --tsf, --tsf-version
  int plot_points = 500;   // points of the fitted curve in the plot
};

// The whole subcommand; returns the exit status, throws ToolError.
int RunFit(const FitOptions& options, std::ostream& out);

// The fitted curve of a solved regression at `points` evenly spaced x from
// `x_low` to `x_high`, as runs of points between places where the model
// cannot be evaluated.
std::vector<std::vector<std::pair<double, double>>> FittedCurve(NonlinearRegression& regression, double x_low,
                                                                double x_high, int points);

}  // namespace tessarix::tool
