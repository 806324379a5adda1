// DefineUserModel and DefineUserModelSub of NonlinearRegression: the public
// door of the model language. The compiled program, its scratch and the
// sub-definition marks live in the object's model state and outlive every
// redefinition on the object (the compiler's own rules); the reset of the
// object clears only the language's flags.
#include <string>
#include <vector>

#include "tessarix/core/error_catalogue.hpp"
#include "tessarix/core/error_handler.hpp"
#include "tessarix/core/internal/nonlinear_regression_impl.hpp"
#include "tessarix/core/internal/parameter_access.hpp"
#include "tessarix/core/nonlinear_regression.hpp"
#include "tessarix/language/internal/evaluator.hpp"
#include "tessarix/language/internal/user_model.hpp"
#include "tessarix/platform/rounding.hpp"
#include "tessarix/platform/separators.hpp"

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
  detail::ResetLanguageFlags(r.model.program);
  r.model.type = tsxModelUser;
  r.model.model_file_label = "User Model: " + Definition.Y();
  r.model.model_text.clear();
  for (int k = 0; k <= 9; ++k) {
    r.model.model_text.push_back(detail::ModelDefinitionAccess::Formula(Definition, k));
  }
  r.model.definition_failed = true;
  detail::RunUnderHandler(
      [&] {
        const SystemSeparators& separators = CurrentSeparators();
        detail::PrepareDefinition(r.model.program, Definition, Locale, separators, r.model.definition_english,
                                  r.model.definition_local);
        const std::vector<std::string> names = detail::CompileUserModel(r.model.program, separators);
        const std::int16_t count = detail::ToCounter16(static_cast<std::int64_t>(names.size()));
        detail::PrepareScratch(r.model.program, r.model.scratch);
        r.model.derivative_table.Resize(detail::kDerivativeTableSize, detail::kDerivativeTableSize);
        r.core.parameter_values = detail::MakeVector1(count);
        for (const std::string& name : names) detail::ParameterAccess::AddParameter(r.core.Parameters(), name);
        r.core.parameter_count = count;
        r.core.valid = true;
        r.model.definition_failed = false;
      },
      // A fault (not a definition error) leaves no model behind either.
      [&](const std::string& description) {
        r.core.valid = false;
        r.core.parameter_count = 0;
        detail::ParameterAccess::RemoveAllParameters(r.core.Parameters());
        r.core.last_error = std::string(detail::kGeneralErrorPrefix) + description;
      },
      detail::LibraryErrors::PassThrough);
}

}  // namespace tessarix
