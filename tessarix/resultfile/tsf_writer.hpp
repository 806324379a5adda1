// The writer of result files for the desktop application Tessara (TSF
// files), shared by the SaveTSF members of the three solving classes. A
// library service; hosts call SaveTSF.
#pragma once

#include <cstdint>
#include <string>

#include "tessarix/resultfile/tsf_document.hpp"

namespace tessarix::detail {

// The Tessara versions the writer supports: 7.1 and 8.0. Both get the same
// file apart from the version in its second line.
[[nodiscard]] bool IsSupportedTsfVersion(std::int32_t major_version, std::int32_t minor_version);

// Writes `document` to `path` by the library's list writer: lines ended by
// "\r\n", strings in double quotes as they stand, numbers with a decimal
// point whatever the locale, "#TRUE#" and "#FALSE#". The file is replaced as
// a whole: the text goes to a new file beside it, which then takes the file's place, so that a
// failure at any step leaves an existing file as it was and no partial file
// behind. A path that names a device or a pipe is written directly. False
// on any failure (no folder, no permission, a full disk, a document that
// contradicts itself: column names or input columns that do not match the
// column count, input columns of different lengths, a solution without the
// summary of each variable); never raises.
[[nodiscard]] bool WriteTsfFile(const TsfDocument& document, const std::string& path);

}  // namespace tessarix::detail
