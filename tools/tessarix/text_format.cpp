#include "text_format.hpp"

#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>

namespace tessarix::tool {

std::string SignificantText(double value, int significant) {
  char buffer[64];
  std::snprintf(buffer, sizeof buffer, "%.*g", significant, value);
  return buffer;
}

std::string RoundTripText(double value) {
  char buffer[64];
  const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
  return std::string(buffer, result.ptr);
}

std::string ProbabilityText(double p) {
  if (p == 0.0) return "0";
  if (std::fabs(p) < 1e-4) {
    char buffer[32];
    std::snprintf(buffer, sizeof buffer, "%.2e", p);
    return buffer;
  }
  char buffer[32];
  std::snprintf(buffer, sizeof buffer, "%.4f", p);
  return buffer;
}

std::string PadLeft(std::string_view text, std::size_t width) {
  const std::size_t w = DisplayWidth(text);
  std::string out(w < width ? width - w : 0, ' ');
  out.append(text);
  return out;
}

std::string PadRight(std::string_view text, std::size_t width) {
  std::string out(text);
  const std::size_t w = DisplayWidth(text);
  if (w < width) out.append(width - w, ' ');
  return out;
}

std::size_t DisplayWidth(std::string_view text) {
  std::size_t n = 0;
  for (unsigned char c : text) {
    if ((c & 0xC0) != 0x80) ++n;
  }
  return n;
}

namespace {

// Length of the valid UTF-8 sequence at the front of `s`, or 0.
std::size_t Utf8SequenceLength(std::string_view s) {
  const auto b0 = static_cast<unsigned char>(s[0]);
  std::size_t len = 0;
  std::uint32_t cp = 0;
  if (b0 < 0x80) return 1;
  if (b0 >= 0xC2 && b0 <= 0xDF) {
    len = 2;
    cp = b0 & 0x1Fu;
  } else if (b0 >= 0xE0 && b0 <= 0xEF) {
    len = 3;
    cp = b0 & 0x0Fu;
  } else if (b0 >= 0xF0 && b0 <= 0xF4) {
    len = 4;
    cp = b0 & 0x07u;
  } else
    return 0;
  if (s.size() < len) return 0;
  for (std::size_t i = 1; i < len; ++i) {
    const auto b = static_cast<unsigned char>(s[i]);
    if ((b & 0xC0) != 0x80) return 0;
    cp = (cp << 6) | (b & 0x3Fu);
  }
  // Overlong forms, surrogates and values past U+10FFFF are not valid UTF-8.
  if ((len == 3 && cp < 0x800) || (len == 4 && (cp < 0x10000 || cp > 0x10FFFF))) return 0;
  if (cp >= 0xD800 && cp <= 0xDFFF) return 0;
  return len;
}

}  // namespace

std::string CleanText(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  while (!text.empty()) {
    const std::size_t len = Utf8SequenceLength(text);
    if (len == 0) {
      out.push_back('?');
      text.remove_prefix(1);
      continue;
    }
    const auto b0 = static_cast<unsigned char>(text[0]);
    if (len == 1 && (b0 < 0x20 || b0 == 0x7F)) {
      out.push_back(b0 == '\t' ? ' ' : '?');
    } else {
      out.append(text.substr(0, len));
    }
    text.remove_prefix(len);
  }
  return out;
}

std::string Abbreviate(std::string_view text, std::size_t max_chars) {
  if (DisplayWidth(text) <= max_chars) return std::string(text);
  std::string out;
  std::size_t chars = 0;
  const std::size_t keep = max_chars > 3 ? max_chars - 3 : 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto c = static_cast<unsigned char>(text[i]);
    if ((c & 0xC0) != 0x80) {
      if (chars == keep) break;
      ++chars;
    }
    out.push_back(text[i]);
  }
  return out + "...";
}

}  // namespace tessarix::tool
