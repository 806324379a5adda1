#include "row_check.hpp"

#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <optional>
#include <set>
#include <sstream>
#include <string_view>
#include <tessarix/core/error.hpp>
#include <tessarix/data/data_collection.hpp>
#include <tessarix/data/data_series.hpp>
#include <tessarix/platform/variant.hpp>
#include <vector>

#include "text_format.hpp"

namespace tessarix::tool {

namespace {

// The file's lines as the import reads them: a line ends at a carriage
// return, a line feed, or the two together.
std::vector<std::string_view> SplitLines(std::string_view text) {
  std::vector<std::string_view> lines;
  std::size_t start = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '\r' && text[i] != '\n') continue;
    lines.push_back(text.substr(start, i - start));
    if (text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n') ++i;
    start = i + 1;
  }
  if (start < text.size()) lines.push_back(text.substr(start));
  return lines;
}

// Adjacent delimiters give empty fields, as in the import.
std::vector<std::string> SplitFields(std::string_view line, char delimiter) {
  std::vector<std::string> fields(1);
  for (char c : line) {
    if (c == delimiter) {
      fields.emplace_back();
    } else {
      fields.back().push_back(c);
    }
  }
  return fields;
}

char DelimiterCharacter(DelimiterTypeEnum delimiter) {
  switch (delimiter) {
    case tsxDelimiterTab:
      return '\t';
    case tsxDelimiterSpace:
      return ' ';
    case tsxDelimiterSemicolon:
      return ';';
    default:
      return ',';
  }
}

std::string WithoutQuotes(std::string_view text) {
  std::string out;
  for (char c : text) {
    if (c != '"') out.push_back(c);
  }
  return out;
}

std::string Trimmed(const std::string& text) {
  const auto first = text.find_first_not_of(' ');
  if (first == std::string::npos) return "";
  return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

// The library's numeric test, as the import applies it (the tool runs with
// "." as the decimal separator).
bool IsNumber(const std::string& field) {
  try {
    (void)Variant(field).ToDouble();
    return true;
  } catch (const std::exception&) {
    return false;
  }
}

// The field with the file's decimal separator replaced by the point, as the
// import replaces it by the system's.
std::string WithPoint(const std::string& field, const std::string& separator) {
  if (separator.empty() || separator == ".") return field;
  std::string out;
  for (std::size_t i = 0; i < field.size();) {
    if (field.compare(i, separator.size(), separator) == 0) {
      out += '.';
      i += separator.size();
    } else {
      out += field[i++];
    }
  }
  return out;
}

struct FileLayout {
  std::string header;  // the header line as written
  std::vector<std::string> names;
  std::vector<std::pair<std::int64_t, std::string_view>> data;  // line number, text
};

// The first field of a row that the import refuses, in column order.
std::optional<SkippedRow> Classify(std::string_view text, std::int64_t line, const FileLayout& layout,
                                   const DataOptions& options) {
  const std::string row = options.missing.empty() ? std::string(text) : WithoutQuotes(text);
  const std::vector<std::string> fields = SplitFields(row, DelimiterCharacter(options.delimiter));
  const std::size_t columns = layout.names.size();
  if (fields.size() < columns) {
    return SkippedRow{line, SkippedRow::kTooFewFields, "", std::to_string(fields.size())};
  }
  for (std::size_t j = 0; j < columns; ++j) {
    const std::string field = WithPoint(fields[j], options.decimal_separator);
    if (field.empty()) return SkippedRow{line, SkippedRow::kEmptyField, layout.names[j], ""};
    if (!options.missing.empty() && field == options.missing) {
      return SkippedRow{line, SkippedRow::kMissingMarker, layout.names[j], fields[j]};
    }
    if (!IsNumber(field)) return SkippedRow{line, SkippedRow::kNotANumber, layout.names[j], fields[j]};
  }
  return std::nullopt;
}

// The line numbers of the rows that the import keeps, asked of the library:
// a copy of the file with each line's number in a first column of its own.
// Empty when the copy cannot be made or read.
std::optional<std::set<std::int64_t>> KeptLines(const FileLayout& layout, const DataOptions& options) {
  static constexpr const char* kLineColumn = "tessarix_line_number";
  std::error_code ec;
  const auto path = std::filesystem::temp_directory_path(ec) /
                    ("tessarix_rows_" + std::to_string(getpid()) + "_" + std::to_string(layout.data.size()) + ".txt");
  if (ec) return std::nullopt;
  const char delimiter = DelimiterCharacter(options.delimiter);
  {
    std::ofstream copy(path, std::ios::binary | std::ios::trunc);
    copy << kLineColumn << delimiter << layout.header << '\n';
    for (const auto& [line, text] : layout.data) copy << line << delimiter << text << '\n';
    if (!copy) {
      std::filesystem::remove(path, ec);
      return std::nullopt;
    }
  }
  std::optional<std::set<std::int64_t>> kept;
  try {
    DataCollection probe;
    probe.ImportNamedSeriesFromFile(path.string(), options.delimiter, options.decimal_separator, "",
                                    options.missing.empty() ? Variant() : Variant(options.missing));
    kept.emplace();
    for (double line : probe.Item(kLineColumn)->ExportToArray()) kept->insert(static_cast<std::int64_t>(line));
  } catch (const Error&) {
    kept.reset();
  }
  std::filesystem::remove(path, ec);
  return kept;
}

}  // namespace

RowCheck CheckRows(const DataOptions& options, std::int64_t rows_read) {
  RowCheck check;
  std::ifstream file(options.path, std::ios::binary);
  std::ostringstream buffer;
  buffer << file.rdbuf();
  const std::string text = buffer.str();
  const std::vector<std::string_view> lines = SplitLines(text);

  FileLayout layout;
  std::size_t i = 0;
  while (i < lines.size() && lines[i].empty()) ++i;
  if (i == lines.size()) return check;
  layout.header = std::string(lines[i]);
  for (const std::string& name : SplitFields(WithoutQuotes(lines[i]), DelimiterCharacter(options.delimiter))) {
    layout.names.push_back(Trimmed(name));
  }
  for (++i; i < lines.size(); ++i) {
    if (!lines[i].empty()) layout.data.emplace_back(static_cast<std::int64_t>(i) + 1, lines[i]);
  }
  check.data_lines = static_cast<std::int64_t>(layout.data.size());
  check.skipped = std::max<std::int64_t>(0, check.data_lines - rows_read);
  if (check.skipped == 0) return check;

  std::vector<SkippedRow> refused;
  for (const auto& [line, row] : layout.data) {
    if (auto skipped = Classify(row, line, layout, options)) refused.push_back(std::move(*skipped));
  }
  if (static_cast<std::int64_t>(refused.size()) > check.skipped) {
    // Some field that is no number reads as a date: keep only the rows the
    // library really left out.
    const auto kept = KeptLines(layout, options);
    if (!kept) return check;
    std::erase_if(refused, [&](const SkippedRow& row) { return kept->count(row.line) > 0; });
  }
  if (static_cast<std::int64_t>(refused.size()) != check.skipped) return check;
  if (refused.size() > kMaxListedRows) refused.resize(kMaxListedRows);
  check.rows = std::move(refused);
  return check;
}

std::string SkippedRowText(const SkippedRow& row, const DataOptions& options) {
  std::string text = "line " + std::to_string(row.line) + ": ";
  const std::string column = "column '" + CleanText(row.column) + "'";
  switch (row.reason) {
    case SkippedRow::kTooFewFields:
      return text + "only " + row.text + " field(s), fewer than the header's columns";
    case SkippedRow::kEmptyField:
      return text + "empty field in " + column;
    case SkippedRow::kMissingMarker:
      return text + "the missing marker '" + CleanText(options.missing) + "' in " + column;
    case SkippedRow::kNotANumber:
      return text + "not a number in " + column + ": '" + Abbreviate(CleanText(row.text), 40) + "'";
    case SkippedRow::kUnknown:
      break;
  }
  return text + "not read";
}

std::string ReasonKey(SkippedRow::Reason reason) {
  switch (reason) {
    case SkippedRow::kTooFewFields:
      return "too-few-fields";
    case SkippedRow::kEmptyField:
      return "empty-field";
    case SkippedRow::kMissingMarker:
      return "missing-marker";
    case SkippedRow::kNotANumber:
      return "not-a-number";
    case SkippedRow::kUnknown:
      break;
  }
  return "unknown";
}

std::string SkippedRowLines(const RowCheck& check, const DataOptions& options, std::size_t shown,
                            const std::string& indent) {
  std::string out;
  const std::size_t listed = std::min(shown, check.rows.size());
  for (std::size_t i = 0; i < listed; ++i) out += indent + SkippedRowText(check.rows[i], options) + '\n';
  const std::int64_t rest = check.skipped - static_cast<std::int64_t>(listed);
  if (rest > 0) out += indent + (listed > 0 ? "and " + std::to_string(rest) + " more" : "which cannot be told") + '\n';
  return out;
}

std::string SkippedRowsNote(const RowCheck& check, const DataOptions& options) {
  if (check.skipped == 0) return "";
  return std::to_string(check.skipped) + " of " + std::to_string(check.data_lines) +
         " rows could not be read and are left out (--strict refuses them):\n" +
         SkippedRowLines(check, options, 5, "  ");
}

}  // namespace tessarix::tool
