#include "tessarix/platform/text_case.hpp"

namespace tessarix::detail {

namespace {

// Lower-case code point of `cp` for the scripts FoldCase covers; every
// mapping keeps the length of the UTF-8 sequence (all are two-byte points).
char32_t LowerCodePoint(char32_t cp) {
  if (cp >= 0xC0 && cp <= 0xDE && cp != 0xD7) return cp + 0x20;  // Latin-1
  if (cp >= 0x100 && cp <= 0x137 && cp % 2 == 0) return cp + 1;  // Latin Extended-A
  if (cp >= 0x139 && cp <= 0x148 && cp % 2 == 1) return cp + 1;
  if (cp >= 0x14A && cp <= 0x177 && cp % 2 == 0) return cp + 1;
  if (cp == 0x179 || cp == 0x17B || cp == 0x17D) return cp + 1;
  if (cp >= 0x391 && cp <= 0x3AB && cp != 0x3A2) return cp + 0x20;  // Greek
  if (cp >= 0x410 && cp <= 0x42F) return cp + 0x20;                 // Cyrillic
  if (cp >= 0x400 && cp <= 0x40F) return cp + 0x50;
  return cp;
}

}  // namespace

std::string FoldCase(std::string_view text) {
  std::string out(text);
  for (std::size_t i = 0; i < out.size(); ++i) {
    const auto c = static_cast<unsigned char>(out[i]);
    if (c < 0x80) {
      if (c >= 'A' && c <= 'Z') out[i] = static_cast<char>(c + ('a' - 'A'));
      continue;
    }
    // Two-byte sequences only: 110xxxxx 10xxxxxx.
    if ((c >> 5) != 0x6 || i + 1 >= out.size()) continue;
    const auto c2 = static_cast<unsigned char>(out[i + 1]);
    if ((c2 >> 6) != 0x2) continue;
    const char32_t cp = (static_cast<char32_t>(c & 0x1F) << 6) | (c2 & 0x3F);
    const char32_t lower = LowerCodePoint(cp);
    if (lower != cp) {
      out[i] = static_cast<char>(0xC0 | (lower >> 6));
      out[i + 1] = static_cast<char>(0x80 | (lower & 0x3F));
    }
    ++i;
  }
  return out;
}

bool EqualIgnoringCase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    const auto x = static_cast<unsigned char>(a[i]);
    const auto y = static_cast<unsigned char>(b[i]);
    if ((x | y) >= 0x80) return FoldCase(a) == FoldCase(b);
    const auto lx = (x >= 'A' && x <= 'Z') ? x + 32 : x;
    const auto ly = (y >= 'A' && y <= 'Z') ? y + 32 : y;
    if (lx != ly) return false;
  }
  return true;
}

}  // namespace tessarix::detail
