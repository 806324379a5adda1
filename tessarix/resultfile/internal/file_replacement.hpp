// Replacing a file as a whole: the new content is written to a new file in
// the same folder, which then takes the old file's place in one step
// (rename), so that a reader sees either the old file or the whole new one,
// and a failure at any step leaves the old file as it was.
#pragma once

#include <functional>
#include <string>

namespace tessarix::detail {

// Calls `write(temporary_path)` to write the whole new content of `path` to
// a new, empty file beside it, then puts that file in the place of `path`.
// The new file keeps the permissions of an existing one; through a symbolic
// link the file it names is replaced. `write` reports failure by throwing.
// An existing `path` that is no regular file (a device, a pipe) is handed to
// `write` directly. An existing file that this process may not write is
// refused, as opening it would be. Returns false on any failure, after
// removing the temporary file; never raises.
[[nodiscard]] bool ReplaceFileWith(const std::string& path, const std::function<void(const std::string&)>& write);

}  // namespace tessarix::detail
