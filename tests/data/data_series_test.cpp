#include "tessarix/data/data_series.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>
#include <vector>

#include "support/test_helpers.hpp"
#include "tessarix/data/data_access.hpp"
#include "tessarix/data/data_collection.hpp"

using namespace tessarix;
using V = std::vector<double>;

namespace {
const char* kOutOfBounds = "Observation index out of bounds";

std::shared_ptr<DataSeries> SeriesOf(DataCollection& c, const V& values) {
  static const char* const kNames[] = {"s0", "s1", "s2", "s3", "s4"};
  auto s = c.AddSeries(kNames[c.Count()]);
  if (!values.empty()) s->ImportFromArray(values);
  return s;
}
}  // namespace

TEST(DataSeries, DefaultsAddRemoveAndIndexRules) {
  DataCollection c;
  auto s = c.AddSeries("Height");
  EXPECT_EQ(s->Name(), "Height");
  EXPECT_EQ(s->NumObservations(), 0);
  EXPECT_EQ(s->NumberDisplayFormat(), "General");
  EXPECT_EQ(s->RegressionKey(), "");
  EXPECT_EQ(s->Tag(), "");
  EXPECT_FALSE(s->IsReadOnly());
  EXPECT_TRUE(s->ExportToArray().empty());
  EXPECT_TRUE(s->ExportToArrayAlt().IsEmpty());
  // Removing "the last" of nothing is silent; index 0 of nothing is not.
  s->RemoveObservation();
  EXPECT_TSX_ERROR(s->RemoveObservation(0), 10009, kOutOfBounds);
  for (double v : {1.0, 2.0, 3.0, 4.0}) s->AddObservation(v);
  EXPECT_TSX_ERROR(s->RemoveObservation(-2), 10009, kOutOfBounds);
  EXPECT_TSX_ERROR(s->RemoveObservation(4), 10009, kOutOfBounds);
  s->RemoveObservation(1);
  EXPECT_EQ(s->ExportToArray(), (V{1, 3, 4}));
  s->RemoveObservation();
  s->AddObservation(9);
  EXPECT_EQ(s->ExportToArray(), (V{1, 3, 9}));

  EXPECT_EQ(s->GetObservation(2), 9);
  EXPECT_TSX_ERROR(s->GetObservation(3), 10009, kOutOfBounds);
  EXPECT_TSX_ERROR(s->GetObservation(tsxLast), 10009, kOutOfBounds);
  s->SetObservation(0, -5);
  EXPECT_EQ(s->GetObservation(0), -5);
  EXPECT_TSX_ERROR(s->SetObservation(-1, 0), 10009, kOutOfBounds);

  s->RemoveAllObservations();
  EXPECT_EQ(s->NumObservations(), 0);
  EXPECT_EQ(detail::DataAccess::Values(*s)[0], 0.0);
  s->AddObservation(7);
  EXPECT_EQ(s->ExportToArray(), (V{7}));
}

TEST(DataSeries, FillComputesEachValueFromTheStart) {
  DataCollection c;
  auto s = SeriesOf(c, {});
  s->Fill(1, 0.5, 3);
  EXPECT_EQ(s->ExportToArray(), (V{1, 1.5, 2}));
  s->Fill(10, 1, 2, true);
  EXPECT_EQ(s->ExportToArray(), (V{1, 1.5, 2, 10, 11}));
  // Replacing drops the values above the new count; k * increment + start,
  // not a running sum: 0.1 * 1 exactly.
  s->Fill(0, 0.1, 2);
  ASSERT_EQ(s->NumObservations(), 2);
  EXPECT_EQ(s->GetObservation(1), 0.1);
  s->Fill(0, 0.1, 30);
  EXPECT_EQ(s->GetObservation(29), 29 * 0.1);
  EXPECT_TSX_ERROR(s->Fill(0, 1, 0), 10028, "Invalid argument");
  // An overflow fails the fill and keeps the old values.
  EXPECT_TSX_ERROR(s->Fill(1e308, 1e308, 3), 10001, "General Error: Overflow");
  EXPECT_EQ(s->NumObservations(), 30);
}

