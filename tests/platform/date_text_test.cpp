#include "tessarix/platform/date_text.hpp"

#include <gtest/gtest.h>

#include "support/test_helpers.hpp"

using namespace tessarix::detail;

namespace {
double Serial(const char* text, DateOrder order, const char* sep = "/") {
  double v = -12345.0;
  return ParseLocaleDate(text, v, sep, ":", order) ? v : -12345.0;
}
constexpr double kNo = -12345.0;
}  // namespace

TEST(DateText, SerialNumbersCountDaysFromTheEpoch) {
  EXPECT_EQ(DateSerial(1899, 12, 30), 0);
  EXPECT_EQ(DateSerial(1900, 1, 1), 2);
  EXPECT_EQ(DateSerial(1999, 12, 31), 36525);
  EXPECT_EQ(DateSerial(2000, 1, 1), 36526);
  EXPECT_EQ(DateSerial(2000, 3, 1), 36586);  // 2000 is a leap year
  EXPECT_EQ(DateSerial(1899, 12, 1), -29);
}

TEST(DateText, ShortDatesInEachOrderWithWindowedYears) {
  EXPECT_EQ(Serial("12/31/99", DateOrder::MonthDayYear), 36525);
  EXPECT_EQ(Serial(" 12/31/1999 ", DateOrder::MonthDayYear), 36525);
  EXPECT_EQ(Serial("31/12/99", DateOrder::DayMonthYear), 36525);
  EXPECT_EQ(Serial("31.12.99", DateOrder::DayMonthYear, "."), 36525);
  EXPECT_EQ(Serial("1999/12/31", DateOrder::YearMonthDay), 36525);
  EXPECT_EQ(Serial("1999-12-31", DateOrder::DayMonthYear), 36525);  // ISO in any locale
  EXPECT_EQ(Serial("1/1/29", DateOrder::MonthDayYear), 47119);      // 2029
  EXPECT_EQ(Serial("1/1/30", DateOrder::MonthDayYear), 10959);      // 1930
  EXPECT_EQ(Serial("1/1/00", DateOrder::MonthDayYear), 36526);
  EXPECT_EQ(Serial("2/29/2000", DateOrder::MonthDayYear), 36585);
  for (const char* bad : {"2/30/2001", "2/29/1900", "13/1/2000", "0/1/2000", "1/0/2000", "12/31", "12/31/99/1",
                          "12-31-99", "1/1/099", "123/1/2000", "1/1/12345", "", "abc", "12/31/99x", "1.5"}) {
    EXPECT_EQ(Serial(bad, DateOrder::MonthDayYear), kNo) << bad;
  }
  EXPECT_EQ(Serial("31/12/99", DateOrder::MonthDayYear), kNo);
}

TEST(DateText, TimeOfDayIsTheFraction) {
  EXPECT_EQ(Serial("12/31/99 12:00", DateOrder::MonthDayYear), 36525.5);
  EXPECT_EQ(Serial("12/31/99 18:00:00", DateOrder::MonthDayYear), 36525.75);
  EXPECT_EQ(Serial("12/31/99 6:00 PM", DateOrder::MonthDayYear), 36525.75);
  EXPECT_EQ(Serial("12/31/99 12:00 am", DateOrder::MonthDayYear), 36525);
  EXPECT_EQ(Serial("1999-12-31T06:00", DateOrder::MonthDayYear), 36525.25);
  // Before the epoch the fraction counts away from zero.
  EXPECT_EQ(Serial("1899-12-29 06:00", DateOrder::MonthDayYear), -1.25);
  for (const char* bad : {"12/31/99 24:00", "12/31/99 12:60", "12/31/99 13:00 PM", "12/31/99 12", "12/31/99T12:00"}) {
    EXPECT_EQ(Serial(bad, DateOrder::MonthDayYear), kNo) << bad;
  }
}

TEST(DateText, OrderComesFromTheLocaleDateFormat) {
  DateOrder order = DateOrder::YearMonthDay;
  ASSERT_TRUE(ReadLocaleDateOrder("C", order));
  EXPECT_EQ(order, DateOrder::MonthDayYear);
  EXPECT_FALSE(ReadLocaleDateOrder("xx_NOWHERE.UTF-8", order));
  SetDateOrder(DateOrder::DayMonthYear);
  EXPECT_EQ(CurrentDateOrder(), DateOrder::DayMonthYear);
  {
    tessarix::test::ScopedSeparators sep(tessarix::test::DecimalCommaSeparators());
    double v = 0;
    ASSERT_TRUE(ParseLocaleDate("31.12.1999", v));
    EXPECT_EQ(v, 36525);
  }
  SetDateOrder(DateOrder::MonthDayYear);
  if (!ReadLocaleDateOrder("de_DE.UTF-8", order)) GTEST_SKIP() << "de_DE.UTF-8 is not installed";
  EXPECT_EQ(order, DateOrder::DayMonthYear);
}
