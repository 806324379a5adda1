#include "tessarix/data/data_collection.hpp"

#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "support/test_helpers.hpp"
#include "tessarix/data/data_access.hpp"

using namespace tessarix;
using detail::DataAccess;
using V = std::vector<double>;
using Names = std::vector<std::string>;

namespace {

Names NamesOf(const DataCollection& c) {
  Names names;
  for (const auto& s : c) names.push_back(s->Name());
  return names;
}

Matrix TableOf(std::int32_t rows, std::int32_t cols, std::initializer_list<double> values) {
  Matrix m(rows, cols);
  auto it = values.begin();
  for (std::int32_t i = 0; i < rows; ++i)
    for (std::int32_t j = 0; j < cols; ++j) m(i, j) = *it++;
  return m;
}

}  // namespace

TEST(DataCollection, MembershipByPositionAndCaseInsensitiveName) {
  DataCollection c;
  EXPECT_EQ(c.Count(), 0);
  EXPECT_EQ(c.NumObservationsMax(), 0);
  EXPECT_EQ(c.NumObservationsMin(), 0);
  EXPECT_FALSE(c.IsReadOnly());

  auto a = c.AddSeries("a");
  EXPECT_TSX_ERROR(c.AddSeries("A"), 10003,
                   "The specified Name is already associated with an object in the DataCollection");
  auto b = c.AddSeries("Öl", 100);
  EXPECT_EQ(b->NumObservations(), 0);
  EXPECT_EQ(c.Item("öL"), b);
  EXPECT_TSX_CODE(c.AddSeries("ÖL"), 10003);
  EXPECT_EQ(c.Item(1), a);
  EXPECT_EQ(c.Item(2.0), b);
  EXPECT_EQ(c["A"], a);
  for (const Variant& bad : {Variant(0), Variant(3), Variant("none"), Variant(), Variant(true)}) {
    EXPECT_TSX_ERROR(c.Item(bad), 10002, "Invalid key or index");
  }
  c.AddSeries("c");
  EXPECT_EQ(NamesOf(c), (Names{"a", "Öl", "c"}));
  c.RemoveSeries("öl");
  c.RemoveSeries();  // the last one
  EXPECT_EQ(NamesOf(c), (Names{"a"}));
  EXPECT_TSX_ERROR(c.RemoveSeries(5), 10001, "General Error: Subscript out of range");
  EXPECT_TSX_ERROR(c.RemoveSeries("zz"), 10001, "General Error: Invalid procedure call or argument");
  c.RemoveSeries(1);
  EXPECT_TSX_ERROR(c.RemoveSeries(), 10001, "General Error: Subscript out of range");
  // A removed series lives on for its holders.
  b->AddObservation(1);
  EXPECT_EQ(b->NumObservations(), 1);

  auto x = c.AddSeries("x");
  auto y = c.AddSeries("y");
  x->Fill(1, 1, 3);
  y->Fill(1, 1, 5);
  EXPECT_EQ(c.NumObservationsMax(), 5);
  EXPECT_EQ(c.NumObservationsMin(), 3);
  x->SetRegressionKey("X");
  c.ClearRegressionKeys();
  EXPECT_EQ(x->RegressionKey(), "");
  c.SetNumberDisplayFormats("0.0");
  EXPECT_EQ(y->NumberDisplayFormat(), "0.0");
  c.RemoveAllSeries();
  EXPECT_EQ(c.Count(), 0);
}

