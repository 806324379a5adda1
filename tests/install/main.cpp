// Built against the installed package by scripts/test.sh.
#include <tessarix/tessarix.hpp>

#include <cstdio>

int main() {
  const int major = tessarix::GlobalConstants::tsxMajorVersion();
  std::printf("tessarix %d.%d.%d\n", major, tessarix::GlobalConstants::tsxMinorVersion(),
              tessarix::GlobalConstants::tsxRevision());
  return major == 2 ? 0 : 1;
}
