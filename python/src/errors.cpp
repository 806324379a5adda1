#include "errors.hpp"

#include <array>
#include <cstdint>
#include <exception>
#include <tessarix/core/error.hpp>

namespace py = pybind11;

namespace tessarix::python {

namespace {

struct CodeName {
  ErrorCode code;
  const char* name;
};

// ORDER: the rows of foundation/error_code.hpp (checked below).
constexpr std::array<CodeName, 42> kCodeNames{{
    {ErrorCode::GeneralError, "GeneralError"},
    {ErrorCode::InvalidKeyOrIndex, "InvalidKeyOrIndex"},
    {ErrorCode::NameAlreadyInCollection, "NameAlreadyInCollection"},
    {ErrorCode::SubscriptOutOfRange, "SubscriptOutOfRange"},
    {ErrorCode::ArgumentExceedsArraySize, "ArgumentExceedsArraySize"},
    {ErrorCode::NoObservationsInArray, "NoObservationsInArray"},
    {ErrorCode::TooFewObservations, "TooFewObservations"},
    {ErrorCode::StatisticMathError, "StatisticMathError"},
    {ErrorCode::ObservationIndexOutOfBounds, "ObservationIndexOutOfBounds"},
    {ErrorCode::FileWriteError, "FileWriteError"},
    {ErrorCode::FileReadError, "FileReadError"},
    {ErrorCode::UnequalSeriesLengths, "UnequalSeriesLengths"},
    {ErrorCode::UnequalArrayDimensions, "UnequalArrayDimensions"},
    {ErrorCode::InvalidArrayDimensions, "InvalidArrayDimensions"},
    {ErrorCode::ModelSyntax, "ModelSyntax"},
    {ErrorCode::ModelCyclic, "ModelCyclic"},
    {ErrorCode::ModelUndefinedSubReference, "ModelUndefinedSubReference"},
    {ErrorCode::ModelMissingSub, "ModelMissingSub"},
    {ErrorCode::ModelNoIndependentVariables, "ModelNoIndependentVariables"},
    {ErrorCode::ModelIndependentVariableMissing, "ModelIndependentVariableMissing"},
    {ErrorCode::ModelNoParameters, "ModelNoParameters"},
    {ErrorCode::InvalidPredefinedModelId, "InvalidPredefinedModelId"},
    {ErrorCode::ModelNotDefined, "ModelNotDefined"},
    {ErrorCode::MissingSeriesX, "MissingSeriesX"},
    {ErrorCode::MissingIndependentSeries, "MissingIndependentSeries"},
    {ErrorCode::MissingSeriesY, "MissingSeriesY"},
    {ErrorCode::InvalidPropertyValue, "InvalidPropertyValue"},
    {ErrorCode::InvalidArgument, "InvalidArgument"},
    {ErrorCode::ModelNotSolved, "ModelNotSolved"},
    {ErrorCode::ModelEvaluationError, "ModelEvaluationError"},
    {ErrorCode::DerivativeError, "DerivativeError"},
    {ErrorCode::ReadOnlyObject, "ReadOnlyObject"},
    {ErrorCode::LockedDuringSolution, "LockedDuringSolution"},
    {ErrorCode::NotValidForExternalModels, "NotValidForExternalModels"},
    {ErrorCode::TypeMismatch, "TypeMismatch"},
    {ErrorCode::UnsupportedTessaraVersion, "UnsupportedTessaraVersion"},
    {ErrorCode::NoTemporaryFileName, "NoTemporaryFileName"},
    {ErrorCode::CannotCreateTemporaryFile, "CannotCreateTemporaryFile"},
    {ErrorCode::SplineXOutOfRange, "SplineXOutOfRange"},
    {ErrorCode::IntegralError, "IntegralError"},
    {ErrorCode::TooManyIndependentVariables, "TooManyIndependentVariables"},
    {ErrorCode::ExpectedVariantArray, "ExpectedVariantArray"},
}};

constexpr bool CatalogueInOrder() {
  for (std::size_t i = 0; i < kCodeNames.size(); ++i) {
    if (static_cast<std::int32_t>(kCodeNames[i].code) != 10001 + static_cast<std::int32_t>(i)) return false;
  }
  return static_cast<std::int32_t>(kCodeNames.back().code) ==
         static_cast<std::int32_t>(ErrorCode::ExpectedVariantArray);
}
static_assert(CatalogueInOrder(), "the names must follow the catalogue row for row");

constexpr const char* kErrorDoc =
    "An error of the Tessarix catalogue.\n\n"
    "Attributes:\n"
    "    number: the error number (0x80040201 ...)\n"
    "    help_context: the catalogue row, 10001 ...\n"
    "    code: the row's name, as in tessarix.ErrorCode (\"ModelNotSolved\")\n"
    "    description: the library's message\n"
    "    source: \"Tessarix\"\n";

// Owned by the module for the life of the interpreter.
PyObject* error_type = nullptr;

void RaiseInPython(const Error& e) {
  py::object type = py::reinterpret_borrow<py::object>(error_type);
  py::str description = Text(e.Description());
  py::object instance = type(description);
  instance.attr("number") = py::int_(e.Number());
  instance.attr("help_context") = py::int_(e.HelpContext());
  instance.attr("code") = py::str(std::string(ErrorCodeName(e.HelpContext())));
  instance.attr("description") = description;
  instance.attr("source") = Text(e.Source());
  PyErr_SetObject(error_type, instance.ptr());
}

}  // namespace

std::string_view ErrorCodeName(std::int32_t help_context) {
  const std::int64_t row = static_cast<std::int64_t>(help_context) - 10001;
  if (row < 0 || row >= static_cast<std::int64_t>(kCodeNames.size())) return {};
  return kCodeNames[static_cast<std::size_t>(row)].name;
}

py::str Text(const std::string& text) {
  PyObject* s = PyUnicode_DecodeUTF8(text.data(), static_cast<Py_ssize_t>(text.size()), "replace");
  if (s == nullptr) throw py::error_already_set();
  return py::reinterpret_steal<py::str>(s);
}

void RegisterErrors(py::module_& m) {
  error_type = PyErr_NewExceptionWithDoc("tessarix.Error", kErrorDoc, PyExc_Exception, nullptr);
  if (error_type == nullptr) throw py::error_already_set();
  m.add_object("Error", py::handle(error_type));

  py::enum_<ErrorCode> codes(m, "ErrorCode", "The rows of the error catalogue; each value is the help context.");
  for (const CodeName& row : kCodeNames) codes.value(row.name, row.code);

  // pybind11 hands the exception over by value.
  py::register_exception_translator([](std::exception_ptr p) {  // NOLINT(performance-unnecessary-value-param)
    try {
      if (p) std::rethrow_exception(p);
    } catch (const Error& e) {
      RaiseInPython(e);
    }
  });
}

}  // namespace tessarix::python
