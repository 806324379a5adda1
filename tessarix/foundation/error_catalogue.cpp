#include "tessarix/foundation/error_catalogue.hpp"

#include <utility>

namespace tessarix::detail {

const std::array<CatalogueEntry, 42> kErrorCatalogue = {{
    {10001, 0x80040201u, "General Error: "},
    {10002, 0x80040202u, "Invalid key or index"},
    {10003, 0x80040203u, "The specified Name is already associated with an object in the DataCollection"},
    {10004, 0x80040204u, "Subscript out of range"},
    {10005, 0x80040205u, "Argument for rows or columns exceeds array size"},
    {10006, 0x80040206u, "Array does not contain any observations"},
    {10007, 0x80040207u, "Cannot calculate statistic, series has too few observations"},
    {10008, 0x80040208u, "Mathematical error occurred calculating requested statistic"},
    {10009, 0x80040209u, "Observation index out of bounds"},
    {10010, 0x8004020Au, "Error writing to file"},
    {10011, 0x8004020Bu, "Error reading from file"},
    {10012, 0x8004020Cu,
     "The number of observations for included DataSeries objects must be equal to perform the requested operation"},
    {10013, 0x8004020Du, "The array dimensions must be equal to perform the requested operation"},
    {10014, 0x8004020Eu, "Invalid array dimensions"},
    {10015, 0x8004020Fu, "Model definition error, invalid model syntax"},
    {10016, 0x80040210u, "Model definition error, cyclic expression in model was detected"},
    {10017, 0x80040211u, "Model definition error, a reference was made to a model sub-definition that was not defined"},
    {10018, 0x80040212u, "Model definition error, missing sub-definition"},
    {10019, 0x80040213u, "Model definition error, no independent variables detected in model"},
    {10020, 0x80040214u, "Model definition error, at least one independent variable missing"},
    {10021, 0x80040215u, "Model definition error, no fitting parameters detected in model"},
    {10022, 0x80040216u, "Invalid ID for pre-defined model"},
    {10023, 0x80040217u, "The model has not yet been defined, or the current definition is invalid"},
    {10024, 0x80040218u, "Missing independent data series X"},
    {10025, 0x80040219u, "Missing independent data series"},
    {10026, 0x8004021Au, "Missing dependent data series Y"},
    {10027, 0x8004021Bu, "Invalid property value"},
    {10028, 0x8004021Cu, "Invalid argument"},
    {10029, 0x8004021Du, "The model is not solved, the requested property is not available"},
    {10030, 0x8004021Eu, "Error evaluating the model"},
    {10031, 0x8004021Fu, "Error calculating the derivative"},
    {10032, 0x80040220u, "The referenced object is read only"},
    {10033, 0x80040221u, "Requested method or property is locked and cannot be accessed during solution"},
    {10034, 0x80040222u, "Requested method or property is not valid for external models"},
    {10035, 0x80040223u, "Type mismatch"},
    {10036, 0x80040224u, "Version of Tessara specified in SaveTSF method is not supported"},
    {10037, 0x80040225u, "Could not obtain temporary file name/path from the system"},
    {10038, 0x80040226u, "Could not create temporary file"},
    {10039, 0x80040227u, "X value is out of range of fitted spline"},
    {10040, 0x80040228u, "Error calculating the integral"},
    {10041, 0x80040229u, "The model you are exporting to Tessara has more than 20 independent variables"},
    {10042, 0x8004022Au, "Expected variant array"},
}};

namespace {
// The catalogue is indexed by help context; a row out of step is a build error.
constexpr bool CatalogueInStep() {
  return static_cast<std::int32_t>(ErrorCode::ExpectedVariantArray) - kFirstHelpContext + 1 == 42 &&
         static_cast<std::int32_t>(ErrorCode::GeneralError) == kFirstHelpContext;
}
static_assert(CatalogueInStep());
}  // namespace

const CatalogueEntry& CatalogueEntryFor(ErrorCode id) {
  return kErrorCatalogue[static_cast<std::size_t>(static_cast<std::int32_t>(id) - kFirstHelpContext)];
}

std::string ErrorMessage(ErrorCode id) { return std::string(CatalogueEntryFor(id).description); }

Error ErrorFactory::Make(ErrorCode id, std::string description) {
  const CatalogueEntry& entry = CatalogueEntryFor(id);
  return Error(entry.number, entry.help_context, std::move(description));
}

void RaiseLibraryError(ErrorCode id) { throw ErrorFactory::Make(id, ErrorMessage(id)); }

void RaiseGeneralError(std::string_view description) {
  std::string text(kGeneralErrorPrefix);
  text += description;
  throw ErrorFactory::Make(ErrorCode::GeneralError, std::move(text));
}

}  // namespace tessarix::detail
