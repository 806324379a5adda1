// Which rows of a data file the library's import left out, and why. The
// import is forgiving by design: a row with an empty field, a field that is
// no number, the missing marker or too few fields is dropped without a word,
// so the tool reads the file's lines again to tell the user.
#pragma once

#include <cstdint>
#include <string>

#include "data_input.hpp"

namespace tessarix::tool {

// The rows of the file of `options` that its import left out, given that it
// kept `rows_read` of them. The reasons follow the import's own tests (the
// numeric test is the library's); where a field that fails it still reads as
// a date, the rows actually kept are asked of the library itself.
RowCheck CheckRows(const DataOptions& options, std::int64_t rows_read);

// "line 5: not a number in column 'y': 'abc'".
std::string SkippedRowText(const SkippedRow& row, const DataOptions& options);

// The reason in one word for machines: "too-few-fields", "empty-field",
// "missing-marker", "not-a-number", "unknown".
std::string ReasonKey(SkippedRow::Reason reason);

// Up to `shown` rows, one a line, each indented by `indent`, and a line for the rest.
std::string SkippedRowLines(const RowCheck& check, const DataOptions& options, std::size_t shown,
                            const std::string& indent);

// "3 of 40 rows could not be read and are left out (--strict refuses them):"
// and the first rows, or nothing when every row was read.
std::string SkippedRowsNote(const RowCheck& check, const DataOptions& options);

}  // namespace tessarix::tool
