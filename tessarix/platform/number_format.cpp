#include "tessarix/platform/number_format.hpp"

#include <langinfo.h>
#include <locale.h>

#include <charconv>
#include <cmath>
#include <cstdlib>
#include <utility>
#include <vector>

#include "tessarix/platform/number_text.hpp"
#include "tessarix/platform/separators.hpp"
#include "tessarix/platform/text_case.hpp"

namespace tessarix::detail {

namespace {

enum class Tok { Zero, Hash, Point, GroupComma, ScaleComma, Percent, Exponent, Literal };
enum class Phase { Integer, Fraction, Exponent };

struct Token {
  Token(Tok k, Phase p, std::string t = std::string()) : kind(k), phase(p), text(std::move(t)) {}
  Tok kind;
  Phase phase;
  std::string text;       // Literal; the letter of Exponent
  bool exp_plus = false;  // Exponent: "+" shows the sign always
};

struct Section {
  std::vector<Token> tokens;
  int int_places = 0, frac_places = 0, exp_places = 0;
  int percent = 0, scale = 0;
  bool grouping = false, scientific = false;
  bool HasDigits() const { return int_places + frac_places > 0; }
};

// Splits at ";" outside quotes and escapes.
std::vector<std::string_view> SplitSections(std::string_view format) {
  std::vector<std::string_view> sections;
  std::size_t start = 0;
  bool quoted = false;
  for (std::size_t i = 0; i < format.size(); ++i) {
    const char c = format[i];
    if (c == '"') {
      quoted = !quoted;
    } else if (c == '\\' && !quoted) {
      ++i;
    } else if (c == ';' && !quoted) {
      sections.push_back(format.substr(start, i - start));
      start = i + 1;
    }
  }
  sections.push_back(format.substr(start));
  return sections;
}

Section ParseSection(std::string_view text) {
  Section s;
  Phase phase = Phase::Integer;
  auto literal = [&](std::string_view t) {
    if (!s.tokens.empty() && s.tokens.back().kind == Tok::Literal) {
      s.tokens.back().text += t;
    } else {
      s.tokens.emplace_back(Tok::Literal, phase, std::string(t));
    }
  };
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (c == '"') {
      const std::size_t end = text.find('"', i + 1);
      const std::size_t stop = end == std::string_view::npos ? text.size() : end;
      literal(text.substr(i + 1, stop - i - 1));
      i = stop;
    } else if (c == '\\') {
      if (i + 1 < text.size()) literal(text.substr(++i, 1));
    } else if (c == '0' || c == '#') {
      s.tokens.emplace_back(c == '0' ? Tok::Zero : Tok::Hash, phase);
      (phase == Phase::Integer ? s.int_places : phase == Phase::Fraction ? s.frac_places : s.exp_places)++;
    } else if (c == '.' && phase == Phase::Integer) {
      s.tokens.emplace_back(Tok::Point, phase);
      phase = Phase::Fraction;
    } else if (c == ',' && phase == Phase::Integer) {
      s.tokens.emplace_back(Tok::GroupComma, phase);
    } else if (c == '%') {
      s.tokens.emplace_back(Tok::Percent, phase);
      ++s.percent;
    } else if ((c == 'E' || c == 'e') && !s.scientific && i + 1 < text.size() &&
               (text[i + 1] == '+' || text[i + 1] == '-')) {
      Token t{Tok::Exponent, phase, std::string(1, c)};
      t.exp_plus = text[++i] == '+';
      s.tokens.push_back(t);
      s.scientific = true;
      phase = Phase::Exponent;
    } else {
      literal(text.substr(i, 1));
    }
  }
  // A comma with no integer placeholder after it scales by 1000; one between
  // placeholders turns grouping on; a comma before any placeholder is text.
  bool placeholder_before = false;
  for (std::size_t i = 0; i < s.tokens.size(); ++i) {
    Token& t = s.tokens[i];
    if (t.phase != Phase::Integer) break;
    if (t.kind == Tok::Zero || t.kind == Tok::Hash) placeholder_before = true;
    if (t.kind != Tok::GroupComma) continue;
    bool placeholder_after = false;
    for (std::size_t j = i + 1; j < s.tokens.size() && s.tokens[j].phase == Phase::Integer; ++j) {
      if (s.tokens[j].kind == Tok::Zero || s.tokens[j].kind == Tok::Hash) placeholder_after = true;
    }
    if (!placeholder_before) {
      t = Token(Tok::Literal, t.phase, ",");
    } else if (placeholder_after) {
      s.grouping = true;
    } else {
      t.kind = Tok::ScaleComma;
      ++s.scale;
    }
  }
  return s;
}

// A non-negative value as decimal digits: value = 0.D * 10^point. Zero has no digits.
struct Decimal {
  std::string digits;
  int point = 0;
};

Decimal ToDecimal(double value) {
  Decimal d;
  if (value == 0.0) return d;
  char buf[48];
  const auto res = std::to_chars(buf, buf + sizeof buf, std::fabs(value), std::chars_format::scientific, 14);
  const std::string_view sci(buf, static_cast<std::size_t>(res.ptr - buf));
  const std::size_t e = sci.find('e');
  for (std::size_t i = 0; i < e; ++i) {
    if (sci[i] != '.') d.digits += sci[i];
  }
  while (!d.digits.empty() && d.digits.back() == '0') d.digits.pop_back();
  // The exponent ends where to_chars stopped: the buffer holds no terminator.
  const char* exponent = sci.data() + e + 1;
  if (*exponent == '+') ++exponent;
  std::from_chars(exponent, sci.data() + sci.size(), d.point);
  ++d.point;
  return d;
}

// Keeps `keep` leading digits, rounding half away from zero.
void RoundDigits(Decimal& d, int keep) {
  if (keep >= static_cast<int>(d.digits.size())) return;
  if (keep < 0) {
    d = Decimal{};
    return;
  }
  const bool up = d.digits[static_cast<std::size_t>(keep)] >= '5';
  d.digits.resize(static_cast<std::size_t>(keep));
  if (!up) {
    if (d.digits.empty()) d = Decimal{};
    return;
  }
  int i = keep - 1;
  for (; i >= 0 && d.digits[static_cast<std::size_t>(i)] == '9'; --i) d.digits[static_cast<std::size_t>(i)] = '0';
  if (i >= 0) {
    ++d.digits[static_cast<std::size_t>(i)];
  } else {
    d.digits.insert(d.digits.begin(), '1');
    ++d.point;
  }
}

std::string DigitAt(const Decimal& d, int index) {
  return (index >= 0 && index < static_cast<int>(d.digits.size())) ? d.digits.substr(static_cast<std::size_t>(index), 1)
                                                                   : "0";
}

struct Rendered {
  std::string integer;   // without leading zeros; "" for zero
  std::string fraction;  // exactly frac_places digits
  int exponent = 0;
  bool zero = true;
};

Rendered Render(double magnitude, const Section& s) {
  Decimal d = ToDecimal(magnitude);
  if (!d.digits.empty()) d.point += 2 * s.percent - 3 * s.scale;
  Rendered r;
  if (s.scientific) {
    const int n = std::max(1, s.int_places + s.frac_places);
    RoundDigits(d, n);
    if (!d.digits.empty()) {
      r.exponent = d.point - s.int_places;
      d.point = s.int_places;  // the mantissa's digits now sit around the point
    }
  } else {
    RoundDigits(d, d.point + s.frac_places);
  }
  r.zero = d.digits.empty();
  for (int i = 0; i < d.point; ++i) r.integer += DigitAt(d, i);
  for (int j = 0; j < s.frac_places; ++j) r.fraction += DigitAt(d, d.point + j);
  if (r.zero) r.integer.clear();
  return r;
}

class Writer {
 public:
  Writer(const Section& s, const Rendered& r, std::string_view dec, std::string_view thou)
      : s_(s), r_(r), dec_(dec), thou_(thou) {
    // The last fraction position that shows: a digit that is not 0, or a "0".
    int j = 0;
    for (const Token& t : s_.tokens) {
      if (t.phase != Phase::Fraction || (t.kind != Tok::Zero && t.kind != Tok::Hash)) continue;
      if (t.kind == Tok::Zero || r_.fraction[static_cast<std::size_t>(j)] != '0') last_fraction_ = j;
      ++j;
    }
  }

