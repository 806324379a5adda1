// Reading the observations of a delimited text file with the library's own
// import, and choosing the X, Y and standard-deviation columns.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <tessarix/core/enums.hpp>
#include <tessarix/data/data_collection.hpp>
#include <vector>

namespace tessarix::tool {

struct DataOptions {
  std::string path;
  DelimiterTypeEnum delimiter = tsxDelimiterComma;
  std::string decimal_separator = ".";  // of the numbers in the file
  std::string missing;                  // a field that marks a missing value ("" for none)
  std::string x_column;                 // empty: the first column; "A,B,C": several variables
  std::string y_column;                 // empty: the second column
  std::string sd_column;                // empty: unweighted
  bool strict = false;                  // --strict: a row that cannot be read is an error
};

// A row of the file that the import left out.
struct SkippedRow {
  enum Reason { kTooFewFields, kEmptyField, kMissingMarker, kNotANumber, kUnknown };
  std::int64_t line = 0;  // in the file, from 1
  Reason reason = kUnknown;
  std::string column;  // the column of the field at fault (not for kTooFewFields)
  std::string text;    // the field; for kTooFewFields the count of fields
};

// The rows the import left out: how many, and the first of them in file order.
struct RowCheck {
  std::int64_t data_lines = 0;   // non-empty lines after the header
  std::int64_t skipped = 0;      // how many of them the import left out
  std::vector<SkippedRow> rows;  // at most kMaxListedRows; empty when they cannot be told
};

inline constexpr std::size_t kMaxListedRows = 100;

struct LoadedData {
  std::shared_ptr<DataCollection> collection;   // every column of the file
  std::shared_ptr<DataSeries> x, y, sd;         // sd is null when unweighted; x is the first of xs
  std::vector<std::shared_ptr<DataSeries>> xs;  // the independent variables in the order of --x
  std::int32_t rows = 0;                        // rows read with a number in every column
  RowCheck skipped;                             // the rows left out, and why
};

// Reads the file and marks the chosen series with the regression keys "x"
// (or "x1", "x2", ... for several variables), "y" and "sd", ready for
// FitCollection. Throws ToolError for a missing or unreadable file, an
// unknown column, a file without usable rows and, with `strict`, a row that
// cannot be read.
LoadedData LoadData(const DataOptions& options);

}  // namespace tessarix::tool
