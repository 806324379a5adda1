#include <gtest/gtest.h>

#include <cmath>
#include <utility>
#include <vector>

#include "support/test_helpers.hpp"
#include "tessarix/data/data_access.hpp"
#include "tessarix/data/data_collection.hpp"

using namespace tessarix;

namespace {
const char* kTooFew = "Cannot calculate statistic, series has too few observations";
}

TEST(SeriesStatistics, SingleValueAndTheMinimumQuirk) {
  DataCollection c;
  auto s = c.AddSeries("s");
  EXPECT_TSX_ERROR((void)s->Maximum(), 10007, kTooFew);
  EXPECT_TSX_ERROR((void)s->Median(), 10007, kTooFew);
  s->AddObservation(5);
  EXPECT_EQ(s->Maximum(), 5);
  EXPECT_EQ(s->Mean(), 5);
  EXPECT_EQ(s->Sum(), 5);
  EXPECT_EQ(s->Median(), 5);
  EXPECT_EQ(s->Range(), 0);
  // Minimum needs two observations although its value is known.
  for (const auto statistic :
       {&DataSeries::Minimum, &DataSeries::Variance, &DataSeries::Skewness, &DataSeries::RootMeanSquare,
        &DataSeries::MeanAbsoluteDeviation, &DataSeries::MeanSquareDeviation, &DataSeries::StandardDeviation,
        &DataSeries::SumOfSquaredDeviation, &DataSeries::Kurtosis}) {
    EXPECT_TSX_ERROR((void)((*s).*statistic)(), 10007, kTooFew);
  }
  EXPECT_FALSE(detail::DataAccess::StatisticsValid(*s));
}

TEST(SeriesStatistics, EstimatorsMixPopulationAndSampleForms) {
  DataCollection c;
  auto s = c.AddSeries("s");
  // 1, 2, 3, 10: mean 4, deviations -3 -2 -1 6; sums of powers 50, 180, 1394.
  s->ImportFromArray(std::vector<double>{10, 1, 3, 2});
  EXPECT_EQ(s->Minimum(), 1);
  EXPECT_EQ(s->Maximum(), 10);
  EXPECT_EQ(s->Sum(), 16);
  EXPECT_EQ(s->Range(), 9);
  EXPECT_EQ(s->Mean(), 4);
  EXPECT_EQ(s->SumOfSquaredDeviation(), 50);
  EXPECT_EQ(s->MeanAbsoluteDeviation(), 3);
  EXPECT_EQ(s->MeanSquareDeviation(), 12.5);
  EXPECT_DOUBLE_EQ(s->RootMeanSquare(), std::sqrt(12.5));
  EXPECT_DOUBLE_EQ(s->Variance(), 50.0 / 3);
  EXPECT_DOUBLE_EQ(s->StandardDeviation(), std::sqrt(50.0 / 3));
  EXPECT_DOUBLE_EQ(s->Skewness(), 180.0 / (std::pow(50.0 / 3, 1.5) * 4));
  EXPECT_DOUBLE_EQ(s->Kurtosis(), 1394.0 * 9 / 10000 - 3);
  EXPECT_EQ(s->Median(), 2.5);
}

TEST(SeriesStatistics, VarianceSubtractsTheRoundOffOfTheDeviations) {
  // The variance takes away (sum of deviations)^2 / n, the round-off left in
  // the mean. Three equal values of 0.2 then have a variance of exactly 0, so
  // skewness and kurtosis are 0 too; the plain sum of squares would leave 1e-33.
  DataCollection c;
  auto s = c.AddSeries("s");
  s->ImportFromArray(std::vector<double>{0.2, 0.2, 0.2});
  EXPECT_EQ(s->Variance(), 0.0);
  EXPECT_EQ(s->StandardDeviation(), 0.0);
  EXPECT_EQ(s->Skewness(), 0.0);
  EXPECT_EQ(s->Kurtosis(), 0.0);
  // Large values with small differences: the exact variance of the three
  // stored doubles, rounded once, where the plain form is off in the 14th digit.
  s->ImportFromArray(std::vector<double>{1e8 + 0.3, 1e8 + 0.3, 1e8 + 0.1});
  EXPECT_EQ(s->Variance(), 0.013333333730697635);
}

