// The one error type that reaches a host.
#pragma once

#include <cstdint>
#include <exception>
#include <string>

#include "tessarix/foundation/error_code.hpp"
#include "tessarix/foundation/export.hpp"

namespace tessarix {

namespace detail {
struct ErrorFactory;
}

// Every failure of a public operation arrives as an Error: a number of the
// 0x80040201... range, the source "Tessarix", a description and a help context
// (10001...). The help context and the number run in step:
// HelpContext() == 10001 + (Number() - 0x80040201).
class TESSARIX_API Error : public std::exception {
 public:
  Error(const Error&) = default;
  Error& operator=(const Error&) = default;
  ~Error() override = default;

  std::uint32_t Number() const noexcept { return number_; }
  std::int32_t HelpContext() const noexcept { return help_context_; }
  // Extension: the catalogue row by name, equal to the help context.
  ErrorCode Code() const noexcept { return static_cast<ErrorCode>(help_context_); }
  const std::string& Source() const noexcept { return source_; }
  const std::string& Description() const noexcept { return description_; }
  // An opaque help-file name, the same for every error.
  const std::string& HelpFile() const noexcept { return help_file_; }
  const char* what() const noexcept override { return description_.c_str(); }

 private:
  friend struct detail::ErrorFactory;
  Error(std::uint32_t number, std::int32_t help_context, std::string description);

  std::uint32_t number_;
  std::int32_t help_context_;
  std::string source_;
  std::string description_;
  std::string help_file_;
};

}  // namespace tessarix
