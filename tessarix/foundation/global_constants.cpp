#include "tessarix/foundation/global_constants.hpp"

#include "tessarix/version.hpp"

namespace tessarix {

std::int32_t GlobalConstants::tsxMajorVersion() { return TESSARIX_VERSION_MAJOR; }
std::int32_t GlobalConstants::tsxMinorVersion() { return TESSARIX_VERSION_MINOR; }
std::int32_t GlobalConstants::tsxRevision() { return TESSARIX_VERSION_PATCH; }
std::string GlobalConstants::tsxDeveloper() { return "The Tessarix developers"; }
std::string GlobalConstants::tsxURL() { return "https://tessarix.org"; }
std::string GlobalConstants::tsxCopyright() { return "Copyright (c) 2026 The Tessarix developers"; }

}  // namespace tessarix