TEST(DataCollection, ArrayImportReplacesByNameAndKeepsOrder) {
  DataCollection c;
  c.AddSeries("keep")->AddObservation(1);
  const Names names{"a", "b"};
  c.ImportSeriesFromArray(TableOf(3, 2, {1, 10, 2, 20, 3, 30}), names);
  EXPECT_EQ(NamesOf(c), (Names{"keep", "a", "b"}));
  EXPECT_EQ(c.Item("b")->ExportToArray(), (V{10, 20, 30}));
  auto old_a = c.Item("a");
  c.ImportSeriesFromArray(TableOf(2, 2, {5, 50, 6, 60}), Names{"A", "b", "surplus"});
  EXPECT_EQ(NamesOf(c), (Names{"keep", "A", "b"}));
  EXPECT_NE(c.Item("a"), old_a);
  EXPECT_EQ(old_a->NumObservations(), 3);

  EXPECT_TSX_ERROR(c.ExportSeriesToArray(), 10012,
                   "The number of observations for included DataSeries objects must be equal to perform the "
                   "requested operation");
  c.RemoveSeries("keep");
  const Matrix out = c.ExportSeriesToArray();
  ASSERT_EQ(out.Rows(), 2);
  ASSERT_EQ(out.Cols(), 2);
  EXPECT_EQ(out(1, 0), 6);
  EXPECT_EQ(out(1, 1), 60);
  const Variant alt = c.ExportSeriesToArrayAlt();
  EXPECT_EQ(alt.UpperBound(1), 1);
  EXPECT_EQ(alt.UpperBound(2), 1);
  EXPECT_EQ(alt.At(0, 1).Type(), VariantType::Double);
  EXPECT_EQ(alt.At(0, 1).ToDouble(), 50);

  // A short Name array fails after the earlier columns were added.
  DataCollection d;
  EXPECT_TSX_ERROR(d.ImportSeriesFromArray(TableOf(1, 3, {1, 2, 3}), Names{"p", "q"}), 10004, "Subscript out of range");
  EXPECT_EQ(NamesOf(d), (Names{"p", "q"}));
  EXPECT_TSX_CODE(d.ImportSeriesFromArray(Matrix(3, 0), names), 10004);
  EXPECT_TSX_CODE(d.ImportSeriesFromArray(Matrix(0, 2), names), 10004);
  // A non-finite element is refused as by a series's own import; its
  // column's series is not made.
  Matrix bad = TableOf(2, 2, {1, 2, 3, std::numeric_limits<double>::quiet_NaN()});
  EXPECT_TSX_ERROR(d.ImportSeriesFromArray(bad, names), 10001, "General Error: Invalid procedure call or argument");
  EXPECT_EQ(NamesOf(d), (Names{"p", "q", "a"}));
  Variant infinite = Variant::Array(1, 1);
  infinite.At(0, 0) = std::numeric_limits<double>::infinity();
  EXPECT_TSX_CODE(d.ImportSeriesFromArrayAlt(infinite, Variant::Array({Variant("r")})), 10001);
  EXPECT_EQ(d.Count(), 3);

  DataCollection empty;
  EXPECT_TSX_ERROR(empty.ExportSeriesToArray(), 10004, "Subscript out of range");
  EXPECT_TRUE(empty.ExportSeriesToArrayAlt().IsEmpty());
}

TEST(DataCollection, VariantArrayImport) {
  DataCollection c;
  Variant data = Variant::Array(2, 2);
  data.At(0, 0) = 1.0;
  data.At(0, 1) = 2;
  data.At(1, 0) = 3.0;
  data.At(1, 1) = 4.0;
  const Variant uv = Variant::Array({Variant("u"), Variant("v")});
  EXPECT_TSX_ERROR(c.ImportSeriesFromArrayAlt(data, Variant("a")), 10042, "Expected variant array");
  EXPECT_TSX_ERROR(c.ImportSeriesFromArrayAlt(Variant(1.0), uv), 10042, "Expected variant array");
  c.ImportSeriesFromArrayAlt(data, uv);
  EXPECT_EQ(c.Item("v")->ExportToArray(), (V{2, 4}));
  EXPECT_TSX_CODE(c.ImportSeriesFromArrayAlt(Variant::Array({Variant(1.0)}), Variant::Array({Variant("w")})), 10004);
  data.At(1, 1) = "text";
  EXPECT_TSX_ERROR(c.ImportSeriesFromArrayAlt(data, uv), 10001, "General Error: Type mismatch");
}

