// The lane loops that both block evaluators (values alone, and values with
// their partials) run, and the binary instructions whose result has no
// partials, so that the two compute them the same way.
#pragma once

#include <cstddef>
#include <cstdint>

#include "tessarix/language/internal/evaluator_steps.hpp"
#include "tessarix/language/internal/model_program.hpp"
#include "tessarix/platform/float_flags.hpp"
#include "tessarix/platform/rounding.hpp"

namespace tessarix::detail::block_steps {

inline constexpr std::int32_t kLanes = kBlockLanes;

// `check` stays 0 in a lane while every result there is finite (r * 0 is NaN
// for an infinite or NaN r). kCheck false leaves the check to the
// floating-point exception flags (a pass whose operands are all finite,
// watched by a FlagWatch): an operation of finite operands whose result is
// not finite raises one of them.
template <bool kCheck = true, typename F>
inline void Map(double* top, double* check, F f) {
  for (std::int32_t i = 0; i < kLanes; ++i) {
    const double r = f(top[i]);
    top[i] = r;
    if constexpr (kCheck) check[i] += r * 0.0;
  }
}
template <bool kCheck = true, typename F>
inline void Zip(double* a, const double* b, double* check, F f) {
  for (std::int32_t i = 0; i < kLanes; ++i) {
    const double r = f(a[i], b[i]);
    a[i] = r;
    if constexpr (kCheck) check[i] += r * 0.0;
  }
}

// Rows of results that may hold a NaN of a failed step (a function word's
// routine, a factor that could not be had): a NaN operand raises no flag.
inline void CheckRow(const double* row, double* check) {
  for (std::int32_t i = 0; i < kLanes; ++i) check[i] += row[i] * 0.0;
}

// Whether a watched pass of the program has steps that keep their checks
// (without them, `check` is neither written nor read). The relational and
// logical operators need none: their results are 0 or small integers, and
// a conversion out of range faults.
inline bool WatchedPassChecks(const ModelProgram& program, bool vector_math) {
  for (std::int32_t pc = 1; pc <= program.code_length; ++pc) {
    const Instr op = program.code[static_cast<std::size_t>(pc)].op;
    if (op == Instr::Call1 || op == Instr::Call2 || op == Instr::Call3 || op == Instr::Power) return true;
    if (op == Instr::IntDivide || op == Instr::Mod) return true;
    if (vector_math && (op == Instr::Exp || op == Instr::Ln || op == Instr::Sin || op == Instr::Cos)) return true;
  }
  return false;
}

// Whether the program's other operands (parameters, constants, statistics
// of the data) are all finite, as the watched pass needs.
inline bool ScalarsFinite(const ModelProgram& program, const double* parameters, const DataStatistics& stats) {
  double sum = 0.0;
  for (std::int32_t pc = 1; pc <= program.code_length; ++pc) {
    const Instruction& in = program.code[static_cast<std::size_t>(pc)];
    switch (in.op) {
      case Instr::Parameter:
      case Instr::AddParameter:
      case Instr::SubtractParameter:
      case Instr::MultiplyParameter:
      case Instr::DivideParameter:
        sum += parameters[in.a] * 0.0;
        break;
      case Instr::Constant:
      case Instr::AddConstant:
      case Instr::SubtractConstant:
      case Instr::MultiplyConstant:
      case Instr::DivideConstant:
        sum += in.value * 0.0;
        break;
      case Instr::DataWord:
        sum += stats.Lookup(static_cast<DataWord>(in.a), in.b) * 0.0;
        break;
      default:
        break;
    }
  }
  return sum == 0.0;
}

// Whether every lane of a check row is 0 (any NaN makes its sum NaN, in
// whatever order it is added, so four sums run side by side).
inline bool AllZero(const double* check) {
  double sums[4] = {0.0, 0.0, 0.0, 0.0};
  for (std::int32_t i = 0; i < kLanes; i += 4) {
    for (std::int32_t k = 0; k < 4; ++k) sums[k] += check[i + k];
  }
  return (sums[0] + sums[1]) + (sums[2] + sums[3]) == 0.0;
}

// The integer, relational and logical instructions on rows a and b, into a;
// false for any other instruction. Only the integer division and the
// remainder can fail with a value (a NaN); the others' results are always
// finite, so they add nothing to the checks.
inline bool ZipFlatBinary(Instr op, double* a, const double* b, double* check) {
  using steps::IntDivide;
  using steps::Mod;
  using steps::Truth;
  const auto bits = [](double u) { return RoundToInt32(u); };
  switch (op) {
    case Instr::IntDivide:
      Zip(a, b, check, [](double u, double v) { return IntDivide(u, v); });
      return true;
    case Instr::Mod:
      Zip(a, b, check, [](double u, double v) { return Mod(u, v); });
      return true;
    case Instr::Equal:
      Zip<false>(a, b, check, [](double u, double v) { return Truth(u == v); });
      return true;
    case Instr::Less:
      Zip<false>(a, b, check, [](double u, double v) { return Truth(u < v); });
      return true;
    case Instr::Greater:
      Zip<false>(a, b, check, [](double u, double v) { return Truth(u > v); });
      return true;
    case Instr::NotEqual:
      Zip<false>(a, b, check, [](double u, double v) { return Truth(u != v); });
      return true;
    case Instr::LessEqual:
      Zip<false>(a, b, check, [](double u, double v) { return Truth(u <= v); });
      return true;
    case Instr::GreaterEqual:
      Zip<false>(a, b, check, [](double u, double v) { return Truth(u >= v); });
      return true;
    case Instr::And:
      Zip<false>(a, b, check, [bits](double u, double v) { return static_cast<double>(bits(u) & bits(v)); });
      return true;
    case Instr::Or:
      Zip<false>(a, b, check, [bits](double u, double v) { return static_cast<double>(bits(u) | bits(v)); });
      return true;
    case Instr::Xor:
      Zip<false>(a, b, check, [bits](double u, double v) { return static_cast<double>(bits(u) ^ bits(v)); });
      return true;
    case Instr::Eqv:
      Zip<false>(a, b, check, [bits](double u, double v) { return static_cast<double>(~(bits(u) ^ bits(v))); });
      return true;
    case Instr::Imp:
      Zip<false>(a, b, check, [bits](double u, double v) { return static_cast<double>(~bits(u) | bits(v)); });
      return true;
    default:
      return false;
  }
}

}  // namespace tessarix::detail::block_steps
