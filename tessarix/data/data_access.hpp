// The library's own access to series and collections: the internal
// operations that regression objects, the spline and the result-file writer
// use to fill and read data objects. None of them checks the read-only flag:
// that is how a regression refills its read-only result tables.
//
// Not part of the API: hosts cannot reach these members (DataAccess is the
// only friend of the two classes that is not one of them).
//
// Arrays follow the one-based convention of the numerics
// (numerics/one_based.hpp): element k holds the observation of public index
// k - 1, element 0 is allocated and unused. A call whose array is too small
// for the count it is given raises the fault "Subscript out of range" and
// changes nothing.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "tessarix/data/data_collection.hpp"
#include "tessarix/data/data_series.hpp"
#include "tessarix/numerics/one_based.hpp"
#include "tessarix/platform/matrix.hpp"
#include "tessarix/platform/variant.hpp"

namespace tessarix::detail {

struct DataAccess {
  // ---- DataSeries ----------------------------------------------------------

  // Sets the Name (collections do this once, at creation).
  static void SetName(DataSeries& series, const std::string& name);

  // Makes room for `count` observations, dropping the contents; for a new series.
  static void ReserveObservations(DataSeries& series, std::int32_t count);

  // `values` becomes a one-based copy of the series: size NumObservations + 1,
  // values[k] = observation k - 1, values[0] = 0.
  static void CopyValuesOut(const DataSeries& series, std::vector<double>& values);
  // Column form: m(k, column) = observation k - 1 for k = 1 .. NumObservations;
  // m needs at least NumObservations rows and `column` columns.
  static void CopyValuesOut(const DataSeries& series, Matrix1& m, std::int32_t column);

  // Sets NumObservations = count and the observations from the one-based
  // values[1 .. count] (values.size() >= count + 1); clears the statistics.
  static void CopyValuesIn(DataSeries& series, std::span<const double> values, std::int32_t count);
  // Takes over the one-based values[1 .. count] (values.size() >= count + 1)
  // as the series' storage, without a copy: a fit's work arrays become its
  // result columns. Clears the statistics.
  static void AdoptValues(DataSeries& series, std::vector<double>&& values, std::int32_t count);
  // Column form: observation k - 1 = m(k, column), k = 1 .. count.
  static void CopyValuesIn(DataSeries& series, const Matrix1& m, std::int32_t count, std::int32_t column);

  // Zero-based column of a public table: m(i, column) = observation i,
  // i = 0 .. NumObservations - 1.
  static void CopyColumnOut(const DataSeries& series, Matrix& m, std::int32_t column);
  // The same into a two-dimensional Variant array, as Double Variants.
  static void CopyColumnOutVariant(const DataSeries& series, Variant& m, std::int32_t column);

  // Permutes the observations: new position i = old position index[i],
  // i = 1 .. NumObservations (one-based `index`, a permutation of 1 .. n).
  // Keeps the statistics, which do not depend on the order.
  static void ReorderByIndex(DataSeries& series, std::span<const std::int32_t> index);

  static void SetReadOnly(DataSeries& series, bool read_only) noexcept;

  // Whether the cached statistics are current (for tests of the cache).
  static bool StatisticsValid(const DataSeries& series) noexcept;

  // Read access to the one-based storage: element k (1 .. NumObservations)
  // is observation k - 1. Valid until the series changes.
  static const double* Values(const DataSeries& series) noexcept;

  // ---- DataCollection ------------------------------------------------------

  // Adds an empty series `name` at the end, first removing silently any
  // member of that name (in any case); `preallocation` > 0 reserves room.
  static std::shared_ptr<DataSeries> ReplaceSeries(DataCollection& collection, const std::string& name,
                                                   std::int32_t preallocation);

  // The first member whose RegressionKey, lower-cased, equals `key` (which
  // must be lower case already: "x", "y", "sd"): its Name and NumObservations.
  static bool FindSeriesByKey(const DataCollection& collection, std::string_view key, std::string& name,
                              std::int32_t& count);
  // The same member itself; nullptr when there is none.
  static std::shared_ptr<DataSeries> FindSeriesByKey(const DataCollection& collection, std::string_view key);

  // Sets the flag of the collection and of every member present now.
  static void SetReadOnly(DataCollection& collection, bool read_only) noexcept;

  // Removes every member, whatever the read-only flag.
  static void RemoveAllSeries(DataCollection& collection) noexcept;

  // Zero-based index into the members of a position from 1 (numeric Variant)
  // or a Name (String, any case); -1 when there is no such member.
  static std::ptrdiff_t IndexOf(const DataCollection& collection, const Variant& index);
  // As IndexOf, with a fault for no member: "Subscript out of range" for a
  // position, "Invalid procedure call or argument" for an unknown Name, "Type
  // mismatch" for a Variant that is neither.
  static std::size_t IndexOrFault(const DataCollection& collection, const Variant& index);
};

}  // namespace tessarix::detail
