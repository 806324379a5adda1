// A zero-based, row-major table of Double.
#pragma once

#include <cstdint>
#include <vector>

#include "tessarix/foundation/export.hpp"

namespace tessarix {

// The first index is the observation (row), the second the variable or series
// (column). Cols() == 0 means "no second dimension"; Rows() == 0 with
// Cols() > 0 means "no observations". A new Matrix holds zeros.
class TESSARIX_API Matrix {
 public:
  Matrix() = default;
  // Negative sizes are a "Subscript out of range" fault.
  Matrix(std::int32_t rows, std::int32_t cols);

  std::int32_t Rows() const noexcept { return rows_; }
  std::int32_t Cols() const noexcept { return cols_; }

  // Unchecked access.
  double& operator()(std::int32_t row, std::int32_t col) {
    return data_[static_cast<std::size_t>(row) * static_cast<std::size_t>(cols_) + static_cast<std::size_t>(col)];
  }
  double operator()(std::int32_t row, std::int32_t col) const {
    return data_[static_cast<std::size_t>(row) * static_cast<std::size_t>(cols_) + static_cast<std::size_t>(col)];
  }
  // Checked access: "Subscript out of range" fault outside the bounds.
  double& At(std::int32_t row, std::int32_t col);
  double At(std::int32_t row, std::int32_t col) const;

  // Rows() * Cols() elements, row after row.
  double* Data() noexcept { return data_.data(); }
  const double* Data() const noexcept { return data_.data(); }

 private:
  std::int32_t rows_ = 0;
  std::int32_t cols_ = 0;
  std::vector<double> data_;
};

}  // namespace tessarix
