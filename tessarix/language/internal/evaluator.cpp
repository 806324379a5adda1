#include "tessarix/language/internal/evaluator.hpp"

#include <cmath>
#include <cstdint>
#include <limits>

#include "tessarix/language/internal/function_table.hpp"
#include "tessarix/numerics/power.hpp"
#include "tessarix/platform/rounding.hpp"

namespace tessarix::detail {

void PrepareScratch(const ModelProgram& program, EvaluationScratch& scratch) {
  // Every record pushes at most one cell and runs at most once per
  // evaluation (jumps go forward only), so the program length bounds the stack.
  const std::size_t cells = program.code.size() + 2;  // and cell -1
  if (scratch.stack.size() < cells) scratch.stack.assign(cells, 0.0);
}

namespace {

constexpr double kTrue = -1.0;
constexpr double kFalse = 0.0;

// The binary operators. False for a failed operation; the conversions to
// 32-bit integers may also raise "Overflow", which the caller catches.
[[nodiscard]] inline bool Binary(std::int16_t code, double a, double b, double& r) {
  switch (static_cast<BinaryOp>(code)) {
    case BinaryOp::Power:
      r = Power(a, b);
      break;
    case BinaryOp::Add:
      r = a + b;
      break;
    case BinaryOp::Subtract:
      r = a - b;
      break;
    case BinaryOp::Multiply:
      r = a * b;
      break;
    case BinaryOp::Divide:
      if (b == 0.0) return false;
      r = a / b;
      break;
    case BinaryOp::IntDivide: {
      const std::int32_t ia = RoundToInt32(a), ib = RoundToInt32(b);
      if (ib == 0) return false;
      if (ia == std::numeric_limits<std::int32_t>::min() && ib == -1) return false;  // overflows 32 bits
      r = static_cast<double>(ia / ib);  // NOLINT(bugprone-integer-division): the language's integer division
      break;
    }
    case BinaryOp::Mod: {
      const std::int32_t ia = RoundToInt32(a), ib = RoundToInt32(b);
      if (ib == 0) return false;
      r = ib == -1 ? 0.0 : static_cast<double>(ia % ib);
      break;
    }
    case BinaryOp::Equal:
      r = a == b ? kTrue : kFalse;
      break;
    case BinaryOp::Less:
      r = a < b ? kTrue : kFalse;
      break;
    case BinaryOp::Greater:
      r = a > b ? kTrue : kFalse;
      break;
    case BinaryOp::NotEqual:
      r = a != b ? kTrue : kFalse;
      break;
    case BinaryOp::LessEqual:
      r = a <= b ? kTrue : kFalse;
      break;
    case BinaryOp::GreaterEqual:
      r = a >= b ? kTrue : kFalse;
      break;
    case BinaryOp::And:
      r = static_cast<double>(RoundToInt32(a) & RoundToInt32(b));
      break;
    case BinaryOp::Or:
      r = static_cast<double>(RoundToInt32(a) | RoundToInt32(b));
      break;
    case BinaryOp::Xor:
      r = static_cast<double>(RoundToInt32(a) ^ RoundToInt32(b));
      break;
    case BinaryOp::Eqv:
      r = static_cast<double>(~(RoundToInt32(a) ^ RoundToInt32(b)));
      break;
    case BinaryOp::Imp:
      r = static_cast<double>(~RoundToInt32(a) | RoundToInt32(b));
      break;
    default:
      return false;
  }
  return std::isfinite(r);
}

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
bool Run(const ModelProgram& program, EvaluationScratch& scratch, const double* parameters, double x,
         const DataStatistics& stats, double& y) {
  const Instruction* code = program.code.data();
  const std::int32_t length = static_cast<std::int32_t>(program.code.size()) - 1;
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
      case Instr::Variable:
        TSX_PUSH(x)
      case Instr::Constant:
        TSX_PUSH(in.value)
      case Instr::Parameter:
        TSX_PUSH(parameters[in.a])
      case Instr::DataWord:
        TSX_PUSH(stats.Lookup(static_cast<DataWord>(in.a)))
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
        TSX_BINARY(b == 0.0 ? std::numeric_limits<double>::quiet_NaN() : a / b)
      case Instr::Binary: {
        --sp;
        if (kChecked && sp < 0) return false;
        double r;
        if (!Binary(in.code, st[sp], top, r)) return false;
        top = r;
        break;
      }
      case Instr::AddX:
        TSX_FUSED(x, a + b)
      case Instr::SubtractX:
        TSX_FUSED(x, a - b)
      case Instr::MultiplyX:
        TSX_FUSED(x, a * b)
      case Instr::DivideX:
        TSX_FUSED(x, b == 0.0 ? std::numeric_limits<double>::quiet_NaN() : a / b)
      case Instr::AddParameter:
        TSX_FUSED(parameters[in.a], a + b)
      case Instr::SubtractParameter:
        TSX_FUSED(parameters[in.a], a - b)
      case Instr::MultiplyParameter:
        TSX_FUSED(parameters[in.a], a * b)
      case Instr::DivideParameter:
        TSX_FUSED(parameters[in.a], b == 0.0 ? std::numeric_limits<double>::quiet_NaN() : a / b)
      case Instr::AddConstant:
        TSX_FUSED(in.value, a + b)
      case Instr::SubtractConstant:
        TSX_FUSED(in.value, a - b)
      case Instr::MultiplyConstant:
        TSX_FUSED(in.value, a * b)
      case Instr::DivideConstant:
        TSX_FUSED(in.value, b == 0.0 ? std::numeric_limits<double>::quiet_NaN() : a / b)
      case Instr::Exp:
        TSX_UNARY(std::exp(v))
      case Instr::Ln:
        TSX_UNARY(v > 0.0 ? std::log(v) : std::numeric_limits<double>::quiet_NaN())
      case Instr::Sqrt:
        TSX_UNARY(v >= 0.0 ? std::sqrt(v) : std::numeric_limits<double>::quiet_NaN())
      case Instr::Sin:
        TSX_UNARY(std::sin(v))
      case Instr::Cos:
        TSX_UNARY(std::cos(v))
      case Instr::Function1:
        TSX_UNARY(ApplyFunction1(in.code, v))
      case Instr::Function2:
        TSX_BINARY(ApplyFunction2(in.code, a, b))
      case Instr::Function3: {
        sp -= 2;
        if (kChecked && sp < 0) return false;
        const double r = ApplyFunction3(in.code, st[sp], st[sp + 1], top);
        if (!std::isfinite(r)) return false;
        top = r;
        break;
      }
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

bool EvaluateProgram(const ModelProgram& program, EvaluationScratch& scratch, const double* parameters, double x,
                     const DataStatistics& stats, double& y) noexcept {
  try {
    if (scratch.stack.size() < program.code.size() + 2) PrepareScratch(program, scratch);
    if (program.well_formed) return Run<false>(program, scratch, parameters, x, stats, y);
    return Run<true>(program, scratch, parameters, x, stats, y);
  } catch (...) {
    // A fault of a library routine, a conversion out of range, an exhausted
    // allocator: the model cannot be evaluated here.
    return false;
  }
}

}  // namespace tessarix::detail
