// A readable listing of a compiled program, for tests: one line per record.
#include <sstream>
#include <string>

#include "tessarix/language/internal/compiler.hpp"

namespace tessarix::detail {

namespace {
const char* KindName(OpKind kind) {
  switch (kind) {
    case OpKind::Variable:
      return "var";
    case OpKind::Constant:
      return "const";
    case OpKind::Unary:
      return "unary";
    case OpKind::Function:
      return "func";
    case OpKind::Binary:
      return "binary";
    case OpKind::Parameter:
      return "param";
    case OpKind::DataWord:
      return "data";
    case OpKind::Save:
      return "save";
    case OpKind::Recall:
      return "recall";
    case OpKind::None:
      break;
  }
  return "none";
}
}  // namespace

// Lines look like "3 param b #2", "4 binary * c4", "5 func if c45 ->6/9",
// "2 const 1.5 =1.5".
std::string DumpProgram(const ModelProgram& program) {
  std::ostringstream out;
  out.precision(17);
  for (std::int32_t i = 1; i <= program.Length(); ++i) {
    const ModelOp& op = program.ops[static_cast<std::size_t>(i)];
    out << i << ' ' << KindName(op.kind) << ' ' << op.text;
    if (op.kind == OpKind::Parameter) out << " #" << op.param_index;
    if (op.code != 0) out << " c" << op.code;
    if (op.kind == OpKind::Constant) out << " =" << op.value;
    if (op.kind == OpKind::Function && program.has_jump_table && static_cast<std::size_t>(i) < program.jumps.size()) {
      const JumpEntry& j = program.jumps[static_cast<std::size_t>(i)];
      if (op.marker == JumpMarker::If) out << " ->" << j.true_target << '/' << j.false_target;
      if (op.marker == JumpMarker::EndTrue) out << " ->" << j.true_target;
    }
    out << '\n';
  }
  return out.str();
}

}  // namespace tessarix::detail