  std::string Write() {
    for (const Token& t : s_.tokens) {
      switch (t.kind) {
        case Tok::Zero:
        case Tok::Hash:
          Placeholder(t);
          break;
        case Tok::Point:
          if (s_.int_places == 0) Integer(r_.integer, 0, s_.grouping);
          out_ += dec_;
          break;
        case Tok::GroupComma:
        case Tok::ScaleComma:
          break;
        case Tok::Percent:
          out_ += '%';
          break;
        case Tok::Exponent:
          out_ += t.text;
          if (r_.exponent < 0) {
            out_ += '-';
          } else if (t.exp_plus) {
            out_ += '+';
          }
          break;
        case Tok::Literal:
          out_ += t.text;
          break;
      }
    }
    return out_;
  }

 private:
  // Digits of `digits` at positions (from the right) >= from, grouped.
  void Integer(const std::string& digits, int from, bool group) {
    for (int pos = static_cast<int>(digits.size()) - 1; pos >= from; --pos) Digit(digits, pos, group);
  }
  void Digit(const std::string& digits, int pos, bool group) {
    out_ += digits[digits.size() - 1 - static_cast<std::size_t>(pos)];
    if (group && pos > 0 && pos % 3 == 0) out_ += thou_;
  }

  void Placeholder(const Token& t) {
    if (t.phase == Phase::Fraction) {
      if (t.kind == Tok::Zero || frac_ <= last_fraction_) out_ += r_.fraction[static_cast<std::size_t>(frac_)];
      ++frac_;
      return;
    }
    const bool exponent = t.phase == Phase::Exponent;
    const std::string digits = exponent ? std::to_string(std::abs(r_.exponent)) : r_.integer;
    int& k = exponent ? exp_ : int_;
    const int places = exponent ? s_.exp_places : s_.int_places;
    const bool group = !exponent && s_.grouping;
    const int pos = places - 1 - k;
    // The first placeholder takes every digit the others cannot hold.
    if (k == 0) Integer(digits, places, group);
    if (pos < static_cast<int>(digits.size())) {
      Digit(digits, pos, group);
    } else if (t.kind == Tok::Zero) {
      out_ += '0';
      if (group && pos > 0 && pos % 3 == 0) out_ += thou_;
    }
    ++k;
  }

