#include "tessarix/numerics/singular_value.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <vector>

#include "numerics/numerics_test_support.hpp"

using namespace tessarix::detail;
using tessarix::test::FailureOf;
using tessarix::test::FromRows;

namespace {

// Largest deviation of U diag(w) V^T from A, of U^T U and V^T V from I.
struct Residuals {
  double reconstruction = 0, u_orthogonality = 0, v_orthogonality = 0;
};

Residuals Check(const Matrix1& a, const Matrix1& u, const Vector1& w, const Matrix1& v, int rows, int cols) {
  Residuals r;
  for (int i = 1; i <= rows; ++i) {
    for (int j = 1; j <= cols; ++j) {
      double s = 0;
      for (int k = 1; k <= cols; ++k) {
        s += u(i, k) * w[k] * v(j, k);
      }
      r.reconstruction = std::max(r.reconstruction, std::fabs(s - a(i, j)));
    }
  }
  for (int p = 1; p <= cols; ++p) {
    for (int q = 1; q <= cols; ++q) {
      double su = 0;
      double sv = 0;
      for (int i = 1; i <= rows; ++i) {
        su += u(i, p) * u(i, q);
      }
      for (int i = 1; i <= cols; ++i) {
        sv += v(i, p) * v(i, q);
      }
      const double id = p == q ? 1.0 : 0.0;
      // A column of U for an exactly zero singular value is zero.
      if (w[p] != 0.0 && w[q] != 0.0) {
        r.u_orthogonality = std::max(r.u_orthogonality, std::fabs(su - id));
      }
      r.v_orthogonality = std::max(r.v_orthogonality, std::fabs(sv - id));
    }
  }
  return r;
}

}  // namespace

TEST(SingularValueDecomposition, KnownSingularValuesAndReconstruction) {
  // A^T A = [[17, 8], [8, 17]]: singular values 5 and 3.
  const Matrix1 a = FromRows({{3, 2}, {2, 3}, {2, -2}});
  Matrix1 u = a;
  Vector1 w;
  Matrix1 v;
  SingularValueDecomposition(u, 3, 2, w, v);
  std::vector<double> sorted = {w[1], w[2]};
  std::sort(sorted.begin(), sorted.end());
  EXPECT_NEAR(sorted[0], 3.0, 1e-14);
  EXPECT_NEAR(sorted[1], 5.0, 1e-14);
  const Residuals r = Check(a, u, w, v, 3, 2);
  EXPECT_LT(r.reconstruction, 1e-12);
  EXPECT_LT(r.u_orthogonality, 1e-12);
  EXPECT_LT(r.v_orthogonality, 1e-12);
}

TEST(SingularValueDecomposition, LargerDesignMatricesStayOrthogonal) {
  // A polynomial design matrix of 40 rows and 6 columns with weights, as the
  // estimates build it, and a square matrix with a wide spread of magnitudes.
  constexpr int rows = 40;
  constexpr int cols = 6;
  Matrix1 a(rows, cols);
  for (int i = 1; i <= rows; ++i) {
    const double x = 0.25 * i - 3.0;
    const double s = std::sqrt(1.0 + 0.1 * (i % 7));
    for (int j = 1; j <= cols; ++j) {
      a(i, j) = s * std::pow(x, cols - j);
    }
  }
  Matrix1 u = a;
  Vector1 w;
  Matrix1 v;
  SingularValueDecomposition(u, rows, cols, w, v);
  double biggest = 0;
  for (int j = 1; j <= cols; ++j) {
    EXPECT_GE(w[j], 0.0);
    biggest = std::max(biggest, w[j]);
  }
  Residuals r = Check(a, u, w, v, rows, cols);
  EXPECT_LT(r.reconstruction, 1e-12 * biggest);
  EXPECT_LT(r.u_orthogonality, 1e-12);
  EXPECT_LT(r.v_orthogonality, 1e-12);

  const Matrix1 b = FromRows({{1e3, 2, 0, 1e-3}, {4, -5e2, 6, 0}, {0, 7, 8e-2, 9}, {1, 0, -1, 1e2}});
  Matrix1 ub = b;
  SingularValueDecomposition(ub, 4, 4, w, v);
  r = Check(b, ub, w, v, 4, 4);
  EXPECT_LT(r.reconstruction, 1e-12 * 1e3);
  EXPECT_LT(r.u_orthogonality, 1e-12);
  EXPECT_LT(r.v_orthogonality, 1e-12);
}

