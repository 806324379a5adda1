// Small character tests shared by the numeric and date tests on text.
#pragma once

#include <string_view>

namespace tessarix::detail {

inline bool IsBlank(char c) { return c == ' ' || c == '\t'; }
inline bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// `s` without the blanks (spaces and tabs) around it.
inline std::string_view TrimBlanks(std::string_view s) {
  while (!s.empty() && IsBlank(s.front())) s.remove_prefix(1);
  while (!s.empty() && IsBlank(s.back())) s.remove_suffix(1);
  return s;
}

}  // namespace tessarix::detail
