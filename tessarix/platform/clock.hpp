// The present date and time, for the banners of logs and result files.
#pragma once

#include <string>

namespace tessarix::detail {

// Local date and time as "yyyy-mm-dd hh:mm:ss", e.g. "2026-11-22 14:05:09".
std::string CurrentDateTimeText();

}  // namespace tessarix::detail
