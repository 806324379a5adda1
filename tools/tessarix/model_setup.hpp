// Defining the model of a fit from the command line's choices: a text of the
// model language or a catalogue number, starting values, fixed parameters and
// the solver's settings.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <tessarix/core/regression_object.hpp>
#include <utility>
#include <vector>

namespace tessarix::tool {

struct ModelOptions {
  std::string text;                                       // the model language; used when id is empty
  std::optional<std::int32_t> id;                         // a catalogue model
  std::vector<std::pair<std::string, double>> estimates;  // NAME=VALUE
  std::vector<std::string> fixed;                         // parameters held at their estimate
  std::optional<std::int32_t> max_iterations;
  std::optional<double> tolerance;  // percent
  // The tool fits with the trust-region method unless told otherwise.
  SolverMethodEnum method = tsxSolverTrustRegion;
};

// Defines the model on `regression` (fitted on `x_columns` --x columns) and
// applies estimates and settings. Throws ToolError with the library's
// message, and a hint on the variables of the command, when the model does
// not compile, and for a parameter name the model does not have.
void SetUpModel(RegressionObject& regression, const ModelOptions& options, std::size_t x_columns = 1);

// The model as a reader knows it: "y = a*exp(b*x)", or for a catalogue model
// "y = a*exp(b*x)  (model 36, Exponential)".
std::string ModelLabel(const RegressionObject& regression, const ModelOptions& options);

}  // namespace tessarix::tool
