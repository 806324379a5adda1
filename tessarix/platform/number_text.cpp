#include "tessarix/platform/number_text.hpp"

#include <charconv>
#include <cmath>
#include <cstdlib>
#include <system_error>

#include "tessarix/platform/separators.hpp"

namespace tessarix::detail {

std::string FormatDouble(double value, std::string_view decimal_separator) {
  if (value == 0.0) return "0";
  // No value of the library is ever non-finite, but the text form is a
  // service of its own and must not read past the digits it did not get.
  if (std::isnan(value)) return "NaN";
  if (std::isinf(value)) return value < 0.0 ? "-Infinity" : "Infinity";
  // 15 significant digits, exactly rounded, independent of the C locale.
  char buf[48];
  const auto res = std::to_chars(buf, buf + sizeof buf, value, std::chars_format::scientific, 14);
  if (res.ec != std::errc()) return "0";
  const std::string_view sci(buf, static_cast<std::size_t>(res.ptr - buf));
  const std::size_t epos = sci.find('e');
  const bool negative = sci.front() == '-';
  std::string digits;  // the 15 significant digits, trailing zeros removed
  for (std::size_t i = negative ? 1 : 0; i < epos; ++i) {
    if (sci[i] != '.') digits += sci[i];
  }
  while (digits.size() > 1 && digits.back() == '0') digits.pop_back();
  int exponent = 0;
  std::from_chars(sci.data() + epos + (sci[epos + 1] == '+' ? 2 : 1), sci.data() + sci.size(), exponent);

  std::string out;
  if (negative) out += '-';
  if (exponent < -4 || exponent >= 15) {
    out += digits[0];
    if (digits.size() > 1) {
      out += decimal_separator;
      out.append(digits, 1);
    }
    out += 'E';
    out += exponent < 0 ? '-' : '+';
    out += std::to_string(std::abs(exponent));
  } else if (exponent < 0) {
    out += '0';
    out += decimal_separator;
    out.append(static_cast<std::size_t>(-exponent - 1), '0');
    out += digits;
  } else {
    const auto int_digits = static_cast<std::size_t>(exponent + 1);
    if (digits.size() <= int_digits) {
      out += digits;
      out.append(int_digits - digits.size(), '0');
    } else {
      out.append(digits, 0, int_digits);
      out += decimal_separator;
      out.append(digits, int_digits);
    }
  }
  return out;
}

std::string NumberText(double value) { return FormatDouble(value, CurrentSeparators().SystemDecimalSeparator); }

std::string ListNumberText(double value) { return FormatDouble(value, "."); }

std::string IntegerText(std::int64_t value) { return std::to_string(value); }

}  // namespace tessarix::detail
