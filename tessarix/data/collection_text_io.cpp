// Text import and export of a DataCollection: one series per column.
#include <algorithm>
#include <vector>

#include "tessarix/data/data_access.hpp"
#include "tessarix/data/data_collection.hpp"
#include "tessarix/data/internal/text_import.hpp"
#include "tessarix/foundation/error_catalogue.hpp"
#include "tessarix/platform/line_reader.hpp"
#include "tessarix/platform/number_format.hpp"
#include "tessarix/platform/text_writer.hpp"

namespace tessarix {

using detail::DataAccess;

namespace {

// Splits at the delimiter, into at most `max_fields` fields (the rest of the
// line is not needed); adjacent delimiters give empty fields.
void Split(const std::string& line, char delimiter, std::vector<std::string>& fields,
           std::size_t max_fields = std::string::npos) {
  fields.clear();
  std::size_t start = 0;
  while (fields.size() < max_fields) {
    const std::size_t pos = line.find(delimiter, start);
    if (pos == std::string::npos) {
      fields.emplace_back(line, start);
      return;
    }
    fields.emplace_back(line, start, pos - start);
    start = pos + 1;
  }
}

void RemoveQuotes(std::string& text) { text.erase(std::remove(text.begin(), text.end(), '"'), text.end()); }

std::string TrimBlanks(const std::string& s) {
  const std::size_t first = s.find_first_not_of(' ');
  if (first == std::string::npos) return std::string();
  return s.substr(first, s.find_last_not_of(' ') - first + 1);
}

// The column loop: every good row adds one observation to each column's series.
void ReadRows(detail::LineReader& reader, const std::vector<std::shared_ptr<DataSeries>>& columns, char delimiter,
              const detail::ImportSettings& settings) {
  const std::size_t n = columns.size();
  std::string line;
  std::vector<std::string> fields;
  std::vector<double> row(n);
  while (reader.ReadLine(line)) {
    if (line.empty()) continue;
    if (settings.HasQualifier()) RemoveQuotes(line);
    Split(line, delimiter, fields, n);
    // Short rows are dropped, long rows cut: ragged files never abort.
    if (fields.size() < n) continue;
    bool good = true;
    for (std::size_t j = 0; j < n && good; ++j) good = detail::ReadValue(fields[j], settings, row[j]);
    if (!good) continue;
    for (std::size_t j = 0; j < n; ++j) columns[j]->AddObservation(row[j]);
  }
}

}  // namespace

void DataCollection::ImportDelimited(const std::string& FilePath, const std::vector<std::string>* names,
                                     DelimiterTypeEnum Delimiter, const std::string& DecimalSeparator,
                                     const std::string& DateSeparator, const Variant& MissingQualifier) {
  const char delimiter = detail::DelimiterCharacter(Delimiter);
  detail::RunImportFrontEnd(ErrorCode::SubscriptOutOfRange, [&] {
    const detail::ImportSettings settings(DecimalSeparator, DateSeparator, MissingQualifier);
    if (names != nullptr) {
      // An array without elements has no bounds.
      if (names->empty()) detail::RaiseFault(detail::FaultKind::SubscriptOutOfRange);
      // The named series are replaced before the file is even touched.
      for (const std::string& name : *names) DataAccess::ReplaceSeries(*this, name, 0);
    }
    std::string temp;
    const std::string path = detail::PrepareFile(FilePath, temp);
    detail::RunReadingLoop([&] {
      detail::LineReader reader;
      if (!reader.Open(path)) detail::RaiseLibraryError(ErrorCode::FileReadError);
      std::vector<std::string> column_names;
      if (names != nullptr) {
        column_names = *names;
      } else {
        std::string header;
        bool found = false;
        while (!found && reader.ReadLine(header)) found = !header.empty();
        if (found) {
          RemoveQuotes(header);
          Split(header, delimiter, column_names);
          for (std::string& name : column_names) {
            name = TrimBlanks(name);
            DataAccess::ReplaceSeries(*this, name, 0);
          }
        }
      }
      if (column_names.empty()) return;
      // Each column goes to the series its name finds in the set now (two
      // equal names share the one series that the second made).
      std::vector<std::shared_ptr<DataSeries>> columns;
      for (const std::string& name : column_names) {
        const std::ptrdiff_t index = FindByName(name);
        if (index < 0) detail::RaiseFault(detail::FaultKind::SubscriptOutOfRange);
        columns.push_back(members_[static_cast<std::size_t>(index)]);
      }
      ReadRows(reader, columns, delimiter, settings);
    });
    detail::RemoveTemporary(temp);
  });
}

void DataCollection::ImportSeriesFromFile(const std::string& FilePath, std::span<const std::string> NameArray,
                                          DelimiterTypeEnum Delimiter, const std::string& DecimalSeparator,
                                          const std::string& DateSeparator, const Variant& MissingQualifier) {
  GuardWritable();
  const std::vector<std::string> names(NameArray.begin(), NameArray.end());
  ImportDelimited(FilePath, &names, Delimiter, DecimalSeparator, DateSeparator, MissingQualifier);
}

void DataCollection::ImportSeriesFromFileAlt(const std::string& FilePath, const Variant& NameArray,
                                             DelimiterTypeEnum Delimiter, const std::string& DecimalSeparator,
                                             const std::string& DateSeparator, const Variant& MissingQualifier) {
  GuardWritable();
  if (!NameArray.IsArray()) detail::RaiseLibraryError(ErrorCode::ExpectedVariantArray);
  (void)detail::DelimiterCharacter(Delimiter);
  std::vector<std::string> names;
  detail::RunImportFrontEnd(ErrorCode::SubscriptOutOfRange, [&] {
    const std::int32_t upper = NameArray.UpperBound(1);
    for (std::int32_t j = 0; j <= upper; ++j) names.push_back(NameArray.At(j).ToString());
  });
  ImportDelimited(FilePath, &names, Delimiter, DecimalSeparator, DateSeparator, MissingQualifier);
}

void DataCollection::ImportNamedSeriesFromFile(const std::string& FilePath, DelimiterTypeEnum Delimiter,
                                               const std::string& DecimalSeparator, const std::string& DateSeparator,
                                               const Variant& MissingQualifier) {
  GuardWritable();
  ImportDelimited(FilePath, nullptr, Delimiter, DecimalSeparator, DateSeparator, MissingQualifier);
}

void DataCollection::ExportSeriesToFile(const std::string& FilePath, bool IncludeNames, bool SaveFormatted,
                                        bool AppendData) {
  if (NumObservationsMax() != NumObservationsMin()) detail::RaiseLibraryError(ErrorCode::UnequalSeriesLengths);
  try {
    const std::int32_t rows = NumObservationsMax();
    const std::size_t cols = members_.size();
    detail::TextWriter writer;
    if (!writer.Open(FilePath, AppendData)) detail::RaiseLibraryError(ErrorCode::FileWriteError);
    if (IncludeNames) {
      for (std::size_t j = 0; j < cols; ++j) writer.ListString(members_[j]->Name(), j + 1 == cols);
    }
    std::vector<std::string> formats(cols);
    for (std::size_t j = 0; j < cols; ++j) {
      if (SaveFormatted && !detail::IsGeneralFormat(members_[j]->NumberDisplayFormat())) {
        formats[j] = members_[j]->NumberDisplayFormat();
      }
    }
    for (std::int32_t i = 1; i <= rows; ++i) {
      for (std::size_t j = 0; j < cols; ++j) {
        const double v = DataAccess::Values(*members_[j])[i];
        const bool last = j + 1 == cols;
        // Formatted columns are followed by one blank, the others by a comma.
        if (formats[j].empty()) {
          writer.ListDouble(v, last);
        } else {
          writer.Plain(detail::FormatNumber(v, formats[j]), last);
          if (!last) writer.Plain(" ", false);
        }
      }
    }
    writer.Close();
  } catch (...) {
    detail::RaiseLibraryError(ErrorCode::FileWriteError);
  }
}

}  // namespace tessarix
