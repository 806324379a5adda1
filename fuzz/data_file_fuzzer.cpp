// Fuzz target: delimited text files read by the import members.
//
// The input is a line of option bytes, a line feed, and the file. The
// option bytes choose the member (DataSeries::ImportFromFile,
// DataCollection::ImportSeriesFromFile, its Alt form, ImportNamedSeriesFromFile),
// the separators in force (English or decimal comma), AppendData, the
// decimal and date separator arguments, the delimiter (also invalid ones),
// the missing qualifier, the names, and whether the target is read-only
// (missing bytes read as zeros: an empty line takes the defaults). The file
// is written to a regular file in a private folder.
// Promises checked:
//   - only catalogue errors; a read-only target and a bad delimiter are refused;
//   - every imported value is finite;
//   - data that the import does not own survives: appended-to observations,
//     series of other names, a read-only target;
//   - the series of one import by distinct names are equally long (rows stay
//     aligned);
//   - a file with bare line feeds reads exactly as its CR LF twin, and its
//     temporary copy is gone after a good read.
#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "fuzz_support.hpp"
#include "tessarix/core/nonlinear_regression.hpp"
#include "tessarix/data/data_collection.hpp"
#include "tessarix/data/data_series.hpp"

namespace tessarix::fuzz {
namespace {

struct Options {
  std::uint32_t member = 0;  // 0 series, 1 named columns, 2 the same by Variant, 3 header line
  bool append = false;
  bool read_only = false;
  std::string decimal, date;
  DelimiterTypeEnum delimiter = tsxDelimiterComma;
  Variant missing;
  std::vector<std::string> names;
  Variant alt_names;
  std::uint32_t path_kind = 0;  // 0 the file, 1 a folder, 2 a missing file
};

std::string Lower(std::string s) {
  for (char& c : s) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return s;
}

std::string Pick(Bytes& in, std::initializer_list<const char*> fixed, std::size_t max_free) {
  const std::uint32_t choice = in.Below(static_cast<std::uint32_t>(fixed.size()) + 1);
  if (choice < fixed.size()) return *(fixed.begin() + choice);
  return in.String(max_free);
}

Options ReadOptions(Bytes& in) {
  Options o;
  o.member = in.Below(4);
  o.append = in.Bool();
  o.read_only = in.Below(16) == 15;
  const std::uint32_t path = in.Below(32);
  o.path_kind = path >= 30 ? path - 29 : 0;
  o.decimal = Pick(in, {"", "", ".", ","}, 2);
  o.date = Pick(in, {"", "", "/", "-", "."}, 2);
  const std::uint32_t delimiter = in.Below(9);
  o.delimiter = static_cast<DelimiterTypeEnum>(delimiter < 7 ? delimiter % 4 : (delimiter == 7 ? 4 : -1));
  switch (in.Below(8)) {
    case 0:
    case 1:
    case 2:
      break;
    case 3:
      o.missing = "NA";
      break;
    case 4:
      o.missing = "-999";
      break;
    case 5:
      o.missing = -999.0;
      break;
    case 6:
      o.missing = in.String(4);
      break;
    default:
      o.missing = in.Bool();
      break;
  }
  const std::uint32_t count = in.Below(8) == 7 ? 0 : 1 + in.Below(3);
  for (std::uint32_t i = 0; i < count; ++i) o.names.push_back(Pick(in, {"a", "b", "c", "A", "x y", ""}, 5));
  if (in.Below(8) == 7) {
    o.alt_names = in.Bool() ? Variant("a") : Variant();
  } else {
    std::vector<Variant> elements;
    for (const std::string& name : o.names) elements.emplace_back(name);
    if (!elements.empty() && in.Below(4) == 3) elements.back() = Variant(7.5);
    o.alt_names = Variant::Array(std::move(elements));
  }
  return o;
}

// What an import left behind: the error and every series, for comparing two runs.
struct Result {
  std::int32_t error = 0;
  std::vector<std::string> names;
  std::vector<std::vector<double>> values;
  bool operator==(const Result&) const = default;
};

void CheckFinite(const DataCollection& collection) {
  for (const auto& series : collection) RequireAllFinite(series->ExportToArray(), "imported values");
}

// A regression's result tables: a read-only collection of read-only series.
std::shared_ptr<DataCollection> ReadOnlyTables() {
  static const std::shared_ptr<DataCollection> tables = [] {
    static NonlinearRegression reg;
    reg.DefineUserModel("a*x+b");
    const std::vector<double> x = {1, 2, 3, 4}, y = {3, 5.5, 7, 9.5};
    reg.Fit(x, y);
    if (!reg.IsSolved()) Broken("the read-only tables could not be made");
    return reg.ResultTables();
  }();
  return tables;
}

Result Import(const Options& o, const std::string& path, bool check_aligned) {
  const std::string temp_dir = PrivateDir() + "/tmp";
  Result result;
  std::shared_ptr<DataCollection> collection = std::make_shared<DataCollection>();
  if (o.read_only) {
    collection = ReadOnlyTables();
  } else {
    collection->AddSeries("a")->ImportFromArray(std::vector<double>{1.0, 2.0, 3.0});
    collection->AddSeries("keep")->ImportFromArray(std::vector<double>{4.0, 5.0});
    collection->AddSeries("target")->ImportFromArray(std::vector<double>{10.0, 20.0});
  }
  std::vector<std::shared_ptr<DataSeries>> before_members(collection->begin(), collection->end());
  std::vector<std::vector<double>> before_values;
  for (const auto& s : before_members) before_values.push_back(s->ExportToArray());
  const std::shared_ptr<DataSeries> target = collection->Item(o.read_only ? 1 : 3);

  result.error = Attempt("import", [&] {
    switch (o.member) {
      case 0:
        target->ImportFromFile(path, o.append, o.decimal, o.date);
        break;
      case 1:
        collection->ImportSeriesFromFile(path, o.names, o.delimiter, o.decimal, o.date, o.missing);
        break;
      case 2:
        collection->ImportSeriesFromFileAlt(path, o.alt_names, o.delimiter, o.decimal, o.date, o.missing);
        break;
      default:
        collection->ImportNamedSeriesFromFile(path, o.delimiter, o.decimal, o.date, o.missing);
        break;
    }
  });
  const bool bad_delimiter = o.delimiter < 0 || o.delimiter > 3;
  if (o.read_only) TSX_FUZZ_CHECK(result.error != 0, "an import into a read-only object was not refused");
  if (o.member != 0 && bad_delimiter) TSX_FUZZ_CHECK(result.error != 0, "an invalid delimiter was not refused");
  if (o.path_kind != 0) TSX_FUZZ_CHECK(result.error != 0, "a folder or a missing file was read");
  CheckFinite(*collection);

  // Data the import does not own.
  std::vector<std::string> replaced;
  if (o.member == 1) {
    for (const auto& name : o.names) replaced.push_back(Lower(name));
  }
  if (o.member == 2 && o.alt_names.Dimensions() == 1) {
    for (std::int32_t i = 0; i <= o.alt_names.UpperBound(1); ++i) {
      replaced.push_back(Lower(o.alt_names.At(i).ToString()));
    }
  }
  for (std::size_t i = 0; i < before_members.size(); ++i) {
    const auto& series = before_members[i];
    const std::string name = Lower(series->Name());
    const bool owned = std::find(replaced.begin(), replaced.end(), name) != replaced.end() || o.member == 3;
    const bool target_series = o.member == 0 && series == target;
    if (o.read_only || (!owned && !target_series)) {
      TSX_FUZZ_CHECK(SameBits(series->ExportToArray(), before_values[i]), "an import lost data it does not own");
    }
    if (target_series && result.error == 0 && o.append) {
      const std::vector<double> now = series->ExportToArray();
      TSX_FUZZ_CHECK(now.size() >= before_values[i].size() &&
                         SameBits(std::span<const double>(now).first(before_values[i].size()), before_values[i]),
                     "an appending import changed the observations it appended to");
    }
  }
  if (o.read_only) {
    TSX_FUZZ_CHECK(std::vector<std::shared_ptr<DataSeries>>(collection->begin(), collection->end()) == before_members,
                   "an import changed the members of a read-only collection");
  }

  // One row adds one value to every column, so columns of distinct names stay aligned.
  if (check_aligned && result.error == 0 && (o.member == 1 || o.member == 2)) {
    std::vector<std::string> distinct = replaced;
    std::sort(distinct.begin(), distinct.end());
    if (std::adjacent_find(distinct.begin(), distinct.end()) == distinct.end() && !distinct.empty()) {
      std::int32_t count = -1;
      for (const std::string& name : distinct) {
        const std::int32_t n = collection->Item(name)->NumObservations();
        TSX_FUZZ_CHECK(count < 0 || n == count, "the columns of one import have different lengths");
        count = n;
      }
    }
  }

  if (result.error == 0) {
    TSX_FUZZ_CHECK(FolderEntries(temp_dir).empty(), "a good read left its temporary copy behind");
  }
  EmptyFolder(temp_dir);
  for (const auto& series : *collection) {
    result.names.push_back(series->Name());
    result.values.push_back(series->ExportToArray());
  }
  return result;
}

}  // namespace
}  // namespace tessarix::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace tessarix;
  using namespace tessarix::fuzz;
  static const bool ready = [] {
    // Temporary copies go to a folder of our own, so that a left-over one is seen.
    const std::string temp_dir = PrivateDir() + "/tmp";
    std::filesystem::create_directories(temp_dir);
    setenv("TMPDIR", temp_dir.c_str(), 1);
    return true;
  }();
  (void)ready;
  if (size > 1 << 16) return -1;
  const std::string input(reinterpret_cast<const char*>(data), size);
  const std::size_t line_end = std::min(input.find('\n'), input.size());
  Bytes in(data, line_end);
  SetSystemSeparators(in.Bool() ? DecimalCommaSeparators() : EnglishSeparators());
  const Options options = ReadOptions(in);
  const std::string bytes = line_end < input.size() ? input.substr(line_end + 1) : std::string();

  const std::string file = PrivateDir() + "/data.txt";
  WriteFile(file, bytes);
  const std::string path = options.path_kind == 0   ? file
                           : options.path_kind == 1 ? PrivateDir()
                                                    : PrivateDir() + "/missing.txt";
  const Result first = Import(options, path, true);

  // One column: the collection's import reads what the series's import reads
  // (a date's serial number passes through its text there: 15 digits).
  if (options.path_kind == 0 && !options.read_only && options.missing.IsEmpty() &&
      bytes.find('\t') == std::string::npos) {
    DataCollection by_series, by_columns;
    const auto series = by_series.AddSeries("a");
    const std::vector<std::string> names = {"a"};
    const std::int32_t series_error =
        Attempt("ImportFromFile", [&] { series->ImportFromFile(file, false, options.decimal, options.date); });
    const std::int32_t columns_error = Attempt("ImportSeriesFromFile", [&] {
      by_columns.ImportSeriesFromFile(file, names, tsxDelimiterTab, options.decimal, options.date);
    });
    EmptyFolder(PrivateDir() + "/tmp");
    TSX_FUZZ_CHECK(series_error == columns_error, "the series and the collection disagree on a one-column file");
    if (series_error == 0) {
      const std::vector<double> a = series->ExportToArray();
      const std::vector<double> b = by_columns.Item("a")->ExportToArray();
      TSX_FUZZ_CHECK(a.size() == b.size(), "the series and the collection read different rows");
      for (std::size_t i = 0; i < a.size(); ++i) {
        TSX_FUZZ_CHECK(std::fabs(a[i] - b[i]) <= 1e-9 * std::max(1.0, std::fabs(a[i])),
                       "the series and the collection read different values: " + std::to_string(a[i]) + " and " +
                           std::to_string(b[i]));
      }
    }
  }

  // The same lines with CR LF ends must read alike.
  if (options.path_kind == 0 && bytes.find('\r') == std::string::npos && bytes.find('\n') != std::string::npos) {
    std::string crlf;
    for (char c : bytes) {
      if (c == '\n') crlf += '\r';
      crlf += c;
    }
    WriteFile(file, crlf);
    const Result second = Import(options, file, false);
    TSX_FUZZ_CHECK(first == second, "a file with bare line feeds reads differently from its CR LF twin");
  }
  return 0;
}
