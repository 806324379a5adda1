#include "model_setup.hpp"

#include <tessarix/core/error.hpp>
#include <tessarix/core/regression_parameters.hpp>
#include <tessarix/foundation/error_code.hpp>

#include "text_format.hpp"
#include "tool_error.hpp"

namespace tessarix::tool {

namespace {

std::string ParameterList(const RegressionObject& regression) {
  std::string names;
  for (const auto& parameter : *regression.RegressionParameters()) {
    if (!names.empty()) names += ", ";
    names += parameter->Name();
  }
  return names;
}

std::shared_ptr<RegressionParameter> Parameter(const RegressionObject& regression, const std::string& name,
                                               const char* option) {
  try {
    return regression.RegressionParameters()->Item(name);
  } catch (const Error&) {
    throw ToolError(std::string(option) + ": the model has no parameter '" + CleanText(name) +
                        "' (parameters: " + ParameterList(regression) + ")",
                    kExitUsage);
  }
}

}  // namespace

void SetUpModel(RegressionObject& regression, const ModelOptions& options, std::size_t x_columns) {
  try {
    if (options.id) {
      regression.DefineInternalModel(*options.id);
    } else {
      regression.DefineUserModel(options.text, tsxLocaleEnglish);
    }
  } catch (const Error& e) {
    // Each count of --x columns has a catalogue and a variable name of its own.
    const std::string columns = std::to_string(x_columns);
    if (options.id) {
      std::string hint;
      if (e.HelpContext() == static_cast<std::int32_t>(ErrorCode::InvalidPredefinedModelId)) {
        hint = x_columns == 1 ? " ('tessarix models' lists them)"
                              : " ('tessarix models --variables " + columns + "' lists the models for " + columns +
                                    " --x columns)";
      }
      throw ToolError("model " + std::to_string(*options.id) + ": " + e.Description() + hint);
    }
    std::string hint;
    if (e.HelpContext() == static_cast<std::int32_t>(ErrorCode::ModelNoIndependentVariables)) {
      hint = x_columns == 1 ? " (with one --x column the variable is x; x1, x2, ... need as many --x columns)"
                            : " (with " + columns + " --x columns the variables are x1 .. x" + columns + ")";
    }
    throw ToolError("the model '" + CleanText(options.text) + "' does not compile: " + e.Description() + hint);
  }
  for (const auto& [name, value] : options.estimates) {
    Parameter(regression, name, "--estimate")->SetInitialEstimate(value);
  }
  for (const auto& name : options.fixed) {
    Parameter(regression, name, "--fix")->SetInitialEstimateType(tsxEstimateConstant);
  }
  try {
    regression.SetSolverMethod(options.method);
    if (options.max_iterations) regression.SetMaxIterations(*options.max_iterations);
    if (options.tolerance) regression.SetRegressionTolerance(*options.tolerance);
  } catch (const Error& e) {
    throw ToolError("solver setting refused: " + e.Description(), kExitUsage);
  }
}

std::string ModelLabel(const RegressionObject& regression, const ModelOptions& options) {
  const auto definition = regression.ModelDefinition();
  std::string label = "y = ";
  label += CleanText(definition.Y());
  if (options.id) {
    label += "  (model ";
    label += std::to_string(*options.id);
    if (!definition.Description().empty()) {
      label += ", ";
      label += CleanText(definition.Description());
    }
    label += ')';
  }
  return label;
}

}  // namespace tessarix::tool
