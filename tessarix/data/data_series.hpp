// DataSeries: one named column of Double observations, the unit of data of
// the whole library. Regression objects and CubicSpline read their input from
// series and publish their result tables as series.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "tessarix/foundation/enums.hpp"
#include "tessarix/foundation/error.hpp"
#include "tessarix/foundation/export.hpp"
#include "tessarix/platform/variant.hpp"

namespace tessarix {

class DataCollection;

namespace detail {
struct DataAccess;
}

// A series is made only by a DataCollection (AddSeries) and handed around as
// std::shared_ptr; it stays valid for as long as a reference to it exists,
// also after it was removed from its collection.
//
// Public indexes are zero-based: 0 .. NumObservations() - 1.
//
// A series of a regression's result tables is read-only: every member that
// changes values or the regression key raises 10032 "The referenced object is
// read only" on it; Tag and NumberDisplayFormat stay writable.
//
// Errors: members raise the catalogue errors named below; any other failure
// inside a member (a floating-point fault, an allocation failure) reaches the
// caller as 10001 "General Error: " + the failure's description, and leaves
// the series as it was unless said otherwise.
class TESSARIX_API DataSeries {
 public:
  DataSeries(const DataSeries&) = delete;
  DataSeries& operator=(const DataSeries&) = delete;
  ~DataSeries() = default;

  // Free text for the client, never interpreted.
  std::string Tag() const { return tag_; }
  void SetTag(const std::string& value) { tag_ = value; }

  // The series's name, its key in the owning collection (set once, at creation).
  std::string Name() const { return name_; }

  std::int32_t NumObservations() const noexcept { return count_; }

  // Appends one value.
  void AddObservation(double Value);

  // Removes the observation of `ObservationIndex`; tsxLast (-1) removes the
  // last one, and on an empty series does nothing at all. Any other index
  // outside 0 .. NumObservations() - 1 raises 10009.
  void RemoveObservation(std::int32_t ObservationIndex = tsxLast);

  // Role marker read by the Fit entry points ("x", "y", "sd", compared after
  // lower-casing). SetRegressionKey is refused on a read-only series.
  std::string RegressionKey() const { return regression_key_; }
  void SetRegressionKey(const std::string& value);

  // Stores StartValue + k * Increment for k = 0 .. NumObservations - 1 (each
  // value from the start value, not a running sum), after the existing values
  // when AppendData, else from index 0 (values above the new count are
  // dropped). NumObservations < 1 raises 10028.
  void Fill(double StartValue, double Increment, std::int32_t NumObservations, bool AppendData = false);

  void RemoveAllObservations();

  // Replaces the values by `DataArray` (or appends it). An empty span is an
  // array without dimensions: 10004 "Subscript out of range".
  void ImportFromArray(std::span<const double> DataArray, bool AppendData = false);
  // The same for a one-dimensional Variant array whose elements convert to
  // Double; 10042 when `DataArray` holds no array, 10004 for an array without
  // elements or of two dimensions, 10001 "General Error: Type mismatch" for an
  // element that is no number (the series is then left as it was).
  void ImportFromArrayAlt(const Variant& DataArray, bool AppendData = false);

  // The values, index 0 first; an empty vector (no error) for an empty series.
  std::vector<double> ExportToArray();
  // The values as a one-dimensional array of Double Variants; Empty for an
  // empty series.
  Variant ExportToArrayAlt();

  // ---- Text files ------------------------------------------------------------

  // Reads one value a line from a text file; lines that are neither a number
  // nor a date are skipped silently. A line is a number by the numeric test
  // of the system's locale (sign, exponent, thousands separators, a leading
  // currency sign, a negative in brackets) after each `DecimalSeparator` of
  // the file ("" = the system's) became the system's; otherwise a date in the
  // locale's short date order or ISO yyyy-mm-dd, with `DateSeparator` ("" =
  // the system's), stored as its date serial number (days since 30 December
  // 1899, the time of day as a fraction). Lines end at CR, CRLF or LF; a file
  // whose first line holds bare line feeds is read through a normalised
  // temporary copy ("tsx..." in the temporary directory, deleted after a
  // good read). Replaces the values, or appends them when AppendData.
  // Errors: 10032 read-only; 10011 when the file cannot be read (missing, or
  // no regular file: a directory, a device, a FIFO); 10037 / 10038 when the
  // temporary copy cannot be made.
  void ImportFromFile(const std::string& FilePath, bool AppendData = false, const std::string& DecimalSeparator = "",
                      const std::string& DateSeparator = "");

  // Writes one value a line, lines ending in CRLF: by default in the list
  // form ("." as decimal point whatever the locale, up to 15 significant
  // digits); with SaveFormatted and a format other than ""/"General", the
  // text of NumberDisplayFormat. Truncates the file, or appends when
  // AppendData; creates a missing file. An empty series writes nothing and
  // does not touch the file. IncludeName has no effect (no name line is ever
  // written by a series; the collection's export writes names). Works on a
  // read-only series. 10010 when the file cannot be opened or written.
  void ExportToFile(const std::string& FilePath, bool IncludeName = false, bool SaveFormatted = false,
                    bool AppendData = false);

  // Format string of GetObservationFormatted and of formatted export.
  // Initially "General". Writable also on a read-only series.
  std::string NumberDisplayFormat() const { return number_display_format_; }
  void SetNumberDisplayFormat(const std::string& value) { number_display_format_ = value; }

  bool IsReadOnly() const noexcept { return read_only_; }