  const Section& s_;
  const Rendered& r_;
  std::string_view dec_, thou_;
  std::string out_;
  int int_ = 0, exp_ = 0, frac_ = 0, last_fraction_ = -1;
};

std::string FormatSection(double magnitude, const Section& s, bool minus, std::string_view dec, std::string_view thou) {
  const Rendered r = Render(magnitude, s);
  std::string text = Writer(s, r, dec, thou).Write();
  // A value that rounds to zero shows no sign.
  if (minus && !r.zero && s.HasDigits()) return std::string(1, '-').append(text);
  return text;
}

// The locale's currency format: the symbol before the number with negatives
// in brackets ("$1,234.50", "($1,234.50)"), or after it with a minus
// ("1.234,50 €", "-1.234,50 €").
const std::string& CurrencyFormat() {
  static const std::string format = [] {
    std::string symbol = "$";
    bool before = true;
    locale_t loc = newlocale(LC_MONETARY_MASK, "", static_cast<locale_t>(nullptr));
    if (loc != static_cast<locale_t>(nullptr)) {
      const std::string_view info = nl_langinfo_l(CRNCYSTR, loc);
      if (info.size() > 1 && (info.front() == '-' || info.front() == '+')) {
        before = info.front() == '-';
        symbol = std::string(info.substr(1));
      }
      freelocale(loc);
    }
    std::string quoted(1, '"');
    quoted.append(symbol).push_back('"');
    std::string f;
    if (before) {
      f.append(quoted).append("#,##0.00;(").append(quoted).append("#,##0.00)");
    } else {
      f.append("#,##0.00 ").append(quoted).append(";-#,##0.00 ").append(quoted);
    }
    return f;
  }();
  return format;
}

}  // namespace

bool IsGeneralFormat(std::string_view format) { return format.empty() || FoldCase(format) == "general"; }

std::string FormatNumber(double value, std::string_view format, std::string_view decimal_separator,
                         std::string_view thousand_separator) {
  // A NaN or an infinity has no digits to place: every format shows its text form.
  if (IsGeneralFormat(format) || !std::isfinite(value)) return FormatDouble(value, decimal_separator);
  const std::string named = FoldCase(format);
  if (named == "general number") return FormatDouble(value, decimal_separator);
  if (named == "currency") return FormatNumber(value, CurrencyFormat(), decimal_separator, thousand_separator);
  if (named == "fixed") return FormatNumber(value, "0.00", decimal_separator, thousand_separator);
  if (named == "standard") return FormatNumber(value, "#,##0.00", decimal_separator, thousand_separator);
  if (named == "percent") return FormatNumber(value, "0.00%", decimal_separator, thousand_separator);
  if (named == "scientific") return FormatNumber(value, "0.00E+00", decimal_separator, thousand_separator);
  if (named == "yes/no") return value != 0.0 ? "Yes" : "No";
  if (named == "true/false") return value != 0.0 ? "True" : "False";
  if (named == "on/off") return value != 0.0 ? "On" : "Off";

  const std::vector<std::string_view> sections = SplitSections(format);
  std::string_view chosen = sections[0];
  bool minus = value < 0.0;
  if (value < 0.0 && sections.size() >= 2 && !sections[1].empty()) {
    chosen = sections[1];
    minus = false;  // the negative section writes its own sign
  } else if (value == 0.0 && sections.size() >= 3 && !sections[2].empty()) {
    chosen = sections[2];
  }
  return FormatSection(std::fabs(value), ParseSection(chosen), minus, decimal_separator, thousand_separator);
}

std::string FormatNumber(double value, std::string_view format) {
  const SystemSeparators& sep = CurrentSeparators();
  return FormatNumber(value, format, sep.SystemDecimalSeparator, sep.SystemThousandSeparator);
}

}  // namespace tessarix::detail
