#include "tessarix/platform/line_reader.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <memory>

#include "tessarix/foundation/fault.hpp"

namespace tessarix::detail {

namespace {

constexpr std::size_t kBufferSize = 1 << 20;
constexpr std::size_t kSmallestBuffer = 4096;

struct FileCloser {
  void operator()(std::FILE* f) const noexcept { std::fclose(f); }
};
using FilePtr = std::unique_ptr<std::FILE, FileCloser>;

// Opens a regular file for reading. Anything else is refused: a directory
// (which Linux opens happily), and a device or FIFO, which may never end
// (/dev/zero) or block the open itself (a FIFO without a writer; hence the
// non-blocking open, cleared once the file is known to be regular).
// `buffer_size` receives the size of a read buffer fit for the file: the
// whole file and one byte more, so that a small file takes one read, up to
// 1 MiB. Most data files are small, and a 1 MiB buffer for each (zeroed,
// and fresh pages every time) cost more than reading them.
std::FILE* OpenForReading(const std::string& path, std::size_t* buffer_size = nullptr) {
  const int fd = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  if (fd < 0) return nullptr;
  struct stat st {};
  const int flags = fcntl(fd, F_GETFL);
  if (fstat(fd, &st) != 0 || !S_ISREG(st.st_mode) || flags < 0 || fcntl(fd, F_SETFL, flags & ~O_NONBLOCK) != 0) {
    close(fd);
    return nullptr;
  }
  std::FILE* f = fdopen(fd, "rb");
  if (f == nullptr) close(fd);
  if (buffer_size != nullptr) {
    const auto file_size = static_cast<std::size_t>(st.st_size);
    *buffer_size = file_size >= kBufferSize ? kBufferSize : std::max(kSmallestBuffer, file_size + 1);
  }
  return f;
}

}  // namespace

bool LineReader::Open(const std::string& path) {
  Close();
  std::size_t buffer_size = 0;
  file_ = OpenForReading(path, &buffer_size);
  if (file_ == nullptr) return false;
  buffer_.resize(buffer_size);
  pos_ = len_ = 0;
  at_end_ = false;
  if (Fill() && len_ >= 3 && std::memcmp(buffer_.data(), "\xEF\xBB\xBF", 3) == 0) pos_ = 3;
  return true;
}

void LineReader::Close() noexcept {
  if (file_ != nullptr) std::fclose(file_);
  file_ = nullptr;
}

bool LineReader::Fill() {
  if (at_end_ || file_ == nullptr) return false;
  len_ = std::fread(buffer_.data(), 1, buffer_.size(), file_);
  pos_ = 0;
  if (len_ == 0) {
    if (std::ferror(file_)) throw RuntimeFault(std::string("Error reading from file"));
    at_end_ = true;
    return false;
  }
  return true;
}

bool LineReader::ReadLine(std::string& line) {
  line.clear();
  bool any = false;
  for (;;) {
    if (pos_ >= len_ && !Fill()) return any;
    any = true;
    const char* start = buffer_.data() + pos_;
    const std::size_t avail = len_ - pos_;
    std::size_t n = 0;
    while (n < avail && start[n] != '\r' && start[n] != '\n') ++n;
    line.append(start, n);
    pos_ += n;
    if (n == avail) continue;
    const char end = buffer_[pos_++];
    if (end == '\r') {
      if (pos_ >= len_) Fill();
      if (pos_ < len_ && buffer_[pos_] == '\n') ++pos_;
    }
    return true;
  }
}

bool ProbeBareLineFeeds(const std::string& path) {
  FilePtr f(OpenForReading(path));
  if (!f) return false;
  char chunk[65536];
  for (;;) {
    const std::size_t n = std::fread(chunk, 1, sizeof chunk, f.get());
    if (n == 0) return false;
    for (std::size_t i = 0; i < n; ++i) {
      if (chunk[i] == '\r') return false;
      if (chunk[i] == '\n') return true;
    }
  }
}

bool WriteNormalisedCopy(const std::string& source, const std::string& target) {
  std::size_t buffer_size = 0;
  FilePtr in(OpenForReading(source, &buffer_size));
  if (!in) return false;
  FilePtr out(std::fopen(target.c_str(), "wb"));
  if (!out) return false;
  std::vector<char> chunk(buffer_size);
  std::string converted;
  bool after_cr = false;
  char last = '\n';
  for (;;) {
    const std::size_t n = std::fread(chunk.data(), 1, chunk.size(), in.get());
    if (n == 0) break;
    converted.clear();
    for (std::size_t i = 0; i < n; ++i) {
      const char c = chunk[i];
      if (c == '\n' && !after_cr) converted += '\r';
      converted += c;
      after_cr = c == '\r';
    }
    last = chunk[n - 1];
    if (std::fwrite(converted.data(), 1, converted.size(), out.get()) != converted.size()) return false;
  }
  if (std::ferror(in.get())) return false;
  if (last != '\n' && last != '\r' && std::fwrite("\r\n", 1, 2, out.get()) != 2) return false;
  return std::fclose(out.release()) == 0;
}

}  // namespace tessarix::detail
