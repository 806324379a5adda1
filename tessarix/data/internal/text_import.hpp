// The shared parts of text import: the settings every import member works
// with, the field tests, the normalised copy of line-feed files and the
// error mapping of the front end and of the reading loops.
#pragma once

#include <string>
#include <string_view>

#include "tessarix/foundation/enums.hpp"
#include "tessarix/foundation/error.hpp"
#include "tessarix/foundation/error_catalogue.hpp"
#include "tessarix/foundation/fault.hpp"
#include "tessarix/platform/variant.hpp"

namespace tessarix::detail {

// The delimiter of a DelimiterTypeEnum value; 10028 for any other value.
char DelimiterCharacter(DelimiterTypeEnum delimiter);

// Separators and qualifier of one import, the empty arguments replaced by the
// system's separators and an Empty qualifier by "".
struct ImportSettings {
  ImportSettings(const std::string& decimal_separator, const std::string& date_separator,
                 const Variant& missing_qualifier);

  std::string decimal;         // of the file
  std::string date;            // of the file
  std::string system_decimal;  // of the system, what the tests read
  std::string system_date;
  Variant qualifier;           // as given (Empty when missing)
  std::string qualifier_text;  // "" means no qualifier

  bool HasQualifier() const { return !qualifier_text.empty(); }
  // Field equals the qualifier, compared as Variants: text exactly, or by
  // value when the qualifier is a number ("-999.0" equals -999).
  bool IsQualifier(std::string_view field) const;
};

// Every occurrence of `from` in `text` replaced by `to`.
void ReplaceAll(std::string& text, std::string_view from, std::string_view to);

// The value of a field (or of a whole line), changed in place by the
// separator replacements: the file's decimal separator becomes the system's
// and the numeric test reads it; a field that is empty, no number, or equal
// to the qualifier goes to the date test instead, after the file's date
// separator became the system's, and gives its date serial number. False
// when the field is neither a number nor a date.
bool ReadValue(std::string& field, const ImportSettings& settings, double& value);

// The file the reader works on: `path` itself, or, when its first logical
// line holds bare line feeds, a normalised copy in a new "tsx" temporary
// file (10037 when no name is had from the system, 10038 "Could not create
// temporary file '<path>'" when it cannot be written). `temp_path` receives
// the copy's path ("" when none was made).
std::string PrepareFile(const std::string& path, std::string& temp_path);

// Deletes a temporary copy after a good read.
void RemoveTemporary(const std::string& temp_path) noexcept;

// The handler of the reading loops: "Type mismatch" becomes 10035, any other
// failure 10011 "Error reading from file".
template <class Body>
void RunReadingLoop(Body&& body) {
  try {
    body();
  } catch (const RuntimeFault& fault) {
    RaiseLibraryError(fault.Kind() == FaultKind::TypeMismatch ? ErrorCode::TypeMismatch : ErrorCode::FileReadError);
  } catch (...) {
    RaiseLibraryError(ErrorCode::FileReadError);
  }
}

// The handler of the front end: the library's own errors pass unchanged, a
// "Subscript out of range" fault becomes `subscript_error`, anything else
// 10011 "Error reading from file".
template <class Body>
void RunImportFrontEnd(ErrorCode subscript_error, Body&& body) {
  try {
    body();
  } catch (const Error&) {
    throw;
  } catch (const RuntimeFault& fault) {
    RaiseLibraryError(fault.Kind() == FaultKind::SubscriptOutOfRange ? subscript_error : ErrorCode::FileReadError);
  } catch (...) {
    RaiseLibraryError(ErrorCode::FileReadError);
  }
}

}  // namespace tessarix::detail