TEST(DataCollection, ReadOnlyRefusesEveryEditBeforeItsArguments) {
  DataCollection c;
  c.ImportSeriesFromArray(TableOf(2, 1, {1, 2}), Names{"a"});
  auto s = c.Item(1);
  DataAccess::SetReadOnly(c, true);
  ASSERT_TRUE(s->IsReadOnly());
  // The guard comes before every argument check.
  const std::function<void()> edits[] = {
      [&] { c.AddSeries("b"); },
      [&] { c.RemoveSeries(); },
      [&] { c.RemoveAllSeries(); },
      [&] { c.ClearRegressionKeys(); },
      [&] { c.ImportSeriesFromArray(Matrix(), Names{}); },
      [&] { c.ImportSeriesFromArrayAlt(Variant(), Variant()); },
      [&] { c.Sort(static_cast<SortTypeEnum>(9)); },
      [&] { c.Prune(1, tsxLogicalEqualTo); },
      [&] { c.SortOnSeries("zz"); },
      [&] { c.PruneOnSeries("zz", 1, tsxLogicalEqualTo); },
      [&] { c.ImportSeriesFromFile("x", Names{"a"}, static_cast<DelimiterTypeEnum>(9)); },
      [&] { c.ImportSeriesFromFileAlt("x", Variant()); },
      [&] { c.ImportNamedSeriesFromFile("x"); },
      [&] { s->AddObservation(1); },
      [&] { s->RemoveObservation(-5); },
      [&] { s->SetRegressionKey("x"); },
      [&] { s->Fill(0, 1, 0); },
      [&] { s->RemoveAllObservations(); },
      [&] { s->ImportFromArray(V{1}); },
      [&] { s->ImportFromArrayAlt(Variant(1.0)); },
      [&] { s->ImportFromFile("x"); },
      [&] { s->Transform(static_cast<TransformTypeEnum>(9)); },
      [&] { s->Translate(1); },
      [&] { s->Multiply(1); },
      [&] { s->SetObservation(0, 1); },
      [&] { s->Sort(); },
      [&] { s->Prune(1, tsxLogicalEqualTo); },
  };
  for (const auto& edit : edits) EXPECT_TSX_ERROR(edit(), 10032, "The referenced object is read only");
  // Reading, formats and tags stay open.
  EXPECT_EQ(c.ExportSeriesToArray().Rows(), 2);
  EXPECT_EQ(s->ExportToArray(), (V{1, 2}));
  c.SetNumberDisplayFormats("0");
  EXPECT_EQ(s->NumberDisplayFormat(), "0");
  s->SetTag("note");
  EXPECT_EQ(s->Tag(), "note");
  DataAccess::SetReadOnly(c, false);
  EXPECT_FALSE(s->IsReadOnly());
  c.AddSeries("b");
}

TEST(DataAccess, FindSeriesByKeyLowerCasesOnlyTheSeriesKey) {
  DataCollection c;
  c.AddSeries("first")->SetRegressionKey("Y");
  c.AddSeries("second")->SetRegressionKey("y");
  auto w = c.AddSeries("weights");
  w->SetRegressionKey("SD");
  w->Fill(1, 1, 4);
  std::string name;
  std::int32_t count = -1;
  ASSERT_TRUE(DataAccess::FindSeriesByKey(c, "y", name, count));
  EXPECT_EQ(name, "first");
  ASSERT_TRUE(DataAccess::FindSeriesByKey(c, "sd", name, count));
  EXPECT_EQ(name, "weights");
  EXPECT_EQ(count, 4);
  EXPECT_FALSE(DataAccess::FindSeriesByKey(c, "SD", name, count));
  EXPECT_EQ(DataAccess::FindSeriesByKey(c, "sd"), w);
  EXPECT_EQ(DataAccess::FindSeriesByKey(c, "x"), nullptr);
}
