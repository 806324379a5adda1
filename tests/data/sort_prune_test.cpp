#include <gtest/gtest.h>

#include <numeric>
#include <vector>

#include "support/test_helpers.hpp"
#include "tessarix/data/data_collection.hpp"

using namespace tessarix;
using V = std::vector<double>;

namespace {
const char* kUnequal =
    "The number of observations for included DataSeries objects must be equal to perform the requested operation";

void Load(DataCollection& c, V a, V b) {
  c.RemoveAllSeries();
  c.AddSeries("a")->ImportFromArray(a);
  c.AddSeries("b")->ImportFromArray(b);
}
}  // namespace

TEST(SortAndPrune, SeriesSortAndItsArgumentChecks) {
  DataCollection c;
  auto s = c.AddSeries("s");
  s->AddObservation(1);
  s->Sort(static_cast<SortTypeEnum>(2));  // one observation: the direction is not looked at
  s->AddObservation(0);
  EXPECT_TSX_ERROR(s->Sort(static_cast<SortTypeEnum>(2)), 10028, "Invalid argument");
  s->ImportFromArray(V{5, 1, 4});
  s->Sort(tsxSortDescending);
  EXPECT_EQ(s->ExportToArray(), (V{5, 4, 1}));
  s->Sort();
  EXPECT_EQ(s->ExportToArray(), (V{1, 4, 5}));
  EXPECT_TSX_ERROR(c.Sort(static_cast<SortTypeEnum>(2)), 10028, "Invalid argument");
  DataCollection empty;
  EXPECT_TSX_ERROR(empty.Sort(static_cast<SortTypeEnum>(-1)), 10028, "Invalid argument");
}

TEST(SortAndPrune, PruneKeepsStrictMeanings) {
  DataCollection c;
  auto s = c.AddSeries("s");
  s->ImportFromArray(V{1, 2, 3});
  s->Prune(2, tsxLogicalLessThan);
  EXPECT_EQ(s->ExportToArray(), (V{2, 3}));
  s->ImportFromArray(V{1, 2, 3});
  s->Prune(2, tsxLogicalLessThanOrEqualTo);
  EXPECT_EQ(s->ExportToArray(), (V{3}));
  s->ImportFromArray(V{1, 2, 3, 2});
  s->Prune(2, tsxLogicalEqualTo);
  EXPECT_EQ(s->ExportToArray(), (V{1, 3}));
  s->Prune(1, tsxLogicalGreaterThanOrEqualTo);
  EXPECT_EQ(s->NumObservations(), 0);
  EXPECT_TSX_ERROR(s->Prune(1, static_cast<LogicalTypeEnum>(5)), 10028, "Invalid argument");
}

TEST(SortAndPrune, CollectionOperationsByMemberOrByRow) {
  DataCollection c;
  Load(c, {1, 2, 3}, {7, 8, 9});
  c.PruneOnSeries("a", 1, tsxLogicalGreaterThan);
  EXPECT_EQ(c.Item("a")->ExportToArray(), (V{1}));
  EXPECT_EQ(c.Item("b")->ExportToArray(), (V{7}));

  Load(c, {1, 2, 3}, {7, 8, 9});
  c.Prune(1, tsxLogicalGreaterThan);
  EXPECT_EQ(c.Item("a")->ExportToArray(), (V{1}));
  EXPECT_EQ(c.Item("b")->NumObservations(), 0);
  EXPECT_EQ(c.Count(), 2);

  Load(c, {3, 1, 2}, {30, 10, 20});
  c.SortOnSeries("A");
  EXPECT_EQ(c.Item("a")->ExportToArray(), (V{1, 2, 3}));
  EXPECT_EQ(c.Item("b")->ExportToArray(), (V{10, 20, 30}));
  c.SortOnSeries(2, tsxSortDescending);
  EXPECT_EQ(c.Item("a")->ExportToArray(), (V{3, 2, 1}));
  c.Sort();
  EXPECT_EQ(c.Item("b")->ExportToArray(), (V{10, 20, 30}));

  // Rows of a larger table stay together.
  std::vector<double> keys, rows;
  for (int i = 0; i < 100; ++i) {
    keys.push_back((i * 37) % 100);
    rows.push_back(i);
  }
  Load(c, keys, rows);
  c.SortOnSeries("a");
  for (std::int32_t i = 0; i < 100; ++i) {
    const double row = c.Item("b")->GetObservation(i);
    EXPECT_EQ(c.Item("a")->GetObservation(i), i);
    EXPECT_EQ(keys[static_cast<std::size_t>(row)], i);
  }
  c.PruneOnSeries(1, 50, tsxLogicalGreaterThanOrEqualTo);
  EXPECT_EQ(c.NumObservationsMax(), 50);
  EXPECT_EQ(c.NumObservationsMin(), 50);
}

