#include "tessarix/platform/clock.hpp"

#include <ctime>

namespace tessarix::detail {

std::string CurrentDateTimeText() {
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  if (localtime_r(&now, &local) == nullptr) return "";
  char buf[32];
  const std::size_t n = std::strftime(buf, sizeof buf, "%Y-%m-%d %H:%M:%S", &local);
  return std::string(buf, n);
}

}  // namespace tessarix::detail
