// The compiled form of a model text: postfix records in the order the parser
// emits them, the jump table of the conditional, the compiler's own state, and
// the compact instruction array the evaluator runs.
//
// A ModelProgram belongs to one regression object and lives as long as it.
// Three parts of it outlive a redefinition on purpose: the records (a second
// definition appends to the first, and the evaluator runs both) and the
// sub-definition marks `sub_done` / `sub_open`. Only a new object starts clean.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "tessarix/language/data_statistics.hpp"
#include "tessarix/language/internal/function_table.hpp"

namespace tessarix::detail {

// ORDER: record kinds. One line per kind: Text / Code / run-time effect.
enum class OpKind : std::int16_t {
  None = 0,       // slot 0 and anything unknown: passed over
  Variable = 1,   // "x"            / 0        / push x
  Constant = 2,   // the literal    / 0        / push Value
  Unary = 3,      // "neg", "not"   / 1, 2     / replace the top
  Function = 4,   // the word       / Part of the function table; 45..47 control the conditional
  Binary = 5,     // the operator   / BinaryOp / pop two, push one
  Parameter = 6,  // the name       / 0        / push parameter ParamIndex
  DataWord = 7,   // the word, lower case / 0  / push a data statistic
  Save = 8,       // "savef3"       / k of Fk  / saved[k] = top, stack unchanged
  Recall = 9,     // "f3"           / k of Fk  / push saved[k]
};

// ORDER: the data words, in the order of DataWord.
inline constexpr std::array<std::string_view, kDataWordCount> kDataWords = {
    "xmin", "xmax",    "ymin",    "ymax",    "xmean",   "ymean",  "xstd",
    "ystd", "xatymin", "xatymax", "yatxmin", "yatxmax", "xrange", "yrange"};
static_assert(kDataWords[static_cast<std::size_t>(DataWord::XAtYMin)] == "xatymin" &&
              kDataWords[static_cast<std::size_t>(DataWord::YRange)] == "yrange");

// ORDER: operator codes of OpKind::Binary.
enum class BinaryOp : std::int16_t {
  Power = 1,
  Add,
  Subtract,
  Multiply,
  Divide,
  IntDivide,
  Mod,
  Equal,
  Less,
  Greater,
  NotEqual,
  LessEqual,
  GreaterEqual,
  And,
  Or,
  Xor,
  Eqv,
  Imp,
};

enum class UnaryOp : std::int16_t { Negate = 1, Not = 2 };

struct ModelOp {
  OpKind kind = OpKind::None;
  std::string text;  // the token as compiled; never read by the evaluator
  std::int16_t param_index = 0;
  std::int16_t code = 0;
  double value = 0.0;
};

struct JumpEntry {
  std::int16_t true_target = 0;
  std::int16_t false_target = 0;
};

// One instruction of the evaluator: what a record does, with every lookup
// (parameter, data word, jump) resolved when the program is finished.
enum class Instr : std::uint8_t {
  Skip,
  Variable,
  Constant,
  Parameter,
  DataWord,
  Save,
  Recall,
  Negate,
  Not,
  Add,
  Subtract,
  Multiply,
  Divide,  // the IEEE operators, checked
  Binary,  // code: BinaryOp, the others
  Exp,
  Ln,
  Sqrt,
  Sin,
  Cos,  // the common one-argument words
  // A push of x, a parameter or a constant and the IEEE operator of the next
  // record, done in one step (then pc + 2). The next record keeps its own
  // instruction, so a jump to it still finds it.
  AddX,
  SubtractX,
  MultiplyX,
  DivideX,
  AddParameter,
  SubtractParameter,
  MultiplyParameter,
  DivideParameter,
  AddConstant,
  SubtractConstant,
  MultiplyConstant,
  DivideConstant,
  Function1,  // code: function code, replaces the top
  Function2,  // code: function code, pops one
  Function3,  // code: function code, pops two
  If,         // a: true target, b: false target (instruction indexes)
  EndTrue,    // a: target
  Fail,       // a record that can only fail: a parameter index outside the
              // parameter array, a jump without a target
};

struct Instruction {
  Instr op = Instr::Skip;
  std::int16_t code = 0;
  std::int32_t a = 0;
  std::int32_t b = 0;
  double value = 0.0;
};

struct ModelProgram {
  // Records 1..Length(); slot 0 exists and is unused.
  std::vector<ModelOp> ops = std::vector<ModelOp>(1);
  // Records 0..Length() when the last finished model had a conditional.
  std::vector<JumpEntry> jumps;
  bool has_jump_table = false;

  // Compiler state (flags are cleared by the object's model reset).
  bool model_has_conditional = false;
  bool syntax_flag = false;
  bool conversion_flag = false;  // set by the parser's failure trap; read by nobody
  bool cyclic_flag = false;
  bool undefined_sub_flag = false;
  bool model_syntax_flag = false;
  std::vector<std::string> sub_texts;  // 0: Y, k: Fk
  std::array<bool, 10> sub_done{};
  std::array<bool, 10> sub_open{};

  // The evaluator's form of the records, rebuilt by FinishProgram.
  std::vector<Instruction> code;
  // False once a failed compile has left partial records: the evaluator then
  // checks every pop for an empty stack. Records of successful compiles can
  // never take the stack below its start.
  bool well_formed = true;

  std::int32_t Length() const { return static_cast<std::int32_t>(ops.size()) - 1; }
};

// Run-time scratch of one evaluator user: the stack, sized for the program,
// and the saved values of the sub-definitions, kept between evaluations.
struct EvaluationScratch {
  std::vector<double> stack;
  std::array<double, 10> saved{};
};

}  // namespace tessarix::detail
