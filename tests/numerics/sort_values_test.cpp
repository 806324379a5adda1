#include "tessarix/numerics/sort_values.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <numeric>
#include <random>
#include <vector>

#include "tessarix/foundation/fault.hpp"

using namespace tessarix::detail;

namespace {

std::vector<std::int32_t> Identity(std::int32_t n) {
  std::vector<std::int32_t> index(static_cast<std::size_t>(n) + 1, 0);
  std::iota(index.begin() + 1, index.end(), 1);
  return index;
}

}  // namespace

TEST(SortValues, SortsEverySizeAndKeepsTheCompanionInStep) {
  std::mt19937 rng(12345);
  for (std::int32_t n : {0, 1, 2, 3, 7, 8, 9, 14, 15, 64, 257, 1000, 20000}) {
    for (std::int32_t direction : {0, 1}) {
      // Few distinct values, so that equal keys meet the pivot often.
      std::uniform_int_distribution<int> pick(0, n / 3 + 1);
      std::vector<double> original(static_cast<std::size_t>(n) + 1, -99.0);
      for (std::int32_t k = 1; k <= n; ++k) original[static_cast<std::size_t>(k)] = pick(rng) * 0.5 - 3.0;
      std::vector<double> values = original;
      std::vector<std::int32_t> index = Identity(n);
      SortValuesWithIndex(values, index, n, direction);

      std::vector<double> expected(original.begin() + 1, original.end());
      if (direction == 0) {
        std::sort(expected.begin(), expected.end());
      } else {
        std::sort(expected.begin(), expected.end(), std::greater<>());
      }
      ASSERT_TRUE(std::equal(expected.begin(), expected.end(), values.begin() + 1)) << n << " " << direction;
      EXPECT_EQ(values[0], -99.0);
      std::vector<std::int32_t> seen(index.begin() + 1, index.end());
      std::sort(seen.begin(), seen.end());
      const std::vector<std::int32_t> all = Identity(n);
      EXPECT_EQ(seen, std::vector<std::int32_t>(all.begin() + 1, all.end()));
      for (std::int32_t k = 1; k <= n; ++k) {
        ASSERT_EQ(values[static_cast<std::size_t>(k)],
                  original[static_cast<std::size_t>(index[static_cast<std::size_t>(k)])]);
      }
      std::vector<double> plain = original;
      SortValues(plain, n, direction);
      EXPECT_EQ(plain, values);
    }
  }
}

TEST(SortValues, EqualKeysShowThePathTaken) {
  // Seven elements go by insertion alone, which never moves equal keys.
  std::vector<double> seven(8, 1.0);
  std::vector<std::int32_t> index7 = Identity(7);
  SortValuesWithIndex(seven, index7, 7, 0);
  EXPECT_EQ(index7, Identity(7));

  // Eight take the quicksort path (r - l = 7), which exchanges equal keys
  // across the pivot; traced by hand.
  std::vector<double> eight(9, 1.0);
  std::vector<std::int32_t> index8 = Identity(8);
  SortValuesWithIndex(eight, index8, 8, 0);
  EXPECT_EQ(index8, (std::vector<std::int32_t>{0, 1, 6, 7, 4, 5, 2, 3, 8}));

  // Fourteen: the midpoint 7.5 rounds half to even to 8 (a truncating
  // division would take 7 and give another order).
  std::vector<double> fourteen(15, 2.0);
  std::vector<std::int32_t> index14 = Identity(14);
  SortValuesWithIndex(fourteen, index14, 14, 1);
  EXPECT_EQ(index14, (std::vector<std::int32_t>{0, 1, 9, 13, 12, 11, 10, 8, 2, 7, 6, 5, 4, 3, 14}));

  std::vector<double> three{0, 5, 1, 4};
  SortValues(three, 3, 1);
  EXPECT_EQ(three, (std::vector<double>{0, 5, 4, 1}));
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
