#include "tessarix/platform/separators.hpp"

#include <gtest/gtest.h>

#include "support/test_helpers.hpp"

using namespace tessarix;

TEST(Separators, ExplicitSettingsWin) {
  test::ScopedSeparators comma(test::DecimalCommaSeparators());
  LoadLocaleSeparators();  // must not overwrite what a host has set
  EXPECT_EQ(CurrentSeparators().SystemDecimalSeparator, ",");
  EXPECT_EQ(CurrentSeparators().SystemListSeparator, ";");
}

TEST(Separators, ReadsNamedLocales) {
  SystemSeparators s;
  ASSERT_TRUE(detail::ReadLocaleSeparators("C", s));
  EXPECT_EQ(s.SystemDecimalSeparator, ".");
  EXPECT_EQ(s.SystemListSeparator, ",");
  EXPECT_EQ(s.SystemThousandSeparator, ",");  // C has none: the English one stands in
  EXPECT_EQ(s.SystemDateSeparator, "/");
  EXPECT_EQ(s.SystemTimeSeparator, ":");
  EXPECT_FALSE(detail::ReadLocaleSeparators("xx_NOWHERE.UTF-8", s));
  EXPECT_EQ(s.SystemDecimalSeparator, ".");

  if (!detail::ReadLocaleSeparators("de_DE.UTF-8", s)) {
    GTEST_SKIP() << "de_DE.UTF-8 is not installed";
  }
  EXPECT_EQ(s.SystemDecimalSeparator, ",");
  EXPECT_EQ(s.SystemListSeparator, ";");
  EXPECT_EQ(s.SystemThousandSeparator, ".");
  EXPECT_EQ(s.SystemDateSeparator, ".");
  EXPECT_EQ(s.SystemTimeSeparator, ":");
}
