// Fuzz target: NumberDisplayFormat and the format engine behind it.
//
// The first bytes choose the separators (English, decimal comma, a multi-byte
// thousands separator, or any two bytes), a value (any double, NaN and the
// infinities included) and a mode; the rest is the format string. In two
// modes the format is a plain fixed-point ("0.000") or scientific
// ("0.00E+00") one built from the bytes, and the text must read back as the
// value to the precision the format shows. Promises checked:
//   - the engine takes any format with any value and never throws;
//   - its text grows at most linearly with the format;
//   - the same call gives the same text, and the locale form equals the form
//     with the separators given explicitly;
//   - a series formats its observation as the engine does and exports that
//     very text; a series refuses a value that is not finite;
//   - fixed-point and scientific texts are the value, correctly rounded.
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>

#include "fuzz_support.hpp"
#include "tessarix/data/data_collection.hpp"
#include "tessarix/data/data_series.hpp"
#include "tessarix/platform/number_format.hpp"

namespace tessarix::fuzz {
namespace {

constexpr std::size_t kMaxFormat = 4096;

SystemSeparators ChooseSeparators(Bytes& in) {
  switch (in.Below(4)) {
    case 0:
      return EnglishSeparators();
    case 1:
      return DecimalCommaSeparators();
    case 2:
      return {",", ";", "\xC2\xA0", "/", ":"};
    default: {
      const char decimal = static_cast<char>(in.Byte());
      const char thousand = static_cast<char>(in.Byte());
      return {std::string(1, decimal), ";", std::string(1, thousand), "/", ":"};
    }
  }
}

std::string Format(double value, const std::string& format, const SystemSeparators& s) {
  try {
    return detail::FormatNumber(value, format, s.SystemDecimalSeparator, s.SystemThousandSeparator);
  } catch (const std::exception& e) {
    Broken("FormatNumber threw", format + ": " + e.what());
  }
}

// Reads a fixed-point or scientific text back, with the decimal separator
// given; false when it is no number.
bool ReadBack(const std::string& shown, const std::string& decimal, long double& value) {
  std::string text;
  for (std::size_t i = 0; i < shown.size(); ++i) {
    if (shown.compare(i, decimal.size(), decimal) == 0) {
      text.push_back('.');
      i += decimal.size() - 1;
    } else {
      text.push_back(shown[i]);
    }
  }
  char* end = nullptr;
  // Long double: a value near the largest double may round up past it.
  value = std::strtold(text.c_str(), &end);
  return !text.empty() && end == text.c_str() + text.size();
}

// Plain formats whose text must be the value: "0", "0.000", "0.0##",
// "0.00E+00" and so on, with up to 12 places.
void CheckValue(double value, Bytes& in, bool scientific, const SystemSeparators& s) {
  if (!std::isfinite(value)) return;
  const int places = static_cast<int>(in.Below(13));
  const int zeros = scientific ? places : static_cast<int>(in.Below(static_cast<std::uint32_t>(places) + 1));
  std::string format = "0";
  if (places > 0) {
    format.push_back('.');
    format.append(static_cast<std::size_t>(zeros), '0');
    format.append(static_cast<std::size_t>(places - zeros), '#');
  }
  if (scientific) format.append("E+00");
  if (!scientific && std::fabs(value) >= 1e15) return;                  // beyond 15 digits the tail is not the value's
  if (scientific && value != 0.0 && std::fabs(value) < 1e-300) return;  // subnormals read back coarsely
  const std::string text = Format(value, format, s);
  long double read = 0.0;
  TSX_FUZZ_CHECK(ReadBack(text, s.SystemDecimalSeparator, read), "the text of '" + format + "' is no number: " + text);
  // Half a unit of the last place shown, and the 15-digit rounding before it.
  const double unit = scientific ? std::fabs(value) * std::pow(10.0, -places) : std::pow(10.0, -places);
  const long double allowed = 0.5L * unit * (1 + 1e-9L) + std::fabs(value) * 1e-14L;
  TSX_FUZZ_CHECK(std::fabs(read - static_cast<long double>(value)) <= allowed,
                 "'" + format + "' shows " + text + " for " + std::to_string(value));
  if (text[0] == '-') TSX_FUZZ_CHECK(value < 0.0 && read != 0.0L, "a minus sign on a value that shows as zero");
}

}  // namespace
}  // namespace tessarix::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace tessarix;
  using namespace tessarix::fuzz;
  Bytes in(data, size);
  const SystemSeparators separators = ChooseSeparators(in);
  SetSystemSeparators(separators);
  const double value = in.Double();
  const std::uint32_t mode = in.Below(8);
  if (mode == 0 || mode == 1) {
    // Oracle modes need the decimal separator to be a single character
    // that is no digit, sign or exponent letter.
    const std::string& d = separators.SystemDecimalSeparator;
    if (d.size() == 1 && std::string("0123456789+-eE").find(d[0]) == std::string::npos && d[0] != '\0') {
      CheckValue(value, in, mode == 1, separators);
    }
    return 0;
  }
  const std::string format = in.Rest();
  if (format.size() > kMaxFormat) return -1;

  const std::string text = Format(value, format, separators);
  TSX_FUZZ_CHECK(text.size() <= 8 * format.size() + 2048, "the text grows faster than the format");
  TSX_FUZZ_CHECK(Format(value, format, separators) == text, "the same call gives another text");
  std::string with_locale;
  try {
    with_locale = detail::FormatNumber(value, format);
  } catch (const std::exception& e) {
    Broken("FormatNumber threw", e.what());
  }
  TSX_FUZZ_CHECK(with_locale == text, "the locale's form differs from the explicit one");

  DataCollection collection;
  const auto series = collection.AddSeries("s");
  series->SetNumberDisplayFormat(format);
  const std::int32_t error =
      AttemptExpecting("AddObservation", {ErrorCode::GeneralError}, [&] { series->AddObservation(value); });
  if (!std::isfinite(value)) {
    TSX_FUZZ_CHECK(error != 0 && series->NumObservations() == 0, "a series took a value that is not finite");
    return 0;
  }
  TSX_FUZZ_CHECK(error == 0, "a series refused a finite value");
  std::string formatted;
  AttemptExpecting("GetObservationFormatted", {}, [&] { formatted = series->GetObservationFormatted(0); });
  TSX_FUZZ_CHECK(formatted == text, "GetObservationFormatted differs from the engine");
  if (!detail::IsGeneralFormat(format)) {
    const std::string path = PrivateDir() + "/formatted.txt";
    AttemptExpecting("ExportToFile", {}, [&] { series->ExportToFile(path, false, true); });
    TSX_FUZZ_CHECK(ReadFile(path) == text + "\r\n", "the exported text differs from the formatted one");
    AttemptExpecting("ExportSeriesToFile", {}, [&] { collection.ExportSeriesToFile(path, false, true); });
    TSX_FUZZ_CHECK(ReadFile(path) == text + "\r\n", "the collection exported another text");
  }
  return 0;
}
