#include "tessarix/platform/number_text.hpp"

#include <gtest/gtest.h>

#include <limits>

#include "support/test_helpers.hpp"
#include "tessarix/platform/clock.hpp"
#include "tessarix/platform/numeric_text.hpp"

using namespace tessarix;
using namespace tessarix::detail;

TEST(NumberText, ShortestFifteenDigitForm) {
  test::ScopedSeparators english(test::EnglishSeparators());
  const struct {
    double value;
    const char* text;
  } cases[] = {
      {0.0, "0"},
      {-0.0, "0"},
      {1.0, "1"},
      {-2.5, "-2.5"},
      {0.1 + 0.2, "0.3"},
      {1.0 / 3.0, "0.333333333333333"},
      {2.0 / 3.0, "0.666666666666667"},
      {1e-10, "1E-10"},
      {1.5e20, "1.5E+20"},
      {123456789012345678.0, "1.23456789012346E+17"},
      {std::numeric_limits<double>::denorm_min(), "4.94065645841247E-324"},
      {std::numeric_limits<double>::max(), "1.79769313486232E+308"},
      {-std::numeric_limits<double>::max(), "-1.79769313486232E+308"},
      {0.0001, "0.0001"},
      {0.00012345, "0.00012345"},
      {0.00001, "1E-5"},
      {-0.000015, "-1.5E-5"},
      {1e14, "100000000000000"},
      {123456789012345.0, "123456789012345"},
      {1e15, "1E+15"},
      {999999999999999.9, "1E+15"},
      {250.0, "250"},
      {123.456, "123.456"},
      {1e-10 * 3, "3E-10"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(NumberText(c.value), c.text) << c.text;
    EXPECT_EQ(ListNumberText(c.value), c.text) << c.text;
  }
  EXPECT_EQ(IntegerText(-42), "-42");
  EXPECT_EQ(IntegerText(2147483647), "2147483647");
}

TEST(NumberText, LogFormFollowsTheLocaleListFormDoesNot) {
  test::ScopedSeparators comma(test::DecimalCommaSeparators());
  EXPECT_EQ(NumberText(-2.5), "-2,5");
  EXPECT_EQ(NumberText(1.5e20), "1,5E+20");
  EXPECT_EQ(NumberText(0.00012345), "0,00012345");
  EXPECT_EQ(ListNumberText(-2.5), "-2.5");
  EXPECT_EQ(ListNumberText(1.5e20), "1.5E+20");
}

TEST(NumericText, ReadsLocaleNumbers) {
  test::ScopedSeparators comma(test::DecimalCommaSeparators());
  double v = 0;
  EXPECT_EQ(ParseLocaleNumber(" 1,5 ", v), NumberParse::Ok);
  EXPECT_EQ(v, 1.5);
  EXPECT_EQ(ParseLocaleNumber("1.234.567,25", v), NumberParse::Ok);
  EXPECT_EQ(v, 1234567.25);
  EXPECT_EQ(ParseLocaleNumber("-2,5e-3", v), NumberParse::Ok);
  EXPECT_EQ(v, -0.0025);
  EXPECT_EQ(ParseLocaleNumber("(3,5)", v), NumberParse::Ok);
  EXPECT_EQ(v, -3.5);
  EXPECT_EQ(ParseLocaleNumber("\xE2\x82\xAC"
                              "12",
                              v),
            NumberParse::Ok);
  EXPECT_EQ(v, 12.0);
  // Thousands separators are not checked for groups of three, as the platform's test does not.
  EXPECT_EQ(ParseLocaleNumber("1.5", v), NumberParse::Ok);
  EXPECT_EQ(v, 15.0);
  EXPECT_EQ(ParseLocaleNumber(".5", v), NumberParse::NotANumber);
  EXPECT_EQ(ParseLocaleNumber("", v), NumberParse::NotANumber);
  EXPECT_EQ(ParseLocaleNumber("abc", v), NumberParse::NotANumber);
  EXPECT_EQ(ParseLocaleNumber("1e", v), NumberParse::NotANumber);
  EXPECT_EQ(ParseLocaleNumber("1,2,3", v), NumberParse::NotANumber);
  EXPECT_EQ(ParseLocaleNumber("1e999", v), NumberParse::OutOfRange);
  EXPECT_EQ(ParseLocaleNumber("1e-999", v), NumberParse::Ok);
  EXPECT_EQ(v, 0.0);
}

TEST(Clock, DateTimeTextHasTheBannerShape) {
  const std::string t = CurrentDateTimeText();
  ASSERT_EQ(t.size(), 19u);
  EXPECT_EQ(t[4], '-');
  EXPECT_EQ(t[10], ' ');
  EXPECT_EQ(t[13], ':');
}
