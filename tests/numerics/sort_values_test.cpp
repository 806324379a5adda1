// The shared sort against std::sort; the order it gives equal keys is seen
// through DataCollection::SortOnSeries (tests/data/sort_prune_test.cpp).
#include "tessarix/numerics/sort_values.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <numeric>
#include <random>
#include <vector>

#include "tessarix/foundation/fault.hpp"

using namespace tessarix::detail;

TEST(SortValues, SortsEverySizeAndKeepsTheCompanionInStep) {
  std::mt19937 rng(12345);
  for (std::int32_t n : {0, 1, 2, 3, 7, 8, 9, 14, 15, 64, 257, 1000, 20000}) {
    for (std::int32_t direction : {0, 1}) {
      // Few distinct values, so that equal keys meet the pivot often.
      std::uniform_int_distribution<int> pick(0, n / 3 + 1);
      std::vector<double> original(static_cast<std::size_t>(n) + 1, -99.0);
      for (std::size_t k = 1; k < original.size(); ++k) original[k] = pick(rng) * 0.5 - 3.0;
      std::vector<double> values = original;
      std::vector<std::int32_t> index(original.size(), 0);
      std::iota(index.begin() + 1, index.end(), 1);
      SortValuesWithIndex(values, index, n, direction);

      std::vector<double> expected(original.begin() + 1, original.end());
      std::sort(expected.begin(), expected.end());
      if (direction == 1) std::reverse(expected.begin(), expected.end());
      ASSERT_TRUE(std::equal(expected.begin(), expected.end(), values.begin() + 1)) << n << " " << direction;
      EXPECT_EQ(values[0], -99.0);
      // The companion is a permutation that carries each value along.
      std::vector<std::int32_t> seen(index.begin() + 1, index.end());
      std::sort(seen.begin(), seen.end());
      for (std::size_t k = 0; k < seen.size(); ++k) ASSERT_EQ(seen[k], static_cast<std::int32_t>(k + 1));
      for (std::size_t k = 1; k < values.size(); ++k) {
        ASSERT_EQ(values[k], original[static_cast<std::size_t>(index[k])]);
      }
      std::vector<double> plain = original;
      SortValues(plain, n, direction);
      EXPECT_EQ(plain, values);
    }
  }
}

TEST(SortValues, DeepInputsAndBadSizes) {
  // Sorted, reversed and organ-pipe inputs of a size that needs the stack to grow.
  const std::int32_t n = 200000;
  for (int shape = 0; shape < 3; ++shape) {
    std::vector<double> v(static_cast<std::size_t>(n) + 1);
    for (std::int32_t k = 1; k <= n; ++k) {
      v[static_cast<std::size_t>(k)] = shape == 0 ? k : shape == 1 ? n - k : std::min(k, n - k);
    }
    SortValues(v, n, 0);
    EXPECT_TRUE(std::is_sorted(v.begin() + 1, v.end()));
  }
  std::vector<double> small(3, 0.0);
  EXPECT_THROW(SortValues(small, 3, 0), RuntimeFault);
  std::vector<std::int32_t> short_index(2, 0);
  std::vector<double> ok(4, 0.0);
  EXPECT_THROW(SortValuesWithIndex(ok, short_index, 3, 0), RuntimeFault);
}
