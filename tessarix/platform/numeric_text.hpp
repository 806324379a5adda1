// The numeric test on text: does a field read as a number in the user's locale?
#pragma once

#include <string_view>

namespace tessarix::detail {

enum class NumberParse { Ok, NotANumber, OutOfRange };

// Accepts, with blanks around it: an optional sign, an optional leading
// currency sign, digits with thousands separators in the integer part, the
// decimal separator and fraction digits, an exponent "E"/"e" with optional
// sign, and a negative written in brackets "(1.5)". Separators are those of
// CurrentSeparators() unless given. A value too large for a Double is
// OutOfRange; one too small becomes 0 or a denormal.
NumberParse ParseLocaleNumber(std::string_view text, double& value);
NumberParse ParseLocaleNumber(std::string_view text, double& value, std::string_view decimal_separator,
                              std::string_view thousand_separator);

// True when ParseLocaleNumber would give Ok.
bool IsLocaleNumber(std::string_view text);

}  // namespace tessarix::detail