TEST(SortAndPrune, CollectionErrorsInTheirOrder) {
  DataCollection c;
  Load(c, {1, 2}, {1, 2, 3});
  EXPECT_TSX_ERROR(c.SortOnSeries("a", static_cast<SortTypeEnum>(3)), 10028, "Invalid argument");
  EXPECT_TSX_ERROR(c.SortOnSeries("a"), 10012, kUnequal);
  EXPECT_TSX_ERROR(c.PruneOnSeries("a", 1, static_cast<LogicalTypeEnum>(9)), 10012, kUnequal);
  Load(c, {1, 2}, {3, 4});
  EXPECT_TSX_ERROR(c.SortOnSeries("zz"), 10001, "General Error: Invalid key or index");
  EXPECT_TSX_ERROR(c.SortOnSeries(7), 10001, "General Error: Invalid key or index");
  EXPECT_TSX_ERROR(c.PruneOnSeries(3, 1, tsxLogicalEqualTo), 10005, "Argument for rows or columns exceeds array size");
  EXPECT_TSX_ERROR(c.PruneOnSeries("zz", 1, tsxLogicalEqualTo), 10001,
                   "General Error: Invalid procedure call or argument");
  EXPECT_TSX_ERROR(c.PruneOnSeries("a", 1, static_cast<LogicalTypeEnum>(9)), 10028, "Invalid argument");
  EXPECT_TSX_ERROR(c.Prune(1, static_cast<LogicalTypeEnum>(-1)), 10028, "Invalid argument");
  // Sort looks at the direction even on an empty collection; Prune leaves the
  // operator to the members, so an empty collection passes.
  DataCollection empty;
  EXPECT_TSX_ERROR(empty.Sort(static_cast<SortTypeEnum>(2)), 10028, "Invalid argument");
  EXPECT_NO_THROW(empty.Prune(1, static_cast<LogicalTypeEnum>(-1)));
}

TEST(SortAndPrune, RowsWithEqualKeysComeOutInTheOrderOfTheSharedSort) {
  // Traced by hand through the sort. Seven rows go by insertion alone, which
  // never moves equal keys; eight take the quicksort path (r - l = 7), which
  // exchanges equal keys across the pivot; with fourteen the pivot position
  // 7.5 rounds half to even to 8 (a truncating division would take 7 and give
  // another order).
  DataCollection c;
  const auto rows_after_sort = [&](std::size_t n, SortTypeEnum direction) {
    V rows(n);
    std::iota(rows.begin(), rows.end(), 1.0);
    Load(c, V(n, 2.0), rows);
    c.SortOnSeries("a", direction);
    return c.Item("b")->ExportToArray();
  };
  EXPECT_EQ(rows_after_sort(7, tsxSortAscending), (V{1, 2, 3, 4, 5, 6, 7}));
  EXPECT_EQ(rows_after_sort(8, tsxSortAscending), (V{1, 6, 7, 4, 5, 2, 3, 8}));
  EXPECT_EQ(rows_after_sort(14, tsxSortDescending), (V{1, 9, 13, 12, 11, 10, 8, 2, 7, 6, 5, 4, 3, 14}));
}
