// DefineInternalModel of NonlinearRegression: a model of the catalogue chosen
// by number. The catalogue's text is compiled exactly like a user model, which
// names the parameters (a, b, c, ... in order) and leaves the definition
// readable through ModelDefinition; the fit itself runs the hand-written
// formula selected by the evaluation code.
#include <string>

#include "tessarix/core/internal/install_text_model.hpp"
#include "tessarix/core/internal/nonlinear_regression_impl.hpp"
#include "tessarix/core/nonlinear_regression.hpp"
#include "tessarix/foundation/error_catalogue.hpp"
#include "tessarix/models/model_catalogue.hpp"

namespace tessarix {
namespace {

// The catalogue entry of an ID, with the three members set from it. Outside
// 1..298: no entry, code and term count 0, the label left as it stood.
const detail::InternalModelEntry* LookupInternalModel(detail::ModelState& model, std::int32_t model_id) {
  const detail::InternalModelEntry* entry = detail::FindInternalModel(model_id);
  if (entry == nullptr) {
    model.evaluation_code = 0;
    model.estimate_term_count = 0;
    return nullptr;
  }
  model.evaluation_code = entry->evaluation_code;
  model.estimate_term_count = entry->estimate_term_count;
  model.model_file_label = std::string(entry->file_label);
  return entry;
}

}  // namespace

void NonlinearRegression::DefineInternalModel(std::int32_t ModelID) {
  detail::NonlinearRegressionImpl& r = *impl_;
  // The reset comes before the ID is looked at: an invalid ID leaves no model
  // at all, the earlier one gone.
  r.BeginDefinition();
  r.model.text.ResetFlags();
  const detail::InternalModelEntry* entry = LookupInternalModel(r.model, ModelID);
  if (entry == nullptr) detail::RaiseLibraryError(ErrorCode::InvalidPredefinedModelId);

  tessarix::ModelDefinition definition;
  definition.SetY(std::string(entry->definition));
  definition.SetDescription(std::string(entry->description));
  r.model.model_text.assign(1, definition.Y());
  r.model.type = tsxModelInternal;
  // The catalogue's texts are English; the stored local form follows the
  // user's separators ("x^1.5" reads "x^1,5" where the comma is decimal).
  detail::InstallTextModel(r, definition, tsxLocaleEnglish);
}

}  // namespace tessarix
