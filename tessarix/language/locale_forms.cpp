#include "tessarix/language/internal/locale_forms.hpp"

#include <string_view>

namespace tessarix::detail {

namespace {
bool IsEnglish(const SystemSeparators& s) {
  return s.SystemListSeparator == "," && s.SystemDecimalSeparator == "." && s.SystemThousandSeparator == ",";
}

// One character of UTF-8 text at `pos` (a separator may be a multi-byte
// character).
std::string_view CharacterAt(const std::string& text, std::size_t pos) {
  const auto lead = static_cast<unsigned char>(text[pos]);
  std::size_t len = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : lead >= 0xC0 ? 2 : 1;
  if (pos + len > text.size()) len = text.size() - pos;
  return std::string_view(text).substr(pos, len);
}

// Maps every character: `from1` to `to1`, else `from2` to `to2`, else drops
// `dropped`, else keeps it.
std::string Map(const std::string& text, std::string_view from1, std::string_view to1, std::string_view from2,
                std::string_view to2, std::string_view dropped) {
  std::string out;
  out.reserve(text.size());
  for (std::size_t pos = 0; pos < text.size();) {
    const std::string_view c = CharacterAt(text, pos);
    pos += c.size();
    if (c == from1) {
      out += to1;
    } else if (c == from2) {
      out += to2;
    } else if (c != dropped) {
      out += c;
    }
  }
  return out;
}
}  // namespace

std::string ToLocalForm(const std::string& text, const SystemSeparators& s) {
  if (text.empty() || IsEnglish(s)) return text;
  return Map(text, ".", s.SystemDecimalSeparator, ",", s.SystemListSeparator, s.SystemThousandSeparator);
}

std::string ToEnglishForm(const std::string& text, const SystemSeparators& s) {
  if (text.empty() || IsEnglish(s)) return text;
  return Map(text, s.SystemDecimalSeparator, ".", s.SystemListSeparator, ",", s.SystemThousandSeparator);
}

}  // namespace tessarix::detail
