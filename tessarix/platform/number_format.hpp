// The format engine behind NumberDisplayFormat: a Double and a format string
// in, text out, as the platform's numeric format strings define it.
//
//   ""  "General"        the general text form of a Double (NumberText)
//   "General Number"     the same
//   "Currency"           the locale's currency form, e.g. "$1,234.50" / "($1,234.50)"
//   "Fixed"              "0.00"
//   "Standard"           "#,##0.00"
//   "Percent"            "0.00%"
//   "Scientific"         "0.00E+00"
//   "Yes/No", "True/False", "On/Off"   the first word for any non-zero value
// Named formats compare without regard to case. Any other string is a
// custom format of up to three sections "positive;negative;zero" (a single
// section serves all values and negative ones get a leading "-"; an empty
// section borrows the first one). Within a section:
//   0        a digit, or 0 where the number has none
//   #        a digit, or nothing where the number has none
//   .        the decimal point (the locale's decimal separator)
//   ,        thousands grouping when it stands between digit placeholders;
//            commas right before the decimal point (or at the end of the
//            integer part) each divide the value by 1000
//   %        multiplies the value by 100 and shows "%"
//   E+ E- e+ e-   scientific form; the placeholders after it give the
//            exponent digits, "+" shows the sign always, "-" only when negative
//   "text", \c    literal text; any other character also stands for itself
// Values are rounded half away from zero on their 15-significant-digit
// decimal form, so 1.005 with "0.00" gives "1.01" as a user reading the
// number expects. Output uses the locale's decimal and thousands separators.
// A NaN or an infinity, which no result of the library holds, gives the
// general text form ("NaN", "Infinity", "-Infinity") whatever the format.
#pragma once

#include <string>
#include <string_view>

namespace tessarix::detail {

// True for "" and "General" in any case: the text form needs no engine.
bool IsGeneralFormat(std::string_view format);

// With the separators of CurrentSeparators().
std::string FormatNumber(double value, std::string_view format);

// With explicit separators (tests, hosts' fixed layouts).
std::string FormatNumber(double value, std::string_view format, std::string_view decimal_separator,
                         std::string_view thousand_separator);

}  // namespace tessarix::detail
