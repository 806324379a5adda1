// What follows a successful parse: the independent variable and parameter
// lists, the jump table of the conditional, and the evaluator's instructions.
#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "tessarix/foundation/fault.hpp"
#include "tessarix/language/internal/compiler.hpp"
#include "tessarix/platform/rounding.hpp"

namespace tessarix::detail {

bool StripIndependentVariable(std::string& names) {
  bool seen = false;
  while (names.size() >= 2 && (names[0] == 'x' || names[0] == 'X') && names[1] == ',') {
    names.erase(0, 2);
    seen = true;
  }
  return seen;
}

std::vector<std::string> CollectParameters(ModelProgram& program, const std::string& names) {
  // 1-based working list, as the records' ParamIndex is.
  std::vector<std::string> found(1);
  std::vector<std::string> found_lower(1);
  std::string current;
  for (const char c : names) {
    if (c != ',') {
      current += c;
      continue;
    }
    const std::string lower = LowerAscii(current);
    bool known = false;
    for (std::size_t i = 1; i < found_lower.size(); ++i) {
      if (found_lower[i] == lower) {
        known = true;
        break;
      }
    }
    if (!known) {
      found.push_back(current);
      found_lower.push_back(lower);
    }
    current.clear();
  }
  const std::int16_t n = ToCounter16(static_cast<std::int64_t>(found.size()) - 1);

  // Bubble sort by code unit: upper case sorts before lower case, so "B*x+a"
  // has the parameters B, a.
  bool swapped = true;
  for (int pass = 1; pass <= n - 1 && swapped; ++pass) {
    swapped = false;
    for (int i = 1; i <= n - pass; ++i) {
      const auto a = static_cast<std::size_t>(i);
      if (found[a + 1] < found[a]) {
        std::swap(found[a], found[a + 1]);
        swapped = true;
      }
    }
  }

  // Every record of the whole program is visited, those of earlier
  // definitions on the same object too.
  for (int i = 1; i <= n; ++i) {
    const std::string lower = LowerAscii(found[static_cast<std::size_t>(i)]);
    for (std::size_t r = 1; r < program.ops.size(); ++r) {
      if (LowerAscii(program.ops[r].text) == lower) program.ops[r].param_index = static_cast<std::int16_t>(i);
    }
  }
  return std::vector<std::string>(found.begin() + 1, found.end());
}

namespace {
// A stack of record indexes with room for 100 entries (1..100); reading or
// pushing outside that room is a subscript fault.
class MarkerStack {
 public:
  void Push(std::int32_t index) {
    if (top_ + 1 > kCapacity) RaiseFault(FaultKind::SubscriptOutOfRange);
    items_[static_cast<std::size_t>(++top_)] = index;
  }
  std::int32_t Top() const {
    if (top_ < 1 || top_ > kCapacity) RaiseFault(FaultKind::SubscriptOutOfRange);
    return items_[static_cast<std::size_t>(top_)];
  }
  void Pop() { --top_; }

