// DataCollection: an ordered set of DataSeries keyed by Name without regard
// to case. The only creatable data object of the library: hosts fill one and
// hand it to a fit; regression objects publish their result tables as a
// read-only collection.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

#include "tessarix/data/data_series.hpp"
#include "tessarix/foundation/enums.hpp"
#include "tessarix/foundation/error.hpp"
#include "tessarix/foundation/export.hpp"
#include "tessarix/platform/matrix.hpp"
#include "tessarix/platform/variant.hpp"

namespace tessarix {

// Members keep insertion order; positions run from 1 to Count(); names are
// unique without regard to case ("abc" finds "ABC", and "a" and "A" cannot
// both be members). Series of a collection may differ in length: operations
// that need equal lengths raise 10012.
//
// A read-only collection (a regression's result tables) refuses every
// membership change with 10032, and so do its series; reading, exporting and
// SetNumberDisplayFormats still work.
//
// Errors: the catalogue errors named below reach the caller as they are; any
// other failure inside a member reaches it as 10001 "General Error: " + the
// failure's description.
class TESSARIX_API DataCollection {
 public:
  using const_iterator = std::vector<std::shared_ptr<DataSeries>>::const_iterator;

  DataCollection() = default;
  DataCollection(const DataCollection&) = delete;
  DataCollection& operator=(const DataCollection&) = delete;
  DataCollection(DataCollection&&) = delete;
  DataCollection& operator=(DataCollection&&) = delete;
  ~DataCollection() = default;

  // Adds an empty series named `Name` at the end and returns it. A name
  // already in use (in any case) raises 10003 and changes nothing.
  // PreAllocation > 0 reserves room for that many observations.
  std::shared_ptr<DataSeries> AddSeries(const std::string& Name, std::int32_t PreAllocation = 0);

  // The member at a position from 1 (a numeric Variant) or of a Name (a
  // String, any case). Any failure, also Empty or a position out of range,
  // raises 10002 "Invalid key or index".
  std::shared_ptr<DataSeries> Item(const Variant& SeriesIndex) const;
  std::shared_ptr<DataSeries> operator[](const Variant& SeriesIndex) const { return Item(SeriesIndex); }

  std::int32_t Count() const noexcept { return static_cast<std::int32_t>(members_.size()); }

  // Removes the member at a position or of a Name; without an argument the
  // last member. The series stays alive for those who hold it. A failure
  // (also on an empty collection) is 10001 "General Error: ..." (not 10002).
  void RemoveSeries(const Variant& SeriesIndex = Variant());

  // Range-for walks the members in order.
  const_iterator begin() const noexcept { return members_.begin(); }
  const_iterator end() const noexcept { return members_.end(); }

  // One series per column of `DataArray` (rows are observations), named
  // NameArray[j]; a series of that name is replaced (it takes the last
  // place), other members are kept. A Matrix without columns or rows, or a
  // NameArray shorter than the columns, raises 10004 (the columns before the
  // missing name stay added); surplus names are ignored.
  void ImportSeriesFromArray(const Matrix& DataArray, std::span<const std::string> NameArray);
  // The same for a two-dimensional Variant array and a Variant array of
  // names (10042 when either holds no array).
  void ImportSeriesFromArrayAlt(const Variant& DataArray, const Variant& NameArray);

  // The largest / smallest NumObservations of the members; 0 when empty.
  std::int32_t NumObservationsMax() const noexcept;
  std::int32_t NumObservationsMin() const noexcept;

  void RemoveAllSeries();
  // Sets every member's RegressionKey to "".
  void ClearRegressionKeys();

  // Rows x Count() table, column j = member j + 1. 10012 for members of
  // different lengths; 10004 when there are no rows or no members.
  Matrix ExportSeriesToArray();
  // The same as a two-dimensional array of Double Variants; Empty (no error)
  // when there are no rows or no members.
  Variant ExportSeriesToArrayAlt();

  // ---- Text files ------------------------------------------------------------
  //
  // The imports read delimited text, one row a line, into one series per
  // column. Forgiving by design: an empty line and a row with fewer fields
  // than columns are skipped, fields beyond the columns are ignored, and a
  // row with a field that is empty, neither a number nor a date (see
  // DataSeries::ImportFromFile for both tests), or equal to MissingQualifier
  // (unless it is a date) is dropped in all columns, so rows stay aligned.
  // With a MissingQualifier, double quotes are removed from every line first
  // ("3" reads as 3); without one, a quoted field is no number. Delimiters
  // inside quotes are not recognised. Rows read before a failure stay.
  // Errors: 10032 read-only; 10028 for another Delimiter; 10011 when the file
  // cannot be read; 10037 / 10038 for the temporary copy of a line-feed file;
  // 10035 for a value that cannot be converted.