TEST(DataSeries, ArrayImportAndExport) {
  DataCollection c;
  auto s = SeriesOf(c, {4, 5, 6});
  s->ImportFromArray(V{7}, true);
  EXPECT_EQ(s->ExportToArray(), (V{4, 5, 6, 7}));
  s->ImportFromArray(V{1, 2});
  EXPECT_EQ(s->ExportToArray(), (V{1, 2}));
  EXPECT_TSX_ERROR(s->ImportFromArray(std::span<const double>()), 10004, "Subscript out of range");
  EXPECT_TSX_ERROR(s->ImportFromArrayAlt(Variant(3.0)), 10042, "Expected variant array");
  EXPECT_TSX_ERROR(s->ImportFromArrayAlt(Variant::Array({})), 10004, "Subscript out of range");
  EXPECT_TSX_ERROR(s->ImportFromArrayAlt(Variant::Array(2, 2)), 10004, "Subscript out of range");
  // An element that is no number changes nothing.
  EXPECT_TSX_ERROR(s->ImportFromArrayAlt(Variant::Array({Variant(1.0), Variant("x")})), 10001,
                   "General Error: Type mismatch");
  EXPECT_EQ(s->ExportToArray(), (V{1, 2}));
  {
    test::ScopedSeparators sep(test::EnglishSeparators());
    s->ImportFromArrayAlt(Variant::Array({Variant(3), Variant("4.5"), Variant(true)}), true);
  }
  EXPECT_EQ(s->ExportToArray(), (V{1, 2, 3, 4.5, -1}));
  const Variant out = s->ExportToArrayAlt();
  ASSERT_EQ(out.UpperBound(), 4);
  EXPECT_EQ(out.At(3).Type(), VariantType::Double);
  EXPECT_EQ(out.At(3).ToDouble(), 4.5);
}

TEST(DataSeries, TransformsAreAllOrNothing) {
  DataCollection c;
  auto s = SeriesOf(c, {4, -1, 9});
  EXPECT_TSX_ERROR(s->Transform(tsxTransformSquareRoot), 10001, "General Error: Invalid procedure call or argument");
  EXPECT_EQ(s->ExportToArray(), (V{4, -1, 9}));
  EXPECT_TSX_ERROR(s->Transform(static_cast<TransformTypeEnum>(7)), 10028, "Invalid argument");
  EXPECT_TSX_ERROR(s->Transform(static_cast<TransformTypeEnum>(-1)), 10028, "Invalid argument");
  s->Transform(tsxTransformSquare);
  EXPECT_EQ(s->ExportToArray(), (V{16, 1, 81}));
  s->Transform(tsxTransformInvertSquareRoot);
  EXPECT_EQ(s->ExportToArray(), (V{0.25, 1, 1.0 / 9}));

  auto t = SeriesOf(c, {1, std::exp(1.0), 0});
  EXPECT_TSX_ERROR(t->Transform(tsxTransformInvert), 10001, "General Error: Division by zero");
  EXPECT_TSX_ERROR(t->Transform(tsxTransformNaturalLog), 10001, "General Error: Invalid procedure call or argument");
  t->SetObservation(2, 2);
  // 1 / ln(1) divides by zero.
  EXPECT_TSX_ERROR(t->Transform(tsxTransformInvertNaturalLog), 10001, "General Error: Division by zero");
  t->SetObservation(0, 4);
  t->Transform(tsxTransformInvertSquare);
  EXPECT_EQ(t->GetObservation(0), 1.0 / 16);
  EXPECT_EQ(t->GetObservation(2), 0.25);

  auto big = SeriesOf(c, {1, 1e300});
  EXPECT_TSX_ERROR(big->Multiply(1e10), 10001, "General Error: Overflow");
  EXPECT_TSX_ERROR(big->Translate(std::numeric_limits<double>::max()), 10001, "General Error: Overflow");
  EXPECT_EQ(big->ExportToArray(), (V{1, 1e300}));
  big->Translate(2);
  big->Multiply(0.5);
  EXPECT_EQ(big->GetObservation(0), 1.5);
  // An empty series ignores even an invalid transformation.
  auto empty = SeriesOf(c, {});
  empty->Transform(static_cast<TransformTypeEnum>(7));
  empty->Translate(1);
  empty->Multiply(2);
  EXPECT_EQ(empty->NumObservations(), 0);
}

TEST(DataSeries, GetObservationIndexFindsFirstOccurrence) {
  DataCollection c;
  auto s = SeriesOf(c, {});
  const char* too_few = "Cannot calculate statistic, series has too few observations";
  EXPECT_TSX_ERROR(s->GetObservationIndex(tsxValue, 1), 10007, too_few);
  EXPECT_TSX_ERROR(s->GetObservationIndex(static_cast<SearchTypeEnum>(9)), 10007, too_few);
  s->ImportFromArray(V{3, 1, 2, 1, 3});
  EXPECT_EQ(s->GetObservationIndex(tsxMinimum), 1);
  EXPECT_EQ(s->GetObservationIndex(tsxMaximum), 0);
  EXPECT_EQ(s->GetObservationIndex(tsxValue, 2), 2);
  EXPECT_EQ(s->GetObservationIndex(tsxValue, 7), -1);
  EXPECT_EQ(s->GetObservationIndex(tsxValue), -1);
  EXPECT_TSX_ERROR(s->GetObservationIndex(static_cast<SearchTypeEnum>(3)), 10028, "Invalid argument");
}
