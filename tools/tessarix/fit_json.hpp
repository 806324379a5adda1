// `tessarix fit --json`: the whole report as one JSON document for
// pipelines: the data and the rows left out, the model, the convergence, the
// parameters, the statistics and criteria, the correlations and every
// observation with its bands; or, for a failed fit, how far it got.
#pragma once

#include <string>
#include <tessarix/core/regression_object.hpp>
#include <vector>

#include "fit_failure.hpp"
#include "report.hpp"

namespace tessarix::tool {

// Half-widths of the bands at each observation (NaN where there is none).
struct DataBands {
  std::vector<double> confidence, prediction;
};

// The document of a solved fit.
std::string SolvedFitJson(const RegressionObject& regression, const ReportHeading& heading, const DataBands& bands,
                          double level);

// The document of a failed fit.
std::string FailedFitJson(const FailureSummary& failure, const ReportHeading& heading, double level);

}  // namespace tessarix::tool
