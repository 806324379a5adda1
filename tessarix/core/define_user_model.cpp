// DefineUserModel and DefineUserModelSub of NonlinearRegression: the public
// door of the model language. The compiled program, its scratch and the
// sub-definition marks live in the object's model state and outlive every
// redefinition on the object (the compiler's own rules); the reset of the
// object clears only the language's flags.
#include <string>

#include "tessarix/core/internal/install_text_model.hpp"
#include "tessarix/core/internal/nonlinear_regression_impl.hpp"
#include "tessarix/core/nonlinear_regression.hpp"

namespace tessarix {

void NonlinearRegression::DefineUserModel(const std::string& Definition, InputLocaleEnum Locale,
                                          const std::string& Description) {
  impl_->GuardLocked();
  tessarix::ModelDefinition definition;
  definition.SetY(Definition);
  definition.SetDescription(Description);
  DefineUserModelSub(definition, Locale);
}

void NonlinearRegression::DefineUserModelSub(const tessarix::ModelDefinition& Definition, InputLocaleEnum Locale) {
  detail::NonlinearRegressionImpl& r = *impl_;
  r.BeginDefinition();
  r.model.text.ResetFlags();
  r.model.type = tsxModelUser;
  r.model.model_file_label = "User Model: " + Definition.Y();
  r.model.model_text.clear();
  for (int k = 0; k <= 9; ++k) {
    r.model.model_text.push_back(detail::ModelDefinitionAccess::Formula(Definition, k));
  }
  detail::InstallTextModel(r, Definition, Locale);
}

}  // namespace tessarix
