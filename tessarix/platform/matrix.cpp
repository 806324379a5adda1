#include "tessarix/platform/matrix.hpp"

#include "tessarix/foundation/fault.hpp"

namespace tessarix {

Matrix::Matrix(std::int32_t rows, std::int32_t cols) : rows_(rows), cols_(cols) {
  if (rows < 0 || cols < 0) detail::RaiseFault(detail::FaultKind::SubscriptOutOfRange);
  data_.assign(static_cast<std::size_t>(rows) * static_cast<std::size_t>(cols), 0.0);
}

double& Matrix::At(std::int32_t row, std::int32_t col) {
  if (row < 0 || row >= rows_ || col < 0 || col >= cols_) {
    detail::RaiseFault(detail::FaultKind::SubscriptOutOfRange);
  }
  return (*this)(row, col);
}

double Matrix::At(std::int32_t row, std::int32_t col) const {
  if (row < 0 || row >= rows_ || col < 0 || col >= cols_) {
    detail::RaiseFault(detail::FaultKind::SubscriptOutOfRange);
  }
  return (*this)(row, col);
}

}  // namespace tessarix
