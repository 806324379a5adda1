// What follows a successful parse: the jump table of the conditional and the
// evaluator's instructions.
#include <algorithm>
#include <array>
#include <cstdint>
#include <vector>

#include "tessarix/foundation/fault.hpp"
#include "tessarix/language/internal/compiler.hpp"

namespace tessarix::detail {

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
  // Every record of the object is walked, those of earlier definitions too.
  for (std::int32_t i = 1; i <= length; ++i) {
    switch (program.ops[static_cast<std::size_t>(i)].marker) {
      case JumpMarker::If:
        ++count;
        jumps[static_cast<std::size_t>(i)].true_target = static_cast<std::int16_t>(i + 1);
        ifs.Push(i);
        break;
      case JumpMarker::EndTrue:
        jumps[static_cast<std::size_t>(ifs.Top())].false_target = static_cast<std::int16_t>(i + 1);
        ifs.Pop();
        endtrues.Push(i);
        break;
      case JumpMarker::EndIf:
        jumps[static_cast<std::size_t>(endtrues.Top())].true_target = static_cast<std::int16_t>(i);
        endtrues.Pop();
        break;
      case JumpMarker::None:
        break;
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

// A push and the IEEE operator of the next record, done in one step.
struct Fusion {
  Instr push;
  Instr op;
  Instr fused;
};
constexpr std::array<Fusion, 12> kFusions = {{
    {Instr::X, Instr::Add, Instr::AddX},
    {Instr::X, Instr::Subtract, Instr::SubtractX},
    {Instr::X, Instr::Multiply, Instr::MultiplyX},
    {Instr::X, Instr::Divide, Instr::DivideX},
    {Instr::Parameter, Instr::Add, Instr::AddParameter},
    {Instr::Parameter, Instr::Subtract, Instr::SubtractParameter},
    {Instr::Parameter, Instr::Multiply, Instr::MultiplyParameter},
    {Instr::Parameter, Instr::Divide, Instr::DivideParameter},
    {Instr::Constant, Instr::Add, Instr::AddConstant},
    {Instr::Constant, Instr::Subtract, Instr::SubtractConstant},
    {Instr::Constant, Instr::Multiply, Instr::MultiplyConstant},
    {Instr::Constant, Instr::Divide, Instr::DivideConstant},
}};

void FuseOperands(std::vector<Instruction>& code) {
  for (std::size_t i = 1; i + 1 < code.size(); ++i) {
    for (const Fusion& f : kFusions) {
      if (code[i].op == f.push && code[i + 1].op == f.op) {
        code[i].op = f.fused;
        break;
      }
    }
  }
}

Instr InlineInstr(InlineCall call) {
  switch (call) {
    case InlineCall::Exp:
      return Instr::Exp;
    case InlineCall::Ln:
      return Instr::Ln;
    case InlineCall::Sqrt:
      return Instr::Sqrt;
    case InlineCall::Sin:
      return Instr::Sin;
    case InlineCall::Cos:
      return Instr::Cos;
    case InlineCall::None:
      break;
  }
  return Instr::Skip;
}

// A function record: a call, or one of the records of the conditional.
void FunctionInstruction(const ModelProgram& program, std::int32_t i, const FunctionRow& row, Instruction& in) {
  switch (row.control) {
    case Control::Call:
      if (row.inline_call != InlineCall::None) {
        in.op = InlineInstr(row.inline_call);
      } else if (row.f1 != nullptr) {
        in.op = Instr::Call1;
        in.f1 = row.f1;
      } else if (row.f2 != nullptr) {
        in.op = Instr::Call2;
        in.f2 = row.f2;
      } else {
        in.op = Instr::Call3;
        in.f3 = row.f3;
      }
      return;
    case Control::If:
    case Control::EndTrue: {
      // Jumps only go forward. A marker the table does not cover (no table,
      // or a target never set) fails instead of looping.
      const bool covered = program.has_jump_table && static_cast<std::size_t>(i) < program.jumps.size();
      const JumpEntry j = covered ? program.jumps[static_cast<std::size_t>(i)] : JumpEntry{};
      if (row.control == Control::If) {
        in.op = (j.true_target > i && j.false_target > i) ? Instr::If : Instr::Fail;
        in.a = j.true_target;
        in.b = j.false_target;
      } else {
        in.op = j.true_target > i ? Instr::EndTrue : Instr::Fail;
        in.a = j.true_target;
      }
      return;
    }
    case Control::EndIf:
      return;  // no effect
  }
}

}  // namespace

void FinishProgram(ModelProgram& program, std::int32_t parameter_count) {
  const std::int32_t length = program.Length();
  std::vector<Instruction> code(static_cast<std::size_t>(length) + 1);
  std::int32_t point_size = 1;
  for (std::int32_t i = 1; i <= length; ++i) {
    const ModelOp& op = program.ops[static_cast<std::size_t>(i)];
    Instruction& in = code[static_cast<std::size_t>(i)];
    switch (op.kind) {
      case OpKind::Variable:
        // x, or x1 .. xm at elements 0 .. m - 1 of the point.
        in.a = std::max<std::int32_t>(op.variable - 1, 0);
        in.op = in.a == 0 ? Instr::X : Instr::Variable;
        point_size = std::max(point_size, in.a + 1);
        break;
      case OpKind::Constant:
        in.op = Instr::Constant;
        in.value = op.value;
        break;
      case OpKind::Unary:
      case OpKind::Binary:
        in.op = op.operation;
        break;
      case OpKind::Parameter:
        // An index left by an earlier definition may lie outside the present
        // parameter array: such a record can only fail.
        in.op = (op.param_index >= 1 && op.param_index <= parameter_count) ? Instr::Parameter : Instr::Fail;
        in.a = op.param_index;
        break;
      case OpKind::DataWord:
        in.op = Instr::DataWord;
        in.a = static_cast<std::int32_t>(op.data_word);
        in.b = op.variable;
        break;
      case OpKind::Save:
      case OpKind::Recall:
        in.op = (op.code >= 0 && op.code <= 9) ? (op.kind == OpKind::Save ? Instr::Save : Instr::Recall) : Instr::Fail;
        in.a = op.code;
        break;
      case OpKind::Function:
        FunctionInstruction(program, i, *op.function, in);
        break;
      case OpKind::None:
        break;
    }
  }
  FuseOperands(code);
  program.code = std::move(code);
  program.code_length = length;
  // Every record pushes at most one cell and runs at most once per
  // evaluation (jumps go forward only), so the program length bounds the
  // stack; one more for cell -1.
  program.stack_cells = static_cast<std::size_t>(length) + 3;
  program.point_size = point_size;
}

}  // namespace tessarix::detail
