#include "csv_table.hpp"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <tessarix/data/data_series.hpp>
#include <vector>

#include "text_format.hpp"
#include "tool_error.hpp"

namespace tessarix::tool {

namespace {

std::string CsvField(const std::string& text) {
  const std::string clean = CleanText(text);
  if (clean.find_first_of(",\"") == std::string::npos &&
      (clean.empty() || (clean.front() != ' ' && clean.back() != ' '))) {
    return clean;
  }
  std::string quoted = "\"";
  for (char c : clean) {
    if (c == '"') quoted += '"';
    quoted += c;
  }
  quoted += '"';
  return quoted;
}

}  // namespace

std::string ResultTableCsv(const DataCollection& tables, const std::vector<ExtraColumn>& extra) {
  std::vector<std::vector<double>> columns;
  std::string out;
  std::size_t rows = 0;
  for (const auto& series : tables) {
    if (!columns.empty()) out += ',';
    out += CsvField(series->Name());
    columns.push_back(series->ExportToArray());
    rows = std::max(rows, columns.back().size());
  }
  for (const ExtraColumn& column : extra) {
    if (!columns.empty()) out += ',';
    out += CsvField(column.name);
    columns.push_back(column.values);
    rows = std::max(rows, columns.back().size());
  }
  out += '\n';
  for (std::size_t i = 0; i < rows; ++i) {
    for (std::size_t j = 0; j < columns.size(); ++j) {
      if (j) out += ',';
      if (i < columns[j].size() && std::isfinite(columns[j][i])) out += RoundTripText(columns[j][i]);
    }
    out += '\n';
  }
  return out;
}

void WriteResultTable(const std::string& path, const DataCollection& tables, const std::vector<ExtraColumn>& extra) {
  const std::string text = ResultTableCsv(tables, extra);
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  if (!file) throw ToolError("cannot write the table file '" + CleanText(path) + "'");
  file << text;
  file.close();
  if (!file) throw ToolError("error writing the table file '" + CleanText(path) + "'");
}

}  // namespace tessarix::tool
