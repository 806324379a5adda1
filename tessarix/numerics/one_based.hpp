// Arrays indexed from 1, the convention of every numerical routine of the
// library: the algorithms are written with indexes 1..n, and keeping those
// indexes in the code keeps the order of every operation (and so the bits of
// every result) plain to check. Element 0 (row 0, column 0) is allocated and
// never read.
//
// Public interfaces are zero-based; the shift happens once, where data enters
// or leaves a routine (a caller's element i - 1 is element i here).
#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace tessarix::detail {

// A vector of doubles with indexes 1..n (size n + 1).
using Vector1 = std::vector<double>;
inline Vector1 MakeVector1(std::int32_t n, double fill = 0.0) {
  return Vector1(static_cast<std::size_t>(n < 0 ? 0 : n) + 1, fill);
}

// A rows x cols matrix with indexes (1..rows, 1..cols).
class Matrix1 {
 public:
  Matrix1() = default;
  Matrix1(std::int32_t rows, std::int32_t cols) { Resize(rows, cols); }

  void Resize(std::int32_t rows, std::int32_t cols) {
    rows_ = rows < 0 ? 0 : rows;
    cols_ = cols < 0 ? 0 : cols;
    stride_ = static_cast<std::size_t>(cols_) + 1;
    data_.assign((static_cast<std::size_t>(rows_) + 1) * stride_, 0.0);
  }
  void Fill(double value) { data_.assign(data_.size(), value); }

  std::int32_t Rows() const noexcept { return rows_; }
  std::int32_t Cols() const noexcept { return cols_; }

  double& operator()(std::int32_t i, std::int32_t j) noexcept {
    return data_[static_cast<std::size_t>(i) * stride_ + static_cast<std::size_t>(j)];
  }
  double operator()(std::int32_t i, std::int32_t j) const noexcept {
    return data_[static_cast<std::size_t>(i) * stride_ + static_cast<std::size_t>(j)];
  }

 private:
  std::int32_t rows_ = 0;
  std::int32_t cols_ = 0;
  std::size_t stride_ = 1;
  std::vector<double> data_;
};

}  // namespace tessarix::detail
