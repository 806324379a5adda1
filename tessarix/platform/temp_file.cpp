#include "tessarix/platform/temp_file.hpp"

#include <stdio.h>
#include <stdlib.h>
#include <unistd.h>

#include <vector>

namespace tessarix::detail {

std::string TemporaryDirectory() {
  const char* env = getenv("TMPDIR");
  std::string dir = (env != nullptr && *env != '\0') ? env : P_tmpdir;
  while (dir.size() > 1 && dir.back() == '/') dir.pop_back();
  return dir;
}

std::string MakeTempFileName(std::string_view prefix) {
  const std::string dir = TemporaryDirectory();
  // The limits of the platform's buffers: an answer that does not fit is no answer.
  if (dir.empty() || dir.size() >= 512) return std::string();
  std::string path = dir;
  if (path.back() != '/') path += '/';
  path.append(prefix).append("XXXXXX");
  std::vector<char> buffer(path.begin(), path.end());
  buffer.push_back('\0');
  const int fd = mkstemp(buffer.data());
  if (fd < 0) return std::string();
  close(fd);
  return std::string(buffer.data());
}

}  // namespace tessarix::detail
