// The other instantiation of the catalogue's formulas: a double whose steps
// are not checked one by one but leave their failures in the floating-point
// exception flags, for the block evaluation of a whole run of points.
//
// Every formula of the catalogue is written once, as a template on its number
// type: on Num each step raises a RuntimeFault for a result that is not
// finite; on FlaggedNum the same steps run in the same order on plain doubles,
// so a block gives the same bits as the points one by one. A step that Num
// would refuse raises FE_OVERFLOW, FE_DIVBYZERO or FE_INVALID here instead:
//   * +, -, *, / on finite operands raise them by IEEE arithmetic itself
//     (x/0 divides by zero, 0/0 is invalid, a result too large overflows);
//   * log(0) divides by zero, log and sqrt of a negative number are invalid,
//     exp overflows, all by the C library's own flags;
//   * the power routine refuses 0 to a negative power and a negative base
//     with a non-integer exponent by explicit tests, which raise FE_INVALID.
// Operands that are not finite raise nothing, so the block entry points test
// the parameters and the points before the block runs.
//
// The functions are out of line and marked const, so that a value and its
// derivatives computed side by side share one exp or log of the same operand
// (the same call gives the same bits).
#pragma once

#include <compare>

namespace tessarix::detail {

[[gnu::const]] double FlaggedExp(double x) noexcept;
[[gnu::const]] double FlaggedLog(double x) noexcept;
[[gnu::const]] double FlaggedSqrt(double x) noexcept;
[[gnu::const]] double FlaggedSin(double x) noexcept;
[[gnu::const]] double FlaggedCos(double x) noexcept;
// The power routine's results with its refusals as FE_INVALID.
[[gnu::const]] double FlaggedPower(double base, double exponent) noexcept;

class FlaggedNum {
 public:
  constexpr FlaggedNum() noexcept = default;
  // Implicit, as Num's, so that a formula reads the same on both.
  constexpr FlaggedNum(double v) noexcept : v_(v) {}  // NOLINT(google-explicit-constructor)

  [[nodiscard]] constexpr double value() const noexcept { return v_; }

  friend FlaggedNum operator+(FlaggedNum a, FlaggedNum b) noexcept { return {a.v_ + b.v_}; }
  friend FlaggedNum operator-(FlaggedNum a, FlaggedNum b) noexcept { return {a.v_ - b.v_}; }
  friend FlaggedNum operator*(FlaggedNum a, FlaggedNum b) noexcept { return {a.v_ * b.v_}; }
  friend FlaggedNum operator/(FlaggedNum a, FlaggedNum b) noexcept { return {a.v_ / b.v_}; }
  friend FlaggedNum operator-(FlaggedNum a) noexcept { return {-a.v_}; }

  friend constexpr bool operator==(FlaggedNum a, FlaggedNum b) noexcept { return a.v_ == b.v_; }
  friend constexpr std::partial_ordering operator<=>(FlaggedNum a, FlaggedNum b) noexcept { return a.v_ <=> b.v_; }

 private:
  double v_ = 0.0;
};

inline FlaggedNum exp(FlaggedNum x) noexcept { return FlaggedExp(x.value()); }
inline FlaggedNum log(FlaggedNum x) noexcept { return FlaggedLog(x.value()); }
inline FlaggedNum sqrt(FlaggedNum x) noexcept { return FlaggedSqrt(x.value()); }
inline FlaggedNum sin(FlaggedNum x) noexcept { return FlaggedSin(x.value()); }
inline FlaggedNum cos(FlaggedNum x) noexcept { return FlaggedCos(x.value()); }
inline FlaggedNum Power(FlaggedNum base, FlaggedNum exponent) noexcept {
  return FlaggedPower(base.value(), exponent.value());
}

}  // namespace tessarix::detail
