// The internal operations that regression objects use to fill result tables.
#include "tessarix/data/data_access.hpp"

#include <gtest/gtest.h>

#include "support/test_helpers.hpp"
#include "tessarix/foundation/fault.hpp"

using namespace tessarix;
using detail::DataAccess;

TEST(DataAccess, FillsReadOnlyResultTablesWithOneBasedColumns) {
  auto tables = std::make_shared<DataCollection>();
  DataAccess::SetReadOnly(*tables, true);
  auto x = DataAccess::ReplaceSeries(*tables, "X", 3);
  auto y = DataAccess::ReplaceSeries(*tables, "Y", 3);
  EXPECT_TRUE(tables->IsReadOnly());
  EXPECT_FALSE(x->IsReadOnly());  // made after the flag was set
  DataAccess::SetReadOnly(*tables, true);
  EXPECT_TRUE(x->IsReadOnly());

  const detail::Vector1 xs{0, 1.5, 2.5, 3.5};
  DataAccess::CopyValuesIn(*x, xs, 3);
  detail::Matrix1 m(3, 2);
  m(1, 2) = 10;
  m(2, 2) = 20;
  m(3, 2) = 30;
  DataAccess::CopyValuesIn(*y, m, 2, 2);
  EXPECT_EQ(x->ExportToArray(), (std::vector<double>{1.5, 2.5, 3.5}));
  EXPECT_EQ(y->ExportToArray(), (std::vector<double>{10, 20}));
  EXPECT_TSX_CODE(x->AddObservation(1), 10032);

  std::vector<double> out{9, 9};
  DataAccess::CopyValuesOut(*x, out);
  EXPECT_EQ(out, (std::vector<double>{0, 1.5, 2.5, 3.5}));
  detail::Matrix1 back(3, 1);
  DataAccess::CopyValuesOut(*y, back, 1);
  EXPECT_EQ(back(2, 1), 20);
  EXPECT_EQ(DataAccess::Values(*x)[3], 3.5);

  // A too-small array is a fault and changes nothing.
  EXPECT_THROW(DataAccess::CopyValuesIn(*x, xs, 4), detail::RuntimeFault);
  EXPECT_EQ(x->NumObservations(), 3);

  // Refilling replaces by name, whatever the case, and moves it to the end.
  auto x2 = DataAccess::ReplaceSeries(*tables, "x", 0);
  EXPECT_EQ(tables->Count(), 2);
  EXPECT_EQ(tables->Item(2), x2);
  DataAccess::RemoveAllSeries(*tables);
  EXPECT_EQ(tables->Count(), 0);
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
  EXPECT_FALSE(DataAccess::FindSeriesByKey(c, "x", name, count));
  EXPECT_EQ(DataAccess::FindSeriesByKey(c, "sd"), w);
  EXPECT_EQ(DataAccess::FindSeriesByKey(c, "x"), nullptr);
}

TEST(DataAccess, ColumnOutAndReorder) {
  DataCollection c;
  auto a = c.AddSeries("a");
  a->ImportFromArray(std::vector<double>{5, 6, 7});
  Matrix m(3, 2);
  DataAccess::CopyColumnOut(*a, m, 1);
  EXPECT_EQ(m(0, 1), 5);
  EXPECT_EQ(m(2, 1), 7);
  Variant v = Variant::Array(3, 1);
  DataAccess::CopyColumnOutVariant(*a, v, 0);
  EXPECT_EQ(v.At(1, 0).Type(), VariantType::Double);
  EXPECT_EQ(v.At(1, 0).ToDouble(), 6);
  const std::vector<std::int32_t> index{0, 3, 1, 2};
  DataAccess::ReorderByIndex(*a, index);
  EXPECT_EQ(a->ExportToArray(), (std::vector<double>{7, 5, 6}));
  const std::vector<std::int32_t> bad{0, 4, 1, 2};
  EXPECT_THROW(DataAccess::ReorderByIndex(*a, bad), detail::RuntimeFault);
  EXPECT_EQ(a->ExportToArray(), (std::vector<double>{7, 5, 6}));
}
