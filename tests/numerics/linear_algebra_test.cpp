// The linear solve of the iteration, the covariance expansion for fixed
// parameters, and the singular value decomposition of the estimates.
#include "tessarix/numerics/linear_algebra.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <string>
#include <utility>
#include <vector>

#include "numerics/numerics_test_support.hpp"
#include "tessarix/numerics/singular_value.hpp"

using namespace tessarix::detail;
using tessarix::test::ExpectMatrixNear;
using tessarix::test::FailureOf;
using tessarix::test::FromRows;

TEST(GaussJordanSolve, InverseAndSolutionsOfAWellConditionedSystem) {
  // A zero on the diagonal needs the pivoting; det = -5, inverse = adj / det.
  // The second right-hand side gives the first column of the inverse.
  Matrix1 a = FromRows({{0, 2, 1}, {1, 1, 0}, {3, 0, 1}});
  Matrix1 b = FromRows({{5, 1}, {3, 0}, {4, 0}});
  std::string text = "unchanged";
  GaussJordanSolve(a, 3, b, 2, text);
  ExpectMatrixNear(a, {{-0.2, 0.4, 0.2}, {0.2, 0.6, -0.2}, {0.6, -1.2, 0.4}}, 1e-15);
  ExpectMatrixNear(b, {{1, -0.2}, {2, 0.2}, {1, 0.6}}, 1e-15);
  EXPECT_EQ(text, "unchanged");
  // One right-hand side as a vector, with and without the column count.
  Matrix1 a2 = FromRows({{4, 1}, {2, 3}});
  Matrix1 a3 = a2;
  Vector1 v = {0.0, 9.0, 13.0};
  Vector1 w = v;
  GaussJordanSolve(a2, 2, v, 1, text);
  GaussJordanSolve(a3, 2, w, text);
  EXPECT_NEAR(v[1], 1.4, 1e-15);
  EXPECT_NEAR(v[2], 3.4, 1e-15);
  EXPECT_EQ(w, v);
  ExpectMatrixNear(a3, {{0.3, -0.1}, {-0.2, 0.4}}, 1e-15);
}

TEST(GaussJordanSolve, TheLastOfEqualPivotsWins) {
  // Both diagonal elements have the largest magnitude, 3. The scan takes the
  // last one found, a(2, 2), as the first pivot, and on this system that
  // order gives the solution (-1, -1) exactly; starting from a(1, 1) would
  // give -0.9999999999999999 and -0.9999999999999998.
  Matrix1 a = FromRows({{-3, 1}, {-2, 3}});
  Vector1 b = {0.0, 2.0, -1.0};
  std::string text;
  GaussJordanSolve(a, 2, b, text);
  EXPECT_EQ(b[1], -1.0);
  EXPECT_EQ(b[2], -1.0);
  ExpectMatrixNear(a, {{-3.0 / 7, 1.0 / 7}, {-2.0 / 7, 3.0 / 7}}, 1e-16);
}

TEST(GaussJordanSolve, IllConditionedHilbertMatrix) {
  // The inverse of the 6x6 Hilbert matrix (condition about 1.5e7) is an
  // integer matrix with known entries; the right-hand side sums the rows, so
  // the solution is all ones.
  constexpr int n = 6;
  const auto binomial = [](int top, int k) {
    double r = 1.0;
    for (int i = 1; i <= k; ++i) r = r * (top - k + i) / i;
    return r;
  };
  Matrix1 h(n, n);
  Vector1 rhs = MakeVector1(n);
  std::vector<std::vector<double>> inverse(n, std::vector<double>(n));
  for (int i = 1; i <= n; ++i) {
    for (int j = 1; j <= n; ++j) {
      h(i, j) = 1.0 / (i + j - 1);
      rhs[i] += h(i, j);
      const double b1 = binomial(i + j - 2, i - 1);
      inverse[i - 1][j - 1] = ((i + j) % 2 == 0 ? 1.0 : -1.0) * (i + j - 1) * binomial(n + i - 1, n - j) *
                              binomial(n + j - 1, n - i) * b1 * b1;
    }
  }
  std::string text;
  GaussJordanSolve(h, n, rhs, 1, text);
  for (int i = 1; i <= n; ++i) {
    for (int j = 1; j <= n; ++j) EXPECT_REL_NEAR(h(i, j), inverse[i - 1][j - 1], 1e-8) << i << "," << j;
    EXPECT_NEAR(rhs[i], 1.0, 1e-8);
  }
}

