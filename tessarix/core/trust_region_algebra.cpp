// QR with column pivoting, the damped least-squares solve and the
// Levenberg-Marquardt parameter of a trust radius (Moré, "The
// Levenberg-Marquardt algorithm: implementation and theory", 1978).
#include "tessarix/core/internal/trust_region_algebra.hpp"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>

#include "tessarix/platform/checked.hpp"

namespace tessarix::detail {

namespace {

constexpr double kEpsilon = std::numeric_limits<double>::epsilon();
constexpr double kDwarf = std::numeric_limits<double>::min();
// The Levenberg-Marquardt parameter is accepted when |D x| is within this
// fraction of the radius, and corrected at most kParameterIterations times.
constexpr double kRadiusFit = 0.1;
constexpr std::int32_t kParameterIterations = 10;

double* Column(double* a, std::int64_t m, std::int32_t j) { return a + static_cast<std::int64_t>(j) * m; }
const double* Column(const double* a, std::int64_t m, std::int32_t j) { return a + static_cast<std::int64_t>(j) * m; }

// Sums of products over the long columns of the Jacobian, in four running
// sums so that the loop pipelines (the order is fixed, so every compiler
// gives the same bits). Overflow is looked for in the results, not per step.
double Dot(const double* a, const double* b, std::int64_t n) {
  double s0 = 0.0, s1 = 0.0, s2 = 0.0, s3 = 0.0;
  std::int64_t i = 0;
  for (; i + 4 <= n; i += 4) {
    s0 += a[i] * b[i];
    s1 += a[i + 1] * b[i + 1];
    s2 += a[i + 2] * b[i + 2];
    s3 += a[i + 3] * b[i + 3];
  }
  for (; i < n; ++i) s0 += a[i] * b[i];
  return (s0 + s1) + (s2 + s3);
}

// y += f * x.
void Axpy(double f, const double* x, double* y, std::int64_t n) {
  for (std::int64_t i = 0; i < n; ++i) y[i] += f * x[i];
}

// The same norm by scaling each square, for the vectors whose plain sum of
// squares overflows or underflows.
double ScaledNorm(const double* v, std::int64_t n) {
  double scale = 0.0;
  double sum = 1.0;
  for (std::int64_t i = 0; i < n; ++i) {
    const double value = std::fabs(v[i]);
    if (value == 0.0) continue;
    if (scale < value) {
      const double ratio = scale / value;
      sum = 1.0 + sum * ratio * ratio;
      scale = value;
    } else {
      const double ratio = value / scale;
      sum += ratio * ratio;
    }
  }
  return Checked(scale * std::sqrt(sum));
}

// Solves R^T R + D^2 (in the pivoted order) by eliminating the diagonal D
// from [R; D] with Givens rotations: z solves A z ~ b, D z ~ 0 in the least
// squares sense. S, the triangular factor of the combined system, is left
// with its diagonal in `sdiag` and its strict upper triangle, transposed, in
// the strict lower triangle of r. A zero on S's diagonal gives a
// least-squares solution.
void SolveDamped(SquareColumns& r, const PivotedQR& qr, const std::vector<double>& diag, const std::vector<double>& qtb,
                 std::vector<double>& z, std::vector<double>& sdiag) {
  const std::int32_t n = r.Size();
  std::vector<double> diagonal(static_cast<std::size_t>(n));
  std::vector<double> work(qtb.begin(), qtb.begin() + n);
  for (std::int32_t j = 0; j < n; ++j) {
    for (std::int32_t i = j + 1; i < n; ++i) r(i, j) = r(j, i);
    diagonal[static_cast<std::size_t>(j)] = r(j, j);
  }
  for (std::int32_t j = 0; j < n; ++j) {
    const double d = diag[static_cast<std::size_t>(qr.pivot[static_cast<std::size_t>(j)])];
    if (d != 0.0) {
      std::fill(sdiag.begin() + j, sdiag.begin() + n, 0.0);
      sdiag[static_cast<std::size_t>(j)] = d;
      // The element of Q^T b that the rotations move out of the system.
      double extra = 0.0;
      for (std::int32_t k = j; k < n; ++k) {
        const auto uk = static_cast<std::size_t>(k);
        if (sdiag[uk] == 0.0) continue;
        double c = 0.0;
        double s = 0.0;
        if (std::fabs(r(k, k)) < std::fabs(sdiag[uk])) {
          const double cotangent = CheckedDiv(r(k, k), sdiag[uk]);
          s = 0.5 / std::sqrt(0.25 + 0.25 * Checked(cotangent * cotangent));
          c = s * cotangent;
        } else {
          const double tangent = CheckedDiv(sdiag[uk], r(k, k));
          c = 0.5 / std::sqrt(0.25 + 0.25 * tangent * tangent);
          s = c * tangent;
        }
        r(k, k) = Checked(c * r(k, k) + s * sdiag[uk]);
        const double moved = Checked(c * work[uk] + s * extra);
        extra = Checked(-s * work[uk] + c * extra);
        work[uk] = moved;
        for (std::int32_t i = k + 1; i < n; ++i) {
          const auto ui = static_cast<std::size_t>(i);
          const double t = Checked(c * r(i, k) + s * sdiag[ui]);
          sdiag[ui] = Checked(-s * r(i, k) + c * sdiag[ui]);
          r(i, k) = t;
        }
      }
    }
    sdiag[static_cast<std::size_t>(j)] = r(j, j);
    r(j, j) = diagonal[static_cast<std::size_t>(j)];
  }
  std::int32_t rank = n;
  for (std::int32_t j = 0; j < n; ++j) {
    if (sdiag[static_cast<std::size_t>(j)] == 0.0 && rank == n) rank = j;
    if (rank < n) work[static_cast<std::size_t>(j)] = 0.0;
  }
  for (std::int32_t j = rank - 1; j >= 0; --j) {
    double sum = 0.0;
    for (std::int32_t i = j + 1; i < rank; ++i) sum = Checked(sum + r(i, j) * work[static_cast<std::size_t>(i)]);
    work[static_cast<std::size_t>(j)] =
        CheckedDiv(Checked(work[static_cast<std::size_t>(j)] - sum), sdiag[static_cast<std::size_t>(j)]);
  }
  for (std::int32_t j = 0; j < n; ++j) {
    z[static_cast<std::size_t>(qr.pivot[static_cast<std::size_t>(j)])] = work[static_cast<std::size_t>(j)];
  }
}

// |D x| with the scaled vector D x left in dx.
double ScaledLength(const std::vector<double>& diag, const std::vector<double>& x, std::vector<double>& dx) {
  for (std::size_t j = 0; j < x.size(); ++j) dx[j] = Checked(diag[j] * x[j]);
  return EuclideanNorm(dx.data(), static_cast<std::int64_t>(dx.size()));
}

}  // namespace

double EuclideanNorm(const double* v, std::int64_t n) {
  const double sum = Dot(v, v, n);
  // The plain sum is exact enough unless a square overflowed or the squares
  // fell into the subnormal range.
  if (std::isfinite(sum) && sum > 1e-280) return std::sqrt(sum);
  return ScaledNorm(v, n);
}

void FactorPivotedQR(std::int64_t m, std::int32_t n, double* a, PivotedQR& qr) {
  const auto size = static_cast<std::size_t>(n);
  qr.pivot.resize(size);
  qr.rdiag.assign(size, 0.0);
  qr.column_norms.assign(size, 0.0);
  // The norms of the columns as they were when last computed in full; the
  // running norms in rdiag are downdated from them.
  std::vector<double> reference(size);
  for (std::int32_t j = 0; j < n; ++j) {
    const auto uj = static_cast<std::size_t>(j);
    qr.column_norms[uj] = EuclideanNorm(Column(a, m, j), m);
    qr.rdiag[uj] = qr.column_norms[uj];
    reference[uj] = qr.rdiag[uj];
    qr.pivot[uj] = j;
  }
  for (std::int32_t j = 0; j < n; ++j) {
    const auto uj = static_cast<std::size_t>(j);
    // The column of largest remaining norm goes first.
    std::int32_t largest = j;
    for (std::int32_t k = j + 1; k < n; ++k) {
      if (qr.rdiag[static_cast<std::size_t>(k)] > qr.rdiag[static_cast<std::size_t>(largest)]) largest = k;
    }
    if (largest != j) {
      std::swap_ranges(Column(a, m, j), Column(a, m, j) + m, Column(a, m, largest));
      const auto ul = static_cast<std::size_t>(largest);
      qr.rdiag[ul] = qr.rdiag[uj];
      reference[ul] = reference[uj];
      std::swap(qr.pivot[uj], qr.pivot[ul]);
    }
    double* const v = Column(a, m, j);
    const std::int64_t length = m - j;
    double norm = EuclideanNorm(v + j, length);
    if (norm != 0.0) {
      // The Householder vector that maps the column onto a multiple of e_j,
      // with the sign that avoids cancellation.
      if (v[j] < 0.0) norm = -norm;
      // |v[i]| <= |norm|: no overflow here, and v[j] ends at least 1.
      for (std::int64_t i = j; i < m; ++i) v[i] /= norm;
      v[j] += 1.0;
      for (std::int32_t k = j + 1; k < n; ++k) {
        double* const w = Column(a, m, k);
        const double factor = Checked(Dot(v + j, w + j, length) / v[j]);
        Axpy(-factor, v + j, w + j, length);
        const auto uk = static_cast<std::size_t>(k);
        if (qr.rdiag[uk] != 0.0) {
          // Downdate the remaining norm; recompute it when cancellation has
          // eaten its digits.
          const double ratio = w[j] / qr.rdiag[uk];
          qr.rdiag[uk] *= std::sqrt(std::max(0.0, 1.0 - ratio * ratio));
          const double kept = qr.rdiag[uk] / reference[uk];
          if (0.05 * kept * kept <= kEpsilon) {
            qr.rdiag[uk] = EuclideanNorm(w + j + 1, m - j - 1);
            reference[uk] = qr.rdiag[uk];
          }
        }
      }
    }
    qr.rdiag[uj] = -norm;
  }
  // An overflow in an update shows in R.
  for (std::int32_t j = 0; j < n; ++j) {
    static_cast<void>(Checked(qr.rdiag[static_cast<std::size_t>(j)]));
    for (std::int32_t i = 0; i < j; ++i) static_cast<void>(Checked(Column(a, m, j)[i]));
  }
}

void ApplyQTranspose(std::int64_t m, std::int32_t n, const double* a, double* b) {
  for (std::int32_t j = 0; j < n; ++j) {
    const double* const v = Column(a, m, j);
    if (v[j] == 0.0) continue;
    const double factor = -Checked(Dot(v + j, b + j, m - j) / v[j]);
    Axpy(factor, v + j, b + j, m - j);
  }
  for (std::int32_t j = 0; j < n; ++j) static_cast<void>(Checked(b[j]));
}

void ExtractR(std::int64_t m, std::int32_t n, const double* a, const PivotedQR& qr, SquareColumns& r) {
  r.Resize(n);
  for (std::int32_t j = 0; j < n; ++j) {
    const double* const column = Column(a, m, j);
    for (std::int32_t i = 0; i < j; ++i) r(i, j) = column[i];
    r(j, j) = qr.rdiag[static_cast<std::size_t>(j)];
  }
}

void RowFoldingQR::Reset(std::int32_t n) {
  n_ = n;
  pending_ = 0;
  r_.Resize(n);
  qtb_.assign(static_cast<std::size_t>(n), 0.0);
  block_.assign(static_cast<std::size_t>(n) * kFoldRows, 0.0);
  block_rhs_.assign(kFoldRows, 0.0);
  used_.assign(static_cast<std::size_t>(n), 0);
}

void RowFoldingQR::AddRow(const double* row, double rhs) {
  for (std::int32_t j = 0; j < n_; ++j) {
    const double value = row[j];
    block_[static_cast<std::size_t>(j) * kFoldRows + static_cast<std::size_t>(pending_)] = value;
    if (value != 0.0) used_[static_cast<std::size_t>(j)] = 1;
  }
  block_rhs_[static_cast<std::size_t>(pending_)] = rhs;
  if (++pending_ == kFoldRows) Fold();
}

std::int32_t RowFoldingQR::AddRowsUnchecked(std::int32_t rows, const double* weights, const double* derivatives,
                                            std::int32_t stride, const std::int32_t* columns, const double* model,
                                            const double* y) {
  // Told from the bits, in sums of ORs that vectorise and raise no flag: an
  // exponent of all ones (an infinity or a NaN) carries into the sign bit
  // when 1 is added to it, and a value other than +-0 has a bit set besides
  // its sign.
  constexpr std::uint64_t kExponent = 0x7ff0000000000000ULL;
  constexpr std::uint64_t kExponentOne = 0x0010000000000000ULL;
  constexpr std::uint64_t kSign = 0x8000000000000000ULL;
  std::uint64_t carries = 0;
  // The rows go in by segments that fill the pending block, column by column.
  for (std::int32_t first = 0; first < rows;) {
    const std::int32_t count = std::min(rows - first, kFoldRows - pending_);
    const double* const w = weights + first;
    for (std::int32_t j = 0; j < n_; ++j) {
      const double* const d = derivatives + static_cast<std::ptrdiff_t>(first) * stride + columns[j];
      double* const slot = block_.data() + static_cast<std::ptrdiff_t>(j) * kFoldRows + pending_;
      std::uint64_t bits = 0;
      for (std::int32_t r = 0; r < count; ++r) {
        const double value = w[r] * d[static_cast<std::ptrdiff_t>(r) * stride];
        slot[r] = value;
        const auto b = std::bit_cast<std::uint64_t>(value);
        carries |= (b & kExponent) + kExponentOne;
        bits |= b;
      }
      if ((bits & ~kSign) != 0) used_[static_cast<std::size_t>(j)] = 1;
    }
    for (std::int32_t r = 0; r < count; ++r) {
      const double residual = model[first + r] - y[first + r];
      const double rhs = w[r] * residual;
      carries |= (std::bit_cast<std::uint64_t>(residual) & kExponent) + kExponentOne;
      carries |= (std::bit_cast<std::uint64_t>(rhs) & kExponent) + kExponentOne;
      block_rhs_[static_cast<std::size_t>(pending_ + r)] = rhs;
    }
    if ((carries & kSign) != 0) return first;  // these rows go again through AddRow
    pending_ += count;
    first += count;
    if (pending_ == kFoldRows) Fold();
  }
  return rows;
}

void RowFoldingQR::Finish() {
  if (pending_ > 0) Fold();
}

// One reflection per column j maps (R0[j][j], block column j) onto a multiple
// of e_j; the zeros of R0 below its diagonal stay zeros, so only row j of R0
// and the block's rows take part.
void RowFoldingQR::Fold() {
  const std::int64_t rows = pending_;
  const auto column = [this](std::int32_t j) { return block_.data() + static_cast<std::ptrdiff_t>(j) * kFoldRows; };
  for (std::int32_t j = 0; j < n_; ++j) {
    double* const v = column(j);
    const double head = r_(j, j);
    const double tail = EuclideanNorm(v, rows);
    if (tail == 0.0) continue;  // nothing to fold into this column
    double norm = Checked(std::hypot(head, tail));
    if (head < 0.0) norm = -norm;
    // The reflection's vector: (head / norm + 1, v / norm).
    const double v0 = head / norm + 1.0;
    for (std::int64_t i = 0; i < rows; ++i) v[i] /= norm;
    for (std::int32_t k = j + 1; k < n_; ++k) {
      double* const w = column(k);
      const double factor = Checked((v0 * r_(j, k) + Dot(v, w, rows)) / v0);
      r_(j, k) = Checked(r_(j, k) - factor * v0);
      Axpy(-factor, v, w, rows);
    }
    const double factor = Checked((v0 * qtb_[static_cast<std::size_t>(j)] + Dot(v, block_rhs_.data(), rows)) / v0);
    qtb_[static_cast<std::size_t>(j)] = Checked(qtb_[static_cast<std::size_t>(j)] - factor * v0);
    Axpy(-factor, v, block_rhs_.data(), rows);
    r_(j, j) = -norm;
  }
  pending_ = 0;
}

void LevenbergParameter(SquareColumns& r, const PivotedQR& qr, const std::vector<double>& diag,
                        const std::vector<double>& qtb, double delta, double& par, std::vector<double>& x) {
  const std::int32_t n = r.Size();
  const auto size = static_cast<std::size_t>(n);
  const auto at = [](std::int32_t j) { return static_cast<std::size_t>(j); };
  std::vector<double> w(size);
  std::vector<double> dx(size);
  std::vector<double> sdiag(size);
  x.assign(size, 0.0);

  // The Gauss-Newton direction; where R is singular, the least-squares
  // solution of its leading non-singular block.
  std::int32_t rank = n;
  for (std::int32_t j = 0; j < n; ++j) {
    w[at(j)] = qtb[at(j)];
    if (r(j, j) == 0.0 && rank == n) rank = j;
    if (rank < n) w[at(j)] = 0.0;
  }
  for (std::int32_t j = rank - 1; j >= 0; --j) {
    w[at(j)] = CheckedDiv(w[at(j)], r(j, j));
    const double t = w[at(j)];
    for (std::int32_t i = 0; i < j; ++i) w[at(i)] = Checked(w[at(i)] - r(i, j) * t);
  }
  for (std::int32_t j = 0; j < n; ++j) x[at(qr.pivot[at(j)])] = w[at(j)];

  double dxnorm = ScaledLength(diag, x, dx);
  double fp = dxnorm - delta;
  if (GaussNewtonFits(dxnorm, delta)) {
    par = 0.0;
    return;
  }

  // A lower bound of the parameter from the Newton step at 0 (only when R is
  // not singular), and an upper bound from the gradient.
  double lower = 0.0;
  if (rank == n) {
    for (std::int32_t j = 0; j < n; ++j) {
      const std::size_t l = at(qr.pivot[at(j)]);
      w[at(j)] = Checked(diag[l] * (dx[l] / dxnorm));
    }
    for (std::int32_t j = 0; j < n; ++j) {
      double sum = 0.0;
      for (std::int32_t i = 0; i < j; ++i) sum = Checked(sum + r(i, j) * w[at(i)]);
      w[at(j)] = CheckedDiv(Checked(w[at(j)] - sum), r(j, j));
    }
    const double norm = EuclideanNorm(w.data(), n);
    lower = CheckedDiv(CheckedDiv(fp / delta, norm), norm);
  }
  for (std::int32_t j = 0; j < n; ++j) {
    double sum = 0.0;
    for (std::int32_t i = 0; i <= j; ++i) sum = Checked(sum + r(i, j) * qtb[at(i)]);
    w[at(j)] = CheckedDiv(sum, diag[at(qr.pivot[at(j)])]);
  }
  const double gnorm = EuclideanNorm(w.data(), n);
  double upper = Checked(gnorm / delta);
  if (upper == 0.0) upper = kDwarf / std::min(delta, 0.1);

  par = std::min(std::max(par, lower), upper);
  if (par == 0.0) par = CheckedDiv(gnorm, dxnorm);

  for (std::int32_t iteration = 1;; ++iteration) {
    if (par == 0.0) par = std::max(kDwarf, 0.001 * upper);
    const double root = std::sqrt(par);
    for (std::int32_t j = 0; j < n; ++j) w[at(j)] = Checked(root * diag[at(j)]);
    SolveDamped(r, qr, w, qtb, x, sdiag);
    dxnorm = ScaledLength(diag, x, dx);
    const double previous = fp;
    fp = dxnorm - delta;
    // Close enough to the radius; or the parameter is at its lower bound 0
    // and the step is still inside and shrinking; or enough corrections.
    if (std::fabs(fp) <= kRadiusFit * delta || (lower == 0.0 && fp <= previous && previous < 0.0) ||
        iteration == kParameterIterations) {
      return;
    }
    // Newton's correction of the parameter for |D x| = delta, from S.
    for (std::int32_t j = 0; j < n; ++j) {
      const std::size_t l = at(qr.pivot[at(j)]);
      w[at(j)] = Checked(diag[l] * (dx[l] / dxnorm));
    }
    for (std::int32_t j = 0; j < n; ++j) {
      w[at(j)] = CheckedDiv(w[at(j)], sdiag[at(j)]);
      const double t = w[at(j)];
      for (std::int32_t i = j + 1; i < n; ++i) w[at(i)] = Checked(w[at(i)] - r(i, j) * t);
    }
    const double norm = EuclideanNorm(w.data(), n);
    const double correction = CheckedDiv(CheckedDiv(fp / delta, norm), norm);
    if (fp > 0.0) lower = std::max(lower, par);
    if (fp < 0.0) upper = std::min(upper, par);
    par = std::max(lower, Checked(par + correction));
  }
}

bool GaussNewtonFits(double dxnorm, double delta) { return dxnorm - delta <= kRadiusFit * delta; }

bool InverseOfNormalMatrix(const SquareColumns& r, const PivotedQR& qr, SquareColumns& inverse) {
  const std::int32_t n = r.Size();
  for (std::int32_t j = 0; j < n; ++j) {
    if (r(j, j) == 0.0) return false;
  }
  // U = R^-1, upper triangular, column by column.
  SquareColumns u;
  u.Resize(n);
  for (std::int32_t j = 0; j < n; ++j) {
    u(j, j) = CheckedDiv(1.0, r(j, j));
    for (std::int32_t i = j - 1; i >= 0; --i) {
      double sum = 0.0;
      for (std::int32_t k = i + 1; k <= j; ++k) sum = Checked(sum + r(i, k) * u(k, j));
      u(i, j) = CheckedDiv(-sum, r(i, i));
    }
  }
  // (R^T R)^-1 = U U^T, placed at the original columns.
  inverse.Resize(n);
  for (std::int32_t i = 0; i < n; ++i) {
    for (std::int32_t j = i; j < n; ++j) {
      double sum = 0.0;
      for (std::int32_t k = j; k < n; ++k) sum = Checked(sum + u(i, k) * u(j, k));
      const std::int32_t pi = qr.pivot[static_cast<std::size_t>(i)];
      const std::int32_t pj = qr.pivot[static_cast<std::size_t>(j)];
      inverse(pi, pj) = sum;
      inverse(pj, pi) = sum;
    }
  }
  return true;
}

}  // namespace tessarix::detail
