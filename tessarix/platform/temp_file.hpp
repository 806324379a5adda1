// Temporary files of the library (text import's normalised copies).
#pragma once

#include <string>
#include <string_view>

namespace tessarix::detail {

// The system's temporary directory: TMPDIR when set, else the C library's
// default (normally /tmp). No trailing slash.
std::string TemporaryDirectory();

// Creates a new, empty file with a unique name "<prefix>XXXXXX" in the
// temporary directory and returns its path. The name is chosen and the file
// created in one step (mkstemp), so no other process can take it in between.
// "" when the directory path is empty or 512 characters and longer, or when
// the file cannot be created.
std::string MakeTempFileName(std::string_view prefix);

}  // namespace tessarix::detail
