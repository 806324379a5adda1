// Library constants, available without creating anything.
#pragma once

#include <cstdint>
#include <string>

#include "tessarix/foundation/export.hpp"

namespace tessarix {

struct TESSARIX_API GlobalConstants {
  // The version of this library (major.minor.revision), from the build.
  static std::int32_t tsxMajorVersion();
  static std::int32_t tsxMinorVersion();
  static std::int32_t tsxRevision();
  static std::string tsxDeveloper();
  static std::string tsxURL();
  static std::string tsxCopyright();
};

}  // namespace tessarix
