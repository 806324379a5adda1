#include "tessarix/language/internal/evaluator.hpp"

#include <cmath>
#include <cstdint>
#include <limits>

#include "tessarix/language/internal/evaluator_steps.hpp"
#include "tessarix/numerics/power.hpp"
#include "tessarix/platform/rounding.hpp"

namespace tessarix::detail {

void PrepareScratch(const ModelProgram& program, EvaluationScratch& scratch) {
  if (scratch.stack.size() < program.stack_cells) scratch.stack.assign(program.stack_cells, 0.0);
}

namespace {

using namespace steps;  // NOLINT(google-build-using-namespace): the shared steps

// The top of the stack is kept in a register (`top`); the cells below it are
// in memory, st[1..sp-1]. A push spills the old top.
#define TSX_PUSH(v) \
  {                 \
    st[sp] = top;   \
    ++sp;           \
    top = (v);      \
    break;          \
  }
// Replaces the top by a one-argument result; false for a non-finite one.
#define TSX_UNARY(expr)                   \
  {                                       \
    if (kChecked && sp < 0) return false; \
    const double v = top;                 \
    const double r = (expr);              \
    if (!std::isfinite(r)) return false;  \
    top = r;                              \
    break;                                \
  }
// Pops one and combines; false for a non-finite result.
#define TSX_BINARY(expr)                  \
  {                                       \
    --sp;                                 \
    if (kChecked && sp < 0) return false; \
    const double a = st[sp], b = top;     \
    const double r = (expr);              \
    if (!std::isfinite(r)) return false;  \
    top = r;                              \
    break;                                \
  }

// A push fused with the operator of the next record: the old top is the left
// operand, the pushed value the right one; sp does not change.
#define TSX_FUSED(value, expr)            \
  {                                       \
    if (kChecked && sp < 0) return false; \
    const double a = top, b = (value);    \
    const double r = (expr);              \
    if (!std::isfinite(r)) return false;  \
    top = r;                              \
    pc += 2;                              \
    continue;                             \
  }

// kChecked: the program may hold partial records of a failed compile, so
// every read of the top and every pop tests for the empty stack.
template <bool kChecked>
[[gnu::always_inline]] inline bool Run(const ModelProgram& program, EvaluationScratch& scratch,
                                       const double* parameters, double x, const double* point,
                                       const DataStatistics& stats, double& y) {
  const Instruction* code = program.code.data();
  const std::int32_t length = program.code_length;
  // Cell -1 exists in memory, so that a push after an "if" that emptied the
  // stack of a broken program spills into it harmlessly.
  double* st = scratch.stack.data() + 1;
  double* saved = scratch.saved.data();
  std::int32_t sp = 0;
  double top = st[0];
  std::int32_t pc = 1;
  // sp never goes below -1: every pop that would take it lower fails first,
  // and every read of the top checks for the empty stack.
  while (pc <= length) {
    const Instruction& in = code[pc];
    switch (in.op) {
      case Instr::Skip:
        break;
      case Instr::X:
        TSX_PUSH(x)
      case Instr::Variable:
        TSX_PUSH(point[in.a])
      case Instr::Constant:
        TSX_PUSH(in.value)
      case Instr::Parameter:
        TSX_PUSH(parameters[in.a])
      case Instr::DataWord:
        TSX_PUSH(stats.Lookup(static_cast<DataWord>(in.a), in.b))
      case Instr::Recall:
        TSX_PUSH(saved[in.a])
      case Instr::Save:
        if (kChecked && sp < 0) return false;
        saved[in.a] = top;
        break;
      case Instr::Negate:
        if (kChecked && sp < 0) return false;
        top = -top;
        break;
      case Instr::Not:
        if (kChecked && sp < 0) return false;
        top = static_cast<double>(~RoundToInt32(top));
        break;
      case Instr::Add:
        TSX_BINARY(a + b)
      case Instr::Subtract:
        TSX_BINARY(a - b)
      case Instr::Multiply:
        TSX_BINARY(a * b)
      case Instr::Divide:
        TSX_BINARY(Quotient(a, b))
      case Instr::AddX:
        TSX_FUSED(x, a + b)
      case Instr::SubtractX:
        TSX_FUSED(x, a - b)
      case Instr::MultiplyX:
        TSX_FUSED(x, a * b)
      case Instr::DivideX:
        TSX_FUSED(x, Quotient(a, b))
      case Instr::AddParameter:
        TSX_FUSED(parameters[in.a], a + b)
      case Instr::SubtractParameter:
        TSX_FUSED(parameters[in.a], a - b)
      case Instr::MultiplyParameter:
        TSX_FUSED(parameters[in.a], a * b)
      case Instr::DivideParameter:
        TSX_FUSED(parameters[in.a], Quotient(a, b))
      case Instr::AddConstant:
        TSX_FUSED(in.value, a + b)
      case Instr::SubtractConstant:
        TSX_FUSED(in.value, a - b)
      case Instr::MultiplyConstant:
        TSX_FUSED(in.value, a * b)
      case Instr::DivideConstant:
        TSX_FUSED(in.value, Quotient(a, b))
      case Instr::Exp:
        TSX_UNARY(std::exp(v))
      case Instr::Ln:
        TSX_UNARY(v > 0.0 ? std::log(v) : kFailed)
      case Instr::Sqrt:
        TSX_UNARY(v >= 0.0 ? std::sqrt(v) : kFailed)
      case Instr::Sin:
        TSX_UNARY(std::sin(v))
      case Instr::Cos:
        TSX_UNARY(std::cos(v))
      case Instr::Call1:
        TSX_UNARY(in.f1(v))
      case Instr::Call2:
        TSX_BINARY(in.f2(a, b))
      case Instr::Call3: {
        sp -= 2;
        if (kChecked && sp < 0) return false;
        const double r = in.f3(st[sp], st[sp + 1], top);
        if (!std::isfinite(r)) return false;
        top = r;
        break;
      }
      case Instr::Power:
        TSX_BINARY(Power(a, b))
      case Instr::IntDivide:
        TSX_BINARY(IntDivide(a, b))
      case Instr::Mod:
        TSX_BINARY(Mod(a, b))
      case Instr::Equal:
        TSX_BINARY(Truth(a == b))
      case Instr::Less:
        TSX_BINARY(Truth(a < b))
      case Instr::Greater:
        TSX_BINARY(Truth(a > b))
      case Instr::NotEqual:
        TSX_BINARY(Truth(a != b))
      case Instr::LessEqual:
        TSX_BINARY(Truth(a <= b))
      case Instr::GreaterEqual:
        TSX_BINARY(Truth(a >= b))
      case Instr::And:
        TSX_BINARY(static_cast<double>(RoundToInt32(a) & RoundToInt32(b)))
      case Instr::Or:
        TSX_BINARY(static_cast<double>(RoundToInt32(a) | RoundToInt32(b)))
      case Instr::Xor:
        TSX_BINARY(static_cast<double>(RoundToInt32(a) ^ RoundToInt32(b)))
      case Instr::Eqv:
        TSX_BINARY(static_cast<double>(~(RoundToInt32(a) ^ RoundToInt32(b))))
      case Instr::Imp:
        TSX_BINARY(static_cast<double>(~RoundToInt32(a) | RoundToInt32(b)))
      case Instr::If: {
        // Only exactly -1 is true; the branch not taken is not evaluated.
        if (kChecked && sp < 0) return false;
        const bool taken = top == kTrue;
        --sp;
        top = st[sp];  // cell -1 at worst, never read as a value
        pc = taken ? in.a : in.b;
        continue;
      }
      case Instr::EndTrue:
        pc = in.a;
        continue;
      case Instr::Fail:
        return false;
    }
    ++pc;
  }
  if (sp < 0) return false;
  y = top;
  return true;
}

#undef TSX_PUSH
#undef TSX_FUSED
#undef TSX_UNARY
#undef TSX_BINARY

}  // namespace

namespace {
// x is point[0], handed over apart so that a model of one variable reads it
// from a register.
[[gnu::always_inline]] inline bool Evaluate(const ModelProgram& program, EvaluationScratch& scratch,
                                            const double* parameters, double x, const double* point,
                                            const DataStatistics& stats, double& y) noexcept {
  try {
    if (scratch.stack.size() < program.stack_cells) PrepareScratch(program, scratch);
    if (program.well_formed) return Run<false>(program, scratch, parameters, x, point, stats, y);
    return Run<true>(program, scratch, parameters, x, point, stats, y);
  } catch (...) {
    // A fault of a library routine, a conversion out of range, an exhausted
    // allocator: the model cannot be evaluated here.
    return false;
  }
}
}  // namespace

bool EvaluateProgram(const ModelProgram& program, EvaluationScratch& scratch, const double* parameters,
                     std::span<const double> point, const DataStatistics& stats, double& y) noexcept {
  // A point without the variables the records read (records of an earlier
  // definition included) cannot be evaluated.
  if (point.size() < static_cast<std::size_t>(program.point_size)) return false;
  return Evaluate(program, scratch, parameters, point[0], point.data(), stats, y);
}

bool EvaluateProgram(const ModelProgram& program, EvaluationScratch& scratch, const double* parameters, double x,
                     const DataStatistics& stats, double& y) noexcept {
  if (program.point_size > 1) return false;
  return Evaluate(program, scratch, parameters, x, &x, stats, y);
}

}  // namespace tessarix::detail
