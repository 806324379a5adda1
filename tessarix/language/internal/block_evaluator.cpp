#include "tessarix/language/internal/block_evaluator.hpp"

#include <array>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "tessarix/language/internal/block_steps.hpp"
#include "tessarix/language/internal/evaluator.hpp"
#include "tessarix/language/internal/evaluator_steps.hpp"
#include "tessarix/language/internal/vector_math.hpp"
#include "tessarix/numerics/power.hpp"
#include "tessarix/platform/float_flags.hpp"
#include "tessarix/platform/rounding.hpp"

namespace tessarix::detail {

BlockPlan PlanBlocks(const ModelProgram& program) {
  BlockPlan plan;
  if (!program.well_formed || program.code_length < 1) return plan;
  // "rnd" draws from one generator: its draws must come in the order of a
  // pass point by point.
  const FunctionRow* random = FindFunctionRow("rnd");
  // The open conditionals: the record of each one's "endtrue".
  std::vector<std::int32_t> open;
  std::vector<std::int32_t> endifs;
  const auto at = [&](std::int32_t pc) -> const Instruction& { return program.code[static_cast<std::size_t>(pc)]; };
  for (std::int32_t pc = 1; pc <= program.code_length; ++pc) {
    const Instruction& in = at(pc);
    while (!endifs.empty() && endifs.back() == pc) {
      // The end of a conditional: a record without effect.
      if (in.op != Instr::Skip) return plan;
      endifs.pop_back();
    }
    switch (in.op) {
      case Instr::Fail:
        return plan;
      case Instr::If: {
        // Condition, "if", the true branch, "endtrue" (a jump past the false
        // branch), the false branch, "endif".
        const std::int32_t endtrue = in.b - 1;
        if (in.a != pc + 1 || endtrue <= pc || endtrue > program.code_length) return plan;
        if (at(endtrue).op != Instr::EndTrue || at(endtrue).a <= endtrue || at(endtrue).a > program.code_length) {
          return plan;
        }
        if (!open.empty() && endtrue >= open.back()) return plan;
        open.push_back(endtrue);
        ++plan.conditionals;
        break;
      }
      case Instr::EndTrue:
        if (open.empty() || open.back() != pc) return plan;
        open.pop_back();
        if (!endifs.empty() && in.a >= endifs.back()) return plan;
        endifs.push_back(in.a);
        break;
      case Instr::Save: {
        // A save inside a conditional is the only save of its value.
        const auto k = static_cast<std::size_t>(in.a);
        if (!open.empty() || !endifs.empty()) {
          if (plan.saves[k]) return plan;
          plan.branch_saves[k] = true;
        } else if (plan.branch_saves[k]) {
          return plan;
        }
        plan.saves[k] = true;
        break;
      }
      case Instr::Recall:
        if (!plan.saves[static_cast<std::size_t>(in.a)]) return plan;
        break;
      case Instr::Call1:
        if (random != nullptr && in.f1 == random->f1) return plan;
        break;
      default:
        break;
    }
    // A fused instruction's second record is the operator it took over.
    if (in.op >= Instr::AddX && in.op <= Instr::DivideConstant) {
      if (pc + 1 > program.code_length) return plan;
      ++pc;
      if (!endifs.empty() && endifs.back() == pc) return plan;
    }
  }
  if (!open.empty() || !endifs.empty()) return plan;
  plan.usable = true;
  plan.independent = plan.branch_saves == std::array<bool, 10>{};
  plan.differentiable = plan.independent && (plan.conditionals == 0 || plan.saves == std::array<bool, 10>{});
  return plan;
}

namespace {

using block_steps::kLanes;
constexpr std::size_t kRow = static_cast<std::size_t>(kLanes);
constexpr std::size_t kSavedRows = 10;
// Conditionals nested deeper run point by point.
constexpr std::int32_t kMaxNesting = 16;

// The lanes of one block: the stack rows, the saved values, and `check`,
// which stays 0 in a lane while every checked result there is finite (r * 0
// is NaN for an infinite or NaN r).
struct Lanes {
  double* stack;
  double* saved;
  double* check;
  // Four rows per open conditional: the lanes whose condition holds, the
  // checks before it, the checks after its true branch, and the lanes that
  // run the branch being run. The two rows of lanes are masks (see Bits).
  double* branches;
  std::int32_t levels;  // the conditionals the branch rows hold, at most kMaxNesting
  // The saved values before the block: what a lane that does not take the
  // branch of a save reads when no lane before it took it.
  const double* carry;
  double* Row(std::int32_t k) const { return stack + static_cast<std::size_t>(k) * kRow; }
};

using block_steps::Map;
using block_steps::Zip;
template <bool kCheck, typename F>
inline void WithValue(double* a, double b, double* check, F f) {
  for (std::int32_t i = 0; i < kLanes; ++i) {
    const double r = f(a[i], b);
    a[i] = r;
    if constexpr (kCheck) check[i] += r * 0.0;
  }
}
template <bool kCheck, typename F>
inline void WithColumn(double* a, const double* points, std::int32_t width, std::int32_t column, double* check, F f) {
  for (std::int32_t i = 0; i < kLanes; ++i) {
    const double r = f(a[i], points[static_cast<std::ptrdiff_t>(i) * width + column]);
    a[i] = r;
    if constexpr (kCheck) check[i] += r * 0.0;
  }
}
// The vector form of exp, ln, sin or cos on a row, checked like Map; ln
// fails outside its domain as the scalar step does.
inline void VectorMap(VectorFunction f, double* top, double* check) {
  double argument[kLanes];
  if (f == VectorFunction::Log) {
    for (std::int32_t i = 0; i < kLanes; ++i) argument[i] = top[i];
  }
  ApplyVector(f, top, kLanes);
  for (std::int32_t i = 0; i < kLanes; ++i) {
    if (f == VectorFunction::Log && !(argument[i] > 0.0)) top[i] = steps::kFailed;
    check[i] += top[i] * 0.0;
  }
}
inline void Fill(double* row, double v) {
  for (std::int32_t i = 0; i < kLanes; ++i) row[i] = v;
}

// A mask of lanes is a row whose lanes hold all bits set (the lane is in)
// or none, read by its bits: the tests of a mask and the choices by one are
// bitwise, so that the compiler makes them vector operations without a
// branch per lane (a scattered mask would mispredict every other one), and
// a bitwise choice keeps every bit of the value it picks. A row of set bits
// is a NaN as a double; it is only ever copied and read by bits, which
// raises no flag.
inline std::uint64_t Bits(double v) { return std::bit_cast<std::uint64_t>(v); }
inline double FromBits(std::uint64_t m) { return std::bit_cast<double>(m); }
// a in the lanes of the mask, b in the others.
inline double Select(double mask, double a, double b) {
  const std::uint64_t m = Bits(mask);
  return FromBits((Bits(a) & m) | (Bits(b) & ~m));
}

const std::array<double, kRow> kAllLanes = [] {
  std::array<double, kRow> all{};
  for (double& v : all) v = FromBits(~std::uint64_t{0});
  return all;
}();

// Inside a branch (`live` not null): the lanes that do not take it compute
// nothing that counts, so a routine skips them (its result there is 1), and
// in the watched pass every operand of theirs becomes 1 before a step, on
// which no step raises a flag or faults.
inline void Idle(double* row, const double* live) {
  for (std::int32_t i = 0; i < kLanes; ++i) row[i] = Select(live[i], row[i], 1.0);
}
// The lanes that run, listed without a branch per lane (a routine called
// on a list of lanes runs no test that a scattered mask would mispredict);
// returns their count.
inline std::int32_t Running(const double* live, std::int32_t* at) {
  std::int32_t n = 0;
  for (std::int32_t i = 0; i < kLanes; ++i) {
    at[n] = i;
    n += static_cast<std::int32_t>(Bits(live[i]) & 1U);
  }
  return n;
}
template <bool kCheck, typename F>
inline void MapLive(double* top, double* check, const double* live, F f) {
  if (live == nullptr) return Map<kCheck>(top, check, f);
  std::int32_t at[kLanes];
  const std::int32_t n = Running(live, at);
  for (std::int32_t k = 0; k < n; ++k) top[at[k]] = f(top[at[k]]);
  for (std::int32_t i = 0; i < kLanes; ++i) {
    const double r = Select(live[i], top[i], 1.0);
    top[i] = r;
    if constexpr (kCheck) check[i] += r * 0.0;
  }
}
template <typename F>
inline void ZipLive(double* a, const double* b, double* check, const double* live, F f) {
  if (live == nullptr) return Zip(a, b, check, f);
  std::int32_t at[kLanes];
  const std::int32_t n = Running(live, at);
  for (std::int32_t k = 0; k < n; ++k) a[at[k]] = f(a[at[k]], b[at[k]]);
  for (std::int32_t i = 0; i < kLanes; ++i) {
    const double r = Select(live[i], a[i], 1.0);
    a[i] = r;
    check[i] += r * 0.0;
  }
}

// A branch that no lane of the block runs, records from..to-1: a value it
// saves keeps, in every lane, the one the points before the block saved.
inline void PassOver(const ModelProgram& program, const Lanes& lanes, std::int32_t from, std::int32_t to) {
  for (std::int32_t pc = from; pc < to; ++pc) {
    const Instruction& in = program.code[static_cast<std::size_t>(pc)];
    if (in.op == Instr::Save) Fill(lanes.saved + static_cast<std::size_t>(in.a) * kRow, lanes.carry[in.a]);
  }
}

// The operand rows that a step of the watched pass makes 1 in the lanes
// that do not run, before it runs on every lane: 0, 1 (the top) or 2 from
// the top. The routines (and powers) skip those lanes, and the four
// operations of arithmetic take 1 for their operands there themselves.
inline std::int32_t Operands(Instr op) {
  if (op == Instr::Not || op == Instr::Sqrt) return 1;
  if (op >= Instr::IntDivide && op <= Instr::Imp) return 2;
  return 0;
}
// a = f(a, b) lane by lane, as Zip; in the watched pass inside a branch
// with operands of 1 in the lanes that do not run.
template <bool kCheck, typename F>
inline void Arithmetic(double* a, const double* b, double* check, const double* live, F f) {
  if (kCheck || live == nullptr) return Zip<kCheck>(a, b, check, f);
  for (std::int32_t i = 0; i < kLanes; ++i) a[i] = f(Select(live[i], a[i], 1.0), Select(live[i], b[i], 1.0));
}

inline void Column(double* row, const double* points, std::int32_t width, std::int32_t column) {
  if (width == 1) {
    // The points of a model of x alone lie side by side: a vector copy.
    for (std::int32_t i = 0; i < kLanes; ++i) row[i] = points[i];
    return;
  }
  for (std::int32_t i = 0; i < kLanes; ++i) row[i] = points[static_cast<std::ptrdiff_t>(i) * width + column];
}

// One block of exactly kLanes points. False when a check failed in some lane
// (or a routine faulted): the caller then replays the block point by point.
// The lanes of an operation compute exactly the expressions of the evaluator
// point by point, so each lane's bits are those of that evaluator. kCheck
// false: the pass of a program whose scalar operands are finite, under a
// FlagWatch; the steps that can fail without raising a flag (the routines of
// function words and powers, the integer operators) keep their checks, the
// others are left to the flags. The lanes of a branch not taken compute on
// operands of 1 there, so that only the steps of a point's own branches can
// raise a flag.
template <bool kCheck>
[[gnu::noinline]] bool RunBlock(const ModelProgram& program, const Lanes& lanes, const double* parameters,
                                const double* points, std::int32_t width, const DataStatistics& stats, bool vector_math,
                                bool checks = true) {
  // The open conditionals: depth, and the "endif" record of each.
  std::int32_t depth = 0;
  std::int32_t endif_at[kMaxNesting];
  std::int32_t endtrue_at[kMaxNesting];
  const auto branch_row = [&](std::int32_t level, std::int32_t k) {
    return lanes.branches + (static_cast<std::size_t>(level) * 4 + static_cast<std::size_t>(k)) * kRow;
  };
  // The lanes that run the current branch; null outside conditionals.
  const double* live = nullptr;
  const bool juggle = kCheck || checks;  // the checks of the branches are kept apart
  using namespace steps;                 // NOLINT(google-build-using-namespace): the shared steps
  const Instruction* code = program.code.data();
  const std::int32_t length = program.code_length;
  double* check = lanes.check;
  if (kCheck || checks) Fill(check, 0.0);
  std::int32_t sp = -1;
  std::int32_t pc = 1;
  while (pc <= length) {
    const Instruction& in = code[pc];
    while (depth > 0 && endif_at[depth - 1] == pc) {
      // Both branches have left their value: keep the one of each lane's
      // branch, and its checks.
      if (sp < 1) return false;
      --depth;
      live = depth > 0 ? branch_row(depth - 1, 3) : nullptr;
      const double* holds = branch_row(depth, 0);
      const double* true_checks = branch_row(depth, 2);
      double* chosen = lanes.Row(sp - 1);
      const double* other = lanes.Row(sp);
      for (std::int32_t i = 0; i < kLanes; ++i) chosen[i] = Select(holds[i], chosen[i], other[i]);
      if (juggle) {
        for (std::int32_t i = 0; i < kLanes; ++i) check[i] = Select(holds[i], true_checks[i], check[i]);
      }
      --sp;
    }
    if constexpr (!kCheck) {
      if (live != nullptr) {
        const std::int32_t operands = Operands(in.op);
        if (sp < operands - 1) return false;
        for (std::int32_t k = 0; k < operands; ++k) Idle(lanes.Row(sp - k), live);
      }
    }
    double* top = sp >= 0 ? lanes.Row(sp) : nullptr;
    switch (in.op) {
      case Instr::Skip:
        break;
      case Instr::If: {
        if (top == nullptr || depth >= lanes.levels) return false;
        double* holds = branch_row(depth, 0);
        double* before = branch_row(depth, 1);
        double* mask = branch_row(depth, 3);
        const double* outer = live != nullptr ? live : kAllLanes.data();
        // Three short loops rather than one: a choice between two doubles by
        // a compare is a vector compare and blend, but mixed with the masks'
        // integer bits or the sums below the compiler leaves it scalar.
        for (std::int32_t i = 0; i < kLanes; ++i) holds[i] = top[i] == kTrue ? kAllLanes[0] : 0.0;
        for (std::int32_t i = 0; i < kLanes; ++i) mask[i] = FromBits(Bits(holds[i]) & Bits(outer[i]));
        // Whether some lane that runs takes the true branch, and some the
        // false one.
        std::uint64_t taking = 0, leaving = 0;
        for (std::int32_t i = 0; i < kLanes; ++i) {
          taking |= Bits(mask[i]);
          leaving |= Bits(outer[i]) & ~Bits(mask[i]);
        }
        if (taking == 0 || leaving == 0) {
          // Every lane that runs takes the same branch: only that one runs,
          // as point by point, and its "endtrue" jumps as there.
          --sp;
          if (taking == 0) {
            PassOver(program, lanes, pc + 1, in.b);
            pc = in.b;
          } else {
            ++pc;
          }
          continue;
        }
        for (std::int32_t i = 0; juggle && i < kLanes; ++i) before[i] = check[i];
        endif_at[depth] = code[in.b - 1].a;
        endtrue_at[depth] = in.b - 1;
        live = mask;
        ++depth;
        --sp;
        break;
      }
      case Instr::EndTrue: {
        if (depth < 1 || endtrue_at[depth - 1] != pc) {
          // The end of the true branch of a conditional whose lanes all took it.
          PassOver(program, lanes, pc + 1, in.a);
          pc = in.a;
          continue;
        }
        // On into the false branch, from the checks before the condition.
        const double* outer = depth > 1 ? branch_row(depth - 2, 3) : kAllLanes.data();
        const double* holds = branch_row(depth - 1, 0);
        double* mask = branch_row(depth - 1, 3);
        for (std::int32_t i = 0; i < kLanes; ++i) mask[i] = FromBits(~Bits(holds[i]) & Bits(outer[i]));
        double* before = branch_row(depth - 1, 1);
        double* after = branch_row(depth - 1, 2);
        for (std::int32_t i = 0; juggle && i < kLanes; ++i) {
          after[i] = check[i];
          check[i] = before[i];
        }
        break;
      }
      case Instr::X:
        Column(lanes.Row(++sp), points, width, 0);
        break;
      case Instr::Variable:
        Column(lanes.Row(++sp), points, width, in.a);
        break;
      case Instr::Constant:
      case Instr::Parameter: {
        const double value = in.op == Instr::Constant ? in.value : parameters[in.a];
        double* row = lanes.Row(++sp);
        // A push followed by a step with x ("b*x"): the step on the value
        // itself, without a row of copies of it.
        const Instr next = pc < length ? code[pc + 1].op : Instr::Skip;
        if (next >= Instr::AddX && next <= Instr::DivideX && (depth == 0 || endif_at[depth - 1] != pc + 1) &&
            (kCheck || live == nullptr)) {
          const auto apply = [&](auto f) {
            for (std::int32_t i = 0; i < kLanes; ++i) {
              const double r = f(value, points[static_cast<std::ptrdiff_t>(i) * width]);
              row[i] = r;
              if constexpr (kCheck) check[i] += r * 0.0;
            }
          };
          if (next == Instr::AddX) apply([](double a, double b) { return a + b; });
          if (next == Instr::SubtractX) apply([](double a, double b) { return a - b; });
          if (next == Instr::MultiplyX) apply([](double a, double b) { return a * b; });
          if (next == Instr::DivideX) apply([](double a, double b) { return kCheck ? Quotient(a, b) : a / b; });
          pc += 3;
          continue;
        }
        Fill(row, value);
        break;
      }
      case Instr::DataWord:
        Fill(lanes.Row(++sp), stats.Lookup(static_cast<DataWord>(in.a), in.b));
        break;
      case Instr::Recall: {
        double* row = lanes.Row(++sp);
        const double* saved = lanes.saved + static_cast<std::size_t>(in.a) * kRow;
        for (std::int32_t i = 0; i < kLanes; ++i) row[i] = saved[i];
        break;
      }
      case Instr::Save: {
        if (top == nullptr) return false;
        double* saved = lanes.saved + static_cast<std::size_t>(in.a) * kRow;
        if (live == nullptr) {
          for (std::int32_t i = 0; i < kLanes; ++i) saved[i] = top[i];
          break;
        }
        // A point that does not take the branch keeps the value of the last
        // point that did: the lanes before it, or the points before the block.
        double last = lanes.carry[in.a];
        for (std::int32_t i = 0; i < kLanes; ++i) {
          last = Select(live[i], top[i], last);
          saved[i] = last;
        }
        break;
      }
      case Instr::Negate:
        if (top == nullptr) return false;
        for (std::int32_t i = 0; i < kLanes; ++i) top[i] = -top[i];
        break;
      case Instr::Not:
        if (top == nullptr) return false;
        for (std::int32_t i = 0; i < kLanes; ++i) top[i] = static_cast<double>(~RoundToInt32(top[i]));
        break;
      case Instr::Exp:
      case Instr::Ln:
      case Instr::Sqrt:
      case Instr::Sin:
      case Instr::Cos:
      case Instr::Call1:
        if (top == nullptr) return false;
        if (vector_math && in.op != Instr::Sqrt && in.op != Instr::Call1) {
          // The vector routines run on every lane.
          if (!kCheck && live != nullptr) Idle(top, live);
          VectorMap(in.op == Instr::Exp   ? VectorFunction::Exp
                    : in.op == Instr::Ln  ? VectorFunction::Log
                    : in.op == Instr::Sin ? VectorFunction::Sin
                                          : VectorFunction::Cos,
                    top, check);
          break;
        }
        switch (in.op) {
          case Instr::Exp:
            MapLive<kCheck>(top, check, live, [](double v) { return std::exp(v); });
            break;
          case Instr::Ln:
            // Outside the domain the routine raises a flag.
            if constexpr (kCheck) {
              MapLive<true>(top, check, live, [](double v) { return v > 0.0 ? std::log(v) : kFailed; });
            } else {
              MapLive<false>(top, check, live, [](double v) { return std::log(v); });
            }
            break;
          case Instr::Sqrt:
            if constexpr (kCheck) {
              Map(top, check, [](double v) { return v >= 0.0 ? std::sqrt(v) : kFailed; });
            } else {
              Map<false>(top, check, [](double v) { return std::sqrt(v); });
            }
            break;
          case Instr::Sin:
            MapLive<kCheck>(top, check, live, [](double v) { return std::sin(v); });
            break;
          case Instr::Cos:
            MapLive<kCheck>(top, check, live, [](double v) { return std::cos(v); });
            break;
          default: {
            const Function1 f = in.f1;
            MapLive<true>(top, check, live, [f](double v) { return f(v); });
            break;
          }
        }
        break;
      case Instr::Call3: {
        if (sp < 2) return false;
        sp -= 2;
        double* a = lanes.Row(sp);
        const double* b = lanes.Row(sp + 1);
        const double* c = lanes.Row(sp + 2);
        if (live == nullptr) {
          for (std::int32_t i = 0; i < kLanes; ++i) a[i] = in.f3(a[i], b[i], c[i]);
        } else {
          std::int32_t at[kLanes];
          const std::int32_t n = Running(live, at);
          for (std::int32_t k = 0; k < n; ++k) a[at[k]] = in.f3(a[at[k]], b[at[k]], c[at[k]]);
          for (std::int32_t i = 0; i < kLanes; ++i) a[i] = Select(live[i], a[i], 1.0);
        }
        block_steps::CheckRow(a, check);
        break;
      }
      case Instr::AddX:
      case Instr::SubtractX:
      case Instr::MultiplyX:
      case Instr::DivideX:
      case Instr::AddParameter:
      case Instr::SubtractParameter:
      case Instr::MultiplyParameter:
      case Instr::DivideParameter:
      case Instr::AddConstant:
      case Instr::SubtractConstant:
      case Instr::MultiplyConstant:
      case Instr::DivideConstant: {
        if (top == nullptr) return false;
        const auto op = static_cast<std::int32_t>(in.op);
        const std::int32_t form = (op - static_cast<std::int32_t>(Instr::AddX)) % 4;
        const std::int32_t source = (op - static_cast<std::int32_t>(Instr::AddX)) / 4;
        const auto apply = [&](auto f) {
          if (source == 0 && !kCheck && live != nullptr) {
            // x is an operand too: 1 in the lanes that do not take the branch.
            for (std::int32_t i = 0; i < kLanes; ++i) {
              const double x = points[static_cast<std::ptrdiff_t>(i) * width];
              top[i] = f(Select(live[i], top[i], 1.0), Select(live[i], x, 1.0));
            }
          } else if (source == 0) {
            WithColumn<kCheck>(top, points, width, 0, check, f);
          } else {
            const double value = source == 1 ? parameters[in.a] : in.value;
            if (!kCheck && live != nullptr) {
              for (std::int32_t i = 0; i < kLanes; ++i) top[i] = f(Select(live[i], top[i], 1.0), value);
            } else {
              WithValue<kCheck>(top, value, check, f);
            }
          }
        };
        if (form == 0) apply([](double a, double b) { return a + b; });
        if (form == 1) apply([](double a, double b) { return a - b; });
        if (form == 2) apply([](double a, double b) { return a * b; });
        // A division by zero raises a flag.
        if (form == 3) apply([](double a, double b) { return kCheck ? Quotient(a, b) : a / b; });
        pc += 2;
        continue;
      }
      default: {
        // The binary instructions.
        if (sp < 1) return false;
        --sp;
        double* a = lanes.Row(sp);
        const double* b = lanes.Row(sp + 1);
        switch (in.op) {
          case Instr::Add:
            Arithmetic<kCheck>(a, b, check, live, [](double u, double v) { return u + v; });
            break;
          case Instr::Subtract:
            Arithmetic<kCheck>(a, b, check, live, [](double u, double v) { return u - v; });
            break;
          case Instr::Multiply:
            Arithmetic<kCheck>(a, b, check, live, [](double u, double v) { return u * v; });
            break;
          case Instr::Divide:
            Arithmetic<kCheck>(a, b, check, live, [](double u, double v) { return kCheck ? Quotient(u, v) : u / v; });
            break;
          case Instr::Call2: {
            const Function2 f = in.f2;
            ZipLive(a, b, check, live, [f](double u, double v) { return f(u, v); });
            break;
          }
          case Instr::Power:
            ZipLive(a, b, check, live, [](double u, double v) { return Power(u, v); });
            break;
          default:
            // The plan admits no instruction that is not flat here.
            if (!block_steps::ZipFlatBinary(in.op, a, b, check)) return false;
        }
        break;
      }
    }
    ++pc;
  }
  if (sp < 0 || depth != 0) return false;
  // The records of earlier definitions on the object leave their values
  // below: the result is the top, as point by point.
  if (sp > 0) {
    const double* result = lanes.Row(sp);
    double* first = lanes.Row(0);
    for (std::int32_t i = 0; i < kLanes; ++i) first[i] = result[i];
  }
  return (!kCheck && !checks) || block_steps::AllZero(check);
}

// Rows first..first+count-1 point by point; the number done before a failure.
std::int32_t ReplayRows(const ModelProgram& program, EvaluationScratch& scratch, const double* parameters,
                        const double* points, std::int32_t width, std::int32_t count, const DataStatistics& stats,
                        double* y) noexcept {
  for (std::int32_t r = 0; r < count; ++r) {
    const std::span<const double> point(points + static_cast<std::ptrdiff_t>(r) * width,
                                        static_cast<std::size_t>(width));
    if (!EvaluateProgram(program, scratch, parameters, point, stats, y[r])) return r;
  }
  return count;
}

}  // namespace

std::int32_t EvaluateProgramBlock(const ModelProgram& program, const BlockPlan& plan, EvaluationScratch& scratch,
                                  const double* parameters, const double* points, std::int32_t width,
                                  std::int32_t count, const DataStatistics& stats, double* y,
                                  bool vector_math) noexcept {
  if (count <= 0) return 0;
  if (!plan.usable || width < program.point_size || width < 1) {
    return ReplayRows(program, scratch, parameters, points, width, count, stats, y);
  }
  // Rows for the saved values and the conditionals only where the program
  // has them, so that the work space of most programs stays small (nesting
  // never exceeds the count of conditionals).
  const std::size_t cells = program.stack_cells + 1;
  const std::size_t saved_rows = plan.saves == std::array<bool, 10>{} ? 0 : kSavedRows;
  const std::int32_t levels = plan.conditionals < kMaxNesting ? plan.conditionals : kMaxNesting;
  const std::size_t branch_rows = 4 * static_cast<std::size_t>(levels);
  try {
    const std::size_t needed = (cells + saved_rows + 1 + branch_rows) * kRow +
                               static_cast<std::size_t>(kLanes) * static_cast<std::size_t>(width);
    if (scratch.block.size() < needed) scratch.block.assign(needed, 0.0);
  } catch (...) {
    return ReplayRows(program, scratch, parameters, points, width, count, stats, y);
  }
  bool watch = FlagsCanBeWatched();
  try {
    watch = watch && block_steps::ScalarsFinite(program, parameters, stats) &&
            AllFinite(points, static_cast<long>(count) * width);  // a NaN point raises no flag
  } catch (...) {
    watch = false;  // a statistic that faults: the checked pass meets it
  }
  const Lanes lanes{scratch.block.data(),
                    scratch.block.data() + cells * kRow,
                    scratch.block.data() + (cells + saved_rows) * kRow,
                    scratch.block.data() + (cells + saved_rows + 1) * kRow,
                    levels,
                    scratch.saved.data()};
  double* padded = scratch.block.data() + (cells + saved_rows + 1 + branch_rows) * kRow;
  // The points of the block at `first`, n of them: the short last block runs
  // on copies of its points, padded with its last point so that every lane
  // computes something it would compute anyway.
  const auto block_at = [&](std::int32_t first, std::int32_t n) {
    const double* block_points = points + static_cast<std::ptrdiff_t>(first) * width;
    if (n == kLanes) return block_points;
    for (std::int32_t i = 0; i < kLanes; ++i) {
      const std::int32_t source = i < n ? i : n - 1;
      for (std::int32_t j = 0; j < width; ++j) {
        padded[static_cast<std::ptrdiff_t>(i) * width + j] =
            block_points[static_cast<std::ptrdiff_t>(source) * width + j];
      }
    }
    return static_cast<const double*>(padded);
  };
  const auto keep = [&](std::int32_t first, std::int32_t n) {
    const double* result = lanes.Row(0);
    for (std::int32_t i = 0; i < n; ++i) y[first + i] = result[i];
    for (std::size_t k = 0; k < kSavedRows; ++k) {
      if (plan.saves[k]) scratch.saved[k] = lanes.saved[k * kRow + static_cast<std::size_t>(n - 1)];
    }
  };
  const bool checks = block_steps::WatchedPassChecks(program, vector_math);
  if (watch) {
    // All the blocks under one watch (looking at the flags costs as much as
    // a short block); a raised flag, which may come from a step whose lane
    // is discarded (a conversion of a flat operand), sends the whole call
    // through the checked passes.
    bool ok = true;
    // The saved values as the call found them, for the checked passes to
    // start from again.
    const std::array<double, 10> entry = scratch.saved;
    {
      const FlagWatch flags;
      try {
        for (std::int32_t first = 0; ok && first < count; first += kLanes) {
          const std::int32_t n = count - first < kLanes ? count - first : kLanes;
          ok = RunBlock<false>(program, lanes, parameters, block_at(first, n), width, stats, vector_math, checks);
          if (ok) keep(first, n);
        }
      } catch (...) {
        ok = false;
      }
      ok = ok && flags.Clean();
    }
    if (ok) return count;
    scratch.saved = entry;
  }
  for (std::int32_t first = 0; first < count; first += kLanes) {
    const std::int32_t n = count - first < kLanes ? count - first : kLanes;
    bool ok = false;
    try {
      ok = RunBlock<true>(program, lanes, parameters, block_at(first, n), width, stats, vector_math);
    } catch (...) {
      ok = false;
    }
    if (!ok) {
      const std::int32_t done =
          ReplayRows(program, scratch, parameters, points + static_cast<std::ptrdiff_t>(first) * width, width, n, stats,
                     y + first);
      if (done < n) return first + done;
      continue;
    }
    keep(first, n);
  }
  return count;
}

}  // namespace tessarix::detail
