#include "tessarix/numerics/sort_values.hpp"

#include <utility>
#include <vector>

#include "tessarix/foundation/fault.hpp"
#include "tessarix/platform/rounding.hpp"

namespace tessarix::detail {

namespace {

// No companion array.
struct NoCompanion {
  void Swap(std::int32_t, std::int32_t) noexcept {}
  void Move(std::int32_t, std::int32_t) noexcept {}
  struct Held {};
  Held Take(std::int32_t) const noexcept { return {}; }
  void Put(std::int32_t, Held) noexcept {}
};

template <class T>
struct Companion {
  T* b;
  void Swap(std::int32_t i, std::int32_t j) noexcept { std::swap(b[i], b[j]); }
  void Move(std::int32_t to, std::int32_t from) noexcept { b[to] = b[from]; }
  using Held = T;
  Held Take(std::int32_t i) const noexcept { return b[i]; }
  void Put(std::int32_t i, Held v) noexcept { b[i] = v; }
};

struct Ascending {
  static bool Before(double x, double y) noexcept { return x < y; }  // x strictly ahead of y
};
struct Descending {
  static bool Before(double x, double y) noexcept { return x > y; }
};

// Stretches with r - l below this are finished by insertion.
constexpr std::int32_t kInsertionLimit = 7;

template <class Order, class C>
void Quicksort(double* a, C companion, std::int32_t n) {
  auto swap_both = [&](std::int32_t i, std::int32_t j) {
    std::swap(a[i], a[j]);
    companion.Swap(i, j);
  };
  std::int32_t l = 1;
  std::int32_t r = n;
  std::int32_t t = 0;
  std::int32_t c = 50;
  std::vector<std::int32_t> stack(static_cast<std::size_t>(c) + 1, 0);
  for (;;) {
    if (r - l < kInsertionLimit) {
      for (std::int32_t j = l + 1; j <= r; ++j) {
        const double v = a[j];
        const auto w = companion.Take(j);
        std::int32_t i = j - 1;
        // Stop at the first element that may stay ahead of v (a(i) <= v ascending).
        for (; i >= l; --i) {
          if (!Order::Before(v, a[i])) break;
          a[i + 1] = a[i];
          companion.Move(i + 1, i);
        }
        a[i + 1] = v;
        companion.Put(i + 1, w);
      }
      if (t == 0) return;
      r = stack[static_cast<std::size_t>(t)];
      l = stack[static_cast<std::size_t>(t) - 1];
      t -= 2;
      continue;
    }
    // Median of three; the midpoint rounds half to even, not down.
    const std::int32_t k = RoundToInt32((static_cast<double>(l) + static_cast<double>(r)) / 2.0);
    swap_both(k, l + 1);
    if (Order::Before(a[r], a[l])) swap_both(l, r);
    if (Order::Before(a[r], a[l + 1])) swap_both(l + 1, r);
    if (Order::Before(a[l + 1], a[l])) swap_both(l, l + 1);
    std::int32_t i = l + 1;
    std::int32_t j = r;
    const double v = a[l + 1];
    const auto w = companion.Take(l + 1);
    for (;;) {
      // a(r) and a(l) bound the scans; the index limits only guard against
      // values that are not ordered at all.
      do ++i;
      while (i < r && Order::Before(a[i], v));
      do --j;
      while (j > l && Order::Before(v, a[j]));
      if (j < i) break;
      swap_both(i, j);
    }
    a[l + 1] = a[j];
    companion.Move(l + 1, j);
    a[j] = v;
    companion.Put(j, w);
    t += 2;
    if (t > c) {
      c *= 2;
      stack.resize(static_cast<std::size_t>(c) + 1, 0);
    }
    // The second term is j - 1, not j - l: the choice of the stacked side is
    // kept exactly as it has always been. It decides only which stretch waits
    // on the stack (so how deep the stack grows), not the order of the result.
    if (r - i + 1 < j - 1) {
      stack[static_cast<std::size_t>(t) - 1] = l;
      stack[static_cast<std::size_t>(t)] = j - 1;
      l = i;
    } else {
      stack[static_cast<std::size_t>(t) - 1] = i;
      stack[static_cast<std::size_t>(t)] = r;
      r = j - 1;
    }
  }
}

template <class C>
void Sort(double* a, C companion, std::int32_t n, std::int32_t direction) {
  if (direction != 0) {
    Quicksort<Descending>(a, companion, n);
  } else {
    Quicksort<Ascending>(a, companion, n);
  }
}

void CheckSize(std::size_t size, std::int32_t count) {
  if (count < 0 || size < static_cast<std::size_t>(count) + 1) RaiseFault(FaultKind::SubscriptOutOfRange);
}

}  // namespace

void SortValues(std::span<double> values, std::int32_t count, std::int32_t direction) {
  CheckSize(values.size(), count);
  Sort(values.data(), NoCompanion{}, count, direction);
}

void SortValuesWithIndex(std::span<double> values, std::span<std::int32_t> index, std::int32_t count,
                         std::int32_t direction) {
  CheckSize(values.size(), count);
  CheckSize(index.size(), count);
  Sort(values.data(), Companion<std::int32_t>{index.data()}, count, direction);
}

void SortValuesWithValues(std::span<double> values, std::span<double> companion, std::int32_t count,
                          std::int32_t direction) {
  CheckSize(values.size(), count);
  CheckSize(companion.size(), count);
  Sort(values.data(), Companion<double>{companion.data()}, count, direction);
}

}  // namespace tessarix::detail