TEST(GaussJordanSolve, SingularMatrixStoresTheTextAndFails) {
  std::string text;
  Matrix1 a = FromRows({{1, 2, 3}, {2, 4, 6}, {1, 0, 1}});
  Vector1 b = MakeVector1(3, 1.0);
  EXPECT_EQ(FailureOf([&] { GaussJordanSolve(a, 3, b, 1, text); }), "internal 5000");
  EXPECT_EQ(text, "Singular matrix encountered in gaussian elimination.");
  text.clear();
  Matrix1 zero(2, 2);
  EXPECT_EQ(FailureOf([&] { GaussJordanSolve(zero, 2, b, 1, text); }), "internal 5000");
  EXPECT_EQ(text, "Singular matrix encountered in gaussian elimination.");
  // Size zero does nothing; a matrix smaller than n is refused.
  Matrix1 empty;
  EXPECT_EQ(FailureOf([&] { GaussJordanSolve(empty, 0, b, 1, text); }), "none");
  EXPECT_EQ(FailureOf([&] { GaussJordanSolve(zero, 3, b, 1, text); }), "Subscript out of range");
  Matrix1 tiny = FromRows({{1e-310, 0}, {0, 1e-310}});  // 1/pivot overflows
  EXPECT_EQ(FailureOf([&] { GaussJordanSolve(tiny, 2, b, 1, text); }), "Overflow");
}

TEST(ExpandCovariance, FixedParametersGetZeroRowsAndColumns) {
  // Four parameters, the 2nd and 4th fixed: the fitted 2x2 block belongs to
  // parameters 1 and 3, and stale values outside it are cleared.
  Matrix1 covar = FromRows({{1, 0.5, 7, 7}, {0.5, 2, 7, 7}, {7, 7, 7, 7}, {7, 7, 7, 7}});
  ExpandCovariance(covar, 4, std::array<std::int32_t, 5>{0, 1, 0, 1, 0}, 2);
  ExpectMatrixNear(covar, {{1, 0, 0.5, 0}, {0, 0, 0, 0}, {0.5, 0, 2, 0}, {0, 0, 0, 0}}, 0);
  // First parameter fixed: the block moves down and right.
  Matrix1 c2 = FromRows({{4, -1, 0}, {-1, 9, 0}, {0, 0, 0}});
  ExpandCovariance(c2, 3, std::array<std::int32_t, 4>{0, 0, 1, 1}, 2);
  ExpectMatrixNear(c2, {{0, 0, 0}, {0, 4, -1}, {0, -1, 9}}, 0);
  // Everything fitted: unchanged. More marked than fitted: refused.
  Matrix1 c3 = FromRows({{1, 2}, {2, 5}});
  const std::array<std::int32_t, 3> all = {0, 1, 1};
  ExpandCovariance(c3, 2, all, 2);
  ExpectMatrixNear(c3, {{1, 2}, {2, 5}}, 0);
  EXPECT_EQ(FailureOf([&] { ExpandCovariance(c3, 2, all, 1); }), "Subscript out of range");
  EXPECT_EQ(FailureOf([&] { ExpandCovariance(c3, 3, all, 1); }), "Subscript out of range");
}

