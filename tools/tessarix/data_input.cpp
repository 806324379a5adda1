#include "data_input.hpp"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <tessarix/core/error.hpp>
#include <tessarix/data/data_series.hpp>

#include "row_check.hpp"
#include "text_format.hpp"
#include "tool_error.hpp"

namespace tessarix::tool {

namespace {

bool EqualsIgnoringCase(const std::string& a, const std::string& b) {
  return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](unsigned char x, unsigned char y) {
           return std::tolower(x) == std::tolower(y);
         });
}

void CheckReadable(const std::string& path) {
  std::error_code ec;
  const auto status = std::filesystem::status(path, ec);
  if (!std::filesystem::exists(status)) {
    throw ToolError("cannot open data file '" + CleanText(path) + "': no such file");
  }
  if (std::filesystem::is_directory(status)) {
    throw ToolError("cannot open data file '" + CleanText(path) + "': it is a directory");
  }
  std::ifstream probe(path, std::ios::binary);
  if (!probe) {
    throw ToolError("cannot open data file '" + CleanText(path) + "': " + std::strerror(errno));
  }
}

std::string ColumnList(const DataCollection& data) {
  std::string names;
  for (const auto& series : data) {
    if (!names.empty()) names += ", ";
    names += Abbreviate(CleanText(series->Name()), 40);
  }
  return names.empty() ? "none" : names;
}

std::shared_ptr<DataSeries> Column(const LoadedData& loaded, const DataOptions& options, const std::string& name,
                                   std::int32_t default_position, const char* role) {
  DataCollection& data = *loaded.collection;
  if (name.empty()) {
    if (data.Count() < default_position) {
      throw ToolError("the data file '" + CleanText(options.path) + "' has " + std::to_string(data.Count()) +
                      " column(s) (" + ColumnList(data) + "); the " + role + " column is column " +
                      std::to_string(default_position));
    }
    return data.Item(default_position);
  }
  try {
    return data.Item(name);
  } catch (const Error&) {
    // A file saved with a byte-order mark carries it in its first name.
    if (data.Count() > 0) {
      const auto first = data.Item(1);
      const std::string bom = "\xEF\xBB\xBF";
      if (first->Name().rfind(bom, 0) == 0 && EqualsIgnoringCase(first->Name().substr(bom.size()), name)) {
        return first;
      }
    }
    throw ToolError("the data file '" + CleanText(options.path) + "' has no column '" + CleanText(name) +
                    "' (columns: " + ColumnList(data) + ")");
  }
}

// "A,B" into {"A", "B"}; an empty text is one empty name (the default column).
std::vector<std::string> SplitList(const std::string& text) {
  std::vector<std::string> names(1);
  for (char c : text) {
    if (c == ',') {
      names.emplace_back();
    } else {
      names.back().push_back(c);
    }
  }
  return names;
}

}  // namespace

LoadedData LoadData(const DataOptions& options) {
  CheckReadable(options.path);
  LoadedData loaded;
  loaded.collection = std::make_shared<DataCollection>();
  try {
    const Variant missing = options.missing.empty() ? Variant() : Variant(options.missing);
    loaded.collection->ImportNamedSeriesFromFile(options.path, options.delimiter, options.decimal_separator, "",
                                                 missing);
  } catch (const Error& e) {
    throw ToolError("cannot read data file '" + CleanText(options.path) + "': " + e.Description());
  }
  if (loaded.collection->Count() == 0) {
    throw ToolError("the data file '" + CleanText(options.path) +
                    "' is empty: it needs a header line of column names and rows of numbers");
  }
  const std::vector<std::string> x_names = SplitList(options.x_column);
  for (const std::string& name : x_names) {
    if (name.empty() && x_names.size() > 1) throw ToolError("--x: an empty column name in '" + options.x_column + "'");
    loaded.xs.push_back(Column(loaded, options, name, 1, "X"));
  }
  loaded.x = loaded.xs.front();
  if (options.y_column.empty() && loaded.xs.size() > 1) {
    // With several variables Y is the first column that is none of them.
    for (const auto& series : *loaded.collection) {
      if (std::find(loaded.xs.begin(), loaded.xs.end(), series) == loaded.xs.end()) {
        loaded.y = series;
        break;
      }
    }
    if (!loaded.y) throw ToolError("the data file '" + CleanText(options.path) + "' has no column left for Y");
  } else {
    loaded.y = Column(loaded, options, options.y_column, 2, "Y");
  }
  if (!options.sd_column.empty()) loaded.sd = Column(loaded, options, options.sd_column, 0, "SD");
  std::vector<std::shared_ptr<DataSeries>> chosen = loaded.xs;
  chosen.push_back(loaded.y);
  if (loaded.sd) chosen.push_back(loaded.sd);
  for (std::size_t i = 0; i < chosen.size(); ++i) {
    for (std::size_t j = i + 1; j < chosen.size(); ++j) {
      if (chosen[i] == chosen[j]) throw ToolError("the X, Y and SD columns must be different columns");
    }
  }
  loaded.rows = loaded.x->NumObservations();
  if (loaded.rows == 0) {
    throw ToolError("no row of the data file '" + CleanText(options.path) +
                    "' holds a number in every column (columns: " + ColumnList(*loaded.collection) +
                    "); check --delimiter and --decimal");
  }
  loaded.skipped = CheckRows(options, loaded.rows);
  if (options.strict && loaded.skipped.skipped > 0) {
    throw ToolError(std::to_string(loaded.skipped.skipped) + " row(s) of the data file '" + CleanText(options.path) +
                    "' cannot be read (--strict):\n" + SkippedRowLines(loaded.skipped, options, 5, "  ") +
                    "  (without --strict such rows are left out)");
  }
  if (loaded.xs.size() == 1) {
    loaded.x->SetRegressionKey("x");
  } else {
    for (std::size_t k = 0; k < loaded.xs.size(); ++k) {
      std::string key = "x";
      key += std::to_string(k + 1);
      loaded.xs[k]->SetRegressionKey(key);
    }
  }
  loaded.y->SetRegressionKey("y");
  if (loaded.sd) loaded.sd->SetRegressionKey("sd");
  return loaded;
}

}  // namespace tessarix::tool
