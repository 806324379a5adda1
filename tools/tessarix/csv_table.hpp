// The result table of a fit as a CSV file: one column per series of the
// regression's ResultTables (X, Y, the deviations if weighted, predicted,
// residuals), with a header line of the series' names.
#pragma once

#include <string>
#include <tessarix/data/data_collection.hpp>

namespace tessarix::tool {

// The CSV text: names quoted where they need it, numbers in the shortest form
// that reads back exactly, "." as decimal mark, line feed line ends.
std::string ResultTableCsv(const DataCollection& tables);

// Writes ResultTableCsv(tables) to `path`; throws ToolError when it cannot.
void WriteResultTable(const std::string& path, const DataCollection& tables);

}  // namespace tessarix::tool
