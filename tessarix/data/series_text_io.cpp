// Text import and export of a single series.
#include "tessarix/data/data_series.hpp"
#include "tessarix/data/internal/text_import.hpp"
#include "tessarix/foundation/error_catalogue.hpp"
#include "tessarix/platform/line_reader.hpp"
#include "tessarix/platform/number_format.hpp"
#include "tessarix/platform/text_writer.hpp"

namespace tessarix {

void DataSeries::ImportFromFile(const std::string& FilePath, bool AppendData, const std::string& DecimalSeparator,
                                const std::string& DateSeparator) {
  GuardWritable();
  detail::RunImportFrontEnd(ErrorCode::ArgumentExceedsArraySize, [&] {
    const detail::ImportSettings settings(DecimalSeparator, DateSeparator, Variant());
    std::string temp;
    const std::string path = detail::PrepareFile(FilePath, temp);
    detail::RunReadingLoop([&] {
      detail::LineReader reader;
      if (!reader.Open(path)) detail::RaiseLibraryError(ErrorCode::FileReadError);
      InvalidateStatistics();
      // The count is set once at the end: a failure partway keeps the old
      // count (with some values already overwritten, when replacing).
      std::int64_t count = AppendData ? count_ : 0;
      std::string line;
      double value = 0.0;
      while (reader.ReadLine(line)) {
        if (!detail::ReadValue(line, settings, value)) continue;
        ++count;
        EnsurePositions(count);
        values_[static_cast<std::size_t>(count)] = value;
      }
      count_ = static_cast<std::int32_t>(count);
    });
    detail::RemoveTemporary(temp);
  });
}

void DataSeries::ExportToFile(const std::string& FilePath, bool /*IncludeName*/, bool SaveFormatted, bool AppendData) {
  // A series never writes its name; IncludeName is accepted for symmetry with
  // the collection's export and stays without effect.
  if (count_ == 0) return;
  try {
    detail::TextWriter writer;
    if (!writer.Open(FilePath, AppendData)) detail::RaiseLibraryError(ErrorCode::FileWriteError);
    const bool formatted = SaveFormatted && !detail::IsGeneralFormat(number_display_format_);
    for (std::int32_t k = 1; k <= count_; ++k) {
      const double v = values_[static_cast<std::size_t>(k)];
      if (formatted) {
        writer.Plain(detail::FormatNumber(v, number_display_format_), true);
      } else {
        writer.ListDouble(v, true);
      }
    }
    writer.Close();
  } catch (...) {
    detail::RaiseLibraryError(ErrorCode::FileWriteError);
  }
}

}  // namespace tessarix
