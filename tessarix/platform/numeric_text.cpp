#include "tessarix/platform/numeric_text.hpp"

#include <locale.h>
#include <stdlib.h>

#include <array>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <string>
#include <system_error>

#include "tessarix/platform/internal/text_scan.hpp"
#include "tessarix/platform/separators.hpp"

namespace tessarix::detail {

namespace {

// Removes a leading currency sign; true when one was there.
bool StripCurrency(std::string_view& s) {
  static constexpr std::array<std::string_view, 6> kSigns = {"$",        "\xE2\x82\xAC", "\xC2\xA3",
                                                             "\xC2\xA5", "\xE2\x82\xA9", "\xE2\x82\xB9"};
  for (std::string_view sign : kSigns) {
    if (s.substr(0, sign.size()) == sign) {
      s.remove_prefix(sign.size());
      s = TrimBlanks(s);
      return true;
    }
  }
  return false;
}

bool StartsWith(std::string_view s, std::string_view prefix) {
  return !prefix.empty() && s.substr(0, prefix.size()) == prefix;
}

locale_t CLocale() {
  static const locale_t c_locale = newlocale(LC_NUMERIC_MASK, "C", static_cast<locale_t>(nullptr));
  return c_locale;
}

}  // namespace

NumberParse ParseLocaleNumber(std::string_view text, double& value, std::string_view decimal_separator,
                              std::string_view thousand_separator) {
  std::string_view s = TrimBlanks(text);
  bool negative = false;
  if (s.size() >= 2 && s.front() == '(' && s.back() == ')') {
    negative = true;
    s = TrimBlanks(s.substr(1, s.size() - 2));
  }
  const bool had_currency = StripCurrency(s);
  if (!s.empty() && (s.front() == '+' || s.front() == '-')) {
    if (s.front() == '-') {
      if (negative) return NumberParse::NotANumber;
      negative = true;
    }
    s.remove_prefix(1);
    s = TrimBlanks(s);
    if (!had_currency) StripCurrency(s);
  }

  // Build a plain C-locale text "ddd.ddde[+-]dd" while checking the grammar.
  std::string plain;
  plain.reserve(s.size() + 2);
  if (negative) plain += '-';
  std::size_t digits = 0;
  std::size_t i = 0;
  const bool grouping = !thousand_separator.empty() && thousand_separator != decimal_separator;
  while (i < s.size()) {
    if (IsDigit(s[i])) {
      plain += s[i++];
      ++digits;
    } else if (grouping && digits > 0 && StartsWith(s.substr(i), thousand_separator)) {
      i += thousand_separator.size();
      if (i >= s.size() || !IsDigit(s[i])) return NumberParse::NotANumber;
    } else {
      break;
    }
  }
  if (StartsWith(s.substr(i), decimal_separator)) {
    i += decimal_separator.size();
    plain += '.';
    while (i < s.size() && IsDigit(s[i])) {
      plain += s[i++];
      ++digits;
    }
  }
  if (digits == 0) return NumberParse::NotANumber;
  if (i < s.size() && (s[i] == 'e' || s[i] == 'E')) {
    plain += 'e';
    ++i;
    if (i < s.size() && (s[i] == '+' || s[i] == '-')) plain += s[i++];
    std::size_t exp_digits = 0;
    while (i < s.size() && IsDigit(s[i])) {
      plain += s[i++];
      ++exp_digits;
    }
    if (exp_digits == 0) return NumberParse::NotANumber;
  }
  if (i != s.size()) return NumberParse::NotANumber;

  // from_chars is exact and several times faster than strtod; it reports
  // both overflow and underflow as out of range, which strtod then tells apart.
  double v = 0.0;
  const auto res = std::from_chars(plain.data(), plain.data() + plain.size(), v);
  if (res.ec == std::errc() && res.ptr == plain.data() + plain.size()) {
    value = v;
    return NumberParse::Ok;
  }
  errno = 0;
  char* end = nullptr;
  v = strtod_l(plain.c_str(), &end, CLocale());
  if (std::isinf(v)) return NumberParse::OutOfRange;
  value = v;
  return NumberParse::Ok;
}

NumberParse ParseLocaleNumber(std::string_view text, double& value) {
  const SystemSeparators& sep = CurrentSeparators();
  return ParseLocaleNumber(text, value, sep.SystemDecimalSeparator, sep.SystemThousandSeparator);
}

bool IsLocaleNumber(std::string_view text) {
  double ignored = 0.0;
  return ParseLocaleNumber(text, ignored) == NumberParse::Ok;
}

}  // namespace tessarix::detail
