// The dense linear algebra of the trust-region iteration: a Householder QR
// factorisation with column pivoting of the weighted Jacobian, and Moré's
// computation of the Levenberg-Marquardt parameter for a trust radius, which
// solves the damped least-squares problem from the triangular factor by
// Givens rotations. Working from the factor of the Jacobian, never from the
// normal equations, keeps the condition number from being squared.
//
// Unlike the one-based numerics of the Marquardt step these routines are
// zero-based: the Jacobian is stored by columns (column j at a[j * m]), so
// that every Householder sweep runs over contiguous memory.
//
// Every arithmetic step that can overflow is checked; a RuntimeFault leaves
// the routine, and the iteration treats it as a step that cannot be taken.
#pragma once

#include <cstdint>
#include <vector>

namespace tessarix::detail {

// Euclidean norm of v[0..n-1], without overflow or harmful underflow in the
// squares.
[[nodiscard]] double EuclideanNorm(const double* v, std::int64_t n);

// An n x n matrix stored by columns.
class SquareColumns {
 public:
  void Resize(std::int32_t n) {
    n_ = n;
    data_.assign(static_cast<std::size_t>(n) * static_cast<std::size_t>(n), 0.0);
  }
  std::int32_t Size() const noexcept { return n_; }
  double& operator()(std::int32_t i, std::int32_t j) noexcept {
    return data_[static_cast<std::size_t>(j) * static_cast<std::size_t>(n_) + static_cast<std::size_t>(i)];
  }
  double operator()(std::int32_t i, std::int32_t j) const noexcept {
    return data_[static_cast<std::size_t>(j) * static_cast<std::size_t>(n_) + static_cast<std::size_t>(i)];
  }

 private:
  std::int32_t n_ = 0;
  std::vector<double> data_;
};

// The factorisation A P = Q R of an m x n matrix (m >= n), with the columns
// taken in order of their remaining norms (Businger-Golub pivoting).
struct PivotedQR {
  std::vector<std::int32_t> pivot;   // column j of R is column pivot[j] of A
  std::vector<double> rdiag;         // the diagonal of R
  std::vector<double> column_norms;  // the norms of the columns of A, in A's order
};

// Factors the column-major m x n matrix `a` in place: afterwards the strict
// upper triangle of its first n rows holds R without its diagonal, and the
// columns from the diagonal down hold the Householder vectors.
void FactorPivotedQR(std::int64_t m, std::int32_t n, double* a, PivotedQR& qr);

// b <- Q^T b for the m elements of b, with a factored by FactorPivotedQR.
void ApplyQTranspose(std::int64_t m, std::int32_t n, const double* a, double* b);

// R (upper triangle, diagonal included) out of a factored `a`, into r.
void ExtractR(std::int64_t m, std::int32_t n, const double* a, const PivotedQR& qr, SquareColumns& r);

// The triangular factor R0 and Q^T b of a tall matrix A (and right-hand side
// b) handed over in blocks of rows, never held whole: each block is folded
// into the triangle by Householder reflections of the stacked [R0; block],
// which keeps the columnwise backward stability of Householder QR. R0 has the
// column norms of A, so a pivoted factorisation of R0 is one of A.
class RowFoldingQR {
 public:
  // Rows of at most this many go into one reflection sweep.
  static constexpr std::int32_t kFoldRows = 128;

  // Starts a matrix of n columns: R0 = 0, Q^T b = 0.
  void Reset(std::int32_t n);
  // The next row: its n elements and its right-hand side. Raises a
  // RuntimeFault when the factor overflows.
  void AddRow(const double* row, double rhs);
  // The rows of a block added as AddRow would add them, without a test per
  // step: row r is weights[r] * derivatives[r * stride + columns[j]] for
  // j = 0..n-1, its right-hand side weights[r] * (model[r] - y[r]). Whether
  // every product is finite is looked at once before each fold and at the
  // end. Returns how many rows were added: all of them, or fewer when a step
  // gave a value that is not finite, and then the rows from there on are
  // not added, so that AddRow, with its tests, adds them again and raises
  // the fault at its step.
  std::int32_t AddRowsUnchecked(std::int32_t rows, const double* weights, const double* derivatives,
                                std::int32_t stride, const std::int32_t* columns, const double* model, const double* y);
  // Folds the rows still pending; afterwards R0() and Qtb() are complete.
  void Finish();

  // R0 by columns (upper triangle), and the first n elements of Q^T b.
  const SquareColumns& R0() const noexcept { return r_; }
  const std::vector<double>& Qtb() const noexcept { return qtb_; }
  // Whether column j of A had an element other than 0.
  bool ColumnUsed(std::int32_t j) const noexcept { return used_[static_cast<std::size_t>(j)] != 0; }

 private:
  void Fold();

  std::int32_t n_ = 0;
  std::int32_t pending_ = 0;
  SquareColumns r_;
  std::vector<double> qtb_;
  std::vector<double> block_;  // pending rows by columns, kFoldRows per column
  std::vector<double> block_rhs_;
  std::vector<char> used_;
};

// Moré's Levenberg-Marquardt parameter. With R, the pivots, the positive
// scaling `diag` (in A's column order), qtb = the first n elements of Q^T b
// and the radius delta > 0: finds par >= 0 and x solving
//   A x ~ b,  sqrt(par) D x ~ 0   (least squares)
// such that either par = 0 and |D x| <= 1.1 delta, or par > 0 and
// | |D x| - delta | <= 0.1 delta (at most ten corrections). `par` enters as
// the previous value, a starting guess. A rank-deficient R gives a
// least-squares Gauss-Newton direction. The upper triangle of r (diagonal
// included) is kept; its strict lower triangle is work space.
void LevenbergParameter(SquareColumns& r, const PivotedQR& qr, const std::vector<double>& diag,
                        const std::vector<double>& qtb, double delta, double& par, std::vector<double>& x);

// Whether LevenbergParameter takes the Gauss-Newton step, of scaled length
// dxnorm, as it stands (par = 0) for the radius delta.
[[nodiscard]] bool GaussNewtonFits(double dxnorm, double delta);

// The inverse of R^T R, spread back to A's column order: the unscaled
// covariance (A^T A)^-1. False when R has a zero on its diagonal.
[[nodiscard]] bool InverseOfNormalMatrix(const SquareColumns& r, const PivotedQR& qr, SquareColumns& inverse);

}  // namespace tessarix::detail
