// The x at which a curve reaches a given y: a scan of equal intervals for
// changes of sign, then bisection inside each bracket.
//
// What the method sees, by design: only a change of sign between two
// neighbouring scan points, so two roots within one interval (a double root
// between scan points among them) are missed; a root exactly on a scan
// point makes a bracket on both of its sides and is reported once; points
// where the curve cannot be evaluated are walked over; and a pole (a change
// of sign without a root) is refined to the jump and reported like a root.
#pragma once

#include <cmath>
#include <cstdint>
#include <vector>

#include "tessarix/foundation/fault.hpp"
#include "tessarix/numerics/adjacent_duplicates.hpp"
#include "tessarix/numerics/internal_failure.hpp"
#include "tessarix/platform/checked.hpp"

namespace tessarix::detail {

inline constexpr std::int32_t kMaxRootHalvings = 100;

// Brackets [left[k], right[k]], from left to right, of the changes of sign of
// f - target over `intervals` equal intervals of [lower, upper]. The scan
// starts at the first point of lower, lower + dx, ... where f can be
// evaluated; the last point is `upper` exactly. A fault of the scan's own
// arithmetic (the product of two large differences overflowing) throws away
// every bracket found.
template <class F>
void BracketRoots(F&& f, double lower, double upper, double target, std::int32_t intervals, std::vector<double>& left,
                  std::vector<double>& right) {
  left.clear();
  right.clear();
  try {
    const Num dx = (Num(upper) - lower) / static_cast<double>(intervals);
    Num x = lower;
    double fx = 0.0;
    bool ok = f(x.value(), fx);
    while (!ok && x.value() < upper) {
      const Num next = x + dx;
      if (next.value() == x.value()) break;  // a step too small to move on
      x = next;
      ok = f(x.value(), fx);
    }
    if (!ok || x.value() >= upper) return;
    Num d1 = Num(fx) - target;
    for (std::int32_t i = 1; i <= intervals; ++i) {
      x = i < intervals ? x + dx : Num(upper);
      if (!f(x.value(), fx)) continue;
      const Num d2 = Num(fx) - target;
      if ((d1 * d2).value() <= 0.0) {
        left.push_back((x - dx).value());
        right.push_back(x.value());
      }
      d1 = d2;
    }
  } catch (const RuntimeFault&) {
    left.clear();
    right.clear();
  }
}

// Bisection of [a, b] for f = target, keeping the end below the target: at
// most 100 halvings, until the half-width is below `tolerance` or f hits the
// target exactly. False when f fails at an end or a midpoint, or after 100
// halvings.
template <class F>
[[nodiscard]] bool RefineRoot(F&& f, double a, double b, double target, double tolerance, double& root) {
  try {
    double fa = 0.0;
    double fb = 0.0;
    if (!f(b, fb) || !f(a, fa)) return false;
    Num r = fa < target ? Num(a) : Num(b);
    Num d = fa < target ? Num(b) - a : Num(a) - b;
    for (std::int32_t k = 1; k <= kMaxRootHalvings; ++k) {
      d = d * 0.5;
      const Num m = r + d;
      double fm = 0.0;
      if (!f(m.value(), fm)) return false;
      if (fm <= target) r = m;
      if (std::fabs(d.value()) < tolerance || fm == target) {
        root = r.value();
        return true;
      }
    }
    return false;
  } catch (const RuntimeFault&) {
    return false;
  }
}

// The roots of f = target in [lower, upper] (either order), ascending, over
// `intervals` scan intervals. A bracket end where f equals the target
// exactly is a root as it stands; other brackets are bisected to a tolerance
// of ((|lower| + |upper|) / 2) * 1e-16; exactly equal neighbours are kept
// once.
template <class F>
std::vector<double> FindRoots(F&& f, double lower, double upper, double target, std::int32_t intervals) {
  if (upper < lower) std::swap(lower, upper);
  std::vector<double> left;
  std::vector<double> right;
  BracketRoots(f, lower, upper, target, intervals, left, right);
  if (left.empty()) return {};
  const double tolerance = ((Num(std::fabs(lower)) + std::fabs(upper)) / 2.0 * 1e-16).value();
  std::vector<double> roots;
  for (std::size_t k = 0; k < left.size(); ++k) {
    bool hit = false;
    double y = 0.0;
    if (f(left[k], y) && y == target) {
      roots.push_back(left[k]);
      hit = true;
    }
    if (f(right[k], y) && y == target) {
      roots.push_back(right[k]);
      hit = true;
    }
    double root = 0.0;
    if (!hit && RefineRoot(f, left[k], right[k], target, tolerance, root)) roots.push_back(root);
  }
  return RemoveAdjacentDuplicates(roots);
}

}  // namespace tessarix::detail
