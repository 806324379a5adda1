// The user's locale separators, read once and shared by the model language,
// the number text of logs and formatted output, and text import.
#pragma once

#include <string>

#include "tessarix/foundation/export.hpp"

namespace tessarix {

// Five one-character strings. Where the locale's character is multi-byte (a
// non-breaking space as thousands separator), the whole UTF-8 sequence is kept.
struct SystemSeparators {
  std::string SystemDecimalSeparator;
  std::string SystemListSeparator;
  std::string SystemThousandSeparator;
  std::string SystemDateSeparator;
  std::string SystemTimeSeparator;
};

// The separators in force. The first call loads them from the user's default
// locale (LoadLocaleSeparators) unless a host has set them already.
TESSARIX_API const SystemSeparators& CurrentSeparators();

// Reads the separators of the user's default locale (LANG / LC_* of the
// environment) without touching the process locale: decimal and thousands
// separators from the numeric category, the date separator from the short
// date format, the time separator from the time format; the list separator is
// ";" where the decimal separator is "," and "," otherwise. Only the first
// character is kept and blanks are trimmed; a value that cannot be read is
// replaced by the English one (".", ",", ",", "/", ":").
TESSARIX_API void LoadLocaleSeparators();

// A host (or a test) may set the separators explicitly; the automatic load
// never overwrites them afterwards.
TESSARIX_API void SetSystemSeparators(const SystemSeparators& separators);

namespace detail {
// The separators of a named POSIX locale ("" for the user's default), with the
// rules of LoadLocaleSeparators. False (and English values) when the locale
// does not exist on this system.
TESSARIX_API bool ReadLocaleSeparators(const char* locale_name, SystemSeparators& separators);
}  // namespace detail

}  // namespace tessarix
