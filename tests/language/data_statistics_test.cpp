#include "tessarix/language/data_statistics.hpp"

#include <gtest/gtest.h>

#include <cmath>

using namespace tessarix::detail;

TEST(DataStatistics, FirstObservationWinsTiesAndStdUsesNMinusOne) {
  // One-based: element 0 is unused.
  const double x[] = {0, 3, 1, 4, 1, 5};
  const double y[] = {0, 2, 7, 1, 7, 1};
  const DataStatistics s = ComputeDataStatistics(x, y, 5);
  EXPECT_EQ(s.xmin, 1);
  EXPECT_EQ(s.xmax, 5);
  EXPECT_EQ(s.ymin, 1);
  EXPECT_EQ(s.ymax, 7);
  EXPECT_EQ(s.xatymin, 4);  // first of the two y = 1
  EXPECT_EQ(s.xatymax, 1);  // first of the two y = 7
  EXPECT_EQ(s.yatxmin, 7);
  EXPECT_EQ(s.yatxmax, 1);
  EXPECT_DOUBLE_EQ(s.xmean, 14.0 / 5.0);
  EXPECT_DOUBLE_EQ(s.xstd, std::sqrt(12.8 / 4.0));
  EXPECT_EQ(s.Lookup(DataWord::XRange), 4);
  EXPECT_EQ(s.Lookup(DataWord::YRange), 6);
  EXPECT_EQ(s.Lookup(DataWord::YAtXMax), 1);
}
