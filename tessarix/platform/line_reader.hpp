// Line-oriented reading of text files, and the normalised copy that text
// import makes of files with bare line feeds.
#pragma once

#include <cstdio>
#include <string>
#include <vector>

namespace tessarix::detail {

// Reads a file as logical lines. A line ends at a carriage return, a carriage
// return and line feed, or a bare line feed; the last line needs no end. A
// UTF-8 byte-order mark at the start of the file is skipped. Bytes are passed
// through as they are (NUL bytes and invalid UTF-8 included).
class LineReader {
 public:
  LineReader() = default;
  LineReader(const LineReader&) = delete;
  LineReader& operator=(const LineReader&) = delete;
  ~LineReader() { Close(); }

  // False when `path` cannot be opened for reading (missing, no permission)
  // or is no regular file (a directory, a device, a FIFO).
  bool Open(const std::string& path);
  // The next line, without its end; false at the end of the file. A read
  // error is the fault "Error reading from file".
  bool ReadLine(std::string& line);
  void Close() noexcept;

 private:
  bool Fill();

  std::FILE* file_ = nullptr;
  std::vector<char> buffer_;
  std::size_t pos_ = 0;
  std::size_t len_ = 0;
  bool at_end_ = false;
};

// True when the first logical line of the file, as a reader that ends lines
// only at carriage returns sees it (the text up to the first carriage return),
// holds a line feed: the sign of a file written with bare line feeds. False
// also when the file cannot be read (the later open reports that).
bool ProbeBareLineFeeds(const std::string& path);

// Writes to `target` (which exists, and is truncated) a copy of `source` in
// which every bare line feed becomes carriage return and line feed, ending
// with a line end. False on any failure.
bool WriteNormalisedCopy(const std::string& source, const std::string& target);

}  // namespace tessarix::detail
