#include "tessarix/numerics/linear_algebra.hpp"

#include <gtest/gtest.h>

#include <array>
#include <initializer_list>
#include <string>
#include <vector>

#include "numerics/numerics_test_support.hpp"

using namespace tessarix::detail;
using tessarix::test::FailureOf;
using tessarix::test::FromRows;

TEST(GaussJordanSolve, InverseAndSolutionsOfAWellConditionedSystem) {
  // A zero on the diagonal needs the pivoting.
  Matrix1 a = FromRows({{0, 2, 1}, {1, 1, 0}, {3, 0, 1}});
  // det = 0*(1) - 2*(1 - 0) + 1*(0 - 3) = -5; inverse = adj / det.
  const std::vector<std::vector<double>> inverse = {{-0.2, 0.4, 0.2}, {0.2, 0.6, -0.2}, {0.6, -1.2, 0.4}};
  Matrix1 b = FromRows({{5, 1}, {3, 0}, {4, 0}});  // solutions (1, 2, 1) and the first column of the inverse
  std::string text = "unchanged";
  GaussJordanSolve(a, 3, b, 2, text);
  for (int i = 1; i <= 3; ++i) {
    for (int j = 1; j <= 3; ++j) {
      EXPECT_NEAR(a(i, j), inverse[i - 1][j - 1], 1e-15) << i << "," << j;
    }
    EXPECT_NEAR(b(i, 2), inverse[i - 1][0], 1e-15);
  }
  EXPECT_NEAR(b(1, 1), 1.0, 1e-15);
  EXPECT_NEAR(b(2, 1), 2.0, 1e-15);
  EXPECT_NEAR(b(3, 1), 1.0, 1e-15);
  EXPECT_EQ(text, "unchanged");

  // One right-hand side as a vector, with and without the column count.
  Matrix1 a2 = FromRows({{4, 1}, {2, 3}});
  Vector1 v = {0.0, 9.0, 13.0};
  GaussJordanSolve(a2, 2, v, 1, text);
  EXPECT_NEAR(v[1], 1.4, 1e-15);
  EXPECT_NEAR(v[2], 3.4, 1e-15);
  Matrix1 a3 = FromRows({{4, 1}, {2, 3}});
  Vector1 w = {0.0, 9.0, 13.0};
  GaussJordanSolve(a3, 2, w, text);
  EXPECT_EQ(w, v);
  EXPECT_NEAR(a3(1, 1), 0.3, 1e-15);
  EXPECT_NEAR(a3(2, 1), -0.2, 1e-15);
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
  // The inverse is -1/7 * {{3, -1}, {2, -3}}.
  EXPECT_NEAR(a(1, 1), -3.0 / 7, 1e-16);
  EXPECT_NEAR(a(2, 2), 3.0 / 7, 1e-16);
}

TEST(GaussJordanSolve, IllConditionedHilbertMatrix) {
  // The inverse of the 6x6 Hilbert matrix is an integer matrix with known
  // entries; its condition number is about 1.5e7.
  constexpr int n = 6;
  Matrix1 h(n, n);
  for (int i = 1; i <= n; ++i) {
    for (int j = 1; j <= n; ++j) {
      h(i, j) = 1.0 / (i + j - 1);
    }
  }
  auto binomial = [](int top, int k) {
    double r = 1.0;
    for (int i = 1; i <= k; ++i) {
      r = r * (top - k + i) / i;
    }
    return r;
  };
  Vector1 rhs = MakeVector1(n);
  for (int i = 1; i <= n; ++i) {
    for (int j = 1; j <= n; ++j) {
      rhs[i] += h(i, j);  // solution all ones
    }
  }
  std::string text;
  GaussJordanSolve(h, n, rhs, 1, text);
  for (int i = 1; i <= n; ++i) {
    for (int j = 1; j <= n; ++j) {
      const double sign = ((i + j) % 2 == 0) ? 1.0 : -1.0;
      const double b1 = binomial(i + j - 2, i - 1);
      const double exact = sign * (i + j - 1) * binomial(n + i - 1, n - j) * binomial(n + j - 1, n - i) * b1 * b1;
      EXPECT_NEAR(h(i, j), exact, 1e-8 * std::fabs(exact)) << i << "," << j;
    }
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
  Matrix1 big = FromRows({{1e-310, 0}, {0, 1e-310}});  // 1/pivot overflows
  EXPECT_EQ(FailureOf([&] { GaussJordanSolve(big, 2, b, 1, text); }), "Overflow");
}

TEST(ExpandCovariance, FixedParametersGetZeroRowsAndColumns) {
  // Four parameters, the 2nd and 4th fixed; the fitted 2x2 block belongs to
  // parameters 1 and 3.
  Matrix1 covar(4, 4);
  covar.Fill(7.0);  // stale values outside the block must be cleared
  covar(1, 1) = 1.0;
  covar(1, 2) = 0.5;
  covar(2, 1) = 0.5;
  covar(2, 2) = 2.0;
  const std::array<std::int32_t, 5> ia = {0, 1, 0, 1, 0};
  ExpandCovariance(covar, 4, ia, 2);
  const double expected[4][4] = {{1.0, 0, 0.5, 0}, {0, 0, 0, 0}, {0.5, 0, 2.0, 0}, {0, 0, 0, 0}};
  for (int i = 1; i <= 4; ++i) {
    for (int j = 1; j <= 4; ++j) {
      EXPECT_EQ(covar(i, j), expected[i - 1][j - 1]) << i << "," << j;
    }
  }

  // First parameter fixed: the block moves down and right.
  Matrix1 c2(3, 3);
  c2(1, 1) = 4.0;
  c2(1, 2) = -1.0;
  c2(2, 1) = -1.0;
  c2(2, 2) = 9.0;
  const std::array<std::int32_t, 4> ia2 = {0, 0, 1, 1};
  ExpandCovariance(c2, 3, ia2, 2);
  EXPECT_EQ(c2(1, 1), 0.0);
  EXPECT_EQ(c2(1, 3), 0.0);
  EXPECT_EQ(c2(2, 2), 4.0);
  EXPECT_EQ(c2(2, 3), -1.0);
  EXPECT_EQ(c2(3, 2), -1.0);
  EXPECT_EQ(c2(3, 3), 9.0);

  // Everything fitted: unchanged. More marked than fitted: refused.
  Matrix1 c3 = FromRows({{1, 2}, {2, 5}});
  const std::array<std::int32_t, 3> all = {0, 1, 1};
  ExpandCovariance(c3, 2, all, 2);
  EXPECT_EQ(c3(1, 2), 2.0);
  EXPECT_EQ(c3(2, 2), 5.0);
  EXPECT_EQ(FailureOf([&] { ExpandCovariance(c3, 2, all, 1); }), "Subscript out of range");
  EXPECT_EQ(FailureOf([&] { ExpandCovariance(c3, 3, all, 1); }), "Subscript out of range");
}
