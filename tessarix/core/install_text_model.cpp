#include "tessarix/core/internal/install_text_model.hpp"

#include <string>
#include <vector>

#include "tessarix/core/internal/nonlinear_regression_impl.hpp"
#include "tessarix/core/internal/parameter_access.hpp"
#include "tessarix/foundation/error_catalogue.hpp"
#include "tessarix/foundation/error_handler.hpp"
#include "tessarix/platform/rounding.hpp"
#include "tessarix/platform/separators.hpp"

namespace tessarix::detail {

void InstallTextModel(NonlinearRegressionImpl& r, const tessarix::ModelDefinition& definition, InputLocaleEnum locale) {
  r.model.definition_failed = true;
  RunUnderHandler(
      [&] {
        const SystemSeparators& separators = CurrentSeparators();
        const std::vector<std::string> names =
            r.model.text.Define(definition, locale, separators, r.model.definition_english, r.model.definition_local);
        const std::int16_t count = ToCounter16(static_cast<std::int64_t>(names.size()));
        // Allocated for every kind of model, so that numerical differentiation
        // (the post-fit queries) finds it whatever the kind.
        r.model.derivative_table.Resize(kDerivativeTableSize, kDerivativeTableSize);
        r.core.parameter_values = MakeVector1(count);
        for (const std::string& name : names) ParameterAccess::AddParameter(r.core.Parameters(), name);
        r.core.parameter_count = count;
        r.core.valid = true;
        r.model.definition_failed = false;
      },
      // A fault (not a definition error) leaves no model behind either.
      [&](const std::string& description) {
        r.core.valid = false;
        r.core.parameter_count = 0;
        ParameterAccess::RemoveAllParameters(r.core.Parameters());
        r.core.last_error = std::string(kGeneralErrorPrefix) + description;
      },
      LibraryErrors::PassThrough);
}

}  // namespace tessarix::detail