TEST(SingularValueDecomposition, ReconstructsWithOrthogonalFactors) {
  // A^T A = [[17, 8], [8, 17]]: singular values 5 and 3. A weighted polynomial
  // design matrix of 40 rows and 6 columns, as the estimates build it. A
  // square matrix with a wide spread of magnitudes.
  Matrix1 design(40, 6);
  for (int i = 1; i <= 40; ++i) {
    for (int j = 1; j <= 6; ++j) design(i, j) = std::sqrt(1.0 + 0.1 * (i % 7)) * std::pow(0.25 * i - 3.0, 6 - j);
  }
  // Each with the largest error allowed in the reconstruction.
  const std::vector<std::pair<Matrix1, double>> cases = {
      {FromRows({{3, 2}, {2, 3}, {2, -2}}), 1e-12},
      {design, 0.0},  // relative to the largest singular value
      {FromRows({{1e3, 2, 0, 1e-3}, {4, -5e2, 6, 0}, {0, 7, 8e-2, 9}, {1, 0, -1, 1e2}}), 1e-9}};
  for (const auto& [a, allowed] : cases) {
    const int rows = a.Rows(), cols = a.Cols();
    Matrix1 u = a;
    Vector1 w;
    Matrix1 v;
    SingularValueDecomposition(u, rows, cols, w, v);
    const double tolerance = allowed > 0 ? allowed : 1e-12 * *std::max_element(w.begin() + 1, w.end());
    EXPECT_GE(*std::min_element(w.begin() + 1, w.end()), 0.0);
    // U diag(w) V^T = A; U^T U = V^T V = I.
    for (int i = 1; i <= rows; ++i) {
      for (int j = 1; j <= cols; ++j) {
        double s = 0;
        for (int k = 1; k <= cols; ++k) s += u(i, k) * w[k] * v(j, k);
        EXPECT_NEAR(s, a(i, j), tolerance) << rows << "x" << cols << " " << i << "," << j;
      }
    }
    for (int p = 1; p <= cols; ++p) {
      for (int q = 1; q <= cols; ++q) {
        double su = 0, sv = 0;
        for (int i = 1; i <= rows; ++i) su += u(i, p) * u(i, q);
        for (int i = 1; i <= cols; ++i) sv += v(i, p) * v(i, q);
        EXPECT_NEAR(su, p == q ? 1.0 : 0.0, 1e-12) << rows << "x" << cols << " " << p << "," << q;
        EXPECT_NEAR(sv, p == q ? 1.0 : 0.0, 1e-12) << rows << "x" << cols << " " << p << "," << q;
      }
    }
    if (rows == 3) {
      EXPECT_NEAR(std::min(w[1], w[2]), 3.0, 1e-14);
      EXPECT_NEAR(std::max(w[1], w[2]), 5.0, 1e-14);
    }
  }
}

TEST(SingularValueBackSubstitution, LeastSquaresAndMinimumNorm) {
  Vector1 w, c;
  Matrix1 v;
  const auto solve = [&](std::vector<std::vector<double>> rows, const Vector1& r) {
    Matrix1 a = FromRows(rows);
    SingularValueDecomposition(a, a.Rows(), a.Cols(), w, v);
    SingularValueBackSubstitution(a, w, v, a.Rows(), a.Cols(), r, c);
  };
  // Overdetermined, full rank: the line y = 1 + 2x through exact data.
  const Vector1 r = {0, 1, 3, 5, 7};
  solve({{1, 0}, {1, 1}, {1, 2}, {1, 3}}, r);
  EXPECT_NEAR(c[1], 1.0, 1e-13);
  EXPECT_NEAR(c[2], 2.0, 1e-13);
  // Rank-deficient: the third column is zero, so its singular value is
  // exactly 0 and its coefficient comes out 0 (the minimum-norm solution).
  solve({{1, 0, 0}, {1, 1, 0}, {1, 2, 0}, {1, 3, 0}}, r);
  EXPECT_EQ(std::count(w.begin() + 1, w.begin() + 4, 0.0), 1);
  EXPECT_NEAR(c[1], 1.0, 1e-13);
  EXPECT_NEAR(c[2], 2.0, 1e-13);
  EXPECT_EQ(c[3], 0.0);
  // Repeated x (all 0.3) in the line model: an exact zero, and the
  // minimum-norm solution of c1 + 0.3 c2 = 1, (1, 0.3) / 1.09.
  solve({{1, 0.3}, {1, 0.3}, {1, 0.3}, {1, 0.3}}, {0, 1, 1, 1, 1});
  ASSERT_TRUE(w[1] == 0.0 || w[2] == 0.0);
  EXPECT_NEAR(c[1], 1.0 / 1.09, 1e-14);
  EXPECT_NEAR(c[2], 0.3 / 1.09, 1e-14);
  // Two equal columns: here rounding leaves a tiny singular value instead of
  // a zero, it is inverted as it stands, and the solution still fits the data
  // (c1 + c2 = 2) but is no longer the minimum-norm (1, 1).
  solve({{1, 1}, {1, 1}, {1, 1}}, {0, 2, 2, 2});
  ASSERT_GT(std::min(w[1], w[2]), 0.0);
  ASSERT_LT(std::min(w[1], w[2]), 1e-15);
  EXPECT_NEAR(c[1] + c[2], 2.0, 1e-12);
  EXPECT_GT(std::fabs(c[1] - 1.0), 0.1);
}

TEST(SingularValueBackSubstitution, OnlyAnExactZeroIsDropped) {
  // U = first two columns of I, V = I: c_j = r_j / w_j.
  const Matrix1 u = FromRows({{1, 0}, {0, 1}, {0, 0}});
  const Matrix1 v = FromRows({{1, 0}, {0, 1}});
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
