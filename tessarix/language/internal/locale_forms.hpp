// Model text between its English form ("." decimal, "," between arguments) and
// the user's local form, which is what the compiler reads.
#pragma once

#include <string>

#include "tessarix/platform/separators.hpp"

namespace tessarix::detail {

// "." becomes the decimal separator, "," the list separator, and a character
// equal to the thousands separator is dropped, tested in that order (so a ","
// is a list separator even where "," separates thousands). An empty text, or
// a locale that is English in all three, returns the text as it stands.
[[nodiscard]] std::string ToLocalForm(const std::string& text, const SystemSeparators& separators);

// The reverse: the decimal separator becomes ".", the list separator ",", the
// thousands separator is dropped, in that order of tests. Thousands
// separators never survive a round trip; nothing else is lost where the
// decimal and thousands separators differ from the list separator.
[[nodiscard]] std::string ToEnglishForm(const std::string& text, const SystemSeparators& separators);

}  // namespace tessarix::detail
