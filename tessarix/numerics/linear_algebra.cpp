#include "tessarix/numerics/linear_algebra.hpp"

#include <array>
#include <cmath>
#include <utility>
#include <vector>

#include "tessarix/numerics/internal_failure.hpp"
#include "tessarix/platform/checked.hpp"

namespace tessarix::detail {
namespace {

[[noreturn]] void Singular(std::string& error_text) {
  error_text = kSingularMatrixText;
  RaiseInternalFailure(5000);
}

// The right-hand side as m columns, whether it is a matrix or one vector.
struct MatrixColumns {
  Matrix1& b;
  double& operator()(std::int32_t i, std::int32_t j) { return b(i, j); }
};
struct VectorColumn {
  Vector1& b;
  double& operator()(std::int32_t i, std::int32_t /*column*/) { return b[static_cast<std::size_t>(i)]; }
};

// Integer work arrays of the elimination, one-based. Systems of up to 100
// unknowns (every regression's normal equations) keep them on the stack, so
// the solve in each iteration of a fit allocates nothing.
class IndexArray {
 public:
  explicit IndexArray(std::size_t size) {
    if (size > small_.size()) {
      large_.assign(size, 0);
      data_ = large_.data();
    } else {
      small_.fill(0);
      data_ = small_.data();
    }
  }
  IndexArray(const IndexArray&) = delete;
  IndexArray& operator=(const IndexArray&) = delete;
  std::int32_t& operator[](std::int32_t i) { return data_[i]; }

 private:
  std::array<std::int32_t, 101> small_;
  std::vector<std::int32_t> large_;
  std::int32_t* data_;
};

template <class Rhs>
void Eliminate(Matrix1& a, std::int32_t n, Rhs rhs, std::int32_t m, std::string& error_text) {
  const auto size = static_cast<std::size_t>(n) + 1;
  IndexArray pivot_marks(size);
  IndexArray row_record(size);
  IndexArray column_record(size);

  for (std::int32_t pass = 1; pass <= n; ++pass) {
    double big = 0.0;
    std::int32_t irow = 0;
    std::int32_t icol = 0;
    for (std::int32_t j = 1; j <= n; ++j) {
      if (pivot_marks[j] == 1) {
        continue;
      }
      for (std::int32_t k = 1; k <= n; ++k) {
        if (pivot_marks[k] == 0) {
          // >=: among equal candidates the last one found is the pivot.
          if (std::fabs(a(j, k)) >= big) {
            big = std::fabs(a(j, k));
            irow = j;
            icol = k;
          }
        } else if (pivot_marks[k] > 1) {
          Singular(error_text);
        }
      }
    }
    if (icol == 0) {
      // Only reachable with a non-finite element, which checked arithmetic
      // never stores; treated as the singular case rather than trusted.
      Singular(error_text);
    }
    ++pivot_marks[icol];
    if (irow != icol) {
      for (std::int32_t l = 1; l <= n; ++l) {
        std::swap(a(irow, l), a(icol, l));
      }
      for (std::int32_t l = 1; l <= m; ++l) {
        std::swap(rhs(irow, l), rhs(icol, l));
      }
    }
    row_record[pass] = irow;
    column_record[pass] = icol;
    if (a(icol, icol) == 0.0) {
      Singular(error_text);
    }
    const double pivot_inverse = CheckedDiv(1.0, a(icol, icol));
    a(icol, icol) = 1.0;
    for (std::int32_t l = 1; l <= n; ++l) {
      a(icol, l) = Checked(a(icol, l) * pivot_inverse);
    }
    for (std::int32_t l = 1; l <= m; ++l) {
      rhs(icol, l) = Checked(rhs(icol, l) * pivot_inverse);
    }
    for (std::int32_t ll = 1; ll <= n; ++ll) {
      if (ll == icol) {
        continue;
      }
      const double factor = a(ll, icol);
      a(ll, icol) = 0.0;
      for (std::int32_t l = 1; l <= n; ++l) {
        a(ll, l) = Checked(a(ll, l) - Checked(a(icol, l) * factor));
      }
      for (std::int32_t l = 1; l <= m; ++l) {
        rhs(ll, l) = Checked(rhs(ll, l) - Checked(rhs(icol, l) * factor));
      }
    }
  }
  // Undo the column interchanges in reverse order.
  for (std::int32_t l = n; l >= 1; --l) {
    if (row_record[l] != column_record[l]) {
      for (std::int32_t k = 1; k <= n; ++k) {
        std::swap(a(k, row_record[l]), a(k, column_record[l]));
      }
    }
  }
}

void RequireSquare(const Matrix1& a, std::int32_t n) {
  if (n < 0 || a.Rows() < n || a.Cols() < n) {
    RaiseFault(FaultKind::SubscriptOutOfRange);
  }
}

}  // namespace

void GaussJordanSolve(Matrix1& a, std::int32_t n, Matrix1& b, std::int32_t m, std::string& error_text) {
  RequireSquare(a, n);
  if (m < 0 || (m > 0 && (b.Rows() < n || b.Cols() < m))) {
    RaiseFault(FaultKind::SubscriptOutOfRange);
  }
  Eliminate(a, n, MatrixColumns{b}, m, error_text);
}

void GaussJordanSolve(Matrix1& a, std::int32_t n, Vector1& b, std::int32_t m, std::string& error_text) {
  RequireSquare(a, n);
  // A vector holds one column; m = 0 means no right-hand side at all.
  const std::int32_t columns = m > 0 ? 1 : 0;
  if (m < 0 || (columns > 0 && b.size() < static_cast<std::size_t>(n) + 1)) {
    RaiseFault(FaultKind::SubscriptOutOfRange);
  }
  Eliminate(a, n, VectorColumn{b}, columns, error_text);
}

void GaussJordanSolve(Matrix1& a, std::int32_t n, Vector1& b, std::string& error_text) {
  GaussJordanSolve(a, n, b, 1, error_text);
}

void ExpandCovariance(Matrix1& covar, std::int32_t parameter_count, std::span<const std::int32_t> ia,
                      std::int32_t fitted_count) {
  if (parameter_count < 0 || covar.Rows() < parameter_count || covar.Cols() < parameter_count ||
      ia.size() < static_cast<std::size_t>(parameter_count) + 1 || fitted_count < 0 || fitted_count > parameter_count) {
    RaiseFault(FaultKind::SubscriptOutOfRange);
  }
  std::int32_t marked = 0;
  for (std::int32_t j = 1; j <= parameter_count; ++j) {
    marked += ia[static_cast<std::size_t>(j)] != 0 ? 1 : 0;
  }
  if (marked > fitted_count) {
    // More parameters marked fitted than the matrix holds.
    RaiseFault(FaultKind::SubscriptOutOfRange);
  }
  for (std::int32_t i = fitted_count + 1; i <= parameter_count; ++i) {
    for (std::int32_t j = 1; j <= i; ++j) {
      covar(i, j) = 0.0;
      covar(j, i) = 0.0;
    }
  }
  std::int32_t k = fitted_count;
  for (std::int32_t j = parameter_count; j >= 1; --j) {
    if (ia[static_cast<std::size_t>(j)] != 0) {
      for (std::int32_t i = 1; i <= parameter_count; ++i) {
        std::swap(covar(i, k), covar(i, j));
      }
      for (std::int32_t i = 1; i <= parameter_count; ++i) {
        std::swap(covar(k, i), covar(j, i));
      }
      --k;
    }
  }
}

}  // namespace tessarix::detail