  // Columns named by NameArray (one column per name, no header line). Each
  // name's series is replaced by a new, empty one before the file is even
  // opened. An empty NameArray raises 10004.
  void ImportSeriesFromFile(const std::string& FilePath, std::span<const std::string> NameArray,
                            DelimiterTypeEnum Delimiter = tsxDelimiterComma, const std::string& DecimalSeparator = "",
                            const std::string& DateSeparator = "", const Variant& MissingQualifier = Variant());
  // The same with the names in a Variant array (10042 when it holds none).
  void ImportSeriesFromFileAlt(const std::string& FilePath, const Variant& NameArray,
                               DelimiterTypeEnum Delimiter = tsxDelimiterComma,
                               const std::string& DecimalSeparator = "", const std::string& DateSeparator = "",
                               const Variant& MissingQualifier = Variant());
  // Columns named by the first non-empty line (double quotes removed, names
  // trimmed of blanks); each name's series is replaced. An empty file makes
  // no series and raises nothing.
  void ImportNamedSeriesFromFile(const std::string& FilePath, DelimiterTypeEnum Delimiter = tsxDelimiterComma,
                                 const std::string& DecimalSeparator = "", const std::string& DateSeparator = "",
                                 const Variant& MissingQualifier = Variant());

  // Writes the members as comma-delimited rows, lines ending in CRLF: with
  // IncludeNames first a line of the names in double quotes; values in the
  // list form ("." whatever the locale). With SaveFormatted, a member whose
  // NumberDisplayFormat is not ""/"General" writes its formatted text followed
  // by one blank (not a comma) where another column follows. Truncates the
  // file or appends (the name line is then repeated). 10012 for members of
  // different lengths; 10010 when the file cannot be opened or written.
  // Works on a read-only collection.
  void ExportSeriesToFile(const std::string& FilePath, bool IncludeNames = false, bool SaveFormatted = false,
                          bool AppendData = false);

  // Sets NumberDisplayFormat of every member (allowed on a read-only collection).
  void SetNumberDisplayFormats(const std::string& FormatString);

  bool IsReadOnly() const noexcept { return read_only_; }

  // ---- Sorting and pruning -------------------------------------------------

  // Sorts each member by itself (rows are not kept together). A direction
  // other than 0 or 1 raises 10028, also on an empty collection.
  void Sort(SortTypeEnum SortDirection = tsxSortAscending);
  // Prunes each member by its own values (rows are not kept together); an
  // operator outside 0 .. 4 raises 10028.
  void Prune(double Value, LogicalTypeEnum LogicalOperator);
  // Sorts the rows by the member `SeriesIndex` (position or Name), keeping
  // rows together; the order of rows with equal keys is not defined. 10028
  // for a bad direction, 10012 for members of different lengths, 10001 for a
  // SeriesIndex that names no member.
  void SortOnSeries(const Variant& SeriesIndex, SortTypeEnum SortDirection = tsxSortAscending);
  // Removes from every member the rows whose value in member `SeriesIndex`
  // passes "v <op> Value". 10012 for members of different lengths; a position
  // out of range raises 10005, an unknown Name 10001; 10028 for a bad
  // operator. All members may end up empty; they stay in the collection.
  void PruneOnSeries(const Variant& SeriesIndex, double Value, LogicalTypeEnum LogicalOperator);

  // ---- Statistics between members --------------------------------------------

  // Pearson correlation sxy / (sqrt(sxx * syy) + 1E-20) of two members given
  // by position or Name: a constant member gives 0, and two equal members
  // give a value a hair below 1 in magnitude. Two arguments that are equal as
  // Variants (Item 1 and Item 1) give exactly 1 without computing; a position
  // and the Name of the same member are not equal and are computed. 10012
  // when the lengths differ, 10007 when they are not above 1, 10001 for an
  // argument that names no member.
  double CalculateCorrelation(const Variant& SeriesIndex1, const Variant& SeriesIndex2);
  // Sample covariance sxy / (n - 1), with the checks of CalculateCorrelation.
  double CalculateCovariance(const Variant& SeriesIndex1, const Variant& SeriesIndex2);

 private:
  friend struct detail::DataAccess;

  void GuardWritable() const;
  // Index into members_ of the member named `name` (any case), or -1.
  std::ptrdiff_t FindByName(const std::string& name) const;
  std::shared_ptr<DataSeries> InsertNew(const std::string& name, std::int32_t preallocation);
  void EraseAt(std::size_t index);
  void EraseAll() noexcept;

  // The common body of the imports; `names` null: names from a header line.
  void ImportDelimited(const std::string& FilePath, const std::vector<std::string>* names, DelimiterTypeEnum Delimiter,
                       const std::string& DecimalSeparator, const std::string& DateSeparator,
                       const Variant& MissingQualifier);

  std::vector<std::shared_ptr<DataSeries>> members_;
  // Position in members_ by case-folded name, so that lookups by name stay
  // constant-time in collections of many series (files with wide headers).
  std::unordered_map<std::string, std::size_t> positions_;
  bool read_only_ = false;
};

}  // namespace tessarix
