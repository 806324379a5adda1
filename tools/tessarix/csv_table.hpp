// The result table of a fit as a CSV file: one column per series of the
// regression's ResultTables (X, Y, the deviations if weighted, predicted,
// residuals), with a header line of the series' names.
#pragma once

#include <string>
#include <tessarix/data/data_collection.hpp>
#include <vector>

namespace tessarix::tool {

// A column of the tool's own beside the series (the bands of a fit); a value
// that is not finite is an empty field.
struct ExtraColumn {
  std::string name;
  std::vector<double> values;
};

// The CSV text: names quoted where they need it, numbers in the shortest form
// that reads back exactly, "." as decimal mark, line feed line ends.
std::string ResultTableCsv(const DataCollection& tables, const std::vector<ExtraColumn>& extra = {});

// Writes ResultTableCsv(tables, extra) to `path`; throws ToolError when it cannot.
void WriteResultTable(const std::string& path, const DataCollection& tables,
                      const std::vector<ExtraColumn>& extra = {});

}  // namespace tessarix::tool
