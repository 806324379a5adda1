#include "tessarix/language/internal/derivative_evaluator.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <span>

#include "tessarix/language/internal/block_steps.hpp"
#include "tessarix/language/internal/evaluator.hpp"
#include "tessarix/language/internal/evaluator_steps.hpp"
#include "tessarix/language/internal/vector_math.hpp"
#include "tessarix/numerics/extrapolated_derivative.hpp"
#include "tessarix/numerics/power.hpp"
#include "tessarix/platform/float_flags.hpp"
#include "tessarix/platform/rounding.hpp"

namespace tessarix::detail {

DerivativePlan PlanDerivatives(const ModelProgram& program) {
  DerivativePlan plan;
  plan.rows.assign(static_cast<std::size_t>(program.code_length) + 1, nullptr);
  const auto rows = FunctionRows();
  for (std::int32_t pc = 1; pc <= program.code_length; ++pc) {
    const Instruction& in = program.code[static_cast<std::size_t>(pc)];
    if (in.op != Instr::Call1 && in.op != Instr::Call2 && in.op != Instr::Call3) continue;
    // Words that share a routine ("log" and "ln", "igammac" and "poisson")
    // share their rule too, so the first row with the routine will do.
    for (const FunctionRow& row : rows) {
      if ((in.op == Instr::Call1 && row.f1 == in.f1 && row.f1 != nullptr) ||
          (in.op == Instr::Call2 && row.f2 == in.f2 && row.f2 != nullptr) ||
          (in.op == Instr::Call3 && row.f3 == in.f3 && row.f3 != nullptr)) {
        plan.rows[static_cast<std::size_t>(pc)] = &row;
        break;
      }
    }
  }
  return plan;
}

namespace {

using block_steps::kLanes;
constexpr std::size_t kRow = static_cast<std::size_t>(kLanes);
constexpr std::size_t kSavedRows = 10;
constexpr std::int32_t kMaxNesting = 16;
constexpr std::size_t kTemporaries = 6;

// The rows of one block. Cell k of the stack has its value row and `p`
// partial rows. Partial j of cell k is stored only where its `nonzero` flag
// is kStored: kZero stands for a row of zeros, which most partials are (a
// pushed parameter moves with itself alone, and an operation keeps the
// parameters its operands move with), and kOne for a row of ones (the pushed
// parameter's own), so that an instruction costs as many row operations as
// there are partials it can change. `depends` tells whether any flag of the
// cell is set.
struct Dual {
  double* values;
  double* partials;
  double* saved;
  double* saved_partials;
  double* check;
  double* branches;
  double* temporaries;
  std::int32_t levels;          // the conditionals the branch rows hold, at most kMaxNesting
  std::uint8_t* depends;        // the stack cells
  std::uint8_t* saved_depends;  // the ten saved values
  std::uint8_t* nonzero;        // per stack cell, p flags
  std::uint8_t* saved_nonzero;  // per saved value, p flags
  std::size_t p;

