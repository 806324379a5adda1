// Checked floating point: the one pattern for arithmetic in the library.
//
// A fault is not a value. After every arithmetic step a result that is not
// finite raises a RuntimeFault, so no NaN or infinity is ever stored or
// returned; underflow to zero or to a denormal is not a fault.
//
// How to use it:
//   * Write formulas on `Num`, a double whose operators and functions check
//     each step:  Num e = exp(-(x - b) * (x - b) / (c * c + c * c));
//     Convert at the edges with Num(x) and .value().
//   * In a hand-tuned loop over plain doubles, pass each step through
//     Checked(...) / CheckedDiv(...) instead; it is the same test.
// The test is one isfinite() per step on the fast path; the classification of
// the fault (overflow, division by zero, invalid operation) runs only when a
// fault is raised.
#pragma once

#include <cmath>
#include <compare>

#include "tessarix/foundation/fault.hpp"

namespace tessarix::detail {

// Cold path: raise the fault for a non-finite result.
[[noreturn]] void RaiseNonFinite(double result);
[[noreturn]] void RaiseDivisionFault(double numerator);

// A step's result: returned when finite; otherwise "Overflow" for an infinity
// and "Invalid procedure call or argument" for a NaN.
[[nodiscard]] inline double Checked(double result) {
  if (std::isfinite(result)) [[likely]] {
    return result;
  }
  RaiseNonFinite(result);
}

// a / b with the division faults: b == 0 raises "Division by zero" for a
// finite non-zero a and "Invalid procedure call or argument" for 0/0.
[[nodiscard]] inline double CheckedDiv(double a, double b) {
  if (b == 0.0) [[unlikely]] {
    RaiseDivisionFault(a);
  }
  return Checked(a / b);
}

// Domain-checked elementary functions on doubles.
[[nodiscard]] double CheckedSqrt(double x);  // x < 0: invalid
[[nodiscard]] double CheckedLog(double x);   // x <= 0: invalid
[[nodiscard]] double CheckedExp(double x);   // overflow: Overflow

class Num {
 public:
  constexpr Num() noexcept = default;
  // Implicit, so literals and plain doubles mix with Num in formulas.
  constexpr Num(double v) noexcept : v_(v) {}  // NOLINT(google-explicit-constructor)

  [[nodiscard]] constexpr double value() const noexcept { return v_; }

  friend Num operator+(Num a, Num b) { return Num(Checked(a.v_ + b.v_)); }
  friend Num operator-(Num a, Num b) { return Num(Checked(a.v_ - b.v_)); }
  friend Num operator*(Num a, Num b) { return Num(Checked(a.v_ * b.v_)); }
  friend Num operator/(Num a, Num b) { return Num(CheckedDiv(a.v_, b.v_)); }
  friend Num operator-(Num a) { return Num(Checked(-a.v_)); }
  Num& operator+=(Num b) { return *this = *this + b; }
  Num& operator-=(Num b) { return *this = *this - b; }
  Num& operator*=(Num b) { return *this = *this * b; }
  Num& operator/=(Num b) { return *this = *this / b; }

  friend constexpr bool operator==(Num a, Num b) noexcept { return a.v_ == b.v_; }
  friend constexpr std::partial_ordering operator<=>(Num a, Num b) noexcept { return a.v_ <=> b.v_; }

 private:
  double v_ = 0.0;
};

inline Num sqrt(Num x) { return Num(CheckedSqrt(x.value())); }
inline Num log(Num x) { return Num(CheckedLog(x.value())); }
inline Num exp(Num x) { return Num(CheckedExp(x.value())); }
inline Num abs(Num x) { return Num(std::fabs(x.value())); }
inline Num sin(Num x) { return Num(Checked(std::sin(x.value()))); }
inline Num cos(Num x) { return Num(Checked(std::cos(x.value()))); }
inline Num tan(Num x) { return Num(Checked(std::tan(x.value()))); }
inline Num atan(Num x) { return Num(Checked(std::atan(x.value()))); }
inline Num floor(Num x) { return Num(std::floor(x.value())); }

}  // namespace tessarix::detail
