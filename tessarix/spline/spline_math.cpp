#include "tessarix/spline/internal/spline_math.hpp"

#include <exception>

#include "tessarix/foundation/fault.hpp"
#include "tessarix/numerics/power.hpp"
#include "tessarix/platform/checked.hpp"

namespace tessarix::detail {

namespace {

std::size_t At(std::int32_t i) { return static_cast<std::size_t>(i); }

// (lo + hi) / 2 rounded half to even, the conversion of the library's
// division into an index: 2.5 gives 2, 3.5 gives 4.
std::int32_t Midpoint(std::int32_t lo, std::int32_t hi) {
  const std::int64_t sum = static_cast<std::int64_t>(lo) + hi;
  std::int64_t k = sum / 2;
  if ((sum & 1) != 0 && (k & 1) != 0) ++k;
  return static_cast<std::int32_t>(k);
}

// The interval [lo, lo + 1] of t: the last knot lo <= m - 1 with x(lo) <= t,
// or 1 when there is none (t below the knots). As the knots ascend strictly,
// the answer is unique, and bisection of 1..m finds it; here bisection runs
// only over a window found by a galloping search from where t would lie
// among evenly spaced knots, so that a query on a large spline touches a few
// knots instead of log2(m) scattered ones.
std::int32_t FindInterval(const Vector1& x, std::int32_t m, double t) {
  // Invariant: (lo == 1 or x(lo) <= t) and (hi == m or x(hi) > t).
  std::int32_t lo = 1;
  std::int32_t hi = m;
  // Plain arithmetic: a guess that overflows or is NaN is no guess, and the
  // search covers all knots.
  const double guess = (t - x[1]) / (x[At(m)] - x[1]) * static_cast<double>(m - 1);
  if (guess >= 0.0 && guess < static_cast<double>(m - 1)) {
    const std::int32_t g = 1 + static_cast<std::int32_t>(guess);
    std::int64_t step = 1;
    if (x[At(g)] <= t) {
      lo = g;
      while (lo + step < m) {
        const auto next = static_cast<std::int32_t>(lo + step);
        if (x[At(next)] > t) {
          hi = next;
          break;
        }
        lo = next;
        step *= 2;
      }
    } else {
      hi = g;
      while (hi - step > 1) {
        const auto next = static_cast<std::int32_t>(hi - step);
        if (x[At(next)] <= t) {
          lo = next;
          break;
        }
        hi = next;
        step *= 2;
      }
    }
  }
  while (hi - lo > 1) {
    const std::int32_t k = Midpoint(lo, hi);
    if (x[At(k)] <= t) {
      lo = k;
    } else {
      hi = k;
    }
  }
  return lo;
}

}  // namespace

void SplineKnots::Clear() {
  Vector1().swap(x);
  Vector1().swap(y);
  Vector1().swap(y2);
  m = 0;
}

bool AverageDuplicatePoints(const Vector1& x, const Vector1& y, std::int32_t n, SplineKnots& knots) {
  knots.Clear();
  knots.x.push_back(0.0);  // element 0, unused
  knots.y.push_back(0.0);
  bool duplicates = false;
  std::int32_t i = 1;
  while (i <= n) {
    const double run_x = x[At(i)];
    Num sum = y[At(i)];
    std::int32_t last = i;
    while (last < n && x[At(last + 1)] == run_x) {
      ++last;
      sum += y[At(last)];
    }
    const std::int32_t length = last - i + 1;
    if (length > 1) duplicates = true;
    knots.x.push_back(run_x);
    knots.y.push_back((sum / static_cast<double>(length)).value());
    ++knots.m;
    i = last + 1;
  }
  return duplicates;
}

void BuildSecondDerivatives(SplineKnots& knots, SplineRanges& ranges) {
  const std::int32_t m = knots.m;
  const Vector1& x = knots.x;
  const Vector1& y = knots.y;
  Vector1& y2 = knots.y2;
  y2.assign(At(m) + 1, 0.0);
  Vector1 u = MakeVector1(m);

  y2[1] = 0.0;  // natural end: no curvature at the first knot
  u[1] = 0.0;
  ranges.x_min = x[1];
  ranges.x_max = x[At(m)];
  ranges.y_min = y[1];
  ranges.y_max = y[1];
  for (std::int32_t i = 2; i <= m - 1; ++i) {
    const Num xp = x[At(i - 1)];
    const Num xi = x[At(i)];
    const Num xn = x[At(i + 1)];
    const Num yp = y[At(i - 1)];
    const Num yi = y[At(i)];
    const Num yn = y[At(i + 1)];
    const Num sig = (xi - xp) / (xn - xp);
    const Num p = sig * y2[At(i - 1)] + 2.0;
    y2[At(i)] = ((sig - 1.0) / p).value();
    u[At(i)] = ((((yn - yi) / (xn - xi) - (yi - yp) / (xi - xp)) * 6.0 / (xn - xp) - sig * u[At(i - 1)]) / p).value();
    if (yi.value() < ranges.y_min) ranges.y_min = yi.value();
    if (yi.value() > ranges.y_max) ranges.y_max = yi.value();
  }
  if (y[At(m)] < ranges.y_min) ranges.y_min = y[At(m)];
  if (y[At(m)] > ranges.y_max) ranges.y_max = y[At(m)];
  y2[At(m)] = 0.0 / 1.0;  // natural end at the last knot
  for (std::int32_t k = m - 1; k >= 1; --k) {
    y2[At(k)] = (Num(y2[At(k)]) * y2[At(k + 1)] + u[At(k)]).value();
  }
}

double EvaluateSpline(const SplineKnots& knots, double t) {
  const Vector1& x = knots.x;
  const std::int32_t lo = FindInterval(x, knots.m, t);
  const std::int32_t hi = lo + 1;
  const Num h = Num(x[At(hi)]) - x[At(lo)];
  const Num a = (Num(x[At(hi)]) - t) / h;
  const Num b = (Num(t) - x[At(lo)]) / h;
  const Num ylo = knots.y[At(lo)];
  const Num yhi = knots.y[At(hi)];
  const Num curvature = (Power(a, 3.0) - a) * knots.y2[At(lo)] + (Power(b, 3.0) - b) * knots.y2[At(hi)];
  return (a * ylo + b * yhi + curvature * Power(h, 2.0) / 6.0).value();
}

bool TryEvaluateSpline(const SplineKnots& knots, double t, double& value) noexcept {
  try {
    value = EvaluateSpline(knots, t);
    return true;
  } catch (...) {
    return false;
  }
}

CubicCoefficients CubicOfInterval(const SplineKnots& knots, std::int32_t i) {
  const Num h = Num(knots.x[At(i + 1)]) - knots.x[At(i)];
  const Num y2i = knots.y2[At(i)];
  const Num y2n = knots.y2[At(i + 1)];
  CubicCoefficients cubic;
  cubic.a = ((y2n - y2i) / (Num(6.0) * h)).value();
  cubic.b = (y2i / 2.0).value();
  cubic.c = ((Num(knots.y[At(i + 1)]) - knots.y[At(i)]) / h - (Num(2.0) * h * y2i + h * y2n) / 6.0).value();
  cubic.d = knots.y[At(i)];
  return cubic;
}

}  // namespace tessarix::detail