 private:
  static constexpr int kCapacity = 100;
  std::array<std::int32_t, kCapacity + 1> items_{};
  int top_ = 0;
};
}  // namespace

void BuildJumpTable(ModelProgram& program) {
  const std::int32_t length = program.Length();
  std::vector<JumpEntry> jumps(static_cast<std::size_t>(length) + 1);
  MarkerStack ifs;
  MarkerStack endtrues;
  int count = 0;
  // The markers are found by their text, so a parameter written "endif" in a
  // model with a conditional counts as one.
  for (std::int32_t i = 1; i <= length; ++i) {
    const std::string& text = program.ops[static_cast<std::size_t>(i)].text;
    if (text == "if") {
      ++count;
      jumps[static_cast<std::size_t>(i)].true_target = static_cast<std::int16_t>(i + 1);
      ifs.Push(i);
    } else if (text == "endtrue") {
      jumps[static_cast<std::size_t>(ifs.Top())].false_target = static_cast<std::int16_t>(i + 1);
      ifs.Pop();
      endtrues.Push(i);
    } else if (text == "endif") {
      jumps[static_cast<std::size_t>(endtrues.Top())].true_target = static_cast<std::int16_t>(i);
      endtrues.Pop();
    }
  }
  if (count == 0) {
    program.jumps.clear();
    program.has_jump_table = false;
    return;
  }
  program.jumps = std::move(jumps);
  program.has_jump_table = true;
}

namespace {
// Pairs of a push and an IEEE operator become one instruction (see Instr).
void FuseOperands(std::vector<Instruction>& code) {
  auto fused = [](Instr push, Instr op) -> Instr {
    const int row = push == Instr::Variable ? 0 : push == Instr::Parameter ? 1 : push == Instr::Constant ? 2 : -1;
    const int column = op == Instr::Add        ? 0
                       : op == Instr::Subtract ? 1
                       : op == Instr::Multiply ? 2
                       : op == Instr::Divide   ? 3
                                               : -1;
    if (row < 0 || column < 0) return Instr::Skip;
    return static_cast<Instr>(static_cast<int>(Instr::AddX) + 4 * row + column);
  };
  for (std::size_t i = 1; i + 1 < code.size(); ++i) {
    const Instr f = fused(code[i].op, code[i + 1].op);
    if (f != Instr::Skip) code[i].op = f;
  }
}
}  // namespace

void FinishProgram(ModelProgram& program, std::int32_t parameter_count) {
  const std::int32_t length = program.Length();
  std::vector<Instruction> code(static_cast<std::size_t>(length) + 1);
  for (std::int32_t i = 1; i <= length; ++i) {
    const ModelOp& op = program.ops[static_cast<std::size_t>(i)];
    Instruction& in = code[static_cast<std::size_t>(i)];
    in.code = op.code;
    switch (op.kind) {
      case OpKind::Variable:
        in.op = Instr::Variable;
        break;
      case OpKind::Constant:
        in.op = Instr::Constant;
        in.value = op.value;
        break;
      case OpKind::Unary:
        in.op = op.code == static_cast<std::int16_t>(UnaryOp::Negate) ? Instr::Negate : Instr::Not;
        break;
      case OpKind::Binary:
        switch (static_cast<BinaryOp>(op.code)) {
          case BinaryOp::Add:
            in.op = Instr::Add;
            break;
          case BinaryOp::Subtract:
            in.op = Instr::Subtract;
            break;
          case BinaryOp::Multiply:
            in.op = Instr::Multiply;
            break;
          case BinaryOp::Divide:
            in.op = Instr::Divide;
            break;
          default:
            in.op = Instr::Binary;
            break;
        }
        break;
      case OpKind::Parameter:
        // An index left by an earlier definition may lie outside the present
        // parameter array: such a record can only fail.
        in.op = (op.param_index >= 1 && op.param_index <= parameter_count) ? Instr::Parameter : Instr::Fail;
        in.a = op.param_index;
        break;
      case OpKind::DataWord: {
        in.op = Instr::Constant;  // an unknown word reads as 0
        for (std::size_t w = 0; w < kDataWords.size(); ++w) {
          if (kDataWords[w] == op.text) {
            in.op = Instr::DataWord;
            in.a = static_cast<std::int32_t>(w);
          }
        }
        break;
      }
      case OpKind::Save:
      case OpKind::Recall:
        in.op = (op.code >= 0 && op.code <= 9) ? (op.kind == OpKind::Save ? Instr::Save : Instr::Recall) : Instr::Fail;
        in.a = op.code;
        break;
      case OpKind::Function: {
        if (op.code == kCodeIf || op.code == kCodeEndTrue) {
          // Jumps only go forward. A marker the table does not cover (no
          // table, or a target never set) fails instead of looping.
          const bool covered = program.has_jump_table && static_cast<std::size_t>(i) < program.jumps.size();
          const JumpEntry j = covered ? program.jumps[static_cast<std::size_t>(i)] : JumpEntry{};
          if (op.code == kCodeIf) {
            in.op = (j.true_target > i && j.false_target > i) ? Instr::If : Instr::Fail;
            in.a = j.true_target;
            in.b = j.false_target;
          } else {
            in.op = j.true_target > i ? Instr::EndTrue : Instr::Fail;
            in.a = j.true_target;
          }
          break;
        }
        if (op.code == kCodeEndIf) break;  // no effect
        switch (FunctionArity(op.code)) {
          case 1:
            switch (op.code) {
              case 2:
                in.op = Instr::Exp;
                break;
              case 6:
              case 7:
                in.op = Instr::Ln;
                break;
              case 11:
                in.op = Instr::Sqrt;
                break;
              case 12:
                in.op = Instr::Cos;
                break;
              case 13:
                in.op = Instr::Sin;
                break;
              default:
                in.op = Instr::Function1;
                break;
            }
            break;
          case 2:
            in.op = Instr::Function2;
            break;
          case 3:
            in.op = Instr::Function3;
            break;
          default:
            in.op = Instr::Fail;
            break;
        }
        break;
      }
      case OpKind::None:
        break;
    }
  }
  FuseOperands(code);
  program.code = std::move(code);
}

}  // namespace tessarix::detail
