// The independent values of a run's observations: rows 1..n of `width`
// values each (row 0 exists and is unused, as in every one-based work array
// of the run), in one block of memory.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace tessarix::detail {

class PointTable {
 public:
  // n rows of `width` zeros; the old contents are gone.
  void Allocate(std::int32_t n, std::int32_t width) {
    width_ = width;
    count_ = n;
    values_.assign((static_cast<std::size_t>(n) + 1) * static_cast<std::size_t>(width), 0.0);
  }
  // Released, not only emptied: a large fit should not keep its memory.
  void Release() {
    std::vector<double>().swap(values_);
    count_ = 0;
  }

  // Hands the storage over (for one variable, the one-based column x[1..n])
  // and leaves the table empty.
  std::vector<double> TakeValues() {
    count_ = 0;
    return std::move(values_);
  }

  std::int32_t Count() const { return count_; }
  std::int32_t Width() const { return width_; }

  // Every value, row 0 first: for one variable, the one-based column x[1..n].
  std::span<const double> Values() const { return values_; }
  std::span<const double> Row(std::int32_t i) const {
    return {values_.data() + static_cast<std::size_t>(i) * static_cast<std::size_t>(width_),
            static_cast<std::size_t>(width_)};
  }
  // Variable j (1..width) of row i.
  double& At(std::int32_t i, std::int32_t j) {
    return values_[static_cast<std::size_t>(i) * static_cast<std::size_t>(width_) + static_cast<std::size_t>(j) - 1];
  }
  double At(std::int32_t i, std::int32_t j) const {
    return values_[static_cast<std::size_t>(i) * static_cast<std::size_t>(width_) + static_cast<std::size_t>(j) - 1];
  }

 private:
  std::vector<double> values_;
  std::int32_t width_ = 1;
  std::int32_t count_ = 0;
};

}  // namespace tessarix::detail
