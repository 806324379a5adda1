#include "tessarix/data/internal/text_import.hpp"

#include <cstdio>

#include "tessarix/platform/date_text.hpp"
#include "tessarix/platform/line_reader.hpp"
#include "tessarix/platform/numeric_text.hpp"
#include "tessarix/platform/separators.hpp"
#include "tessarix/platform/temp_file.hpp"

namespace tessarix::detail {

char DelimiterCharacter(DelimiterTypeEnum delimiter) {
  switch (delimiter) {
    case tsxDelimiterComma:
      return ',';
    case tsxDelimiterTab:
      return '\t';
    case tsxDelimiterSpace:
      return ' ';
    case tsxDelimiterSemicolon:
      return ';';
  }
  RaiseLibraryError(ErrorCode::InvalidArgument);
}

ImportSettings::ImportSettings(const std::string& decimal_separator, const std::string& date_separator,
                               const Variant& missing_qualifier)
    : decimal(decimal_separator), date(date_separator), qualifier(missing_qualifier) {
  const SystemSeparators& sep = CurrentSeparators();
  system_decimal = sep.SystemDecimalSeparator;
  system_date = sep.SystemDateSeparator;
  if (decimal.empty()) decimal = system_decimal;
  if (date.empty()) date = system_date;
  qualifier_text = qualifier.ToString();
}

bool ImportSettings::IsQualifier(std::string_view field) const {
  if (field == qualifier_text) return true;
  const VariantType type = qualifier.Type();
  if (type != VariantType::Long && type != VariantType::Double) return false;
  double v = 0.0;
  return ParseLocaleNumber(field, v) == NumberParse::Ok && v == qualifier.ToDouble();
}

void ReplaceAll(std::string& text, std::string_view from, std::string_view to) {
  if (from.empty() || from == to) return;
  std::size_t pos = text.find(from);
  if (pos == std::string::npos) return;
  std::string out;
  out.reserve(text.size());
  std::size_t start = 0;
  for (; pos != std::string::npos; pos = text.find(from, start)) {
    out.append(text, start, pos - start).append(to);
    start = pos + from.size();
  }
  out.append(text, start, std::string::npos);
  text.swap(out);
}

bool ReadValue(std::string& field, const ImportSettings& settings, double& value) {
  if (settings.decimal != settings.system_decimal) ReplaceAll(field, settings.decimal, settings.system_decimal);
  const bool numeric = ParseLocaleNumber(field, value) == NumberParse::Ok;
  // A qualifier marks a missing value even where it looks like a number (-999).
  if (numeric && !(settings.HasQualifier() && settings.IsQualifier(field))) return true;
  if (settings.date != settings.system_date) ReplaceAll(field, settings.date, settings.system_date);
  return ParseLocaleDate(field, value);
}

std::string PrepareFile(const std::string& path, std::string& temp_path) {
  temp_path.clear();
  if (!ProbeBareLineFeeds(path)) return path;
  // A copy with carriage-return line ends; the file itself is never altered.
  std::string temp = MakeTempFileName("tsx");  // not const: returned by move
  if (temp.empty()) RaiseLibraryError(ErrorCode::NoTemporaryFileName);
  if (!WriteNormalisedCopy(path, temp)) {
    std::remove(temp.c_str());
    throw ErrorFactory::Make(ErrorCode::CannotCreateTemporaryFile,
                             std::string(ErrorMessage(ErrorCode::CannotCreateTemporaryFile)) + " '" + temp + "'");
  }
  temp_path = temp;
  return temp;
}

void RemoveTemporary(const std::string& temp_path) noexcept {
  if (!temp_path.empty()) std::remove(temp_path.c_str());
}

}  // namespace tessarix::detail