TEST(SingularValueBackSubstitution, LeastSquaresAndMinimumNorm) {
  // Overdetermined, full rank: the line y = 1 + 2x through exact data.
  Matrix1 a = FromRows({{1, 0}, {1, 1}, {1, 2}, {1, 3}});
  const Vector1 r = {0, 1, 3, 5, 7};
  Vector1 w;
  Matrix1 v;
  Vector1 c;
  SingularValueDecomposition(a, 4, 2, w, v);
  SingularValueBackSubstitution(a, w, v, 4, 2, r, c);
  EXPECT_NEAR(c[1], 1.0, 1e-13);
  EXPECT_NEAR(c[2], 2.0, 1e-13);

  // Rank-deficient: the third column is zero, so its singular value is
  // exactly 0 and its coefficient comes out 0 (the minimum-norm solution).
  Matrix1 b = FromRows({{1, 0, 0}, {1, 1, 0}, {1, 2, 0}, {1, 3, 0}});
  SingularValueDecomposition(b, 4, 3, w, v);
  EXPECT_EQ(std::count(w.begin() + 1, w.begin() + 4, 0.0), 1);
  SingularValueBackSubstitution(b, w, v, 4, 3, r, c);
  EXPECT_NEAR(c[1], 1.0, 1e-13);
  EXPECT_NEAR(c[2], 2.0, 1e-13);
  EXPECT_EQ(c[3], 0.0);

  // Repeated x (all 0.3) in the line model: the decomposition finds an exact
  // zero, and the result is the minimum-norm solution of c1 + 0.3 c2 = 1,
  // (1, 0.3) / 1.09.
  Matrix1 e = FromRows({{1, 0.3}, {1, 0.3}, {1, 0.3}, {1, 0.3}});
  const Vector1 ones = {0, 1, 1, 1, 1};
  SingularValueDecomposition(e, 4, 2, w, v);
  ASSERT_TRUE(w[1] == 0.0 || w[2] == 0.0);
  SingularValueBackSubstitution(e, w, v, 4, 2, ones, c);
  EXPECT_NEAR(c[1], 1.0 / 1.09, 1e-14);
  EXPECT_NEAR(c[2], 0.3 / 1.09, 1e-14);

  // Two equal columns: here rounding leaves a tiny singular value instead of
  // a zero, it is inverted as it stands, and the solution still fits the data
  // (c1 + c2 = 2) but is no longer the minimum-norm (1, 1).
  Matrix1 d = FromRows({{1, 1}, {1, 1}, {1, 1}});
  const Vector1 r2 = {0, 2, 2, 2};
  SingularValueDecomposition(d, 3, 2, w, v);
  ASSERT_GT(std::min(w[1], w[2]), 0.0);
  ASSERT_LT(std::min(w[1], w[2]), 1e-15);
  SingularValueBackSubstitution(d, w, v, 3, 2, r2, c);
  EXPECT_NEAR(c[1] + c[2], 2.0, 1e-12);
  EXPECT_GT(std::fabs(c[1] - 1.0), 0.1);
}

TEST(SingularValueBackSubstitution, OnlyAnExactZeroIsDropped) {
  // U = first two columns of I, V = I: c_j = r_j / w_j.
  Matrix1 u(3, 2);
  u(1, 1) = 1.0;
  u(2, 2) = 1.0;
  Matrix1 v(2, 2);
  v(1, 1) = 1.0;
  v(2, 2) = 1.0;
  const Vector1 r = {0, 4, 3, 9};
  Vector1 c;
  SingularValueBackSubstitution(u, Vector1{0, 2, 0}, v, 3, 2, r, c);
  EXPECT_EQ(c[1], 2.0);
  EXPECT_EQ(c[2], 0.0);
  SingularValueBackSubstitution(u, Vector1{0, 2, 1e-20}, v, 3, 2, r, c);
  EXPECT_EQ(c[2], 3e20);
  EXPECT_EQ(FailureOf([&] { SingularValueBackSubstitution(u, Vector1{0, 2, 1e-320}, v, 3, 2, r, c); }), "Overflow");
  EXPECT_EQ(FailureOf([&] {
              SingularValueBackSubstitution(u, Vector1{0, 2}, v, 3, 2, r, c);
            }),
            "Subscript out of range");
}
