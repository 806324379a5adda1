// The error catalogue: every error a public operation can raise, and the one
// place that raises them.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "tessarix/foundation/error.hpp"
#include "tessarix/foundation/error_code.hpp"

namespace tessarix::detail {

struct CatalogueEntry {
  std::int32_t help_context;
  std::uint32_t number;
  std::string_view description;
};

inline constexpr std::int32_t kFirstHelpContext = 10001;
inline constexpr std::uint32_t kFirstErrorNumber = 0x80040201u;
inline constexpr std::string_view kErrorSource = "Tessarix";
inline constexpr std::string_view kGeneralErrorPrefix = "General Error: ";

extern const std::array<CatalogueEntry, 42> kErrorCatalogue;

// The catalogue row of an id.
const CatalogueEntry& CatalogueEntryFor(ErrorCode id);
// The catalogue text of an id (for 10001 only the prefix "General Error: ").
std::string ErrorMessage(ErrorCode id);

// The one way of raising a catalogue error.
[[noreturn]] void RaiseLibraryError(ErrorCode id);
// The wrapped form: 10001 with "General Error: " followed by `description`.
[[noreturn]] void RaiseGeneralError(std::string_view description);

struct ErrorFactory {
  static Error Make(ErrorCode id, std::string description);
};

}  // namespace tessarix::detail
