#include "tessarix/foundation/error.hpp"

#include <utility>

#include "tessarix/foundation/error_catalogue.hpp"

namespace tessarix {

namespace {
// Opaque to every caller; the library never reads it back.
constexpr const char* kHelpFileName = "tessarix.chm";
}  // namespace

Error::Error(std::uint32_t number, std::int32_t help_context, std::string description)
    : number_(number),
      help_context_(help_context),
      source_(detail::kErrorSource),
      description_(std::move(description)),
      help_file_(kHelpFileName) {}

}  // namespace tessarix
