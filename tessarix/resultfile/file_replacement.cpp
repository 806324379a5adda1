#include "tessarix/resultfile/internal/file_replacement.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <memory>

namespace tessarix::detail {

namespace {

std::string FolderOf(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  if (slash == std::string::npos) return ".";
  if (slash == 0) return "/";
  return path.substr(0, slash);
}

std::string NameOf(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

// A new, empty file "<folder>/.<name>.<pid>.<n>" with the permissions that
// the process's umask gives new files; "" when none can be made. The name is
// hidden and shortened so that a long file name still leaves room for the
// suffix.
std::string CreateSibling(const std::string& folder, const std::string& name) {
  static std::atomic<unsigned> counter{0};
  const std::string stem = folder + (folder.back() == '/' ? "." : "/.") + name.substr(0, 200) + "." +
                           std::to_string(static_cast<long>(getpid())) + ".";
  for (int attempt = 0; attempt < 100; ++attempt) {
    std::string candidate = stem + std::to_string(counter.fetch_add(1));
    const int fd = open(candidate.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (fd >= 0) {
      close(fd);
      return candidate;
    }
    if (errno != EEXIST) break;
  }
  return std::string();
}

// Forces the content of a written file to the disk, so that after the
// rename a crash cannot leave the name on an empty file.
bool SyncToDisk(const std::string& path, int flags) {
  const int fd = open(path.c_str(), flags | O_CLOEXEC);
  if (fd < 0) return false;
  const bool ok = fsync(fd) == 0;
  close(fd);
  return ok;
}

}  // namespace

bool ReplaceFileWith(const std::string& path, const std::function<void(const std::string&)>& write) {
  if (path.empty()) return false;
  std::string target = path;
  bool existed = false;
  struct stat info {};
  if (stat(path.c_str(), &info) == 0) {
    if (!S_ISREG(info.st_mode)) {
      // Nothing to keep intact in a device or a pipe; a folder fails to open.
      try {
        write(path);
        return true;
      } catch (...) {
        return false;
      }
    }
    if (faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS) != 0) return false;
    const std::unique_ptr<char, decltype(&std::free)> real(realpath(path.c_str(), nullptr), &std::free);
    if (real == nullptr) return false;
    target = real.get();
    existed = true;
  }

  const std::string folder = FolderOf(target);
  const std::string temporary = CreateSibling(folder, NameOf(target));
  if (temporary.empty()) return false;
  bool ok = false;
  try {
    if (existed) (void)chmod(temporary.c_str(), info.st_mode & 07777);
    write(temporary);
    ok = SyncToDisk(temporary, O_RDONLY) && std::rename(temporary.c_str(), target.c_str()) == 0;
  } catch (...) {
    ok = false;
  }
  if (!ok) {
    (void)unlink(temporary.c_str());
    return false;
  }
  // The folder's entry too; a folder that cannot be synced is no failure of
  // the file, which is complete in either case.
  (void)SyncToDisk(folder, O_RDONLY | O_DIRECTORY);
  return true;
}

}  // namespace tessarix::detail