  // Applies a transformation to every value. All or nothing: a value out of
  // the transformation's domain (the root of a negative, the logarithm of 0,
  // the inverse of 0, an overflow) leaves every value as it was and raises
  // 10001 with the fault's description. An empty series returns at once,
  // before `Transformation` is examined; otherwise a value outside 0 .. 6
  // raises 10028.
  void Transform(TransformTypeEnum Transformation);
  // value = Factor + value, all or nothing as Transform; nothing on an empty series.
  void Translate(double Factor);
  // value = Factor * value, all or nothing as Transform; nothing on an empty series.
  void Multiply(double Factor);

  // ---- Statistics ----------------------------------------------------------
  // Computed together in one pass for the extremes and the sum, a second for
  // the deviations and one sort of a copy for the median, then cached until
  // the values change (Sort keeps the cache: no statistic depends on order).
  //
  // Too few observations raise 10007. Maximum, Mean, Sum, Median and Range
  // need one observation (with exactly one they give the value, Range 0);
  // all others need two, Minimum too, although its value is known. A
  // floating-point fault while computing (an overflow of a fourth power)
  // raises 10008.
  //
  // Estimators, for n observations with deviations d = value - Mean:
  //   MeanAbsoluteDeviation = sum |d| / n
  //   SumOfSquaredDeviation = sum d^2
  //   MeanSquareDeviation   = sum d^2 / n (population form)
  //   RootMeanSquare        = sqrt(MeanSquareDeviation): about the mean, not of the raw values
  //   Variance              = (sum d^2 - (sum d)^2 / n) / (n - 1) (sample form, corrected two-pass)
  //   StandardDeviation     = sqrt(Variance)
  //   Skewness              = sum d^3 / (StandardDeviation^3 * n), 0 when Variance is 0
  //   Kurtosis              = sum d^4 / (Variance^2 * n) - 3 (excess), 0 when Variance is 0
  //   Median                = for even n the mean of the two middle values; for odd n the
  //                           sorted element at position n / 2 + 1 rounded half to even, so
  //                           for n = 5, 9, 13, ... the element just above the middle.
  double Maximum() const;
  double Minimum() const;
  double Mean() const;
  double Sum() const;
  double MeanAbsoluteDeviation() const;
  double MeanSquareDeviation() const;
  double Median() const;
  double Range() const;
  double RootMeanSquare() const;
  double StandardDeviation() const;
  double SumOfSquaredDeviation() const;
  double Variance() const;
  double Kurtosis() const;
  double Skewness() const;

  // ---- Sorting and pruning -------------------------------------------------

  // Sorts the values in place (not stable). With fewer than two observations
  // nothing happens, not even the direction is checked; otherwise a direction
  // other than 0 or 1 raises 10028. Keeps the statistics cache.
  void Sort(SortTypeEnum SortDirection = tsxSortAscending);

  // Removes every observation v for which "v <op> Value" holds (exact
  // comparison: tsxLogicalLessThan keeps values equal to Value). An operator
  // outside 0 .. 4 raises 10028. The series may end up empty.
  void Prune(double Value, LogicalTypeEnum LogicalOperator);

  // 10009 outside 0 .. NumObservations() - 1 (tsxLast has no meaning here).
  void SetObservation(std::int32_t ObservationIndex, double Value);
  double GetObservation(std::int32_t ObservationIndex);
  // The value as text: the general form (15 significant digits, the locale's
  // decimal separator) when NumberDisplayFormat is "" or "General" in any
  // case, else formatted by it (digit placeholders 0 and #, grouping, %,
  // scientific, literal text, sections, named formats such as "Standard").
  std::string GetObservationFormatted(std::int32_t ObservationIndex);

  // The index of the first smallest value (tsxMinimum), the first largest
  // (tsxMaximum) or the first value exactly equal to SearchValue (tsxValue; -1
  // when there is none). 10007 on an empty series, before anything else;
  // 10028 for another SearchType.
  std::int32_t GetObservationIndex(SearchTypeEnum SearchType, double SearchValue = 0);

 private:
  friend class DataCollection;
  friend struct detail::DataAccess;

  DataSeries() = default;

  // Read-only guard of the mutators: 10032.
  void GuardWritable() const;
  // Makes positions 1 .. n addressable, keeping the contents; grows
  // geometrically so that one-by-one appends cost amortised constant time.
  void EnsurePositions(std::int64_t n);
  void InvalidateStatistics() noexcept { statistics_valid_ = false; }

  // The cached statistics, in this order.
  struct StatisticsCache {
    double maximum = 0, minimum = 0, mean = 0, sum = 0, mean_absolute_deviation = 0, mean_square_deviation = 0,
           median = 0, range = 0, root_mean_square = 0, standard_deviation = 0, sum_of_squared_deviation = 0,
           variance = 0, kurtosis = 0, skewness = 0;
  };
  // Fills the cache; false (cache not valid) with fewer than two observations
  // or on a floating-point fault.
  bool ComputeStatistics() const;
  double ComputeMedian() const;
  // The cached statistics, computed first when needed; 10007 when the series
  // has fewer than `minimum_count` observations, 10008 when computing fails.
  const StatisticsCache& Statistics(std::int32_t minimum_count) const;

  std::string name_;
  std::int32_t count_ = 0;
  // The observation of public index k sits at position k + 1; position 0 is
  // never used (the one-based convention of the numerics, so that columns
  // move between series and work arrays without shifting). Positions above
  // count_ are not part of the series.
  std::vector<double> values_ = std::vector<double>(1, 0.0);
  std::string regression_key_;
  std::string number_display_format_ = "General";
  bool read_only_ = false;
  std::string tag_;
  mutable bool statistics_valid_ = false;
  mutable StatisticsCache statistics_;
};

}  // namespace tessarix