  double* Value(std::int32_t k) const { return values + static_cast<std::size_t>(k) * kRow; }
  double* Partial(std::int32_t k, std::size_t j) const {
    return partials + (static_cast<std::size_t>(k) * p + j) * kRow;
  }
  double* Temporary(std::size_t t) const { return temporaries + t * kRow; }
  std::uint8_t& Depends(std::int32_t k) const { return depends[k]; }
  std::uint8_t& Nonzero(std::int32_t k, std::size_t j) const { return nonzero[static_cast<std::size_t>(k) * p + j]; }
};

constexpr std::uint8_t kZero = 0;
constexpr std::uint8_t kStored = 1;
constexpr std::uint8_t kOne = 2;

using block_steps::Map;
using block_steps::Zip;
inline void Copy(double* to, const double* from) {
  for (std::int32_t i = 0; i < kLanes; ++i) to[i] = from[i];
}
inline void Fill(double* row, double v) {
  for (std::int32_t i = 0; i < kLanes; ++i) row[i] = v;
}

// Cell k without partials.
void Clear(const Dual& d, std::int32_t k) {
  if (d.Depends(k) == 0) return;
  for (std::size_t j = 0; j < d.p; ++j) d.Nonzero(k, j) = 0;
  d.Depends(k) = 0;
}
// Partial j of cell k written out as a row, when it is one of ones.
double* Stored(const Dual& d, std::int32_t k, std::size_t j) {
  double* row = d.Partial(k, j);
  if (d.Nonzero(k, j) == kOne) {
    Fill(row, 1.0);
    d.Nonzero(k, j) = kStored;
  }
  return row;
}
// Cell k's partials stored as rows for every parameter (the zero ones
// written out), for the lane-by-lane choice of a conditional.
void Materialise(const Dual& d, std::int32_t k) {
  for (std::size_t j = 0; j < d.p; ++j) {
    if (d.Nonzero(k, j) == kZero) Fill(d.Partial(k, j), 0.0);
    (void)Stored(d, k, j);
    d.Nonzero(k, j) = kStored;
  }
  d.Depends(k) = 1;
}
// Cell k's partials times g, lane by lane (ones times g are g exactly).
void Scale(const Dual& d, std::int32_t k, const double* g) {
  for (std::size_t j = 0; d.Depends(k) != 0 && j < d.p; ++j) {
    if (d.Nonzero(k, j) == kZero) continue;
    double* row = d.Partial(k, j);
    if (d.Nonzero(k, j) == kOne) {
      Copy(row, g);
      d.Nonzero(k, j) = kStored;
      continue;
    }
    for (std::int32_t i = 0; i < kLanes; ++i) row[i] *= g[i];
  }
}

// The factor of an operand's partials in the chain rule: a row, or one
// value for every lane (+1 and -1 of sums and differences, whose products by
// 1 are exact and so left out; a pushed parameter's value), or none (the
// operand's partials do not count).
struct Factor {
  const double* row = nullptr;
  double value = 0.0;  // when row is null
  bool counts = false;
  static Factor Of(const double* g) { return {g, 0.0, g != nullptr}; }
  static Factor Unit(double v) { return {nullptr, v, true}; }
  bool Counts() const { return counts; }
};
inline void Apply(const Factor& f, double* out, const double* in) {
  if (f.row != nullptr) {
    for (std::int32_t i = 0; i < kLanes; ++i) out[i] = f.row[i] * in[i];
  } else if (f.value == 1.0) {
    if (out != in) Copy(out, in);
  } else {
    for (std::int32_t i = 0; i < kLanes; ++i) out[i] = f.value * in[i];
  }
}

// Cell a's partials = fa * a's + fb * b's, partial by partial, over the
// partials either operand has.
void Combine(const Dual& d, std::int32_t a, const Factor& fa, std::int32_t b, const Factor& fb) {
  const bool da = d.Depends(a) != 0 && fa.Counts();
  const bool db = d.Depends(b) != 0 && fb.Counts();
  bool any = false;
  for (std::size_t j = 0; j < d.p; ++j) {
    const bool na = da && d.Nonzero(a, j) != 0;
    const bool nb = db && d.Nonzero(b, j) != 0;
    double* out = d.Partial(a, j);
    const bool one_a = na && d.Nonzero(a, j) == kOne;
    const bool one_b = nb && d.Nonzero(b, j) == kOne;
    if (na != nb && (one_a || one_b)) {
      // A row of ones times the factor: the factor itself.
      const Factor& f = na ? fa : fb;
      if (f.row != nullptr) {
        Copy(out, f.row);
      } else if (f.value != 1.0) {
        Fill(out, f.value);
      }
      d.Nonzero(a, j) = f.row == nullptr && f.value == 1.0 ? kOne : kStored;
      any = true;
      continue;
    }
    if (na && nb) {
      (void)Stored(d, a, j);
      const double* pb = Stored(d, b, j);
      if (fa.row != nullptr && fb.row != nullptr) {
        for (std::int32_t i = 0; i < kLanes; ++i) out[i] = fa.row[i] * out[i] + fb.row[i] * pb[i];
      } else if (fa.row != nullptr) {
        for (std::int32_t i = 0; i < kLanes; ++i) out[i] = fa.row[i] * out[i] + fb.value * pb[i];
      } else if (fb.row != nullptr) {
        for (std::int32_t i = 0; i < kLanes; ++i) out[i] = fa.value * out[i] + fb.row[i] * pb[i];
      } else {
        for (std::int32_t i = 0; i < kLanes; ++i) out[i] = fa.value * out[i] + fb.value * pb[i];
      }
    } else if (na) {
      Apply(fa, out, out);
    } else if (nb) {
      Apply(fb, out, d.Partial(b, j));
    }
    d.Nonzero(a, j) = (na || nb) ? kStored : kZero;
    any = any || na || nb;
  }
  d.Depends(a) = any ? 1 : 0;
}

// The factor of a function word's argument `which`, lane by lane, into g.
void WordFactors(const FunctionRow& row, std::int32_t which, const double* const* args, const double* f, double* g,
                 Matrix1& table) {
  const DerivativeRule& rule = RuleOf(row);
  for (std::int32_t i = 0; i < kLanes; ++i) {
    double at[3] = {args[0][i], row.arity > 1 ? args[1][i] : 0.0, row.arity > 2 ? args[2][i] : 0.0};
    double out = 0.0;
    g[i] = WordPartial(row, rule, which, at, f[i], table, out) ? out : steps::kFailed;
  }
}

// exp of a row in place: a loop alone in its function, so that nothing of
// the caller's has to be kept across the calls of the routine.
[[gnu::noinline]] void ExpRow(double* row) {
  for (std::int32_t i = 0; i < kLanes; ++i) row[i] = std::exp(row[i]);
}

// Whether the instructions at pc are "a*exp(b*x)" of two different
// parameters: a, b and x fused into "b*x", exp, the product.
inline bool ExpOfProduct(const Instruction* code, std::int32_t pc, std::int32_t length) {
  return pc + 5 <= length && code[pc + 1].op == Instr::Parameter && code[pc + 2].op == Instr::MultiplyX &&
         code[pc + 4].op == Instr::Exp && code[pc + 5].op == Instr::Multiply && code[pc].a != code[pc + 1].a;
}

// kCheck false: the pass under a FlagWatch, as RunBlock's; the factors of
// function words are checked, since they fail with a NaN and no flag.
template <bool kCheck>
[[gnu::noinline]] bool RunDual(const ModelProgram& program, const DerivativePlan& rules, const Dual& d,
                               const double* parameters, const std::int32_t* slot, const double* points,
                               std::int32_t width, const DataStatistics& stats, Matrix1& table, bool vector_math,
                               bool checks = true) {
  using namespace steps;  // NOLINT(google-build-using-namespace): the shared steps
  std::int32_t depth = 0;
  std::int32_t endif_at[kMaxNesting];
  const auto branch_row = [&](std::int32_t level, std::int32_t k) {
    return d.branches + (static_cast<std::size_t>(level) * 3 + static_cast<std::size_t>(k)) * kRow;
  };
  const Instruction* code = program.code.data();
  const std::int32_t length = program.code_length;
  double* check = d.check;
  if (kCheck || checks) Fill(check, 0.0);
  double* ta = d.Temporary(0);
  double* tb = d.Temporary(1);
  double* tc = d.Temporary(2);
  double* ga = d.Temporary(3);
  double* gb = d.Temporary(4);
  double* gc = d.Temporary(5);
  const auto column = [&](double* row, std::int32_t c) {
    if (width == 1) return Copy(row, points);
    for (std::int32_t i = 0; i < kLanes; ++i) row[i] = points[static_cast<std::ptrdiff_t>(i) * width + c];
  };
  // A pushed value: no partials; a pushed parameter: its own partial is 1.
  const auto flat = [&](std::int32_t k) { Clear(d, k); };
  const auto unit = [&](std::int32_t k, std::int32_t parameter) {
    Clear(d, k);
    const std::int32_t s = slot[parameter];
    if (s < 0) return;
    d.Nonzero(k, static_cast<std::size_t>(s)) = kOne;
    d.Depends(k) = 1;
  };
  std::int32_t sp = -1;
  std::int32_t pc = 1;
  // Cells (below 64) holding a pushed value whose row is not written yet:
  // a product by it takes the value itself; any other step writes the rows
  // first.
  std::uint64_t uniform = 0;
  double uniform_value[64];
  const auto bit = [](std::int32_t k) { return std::uint64_t{1} << static_cast<std::uint32_t>(k); };
  const auto settle = [&] {
    for (std::int32_t k = 0; uniform != 0; ++k) {
      if ((uniform & bit(k)) == 0) continue;
      Fill(d.Value(k), uniform_value[k]);
      uniform &= ~bit(k);
    }
  };
  const auto push_value = [&](double value) {
    ++sp;
    if (sp < 64) {
      uniform |= bit(sp);
      uniform_value[sp] = value;
    } else {
      Fill(d.Value(sp), value);
    }
  };
  while (pc <= length) {
    const Instruction& in = code[pc];
    if (uniform != 0) {
      const bool merge = depth > 0 && endif_at[depth - 1] == pc;
      const bool push = in.op == Instr::X || in.op == Instr::Variable || in.op == Instr::Constant ||
                        in.op == Instr::Parameter || in.op == Instr::DataWord || in.op == Instr::Recall;
      const bool product =
          in.op == Instr::Multiply && sp >= 1 && sp < 64 && (uniform & bit(sp - 1)) != 0 && (uniform & bit(sp)) == 0;
      if (merge || !(push || product)) settle();
    }
    while (depth > 0 && endif_at[depth - 1] == pc) {
      // Each lane keeps the value, the partials and the checks of its branch.
      if (sp < 1) return false;
      --depth;
      const double* condition = branch_row(depth, 0);
      const double* true_checks = branch_row(depth, 2);
      const std::int32_t a = sp - 1;
      if (d.Depends(a) != 0 || d.Depends(sp) != 0) {
        Materialise(d, a);
        Materialise(d, sp);
      }
      for (std::size_t j = 0; d.Depends(a) != 0 && j < d.p; ++j) {
        double* chosen = d.Partial(a, j);
        const double* other = d.Partial(sp, j);
        for (std::int32_t i = 0; i < kLanes; ++i) chosen[i] = condition[i] == kTrue ? chosen[i] : other[i];
      }
      double* chosen = d.Value(a);
      const double* other = d.Value(sp);
      for (std::int32_t i = 0; i < kLanes; ++i) {
        const bool taken = condition[i] == kTrue;
        chosen[i] = taken ? chosen[i] : other[i];
        check[i] = taken ? true_checks[i] : check[i];
      }
      --sp;
    }
    double* top = sp >= 0 ? d.Value(sp) : nullptr;
    switch (in.op) {
      case Instr::Skip:
        break;
      case Instr::If: {
        if (top == nullptr || depth >= d.levels) return false;
        double* condition = branch_row(depth, 0);
        double* before = branch_row(depth, 1);
        Copy(condition, top);
        Copy(before, check);
        endif_at[depth] = code[in.b - 1].a;
        ++depth;
        --sp;
        break;
      }
      case Instr::EndTrue: {
        if (depth < 1) return false;
        Copy(branch_row(depth - 1, 2), check);
        Copy(check, branch_row(depth - 1, 1));
        break;
      }
      case Instr::X:
        column(d.Value(++sp), 0);
        flat(sp);
        break;
      case Instr::Variable:
        column(d.Value(++sp), in.a);
        flat(sp);
        break;
      case Instr::Constant:
        push_value(in.value);
        flat(sp);
        break;
      case Instr::Parameter: {
        if constexpr (!kCheck) {
          // "a*exp(b*x)", the commonest shape of a growth or decay, as one
          // step: the same operations in the same order as the steps one by
          // one, without the rows of ones and copies between them.
          if (!vector_math && ExpOfProduct(code, pc, length) && sp + 1 < 64 &&
              (depth == 0 || endif_at[depth - 1] <= pc || endif_at[depth - 1] > pc + 5)) {
            const std::int32_t k = ++sp;
            uniform &= ~bit(k);
            Clear(d, k);
            const double a = parameters[in.a], b = parameters[code[pc + 1].a];
            const std::int32_t sa = slot[in.a], sb = slot[code[pc + 1].a];
            double* value = d.Value(k);
            double* da = sa >= 0 ? d.Partial(k, static_cast<std::size_t>(sa)) : ta;
            double* db = sb >= 0 ? d.Partial(k, static_cast<std::size_t>(sb)) : tb;
            // x in its own row, and the routine in a loop of its own.
            const double* xs = points;
            if (width > 1) {
              column(tc, 0);
              xs = tc;
            }
            for (std::int32_t i = 0; i < kLanes; ++i) value[i] = b * xs[i];
            ExpRow(value);
            for (std::int32_t i = 0; i < kLanes; ++i) {
              const double e = value[i];
              value[i] = a * e;
              da[i] = e;
              db[i] = a * (xs[i] * e);
            }
            if (sa >= 0) d.Nonzero(k, static_cast<std::size_t>(sa)) = kStored;
            if (sb >= 0) d.Nonzero(k, static_cast<std::size_t>(sb)) = kStored;
            d.Depends(k) = sa >= 0 || sb >= 0 ? 1 : 0;
            pc += 6;
            continue;
          }
        }
        const double value = parameters[in.a];
        double* row = d.Value(++sp);
        unit(sp, in.a);
        // A parameter followed by a step with x ("b*x"): the step on the
        // value itself, and its partial from x.
        const Instr next = pc < length ? code[pc + 1].op : Instr::Skip;
        if (next >= Instr::AddX && next <= Instr::DivideX && (depth == 0 || endif_at[depth - 1] != pc + 1)) {
          const auto apply = [&](auto f) {
            for (std::int32_t i = 0; i < kLanes; ++i) {
              const double r = f(value, points[static_cast<std::ptrdiff_t>(i) * width]);
              row[i] = r;
              if constexpr (kCheck) check[i] += r * 0.0;
            }
          };
          const std::int32_t s = slot[in.a];
          double* own = s >= 0 ? d.Partial(sp, static_cast<std::size_t>(s)) : nullptr;
          if (next == Instr::AddX) apply([](double a, double b) { return a + b; });
          if (next == Instr::SubtractX) apply([](double a, double b) { return a - b; });
          if (next == Instr::MultiplyX) {
            apply([](double a, double b) { return a * b; });
            if (own != nullptr) column(own, 0);
          }
          if (next == Instr::DivideX) {
            apply([](double a, double b) { return kCheck ? Quotient(a, b) : a / b; });
            for (std::int32_t i = 0; own != nullptr && i < kLanes; ++i) {
              own[i] = 1.0 / points[static_cast<std::ptrdiff_t>(i) * width];
            }
          }
          if (own != nullptr && (next == Instr::MultiplyX || next == Instr::DivideX)) {
            d.Nonzero(sp, static_cast<std::size_t>(s)) = kStored;
          }
          pc += 3;
          continue;
        }
        --sp;
        push_value(value);
        break;
      }
      case Instr::DataWord:
        Fill(d.Value(++sp), stats.Lookup(static_cast<DataWord>(in.a), in.b));
        flat(sp);
        break;
      case Instr::Recall: {
        ++sp;
        const std::size_t k = static_cast<std::size_t>(in.a);
        Copy(d.Value(sp), d.saved + k * kRow);
        Clear(d, sp);
        d.Depends(sp) = d.saved_depends[k];
        for (std::size_t j = 0; d.Depends(sp) != 0 && j < d.p; ++j) {
          d.Nonzero(sp, j) = d.saved_nonzero[k * d.p + j];
          if (d.Nonzero(sp, j) == kStored) Copy(d.Partial(sp, j), d.saved_partials + (k * d.p + j) * kRow);
        }
        break;
      }
      case Instr::Save: {
        if (top == nullptr) return false;
        const std::size_t k = static_cast<std::size_t>(in.a);
        Copy(d.saved + k * kRow, top);
        d.saved_depends[k] = d.Depends(sp);
        for (std::size_t j = 0; j < d.p; ++j) {
          const std::uint8_t nz = d.Depends(sp) != 0 ? d.Nonzero(sp, j) : 0;
          d.saved_nonzero[k * d.p + j] = nz;
          if (nz == kStored) Copy(d.saved_partials + (k * d.p + j) * kRow, d.Partial(sp, j));
        }
        break;
      }
      case Instr::Negate:
        if (top == nullptr) return false;
        for (std::int32_t i = 0; i < kLanes; ++i) top[i] = -top[i];
        for (std::size_t j = 0; d.Depends(sp) != 0 && j < d.p; ++j) {
          if (d.Nonzero(sp, j) == kZero) continue;
          double* row = Stored(d, sp, j);
          for (std::int32_t i = 0; i < kLanes; ++i) row[i] = -row[i];
        }
        break;
      case Instr::Not:
        if (top == nullptr) return false;
        for (std::int32_t i = 0; i < kLanes; ++i) top[i] = static_cast<double>(~RoundToInt32(top[i]));
        flat(sp);
        break;
      case Instr::Exp:
      case Instr::Ln:
      case Instr::Sqrt:
      case Instr::Sin:
      case Instr::Cos:
      case Instr::Call1: {
        if (top == nullptr) return false;
        const bool depends = d.Depends(sp) != 0;
        // The argument, where the factor needs it after the value replaced it.
        const bool keep =
            (depends && in.op != Instr::Exp && in.op != Instr::Sqrt) || (vector_math && in.op == Instr::Ln);
        if (keep) Copy(ta, top);
        const double* factor = ga;
        if (vector_math && in.op != Instr::Sqrt && in.op != Instr::Call1) {
          // The vector routines, for the values and the factors alike.
          const VectorFunction f = in.op == Instr::Exp   ? VectorFunction::Exp
                                   : in.op == Instr::Ln  ? VectorFunction::Log
                                   : in.op == Instr::Sin ? VectorFunction::Sin
                                                         : VectorFunction::Cos;
          ApplyVector(f, top, kLanes);
          for (std::int32_t i = 0; i < kLanes; ++i) {
            if (f == VectorFunction::Log && !(ta[i] > 0.0)) top[i] = kFailed;
            check[i] += top[i] * 0.0;
          }
          if (depends) {
            if (f == VectorFunction::Exp) factor = top;
            if (f == VectorFunction::Log) {
              for (std::int32_t i = 0; i < kLanes; ++i) ga[i] = 1.0 / ta[i];
            }
            if (f == VectorFunction::Sin || f == VectorFunction::Cos) {
              Copy(ga, ta);
              ApplyVector(f == VectorFunction::Sin ? VectorFunction::Cos : VectorFunction::Sin, ga, kLanes);
              if (f == VectorFunction::Cos) {
                for (std::int32_t i = 0; i < kLanes; ++i) ga[i] = -ga[i];
              }
            }
            Scale(d, sp, factor);
          }
          break;
        }
        switch (in.op) {
          case Instr::Exp:
            Map<kCheck>(top, check, [](double v) { return std::exp(v); });
            factor = top;  // exp is its own derivative
            break;
          case Instr::Ln:
            if constexpr (kCheck) {
              Map(top, check, [](double v) { return v > 0.0 ? std::log(v) : kFailed; });
            } else {
              Map<false>(top, check, [](double v) { return std::log(v); });
            }
            for (std::int32_t i = 0; depends && i < kLanes; ++i) ga[i] = 1.0 / ta[i];
            break;
          case Instr::Sqrt:
            if constexpr (kCheck) {
              Map(top, check, [](double v) { return v >= 0.0 ? std::sqrt(v) : kFailed; });
            } else {
              Map<false>(top, check, [](double v) { return std::sqrt(v); });
            }
            for (std::int32_t i = 0; depends && i < kLanes; ++i) ga[i] = 0.5 / top[i];
            break;
          case Instr::Sin:
            Map<kCheck>(top, check, [](double v) { return std::sin(v); });
            for (std::int32_t i = 0; depends && i < kLanes; ++i) ga[i] = std::cos(ta[i]);
            break;
          case Instr::Cos:
            Map<kCheck>(top, check, [](double v) { return std::cos(v); });
            for (std::int32_t i = 0; depends && i < kLanes; ++i) ga[i] = -std::sin(ta[i]);
            break;
          default: {
            const Function1 f = in.f1;
            Map(top, check, [f](double v) { return f(v); });
            const FunctionRow* row = rules.rows[static_cast<std::size_t>(pc)];
            if (row == nullptr) return false;
            if (depends && RuleOf(*row).kinds[0] == PartialKind::Zero) {
              flat(sp);
            } else if (depends) {
              const double* args[1] = {ta};
              WordFactors(*row, 0, args, top, ga, table);
              if constexpr (!kCheck) block_steps::CheckRow(ga, check);
            }
            break;
          }
        }
        Scale(d, sp, factor);
        break;
      }
      case Instr::Call2:
      case Instr::Call3: {
        const std::int32_t arity = in.op == Instr::Call2 ? 2 : 3;
        if (sp < arity - 1) return false;
        sp -= arity - 1;
        const FunctionRow* row = rules.rows[static_cast<std::size_t>(pc)];
        if (row == nullptr) return false;
        double* copies[3] = {ta, tb, tc};
        double* factors[3] = {ga, gb, gc};
        bool any = false;
        for (std::int32_t k = 0; k < arity; ++k) any = any || d.Depends(sp + k) != 0;
        for (std::int32_t k = 0; any && k < arity; ++k) Copy(copies[k], d.Value(sp + k));
        double* a = d.Value(sp);
        if (arity == 2) {
          const Function2 f = in.f2;
          Zip(a, d.Value(sp + 1), check, [f](double u, double v) { return f(u, v); });
        } else {
          const double* b = d.Value(sp + 1);
          const double* c = d.Value(sp + 2);
          for (std::int32_t i = 0; i < kLanes; ++i) {
            const double r = in.f3(a[i], b[i], c[i]);
            a[i] = r;
            check[i] += r * 0.0;
          }
        }
        if (!any) break;
        const double* args[3] = {ta, tb, tc};
        const DerivativeRule& rule = RuleOf(*row);
        bool moved[3] = {false, false, false};
        for (std::int32_t k = 0; k < arity; ++k) {
          moved[k] = d.Depends(sp + k) != 0 && rule.kinds[static_cast<std::size_t>(k)] != PartialKind::Zero;
          if (moved[k]) {
            WordFactors(*row, k, args, a, factors[k], table);
            if constexpr (!kCheck) block_steps::CheckRow(factors[k], check);
          }
        }
        // The first argument's cell receives the sum of the chain rule.
        Combine(d, sp, Factor::Of(moved[0] ? ga : nullptr), sp + 1, Factor::Of(moved[1] ? gb : nullptr));
        if (arity == 3 && moved[2]) {
          const std::int32_t c = sp + 2;
          for (std::size_t j = 0; j < d.p; ++j) {
            if (d.Nonzero(c, j) == kZero) continue;
            double* out = Stored(d, sp, j);
            const double* pc3 = Stored(d, c, j);
            if (d.Nonzero(sp, j) != kZero) {
              for (std::int32_t i = 0; i < kLanes; ++i) out[i] += gc[i] * pc3[i];
            } else {
              for (std::int32_t i = 0; i < kLanes; ++i) out[i] = gc[i] * pc3[i];
              d.Nonzero(sp, j) = kStored;
            }
            d.Depends(sp) = 1;
          }
        }
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
        // The second operand as a row of the stack's next cell, which is
        // free (or the points themselves, when they are one column).
        const std::int32_t b = sp + 1;
        double* cell = d.Value(b);
        const double* operand = cell;
        if (source == 0) {
          if (width == 1) {
            operand = points;
          } else {
            column(cell, 0);
          }
          flat(b);
        } else if (source == 1) {
          Fill(cell, parameters[in.a]);
          unit(b, in.a);
        } else {
          Fill(cell, in.value);
          flat(b);
        }
        const bool any = d.Depends(sp) != 0 || d.Depends(b) != 0;
        if (any && form >= 2) Copy(ta, top);
        if (form == 0) Zip<kCheck>(top, operand, check, [](double u, double v) { return u + v; });
        if (form == 1) Zip<kCheck>(top, operand, check, [](double u, double v) { return u - v; });
        if (form == 2) Zip<kCheck>(top, operand, check, [](double u, double v) { return u * v; });
        if (form == 3)
          Zip<kCheck>(top, operand, check, [](double u, double v) { return kCheck ? Quotient(u, v) : u / v; });
        if (any) {
          if (form == 0) Combine(d, sp, Factor::Unit(1.0), b, Factor::Unit(1.0));
          if (form == 1) Combine(d, sp, Factor::Unit(1.0), b, Factor::Unit(-1.0));
          if (form == 2) Combine(d, sp, Factor::Of(operand), b, Factor::Of(ta));
          if (form == 3) {
            for (std::int32_t i = 0; i < kLanes; ++i) {
              ga[i] = 1.0 / operand[i];
              gb[i] = -top[i] / operand[i];
            }
            Combine(d, sp, Factor::Of(ga), b, Factor::Of(gb));
          }
        }
        pc += 2;
        continue;
      }
      default: {
        // The binary instructions.
        if (sp < 1) return false;
        --sp;
        const std::int32_t b = sp + 1;
        double* a = d.Value(sp);
        const double* bv = d.Value(b);
        const bool any = d.Depends(sp) != 0 || d.Depends(b) != 0;
        if (in.op == Instr::Multiply && sp < 64 && (uniform & bit(sp)) != 0) {
          // A pushed value times a row.
          const double value = uniform_value[sp];
          uniform &= ~bit(sp);
          for (std::int32_t i = 0; i < kLanes; ++i) {
            const double r = value * bv[i];
            a[i] = r;
            if constexpr (kCheck) check[i] += r * 0.0;
          }
          if (any) Combine(d, sp, Factor::Of(bv), b, Factor::Unit(value));
          break;
        }
        const bool product = in.op == Instr::Multiply || in.op == Instr::Power;
        if (any && product) Copy(ta, a);
        switch (in.op) {
          case Instr::Add:
            Zip<kCheck>(a, bv, check, [](double u, double v) { return u + v; });
            if (any) Combine(d, sp, Factor::Unit(1.0), b, Factor::Unit(1.0));
            break;
          case Instr::Subtract:
            Zip<kCheck>(a, bv, check, [](double u, double v) { return u - v; });
            if (any) Combine(d, sp, Factor::Unit(1.0), b, Factor::Unit(-1.0));
            break;
          case Instr::Multiply:
            Zip<kCheck>(a, bv, check, [](double u, double v) { return u * v; });
            if (any) Combine(d, sp, Factor::Of(bv), b, Factor::Of(ta));
            break;
          case Instr::Divide:
            Zip<kCheck>(a, bv, check, [](double u, double v) { return kCheck ? Quotient(u, v) : u / v; });
            if (any) {
              for (std::int32_t i = 0; i < kLanes; ++i) {
                ga[i] = 1.0 / bv[i];
                gb[i] = -a[i] / bv[i];
              }
              Combine(d, sp, Factor::Of(ga), b, Factor::Of(gb));
            }
            break;
          case Instr::Power:
            Zip(a, bv, check, [](double u, double v) { return Power(u, v); });
            if (any) {
              for (std::int32_t i = 0; i < kLanes; ++i) {
                const double u = ta[i], v = bv[i];
                ga[i] = d.Depends(sp) != 0 ? (v == 0.0 ? 0.0 : v * std::pow(u, v - 1.0)) : 0.0;
                // d(u^v)/dv = u^v ln u; at u = 0 (a positive power) the value
                // stays 0 whichever way v moves.
                gb[i] = d.Depends(b) != 0 ? (u == 0.0 && a[i] == 0.0 ? 0.0 : a[i] * std::log(u)) : 0.0;
              }
              Combine(d, sp, Factor::Of(ga), b, Factor::Of(gb));
            }
            break;
          default:
            // The plan admits no instruction that is not flat here: a result
            // without partials.
            if (!block_steps::ZipFlatBinary(in.op, a, bv, check)) return false;
            flat(sp);
            break;
        }
        break;
      }
    }
    ++pc;
  }
  settle();
  if (sp < 0 || depth != 0) return false;
  // The records of earlier definitions on the object leave their values
  // below: the result is the top, as point by point.
  if (sp > 0) {
    Copy(d.Value(0), d.Value(sp));
    Clear(d, 0);
    d.Depends(0) = d.Depends(sp);
    for (std::size_t j = 0; d.Depends(0) != 0 && j < d.p; ++j) {
      d.Nonzero(0, j) = d.Nonzero(sp, j);
      if (d.Nonzero(0, j) == kStored) Copy(d.Partial(0, j), d.Partial(sp, j));
    }
  }
  // The partials of the result join the checks: any that is not finite
  // fails the block too (the flags tell it in the watched pass).
  for (std::size_t j = 0; kCheck && d.Depends(0) != 0 && j < d.p; ++j) {
    if (d.Nonzero(0, j) != kStored) continue;
    const double* row = d.Partial(0, j);
    for (std::int32_t i = 0; i < kLanes; ++i) check[i] += row[i] * 0.0;
  }
  return (!kCheck && !checks) || block_steps::AllZero(check);
}

constexpr std::array<double, kRow> kZeros{};
constexpr std::array<double, kRow> kOnes = [] {
  std::array<double, kRow> ones{};
  for (double& v : ones) v = 1.0;
  return ones;
}();

// dyda[i * stride + l] = columns[l][i] for l = 1..count, i < n: the rows of
// the results, each written whole. Counts up to four are unrolled.
template <std::int32_t kCount>
void StoreRows(const double* const* columns, std::int32_t count, std::int32_t n, double* dyda, std::int32_t stride) {
  if constexpr (kCount > 0) {
    // The columns in registers: the stores cannot change them.
    std::array<const double*, kCount> from{};
    for (std::int32_t l = 0; l < kCount; ++l) from[static_cast<std::size_t>(l)] = columns[l + 1];
    for (std::int32_t i = 0; i < n; ++i) {
      double* out = dyda + static_cast<std::ptrdiff_t>(i) * stride + 1;
      for (std::int32_t l = 0; l < kCount; ++l) out[l] = from[static_cast<std::size_t>(l)][i];
    }
  } else {
    for (std::int32_t i = 0; i < n; ++i) {
      double* out = dyda + static_cast<std::ptrdiff_t>(i) * stride;
      for (std::int32_t l = 1; l <= count; ++l) out[l] = columns[l][i];
    }
  }
}
void StoreColumns(const double* const* columns, std::int32_t count, std::int32_t n, double* dyda, std::int32_t stride) {
  switch (count) {
    case 1:
      return StoreRows<1>(columns, count, n, dyda, stride);
    case 2:
      return StoreRows<2>(columns, count, n, dyda, stride);
    case 3:
      return StoreRows<3>(columns, count, n, dyda, stride);
    case 4:
      return StoreRows<4>(columns, count, n, dyda, stride);
    default:
      return StoreRows<0>(columns, count, n, dyda, stride);
  }
}

}  // namespace

bool EvaluateProgramDerivatives(const ModelProgram& program, const BlockPlan& plan, const DerivativePlan& rules,
                                EvaluationScratch& scratch, DerivativeScratch& work, const double* parameters,
                                const std::int32_t* ia, std::int32_t parameter_count, const double* points,
                                std::int32_t width, std::int32_t count, const DataStatistics& stats, double* y,
                                double* dyda, std::int32_t stride, DerivativeStop& stop, bool vector_math) noexcept {
  if (count <= 0) return true;
  const auto row_of = [&](std::int32_t r) { return points + static_cast<std::ptrdiff_t>(r) * width; };
  const bool runs = plan.usable && plan.differentiable && width >= program.point_size && width >= 1 &&
                    rules.rows.size() == static_cast<std::size_t>(program.code_length) + 1;
  Dual d{};
  double* padded = nullptr;
  try {
    work.slot.assign(static_cast<std::size_t>(parameter_count) + 1, -1);
    work.columns.resize(static_cast<std::size_t>(parameter_count) + 1);
    std::size_t p = 0;
    for (std::int32_t l = 1; l <= parameter_count; ++l) {
      if (ia[l] != 0) work.slot[static_cast<std::size_t>(l)] = static_cast<std::int32_t>(p++);
    }
    // Parameters the program names beyond the count have no partials.
    const std::size_t cells = program.stack_cells + 2;
    // Rows for the saved values and the conditionals only where the program
    // has them (nesting never exceeds the count of conditionals).
    const std::size_t saved_rows = plan.saves == std::array<bool, 10>{} ? 0 : kSavedRows;
    const std::int32_t levels = plan.conditionals < kMaxNesting ? plan.conditionals : kMaxNesting;
    const std::size_t branch_rows = 3 * static_cast<std::size_t>(levels);
    const std::size_t rows = cells * (1 + p) + saved_rows * (1 + p) + 1 + branch_rows + kTemporaries;
    const std::size_t needed = rows * kRow + static_cast<std::size_t>(kLanes) * static_cast<std::size_t>(width);
    if (work.rows.size() < needed) work.rows.assign(needed, 0.0);
    // The flags of the cells and saved values, then the partial flags of
    // each; all cleared, since the partials of another call may be laid out
    // for another count.
    const std::size_t flags = (cells + kSavedRows) * (1 + p);
    if (work.depends.size() < flags) work.depends.resize(flags);
    std::fill(work.depends.begin(), work.depends.end(), std::uint8_t{0});
    if (work.table.Rows() < kDerivativeTableRows) work.table.Resize(kDerivativeTableRows, kDerivativeTableRows);
    double* base = work.rows.data();
    d.values = base;
    d.partials = d.values + cells * kRow;
    d.saved = d.partials + cells * p * kRow;
    d.saved_partials = d.saved + saved_rows * kRow;
    d.check = d.saved_partials + saved_rows * p * kRow;
    d.branches = d.check + kRow;
    d.levels = levels;
    d.temporaries = d.branches + branch_rows * kRow;
    d.depends = work.depends.data();
    d.saved_depends = d.depends + cells;
    d.nonzero = d.saved_depends + kSavedRows;
    d.saved_nonzero = d.nonzero + cells * p;
    d.p = p;
    padded = d.temporaries + kTemporaries * kRow;
  } catch (...) {
    stop = {0, true};
    return false;
  }
  // Parameter indices the program reads beyond parameter_count count as fixed.
  std::vector<std::int32_t>& slot = work.slot;
  const auto fixed_beyond = [&](const Instruction& in) {
    return (in.op == Instr::Parameter || (in.op >= Instr::AddParameter && in.op <= Instr::DivideParameter)) &&
           in.a > parameter_count;
  };
  for (std::int32_t pc = 1; runs && pc <= program.code_length; ++pc) {
    if (fixed_beyond(program.code[static_cast<std::size_t>(pc)])) {
      try {
        slot.resize(static_cast<std::size_t>(program.code[static_cast<std::size_t>(pc)].a) + 1, -1);
      } catch (...) {
        stop = {0, true};
        return false;
      }
    }
  }
  std::vector<const double*>& columns = work.columns;
  const bool checks = block_steps::WatchedPassChecks(program, vector_math);
  // Watched passes where RunBlock would run them.
  bool watch = runs && plan.conditionals == 0 && FlagsCanBeWatched();
  try {
    watch = watch && block_steps::ScalarsFinite(program, parameters, stats) &&
            AllFinite(points, static_cast<long>(count) * width);  // a NaN point raises no flag
  } catch (...) {
    watch = false;
  }
  // Runs the pass on `n` rows at `block` (padded with copies of the last);
  // false when a value check failed or a derivative is not finite.
  const auto pass = [&](const double* block, std::int32_t n, bool vector) {
    const double* lanes = block;
    if (n < kLanes) {
      for (std::int32_t i = 0; i < kLanes; ++i) {
        const std::int32_t source = i < n ? i : n - 1;
        for (std::int32_t j = 0; j < width; ++j) {
          padded[static_cast<std::ptrdiff_t>(i) * width + j] = block[static_cast<std::ptrdiff_t>(source) * width + j];
        }
      }
      lanes = padded;
    }
    try {
      if (watch) {
        const FlagWatch flags;
        if (RunDual<false>(program, rules, d, parameters, slot.data(), lanes, width, stats, work.table, vector,
                           checks) &&
            flags.Clean()) {
          return true;
        }
      }
      return RunDual<true>(program, rules, d, parameters, slot.data(), lanes, width, stats, work.table, vector);
    } catch (...) {
      return false;
    }
  };
  // Lanes 0..n-1 of the last pass into rows r..r+n-1 of the results, a
  // parameter at a time; a partial without a row (a fixed parameter, or one
  // the model does not move with) is 0.
  const auto store = [&](std::int32_t r, std::int32_t n, bool value) {
    if (value) {
      std::copy(d.values, d.values + n, y + r);
    }
    for (std::int32_t l = 1; l <= parameter_count; ++l) {
      const std::int32_t s = slot[static_cast<std::size_t>(l)];
      const std::uint8_t kind = s >= 0 && d.depends[0] != 0 ? d.nonzero[static_cast<std::size_t>(s)] : kZero;
      columns[static_cast<std::size_t>(l)] = kind == kStored ? d.partials + static_cast<std::size_t>(s) * kRow
                                             : kind == kOne  ? kOnes.data()
                                                             : kZeros.data();
    }
    StoreColumns(columns.data(), parameter_count, n, dyda + static_cast<std::ptrdiff_t>(r) * stride, stride);
  };
  for (std::int32_t first = 0; first < count; first += kLanes) {
    const std::int32_t n = count - first < kLanes ? count - first : kLanes;
    if (runs && pass(row_of(first), n, vector_math)) {
      store(first, n, true);
      for (std::size_t k = 0; k < kSavedRows; ++k) {
        if (plan.saves[k]) scratch.saved[k] = d.saved[k * kRow + static_cast<std::size_t>(n - 1)];
      }
      continue;
    }
    // Something failed in this block: row by row, the value as the
    // evaluator point by point computes it, then the row's derivatives.
    for (std::int32_t r = first; r < first + n; ++r) {
      const std::span<const double> point(row_of(r), static_cast<std::size_t>(width));
      if (!EvaluateProgram(program, scratch, parameters, point, stats, y[r])) {
        stop = {r, false};
        return false;
      }
      if (!runs || !pass(row_of(r), 1, false)) {
        stop = {r, true};
        return false;
      }
      store(r, 1, false);
    }
  }
  return true;
}

}  // namespace tessarix::detail
