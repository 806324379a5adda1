// Text forms of numbers.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace tessarix::detail {

// The general text form of a Double: the shortest text that holds the value
// rounded to 15 significant digits; scientific when the decimal exponent is
// below -4 or at least 15, written mantissa "E" sign exponent without leading
// zeros ("1E-10", "1.5E+20"). Zero (also -0) is "0". `decimal_separator`
// replaces the point. A NaN is "NaN", the infinities "Infinity" and
// "-Infinity".
std::string FormatDouble(double value, std::string_view decimal_separator);

// The log's form: FormatDouble with the locale's decimal separator.
std::string NumberText(double value);

// The list writer's form: FormatDouble with "." whatever the locale.
std::string ListNumberText(double value);

// Integers as plain digits with no leading blank.
std::string IntegerText(std::int64_t value);

}  // namespace tessarix::detail
