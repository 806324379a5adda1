// The linear algebra of the trust-region iteration: the pivoted QR
// factorisation, Moré's Levenberg-Marquardt parameter and the covariance from
// the triangular factor, checked against the normal equations they avoid.
#include "tessarix/core/internal/trust_region_algebra.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "tessarix/numerics/extrapolated_derivative.hpp"

namespace tessarix::detail {
namespace {

constexpr std::int64_t kRows = 9;
constexpr std::int32_t kCols = 4;

// A column-major 9 x 4 matrix whose columns differ in scale by twelve orders.
std::vector<double> BadlyScaled() {
  std::vector<double> a(kRows * kCols);
  const double scale[kCols] = {1.0, 1e6, 1e-6, 3.0};
  for (std::int64_t i = 0; i < kRows; ++i) {
    for (std::int32_t j = 0; j < kCols; ++j) {
      const double di = static_cast<double>(i);
      const double dj = static_cast<double>(j);
      a[static_cast<std::size_t>(j * kRows + i)] =
          scale[j] * (1.0 / (di + dj + 1.0) + 0.1 * std::sin(7.0 * di + 3.0 * dj * dj));
    }
  }
  return a;
}

std::vector<double> RightHandSide() {
  std::vector<double> b(kRows);
  for (std::int64_t i = 0; i < kRows; ++i) b[static_cast<std::size_t>(i)] = std::cos(0.4 * static_cast<double>(i));
  return b;
}

double At(const std::vector<double>& a, std::int64_t i, std::int32_t j) {
  return a[static_cast<std::size_t>(j * kRows + i)];
}

// (A^T A + par D^2) x - A^T b, the largest element relative to |A^T b|.
double NormalResidual(const std::vector<double>& a, const std::vector<double>& b, const std::vector<double>& d,
                      double par, const std::vector<double>& x) {
  double largest = 0.0, scale = 0.0;
  for (std::int32_t j = 0; j < kCols; ++j) {
    double lhs = par * d[static_cast<std::size_t>(j)] * d[static_cast<std::size_t>(j)] * x[static_cast<std::size_t>(j)];
    double rhs = 0.0;
    for (std::int64_t i = 0; i < kRows; ++i) {
      double ax = 0.0;
      for (std::int32_t k = 0; k < kCols; ++k) ax += At(a, i, k) * x[static_cast<std::size_t>(k)];
      lhs += At(a, i, j) * ax;
      rhs += At(a, i, j) * b[static_cast<std::size_t>(i)];
    }
    largest = std::max(largest, std::fabs(lhs - rhs) / d[static_cast<std::size_t>(j)]);
    scale = std::max(scale, std::fabs(rhs) / d[static_cast<std::size_t>(j)]);
  }
  return largest / scale;
}

struct Factored {
  std::vector<double> a;  // the original matrix
  std::vector<double> work;
  PivotedQR qr;
  SquareColumns r;
  std::vector<double> qtb;
};

Factored Factor(const std::vector<double>& a, const std::vector<double>& b) {
  Factored f{a, a, {}, {}, b};
  FactorPivotedQR(kRows, kCols, f.work.data(), f.qr);
  ExtractR(kRows, kCols, f.work.data(), f.qr, f.r);
  ApplyQTranspose(kRows, kCols, f.work.data(), f.qtb.data());
  return f;
}

TEST(PivotedQR, FactorsTheColumnsInOrderOfTheirNorms) {
  const std::vector<double> a = BadlyScaled();
  const std::vector<double> b = RightHandSide();
  const Factored f = Factor(a, b);
  // R^T R reproduces A^T A in the pivoted order.
  for (std::int32_t i = 0; i < kCols; ++i) {
    for (std::int32_t j = 0; j < kCols; ++j) {
      double rtr = 0.0, ata = 0.0;
      for (std::int32_t k = 0; k < kCols; ++k) rtr += f.r(k, i) * f.r(k, j);
      for (std::int64_t row = 0; row < kRows; ++row) {
        ata +=
            At(a, row, f.qr.pivot[static_cast<std::size_t>(i)]) * At(a, row, f.qr.pivot[static_cast<std::size_t>(j)]);
      }
      const double size = std::sqrt(std::fabs(f.r(i, i) * f.r(j, j))) * std::sqrt(std::fabs(rtr)) + 1e-300;
      EXPECT_NEAR(rtr, ata, 1e-13 * (std::fabs(ata) + size)) << i << "," << j;
    }
  }
  // The largest column comes first, and the diagonal falls.
  EXPECT_EQ(f.qr.pivot[0], 1);
  for (std::int32_t j = 1; j < kCols; ++j) EXPECT_LE(std::fabs(f.r(j, j)), std::fabs(f.r(j - 1, j - 1)));
  // Q is orthogonal: the length of b survives.
  EXPECT_NEAR(EuclideanNorm(f.qtb.data(), kRows), EuclideanNorm(b.data(), kRows), 1e-14);
}

TEST(LevenbergParameter, GaussNewtonInsideTheRadiusAndDampedOnIt) {
  const std::vector<double> a = BadlyScaled();
  const std::vector<double> b = RightHandSide();
  Factored f = Factor(a, b);
  std::vector<double> d(f.qr.column_norms);
  std::vector<double> x;

  // A radius beyond the Gauss-Newton step: par 0 and the least-squares solution.
  double par = 0.5;
  LevenbergParameter(f.r, f.qr, d, f.qtb, 1e12, par, x);
  EXPECT_EQ(par, 0.0);
  EXPECT_LT(NormalResidual(a, b, d, 0.0, x), 1e-9);
  std::vector<double> dx(kCols);
  for (std::int32_t j = 0; j < kCols; ++j)
    dx[static_cast<std::size_t>(j)] = d[static_cast<std::size_t>(j)] * x[static_cast<std::size_t>(j)];
  const double gauss_newton = EuclideanNorm(dx.data(), kCols);

  // A tenth of that radius: the damped step ends within 10% of it and solves
  // the damped normal equations.
  const double delta = 0.1 * gauss_newton;
  par = 0.0;
  LevenbergParameter(f.r, f.qr, d, f.qtb, delta, par, x);
  EXPECT_GT(par, 0.0);
  for (std::int32_t j = 0; j < kCols; ++j)
    dx[static_cast<std::size_t>(j)] = d[static_cast<std::size_t>(j)] * x[static_cast<std::size_t>(j)];
  EXPECT_NEAR(EuclideanNorm(dx.data(), kCols), delta, 0.1 * delta);
  EXPECT_LT(NormalResidual(a, b, d, par, x), 1e-9);
}

TEST(LevenbergParameter, RankDeficientJacobianGivesAFiniteStep) {
  std::vector<double> a = BadlyScaled();
  for (std::int64_t i = 0; i < kRows; ++i) a[static_cast<std::size_t>(2 * kRows + i)] = 0.0;  // no third column
  const std::vector<double> b = RightHandSide();
  Factored f = Factor(a, b);
  EXPECT_EQ(f.r(kCols - 1, kCols - 1), 0.0);
  std::vector<double> d(f.qr.column_norms);
  d[2] = 1.0;
  std::vector<double> x;
  double par = 0.0;
  LevenbergParameter(f.r, f.qr, d, f.qtb, 1e12, par, x);
  EXPECT_EQ(x[2], 0.0);  // the dead column takes no part
  for (double v : x) EXPECT_TRUE(std::isfinite(v));
  par = 0.0;
  LevenbergParameter(f.r, f.qr, d, f.qtb, 1e-3, par, x);
  EXPECT_GT(par, 0.0);
  for (double v : x) EXPECT_TRUE(std::isfinite(v));

  // Without that column the normal matrix has no inverse.
  SquareColumns inverse;
  EXPECT_FALSE(InverseOfNormalMatrix(f.r, f.qr, inverse));
}

TEST(InverseOfNormalMatrix, IsTheInverseInTheOriginalColumnOrder) {
  const std::vector<double> a = BadlyScaled();
  const Factored f = Factor(a, RightHandSide());
  SquareColumns inverse;
  ASSERT_TRUE(InverseOfNormalMatrix(f.r, f.qr, inverse));
  for (std::int32_t i = 0; i < kCols; ++i) {
    for (std::int32_t j = 0; j < kCols; ++j) {
      // Row i of A^T A times column j of the inverse, on the scaled problem.
      double sum = 0.0;
      for (std::int32_t k = 0; k < kCols; ++k) {
        double ata = 0.0;
        for (std::int64_t row = 0; row < kRows; ++row) ata += At(a, row, i) * At(a, row, k);
        sum += ata * inverse(k, j);
      }
      const double scale =
          f.qr.column_norms[static_cast<std::size_t>(i)] / f.qr.column_norms[static_cast<std::size_t>(j)];
      EXPECT_NEAR(sum / scale, i == j ? 1.0 : 0.0, 1e-9) << i << "," << j;
    }
  }
}

// The rows of blocks added without tests fold to the same bits as row by
// row with them, across blocks that end anywhere in a fold; a block with a
// step that is not finite is handed back from the fold where it starts.
TEST(RowFoldingQR, UncheckedBlocksMatchTheCheckedRowsAndHandBackAFault) {
  constexpr std::int32_t kStride = 4;  // derivatives of parameters 1..3 at 1..3, 0 unused
  const std::int32_t columns[] = {1, 3};
  const std::int32_t rows = 3 * RowFoldingQR::kFoldRows + 57;
  std::vector<double> w(rows), d(static_cast<std::size_t>(rows) * kStride), model(rows), y(rows);
  for (std::int32_t r = 0; r < rows; ++r) {
    const double t = 0.01 * r;
    const auto ur = static_cast<std::size_t>(r);
    w[ur] = 1.0 + 0.5 * std::sin(t);
    d[ur * kStride + 1] = std::exp(-t);
    d[ur * kStride + 3] = t * std::cos(3.0 * t);
    model[ur] = std::exp(-t) + 0.1 * t;
    y[ur] = model[ur] + 0.01 * std::sin(100.0 * t);
  }
  RowFoldingQR checked, unchecked;
  checked.Reset(2);
  unchecked.Reset(2);
  for (std::int32_t r = 0; r < rows; ++r) {
    const auto ur = static_cast<std::size_t>(r);
    const double row[] = {w[ur] * d[ur * kStride + 1], w[ur] * d[ur * kStride + 3]};
    checked.AddRow(row, w[ur] * (model[ur] - y[ur]));
  }
  for (std::int32_t first = 0, size = 1; first < rows; first += size, size = size * 3 + 1) {
    size = std::min(size, rows - first);
    ASSERT_EQ(unchecked.AddRowsUnchecked(size, &w[first], &d[static_cast<std::size_t>(first) * kStride], kStride,
                                         columns, &model[first], &y[first]),
              size);
  }
  checked.Finish();
  unchecked.Finish();
  for (std::int32_t j = 0; j < 2; ++j) {
    EXPECT_EQ(unchecked.Qtb()[static_cast<std::size_t>(j)], checked.Qtb()[static_cast<std::size_t>(j)]);
    EXPECT_TRUE(unchecked.ColumnUsed(j));
    for (std::int32_t i = 0; i <= j; ++i) EXPECT_EQ(unchecked.R0()(i, j), checked.R0()(i, j)) << i << "," << j;
  }

  // An overflowing product in the third fold: the first two are added.
  w[2 * RowFoldingQR::kFoldRows + 5] = 1e308;
  d[(2 * RowFoldingQR::kFoldRows + 5) * kStride + 3] = 10.0;
  unchecked.Reset(2);
  const std::int32_t added =
      unchecked.AddRowsUnchecked(rows, w.data(), d.data(), kStride, columns, model.data(), y.data());
  EXPECT_EQ(added, 2 * RowFoldingQR::kFoldRows);
}

TEST(EuclideanNorm, NeitherOverflowsNorUnderflows) {
  const double big[] = {3e200, 4e200};
  const double tiny[] = {3e-200, 4e-200};
  EXPECT_DOUBLE_EQ(EuclideanNorm(big, 2), 5e200);
  EXPECT_DOUBLE_EQ(EuclideanNorm(tiny, 2), 5e-200);
  EXPECT_EQ(EuclideanNorm(big, 0), 0.0);
}

// The trust-region method's floor of the first step: near 0 the plain
// relative step is lost in the rounding of the model's value.
TEST(ExtrapolatedDerivative, StepFloorGivesARealDerivativeNearZero) {
  Matrix1 table;
  table.Resize(kDerivativeTableRows, kDerivativeTableRows);
  const auto f = [](double c, double& y) {
    y = 2.0 + c;
    return true;
  };
  double plain = 0.0, floored = 0.0;
  ASSERT_TRUE(ExtrapolatedDerivative(f, 1e-13, kDerivativeStepShrinkSquared, table, plain));
  ASSERT_TRUE(ExtrapolatedDerivative(f, 1e-13, kDerivativeStepShrinkSquared, table, floored, kDerivativeStepFactor));
  EXPECT_GT(std::fabs(plain - 1.0), 1e-3);
  EXPECT_NEAR(floored, 1.0, 1e-9);
  // Where the relative step is the larger, the floor changes nothing.
  ASSERT_TRUE(ExtrapolatedDerivative(f, 5.0, kDerivativeStepShrinkSquared, table, plain));
  ASSERT_TRUE(ExtrapolatedDerivative(f, 5.0, kDerivativeStepShrinkSquared, table, floored, kDerivativeStepFactor));
  EXPECT_EQ(plain, floored);
}

}  // namespace
}  // namespace tessarix::detail
