#include <gtest/gtest.h>

#include "support/test_helpers.hpp"
#include "tessarix/foundation/fault.hpp"
#include "tessarix/platform/matrix.hpp"
#include "tessarix/platform/variant.hpp"

using namespace tessarix;

namespace {
std::string FaultOf(auto&& f) {
  try {
    f();
  } catch (const detail::RuntimeFault& e) {
    return e.Description();
  }
  return "none";
}
}  // namespace

TEST(Variant, KindsAndConversions) {
  test::ScopedSeparators english(test::EnglishSeparators());
  EXPECT_TRUE(Variant().IsEmpty());
  EXPECT_EQ(Variant(std::int32_t{3}).Type(), VariantType::Long);
  EXPECT_EQ(Variant(2.5).Type(), VariantType::Double);
  EXPECT_EQ(Variant(true).Type(), VariantType::Boolean);
  EXPECT_EQ(Variant("x").Type(), VariantType::String);
  EXPECT_EQ(Variant(std::int32_t{3}).ToDouble(), 3.0);
  EXPECT_EQ(Variant(true).ToDouble(), -1.0);
  EXPECT_EQ(Variant(false).ToDouble(), 0.0);
  EXPECT_EQ(Variant(" 12.5 ").ToDouble(), 12.5);
  EXPECT_EQ(FaultOf([] { (void)Variant("twelve").ToDouble(); }), "Type mismatch");
  EXPECT_EQ(FaultOf([] { (void)Variant().ToDouble(); }), "Type mismatch");
  EXPECT_EQ(FaultOf([] { (void)Variant("1e400").ToDouble(); }), "Overflow");
  EXPECT_EQ(FaultOf([] { (void)Variant::Array({Variant(1.0)}).ToDouble(); }), "Type mismatch");
}

TEST(Variant, StringConversionReadsTheLocale) {
  test::ScopedSeparators comma(test::DecimalCommaSeparators());
  EXPECT_EQ(Variant("2,5").ToDouble(), 2.5);
}

TEST(Variant, ArraysAreZeroBasedAndDeepCopied) {
  Variant a = Variant::Array({Variant(1.0), Variant(2.0), Variant("three")});
  EXPECT_TRUE(a.IsArray());
  EXPECT_EQ(a.Dimensions(), 1);
  EXPECT_EQ(a.UpperBound(), 2);
  EXPECT_EQ(FaultOf([&] { (void)a.UpperBound(2); }), "Subscript out of range");
  EXPECT_EQ(FaultOf([&] { (void)a.At(3); }), "Subscript out of range");
  EXPECT_EQ(FaultOf([&] { (void)a.At(0, 0); }), "Subscript out of range");
  Variant b = a;
  b.At(0) = 9.0;
  EXPECT_EQ(a.At(0).ToDouble(), 1.0);
  EXPECT_FALSE(a == b);
  b.At(0) = 1.0;
  EXPECT_TRUE(a == b);

  Variant m = Variant::Array(2, 3);
  EXPECT_EQ(m.Dimensions(), 2);
  EXPECT_EQ(m.UpperBound(1), 1);
  EXPECT_EQ(m.UpperBound(2), 2);
  m.At(1, 2) = std::int32_t{7};
  EXPECT_EQ(m.At(1, 2).ToDouble(), 7.0);
  EXPECT_TRUE(m.At(0, 0).IsEmpty());

  Variant none = Variant::Array(std::vector<Variant>{});
  EXPECT_TRUE(none.IsArray());
  EXPECT_EQ(none.Dimensions(), 0);
  EXPECT_EQ(FaultOf([&] { (void)none.UpperBound(); }), "Subscript out of range");
  EXPECT_EQ(FaultOf([] { (void)Variant(1.0).UpperBound(); }), "Subscript out of range");
}

TEST(Variant, EqualityComparesAsVariants) {
  EXPECT_TRUE(Variant(std::int32_t{2}) == Variant(2.0));
  EXPECT_TRUE(Variant(true) == Variant(-1.0));
  EXPECT_FALSE(Variant("2") == Variant(2.0));
  EXPECT_TRUE(Variant("abc") == Variant(std::string("abc")));
  EXPECT_FALSE(Variant("abc") == Variant("ABC"));
  EXPECT_TRUE(Variant() == Variant());
  EXPECT_FALSE(Variant() == Variant(0.0));
}

TEST(Matrix, ShapeAndCheckedAccess) {
  Matrix m(2, 3);
  EXPECT_EQ(m.Rows(), 2);
  EXPECT_EQ(m.Cols(), 3);
  EXPECT_EQ(m(1, 2), 0.0);
  m(1, 2) = 5.0;
  m.At(0, 1) = 4.0;
  EXPECT_EQ(m.Data()[5], 5.0);
  EXPECT_EQ(m.Data()[1], 4.0);
  EXPECT_EQ(FaultOf([&] { (void)m.At(2, 0); }), "Subscript out of range");
  EXPECT_EQ(FaultOf([] { Matrix bad(-1, 2); }), "Subscript out of range");
  const Matrix empty;
  EXPECT_EQ(empty.Rows(), 0);
  EXPECT_EQ(empty.Cols(), 0);
}

TEST(Variant, ToStringFollowsThePlatformConversion) {
  tessarix::test::ScopedSeparators sep(tessarix::test::DecimalCommaSeparators());
  EXPECT_EQ(tessarix::Variant().ToString(), "");
  EXPECT_EQ(tessarix::Variant(std::int32_t{-12}).ToString(), "-12");
  EXPECT_EQ(tessarix::Variant(2.5).ToString(), "2,5");
  EXPECT_EQ(tessarix::Variant(true).ToString(), "True");
  EXPECT_EQ(tessarix::Variant("Name").ToString(), "Name");
  EXPECT_THROW((void)tessarix::Variant::Array({tessarix::Variant(1.0)}).ToString(), tessarix::detail::RuntimeFault);
}
