#include "model_setup.hpp"

#include <tessarix/core/error.hpp>
#include <tessarix/core/regression_parameters.hpp>

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

void SetUpModel(RegressionObject& regression, const ModelOptions& options) {
  try {
    if (options.id) {
      regression.DefineInternalModel(*options.id);
    } else {
      regression.DefineUserModel(options.text, tsxLocaleEnglish);
    }
  } catch (const Error& e) {
    if (options.id) {
      throw ToolError("model " + std::to_string(*options.id) + ": " + e.Description());
    }
    throw ToolError("the model '" + CleanText(options.text) + "' does not compile: " + e.Description());
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