TEST(SeriesStatistics, MedianOfOddCountsRoundsHalfToEven) {
  // The sorted element at position n / 2 + 1 rounded half to even: for n = 5
  // position 3.5 -> 4, not the middle 3; n = 7: 4.5 -> 4, the true middle;
  // n = 9: 5.5 -> 6. Even counts take the mean of the two middle values.
  DataCollection c;
  auto s = c.AddSeries("s");
  const std::pair<std::vector<double>, double> cases[] = {
      {{5, 3, 1, 4, 2}, 4}, {{7, 6, 5, 4, 3, 2, 1}, 4}, {{1, 2, 3, 4, 5, 6, 7, 8, 9}, 6}, {{4, 1, 3, 2}, 2.5}};
  for (const auto& [values, median] : cases) {
    s->ImportFromArray(values);
    EXPECT_EQ(s->Median(), median) << values.size();
  }
}

TEST(SeriesStatistics, CacheLivesUntilValuesChange) {
  DataCollection c;
  auto s = c.AddSeries("s");
  s->ImportFromArray(std::vector<double>{3, 1, 2});
  EXPECT_EQ(s->Mean(), 2);
  EXPECT_TRUE(detail::DataAccess::StatisticsValid(*s));
  s->Sort(tsxSortDescending);
  EXPECT_TRUE(detail::DataAccess::StatisticsValid(*s));
  s->SetObservation(0, 6);
  EXPECT_FALSE(detail::DataAccess::StatisticsValid(*s));
  EXPECT_EQ(s->Mean(), 3);
  s->AddObservation(0);
  EXPECT_FALSE(detail::DataAccess::StatisticsValid(*s));
  EXPECT_EQ(s->Mean(), 2.25);
  s->RemoveObservation();
  EXPECT_EQ(s->Mean(), 3);

  // A fault while computing: 10008, and nothing cached.
  s->ImportFromArray(std::vector<double>{1e100, -1e100});
  EXPECT_TSX_ERROR((void)s->Kurtosis(), 10008, "Mathematical error occurred calculating requested statistic");
  EXPECT_TSX_CODE((void)s->Mean(), 10008);
  EXPECT_FALSE(detail::DataAccess::StatisticsValid(*s));
  s->Multiply(1e-90);
  EXPECT_EQ(s->Mean(), 0);
}

TEST(SeriesStatistics, CorrelationAndCovarianceBetweenMembers) {
  DataCollection c;
  auto a = c.AddSeries("a");
  auto b = c.AddSeries("b");
  auto k = c.AddSeries("k");
  a->ImportFromArray(std::vector<double>{1, 2, 3});
  b->ImportFromArray(std::vector<double>{2, 4, 7});
  k->ImportFromArray(std::vector<double>{5, 5, 5});
  EXPECT_EQ(c.CalculateCovariance(1, "B"), 2.5);
  EXPECT_EQ(c.CalculateCovariance("a", "a"), 1.0);
  // r = 5 / sqrt(2 * 38/3)
  EXPECT_DOUBLE_EQ(c.CalculateCorrelation("a", "b"), 5.0 / std::sqrt(2.0 * 38.0 / 3.0));
  // The same argument twice is exactly 1 without computing; by position and
  // name it is computed, and a constant series correlates 0.
  EXPECT_EQ(c.CalculateCorrelation(3, 3), 1.0);
  EXPECT_EQ(c.CalculateCorrelation("k", "k"), 1.0);
  EXPECT_EQ(c.CalculateCorrelation(3, "k"), 0.0);

  b->AddObservation(1);
  const char* unequal =
      "The number of observations for included DataSeries objects must be equal to perform the requested operation";
  EXPECT_TSX_ERROR((void)c.CalculateCorrelation("a", "b"), 10012, unequal);
  EXPECT_TSX_ERROR((void)c.CalculateCovariance("a", "b"), 10012, unequal);
  EXPECT_TSX_ERROR((void)c.CalculateCorrelation("a", "zz"), 10001, "General Error: Invalid key or index");
  EXPECT_TSX_ERROR((void)c.CalculateCovariance(0, 1), 10001, "General Error: Invalid key or index");
  auto one = c.AddSeries("one");
  one->AddObservation(1);
  EXPECT_TSX_ERROR((void)c.CalculateCorrelation("one", "one"), 10007, kTooFew);
  EXPECT_TSX_ERROR((void)c.CalculateCorrelation(4, 4), 10007, kTooFew);
  EXPECT_TSX_ERROR((void)c.CalculateCovariance("one", 4), 10007, kTooFew);
}
