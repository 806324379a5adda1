// The two text writers of the library's output files.
//
// The list writer writes typed items: a String in double quotes with its
// characters unchanged; a Double as a plain decimal number with "." whatever
// the locale, up to 15 significant digits ("2.5", "1E-10"); after each item
// a comma when the list goes on, or carriage return and line feed at its end.
// The plain writer writes text as it stands, then a line end or nothing.
#pragma once

#include <cstdio>
#include <string>
#include <string_view>

namespace tessarix::detail {

class TextWriter {
 public:
  TextWriter() = default;
  TextWriter(const TextWriter&) = delete;
  TextWriter& operator=(const TextWriter&) = delete;
  // Closes the file, keeping what was written.
  ~TextWriter();

  // Opens for appending or for output (truncating); creates a missing file.
  // False when the file cannot be opened (a directory, no permission, no path).
  bool Open(const std::string& path, bool append);

  void ListString(std::string_view text, bool end_of_list);
  void ListDouble(double value, bool end_of_list);
  void Plain(std::string_view text, bool end_of_line);

  // Writes out what is buffered and closes; the fault "Error writing to file"
  // on failure (also from the writes above when the buffer is flushed).
  void Close();

 private:
  void Flush();

  std::FILE* file_ = nullptr;
  std::string buffer_;
};

}  // namespace tessarix::detail
