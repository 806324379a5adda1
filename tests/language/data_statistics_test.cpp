#include "tessarix/language/data_statistics.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "tessarix/foundation/fault.hpp"

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

  // The same data as the second of two variables gives the same words: a
  // table of points, observation i at row i.
  std::vector<double> points(12);
  for (int i = 1; i <= 5; ++i) {
    points[static_cast<std::size_t>(2 * i)] = -x[i];
    points[static_cast<std::size_t>(2 * i + 1)] = x[i];
  }
  const DataStatistics m = ComputeTableStatistics(points.data(), 2, y, 5);
  for (int w = 0; w < kDataWordCount; ++w) {
    EXPECT_EQ(m.Lookup(static_cast<DataWord>(w), 2), s.Lookup(static_cast<DataWord>(w))) << w;
  }
  EXPECT_EQ(m.Lookup(DataWord::XMin, 1), -5);
  EXPECT_EQ(m.Lookup(DataWord::YAtXMin, 1), 1);  // y where x1 = -5
  EXPECT_THROW((void)m.Lookup(DataWord::XMin, 3), RuntimeFault);
  EXPECT_EQ(m.Lookup(DataWord::YMean, 3), s.ymean);
}

// The sums of x come before those of y: a step that fails in both raises x's
// fault, whatever the order the sums are formed in.
TEST(DataStatistics, XsFaultComesBeforeYs) {
  const auto fault_of = [](const std::vector<double>& x, const std::vector<double>& y) {
    try {
      (void)ComputeDataStatistics(x.data(), y.data(), static_cast<std::int32_t>(x.size()) - 1);
    } catch (const RuntimeFault& fault) {
      return fault.Kind();
    }
    return FaultKind::Other;
  };
  const double nan = std::nan("");
  EXPECT_EQ(fault_of({0, 1e308, 1e308, 1}, {0, 1, nan, 2}), FaultKind::Overflow);
  EXPECT_EQ(fault_of({0, 1, nan, 2}, {0, 1e308, 1e308, 1}), FaultKind::InvalidCall);
  EXPECT_EQ(fault_of({0, 1, 2, 3}, {0, -1e308, 1e308, 1e308}), FaultKind::Overflow);
  EXPECT_EQ(fault_of({0, 1, 2, 3}, {0, 1, 2, 3}), FaultKind::Other);
}
