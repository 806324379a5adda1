#include "tessarix/platform/text_writer.hpp"

#include <fcntl.h>
#include <unistd.h>

#include "tessarix/foundation/fault.hpp"
#include "tessarix/platform/number_text.hpp"

namespace tessarix::detail {

namespace {
constexpr std::size_t kFlushSize = 1 << 16;
[[noreturn]] void WriteFault() { throw RuntimeFault(std::string("Error writing to file")); }
}  // namespace

TextWriter::~TextWriter() {
  if (file_ == nullptr) return;
  if (!buffer_.empty()) (void)std::fwrite(buffer_.data(), 1, buffer_.size(), file_);
  std::fclose(file_);
}

bool TextWriter::Open(const std::string& path, bool append) {
  if (path.empty()) return false;
  // Non-blocking open: a FIFO that nobody reads fails here instead of
  // blocking for ever; the writes themselves block as usual.
  const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | O_NONBLOCK | (append ? O_APPEND : O_TRUNC), 0666);
  if (fd < 0) return false;
  const int flags = fcntl(fd, F_GETFL);
  if (flags < 0 || fcntl(fd, F_SETFL, flags & ~O_NONBLOCK) != 0) {
    close(fd);
    return false;
  }
  file_ = fdopen(fd, append ? "ab" : "wb");
  if (file_ == nullptr) close(fd);
  return file_ != nullptr;
}

void TextWriter::Flush() {
  if (file_ == nullptr) WriteFault();
  if (!buffer_.empty() && std::fwrite(buffer_.data(), 1, buffer_.size(), file_) != buffer_.size()) WriteFault();
  buffer_.clear();
}

void TextWriter::ListString(std::string_view text, bool end_of_list) {
  buffer_ += '"';
  buffer_ += text;
  buffer_ += '"';
  buffer_ += end_of_list ? "\r\n" : ",";
  if (buffer_.size() >= kFlushSize) Flush();
}

void TextWriter::ListDouble(double value, bool end_of_list) {
  buffer_ += ListNumberText(value);
  buffer_ += end_of_list ? "\r\n" : ",";
  if (buffer_.size() >= kFlushSize) Flush();
}

void TextWriter::Plain(std::string_view text, bool end_of_line) {
  buffer_ += text;
  if (end_of_line) buffer_ += "\r\n";
  if (buffer_.size() >= kFlushSize) Flush();
}

void TextWriter::Close() {
  Flush();
  std::FILE* f = file_;
  file_ = nullptr;
  if (std::fclose(f) != 0) WriteFault();
}

}  // namespace tessarix::detail
