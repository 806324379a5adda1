// The compiled form of a model text: postfix records in the order the parser
// emits them, the jump table of the conditional, and the compact instruction
// array the evaluator runs.
//
// A ModelProgram belongs to one regression object and lives as long as it:
// the records of a second definition append to those of the first, and the
// evaluator runs both. Only a new object starts with an empty program. What
// the compiler needs while it works is apart, in CompilerState.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "tessarix/language/data_statistics.hpp"
#include "tessarix/language/internal/function_table.hpp"

namespace tessarix::detail {

// ORDER: record kinds. One line per kind:
//                   Text                 / Code                  / run-time effect
enum class OpKind : std::int16_t {
  None = 0,       // -                    / -                     / passed over (slot 0)
  Variable = 1,   // "x", or "x3"         / 0, or 3 for x3        / push the variable
  Constant = 2,   // the literal as typed / 0                     / push Value
  Unary = 3,      // "neg", "not"         / 1, 2                  / replace the top
  Function = 4,   // the word             / the word's code       / call, or a record of the conditional
  Binary = 5,     // the operator         / kBinaryOperators row  / pop two, push one
  Parameter = 6,  // the name             / 0                     / push parameter ParamIndex
  DataWord = 7,   // the word, lower case / 0                     / push a statistic of the data
  Save = 8,       // "savef3"             / k of Fk               / saved[k] = top, the stack unchanged
  Recall = 9,     // "f3"                 / k of Fk               / push saved[k]
};

// ORDER: the evaluator's instructions, rebuilt from the records after every
// definition. One line per instruction:
//                         operands                    / effect
// A push spills the old top; a binary instruction pops b and replaces the new
// top a by the result. Every result is checked: a non-finite one, a division
// by zero or an integer conversion out of range ends the evaluation as failed.
enum class Instr : std::uint8_t {
  Skip,               // -                           / nothing ("endif")
  X,                  // -                           / push x (x1 with several), kept in a register
  Variable,           // a: element of the point     / push point[a] (x2, x3, ...)
  Constant,           // value                       / push value
  Parameter,          // a: parameter index          / push parameters[a]
  DataWord,           // a: DataWord, b: variable    / push the statistic
  Save,               // a: k of Fk                  / saved[a] = top
  Recall,             // a: k of Fk                  / push saved[a]
  Negate,             // -                           / top = -top
  Not,                // -                           / top = ~int32(top)
  Add,                // -                           / a + b
  Subtract,           // -                           / a - b
  Multiply,           // -                           / a * b
  Divide,             // -                           / a / b
  Power,              // -                           / a ^ b by the power routine
  IntDivide,          // -                           / int32(a) \ int32(b), truncated toward 0
  Mod,                // -                           / int32(a) mod int32(b), sign of a
  Equal,              // -                           / -1 if a = b, else 0
  Less,               // -                           / -1 if a < b, else 0
  Greater,            // -                           / -1 if a > b, else 0
  NotEqual,           // -                           / -1 if a <> b, else 0
  LessEqual,          // -                           / -1 if a <= b, else 0
  GreaterEqual,       // -                           / -1 if a >= b, else 0
  And,                // -                           / int32(a) & int32(b)
  Or,                 // -                           / int32(a) | int32(b)
  Xor,                // -                           / int32(a) ^ int32(b)
  Eqv,                // -                           / ~(int32(a) ^ int32(b))
  Imp,                // -                           / ~int32(a) | int32(b)
  AddX,               // -                           / top + x; then pc + 2
  SubtractX,          // -                           / top - x; then pc + 2
  MultiplyX,          // -                           / top * x; then pc + 2
  DivideX,            // -                           / top / x; then pc + 2
  AddParameter,       // a: parameter index          / top + parameters[a]; then pc + 2
  SubtractParameter,  // a: parameter index          / top - parameters[a]; then pc + 2
  MultiplyParameter,  // a: parameter index          / top * parameters[a]; then pc + 2
  DivideParameter,    // a: parameter index          / top / parameters[a]; then pc + 2
  AddConstant,        // value                       / top + value; then pc + 2
  SubtractConstant,   // value                       / top - value; then pc + 2
  MultiplyConstant,   // value                       / top * value; then pc + 2
  DivideConstant,     // value                       / top / value; then pc + 2
  Exp,                // -                           / top = exp(top)
  Ln,                 // -                           / top = ln(top)
  Sqrt,               // -                           / top = sqrt(top)
  Sin,                // -                           / top = sin(top)
  Cos,                // -                           / top = cos(top)
  Call1,              // f1                          / top = f1(top)
  Call2,              // f2                          / pop b, top = f2(a, b)
  Call3,              // f3                          / pop two, top = f3(arguments in order)
  If,                 // a, b: true and false targets/ pop; pc = a if the value was exactly -1, else b
  EndTrue,            // a: target, the "endif"      / pc = a
  Fail,               // -                           / the evaluation fails
};
// The fused forms (a push and the operator of the next record in one step)
// keep the next record's own instruction in place, so a jump to it still
// finds it.

struct Instruction {
  Instr op = Instr::Skip;
  std::int32_t a = 0;
  std::int32_t b = 0;
  union {
    double value = 0.0;
    Function1 f1;
    Function2 f2;
    Function3 f3;
  };
};

// ORDER: the binary operators; the code of a record is the row's position + 1.
// An operator is taken when the token matches exactly (so word operators only
// in lower case) and the minimum level of the parse does not exceed `level`.
// The right operand is parsed at `right_level`, one higher, so every operator
// is left-associative, "^" included.
struct BinaryOperator {
  std::string_view token;
  std::int8_t level;
  std::int8_t right_level;
  Instr instr;
};
inline constexpr std::array<BinaryOperator, 18> kBinaryOperators = {{
    {"^", 11, 12, Instr::Power},
    {"+", 7, 8, Instr::Add},
    {"-", 7, 8, Instr::Subtract},
    {"*", 10, 11, Instr::Multiply},
    {"/", 10, 11, Instr::Divide},
    {"\\", 9, 10, Instr::IntDivide},
    {"mod", 8, 9, Instr::Mod},
    {"=", 6, 7, Instr::Equal},
    {"<", 6, 7, Instr::Less},
    {">", 6, 7, Instr::Greater},
    {"<>", 6, 7, Instr::NotEqual},
    {"<=", 6, 7, Instr::LessEqual},
    {">=", 6, 7, Instr::GreaterEqual},
    {"and", 5, 6, Instr::And},
    {"or", 4, 5, Instr::Or},
    {"xor", 3, 4, Instr::Xor},
    {"eqv", 2, 3, Instr::Eqv},
    {"imp", 1, 2, Instr::Imp},
}};

// ORDER: the unary operators; the code of a record is the row's position + 1.
struct UnaryOperator {
  std::string_view text;
  std::int8_t operand_level;  // "-" binds looser than "^" and tighter than "*"; "not" takes a comparison
  Instr instr;
};
inline constexpr std::array<UnaryOperator, 2> kUnaryOperators = {{{"neg", 11, Instr::Negate}, {"not", 6, Instr::Not}}};

// The role of a record in the jump table of the conditional. The builder finds
// the markers by their text, so a parameter spelled "endtrue" or "endif" in a
// model with a conditional is taken for one (the language has always read it
// so).
enum class JumpMarker : std::uint8_t { None, If, EndTrue, EndIf };

struct ModelOp {
  OpKind kind = OpKind::None;
  std::string text;  // the token as compiled: listings and the jump markers
  std::int16_t param_index = 0;
  std::int16_t code = 0;
  double value = 0.0;
  // Resolved while parsing.
  Instr operation = Instr::Skip;          // Unary and Binary records
  const FunctionRow* function = nullptr;  // Function records
  std::int16_t variable = 0;              // Variable and DataWord records: 0 for x, k for xk
  DataWord data_word = DataWord::XMin;    // DataWord records
  JumpMarker marker = JumpMarker::None;
};

struct JumpEntry {
  std::int16_t true_target = 0;
  std::int16_t false_target = 0;
};

struct ModelProgram {
  // Records 1..Length(); slot 0 exists and is unused.
  std::vector<ModelOp> ops = std::vector<ModelOp>(1);
  // Records 0..Length() when the last finished model had a conditional.
  std::vector<JumpEntry> jumps;
  bool has_jump_table = false;

  // The evaluator's form of the records, rebuilt by FinishProgram:
  // instructions 1..code_length, and the cells of stack they need.
  std::vector<Instruction> code;
  std::int32_t code_length = 0;
  std::size_t stack_cells = 2;
  // False once a failed compile has left partial records: the evaluator then
  // checks every pop for an empty stack. Records of successful compiles can
  // never take the stack below its start.
  bool well_formed = true;
  // Elements of a point that the instructions read (records of earlier
  // definitions included); a shorter point fails the evaluation.
  std::int32_t point_size = 1;

  std::int32_t Length() const { return static_cast<std::int32_t>(ops.size()) - 1; }
};

// Run-time scratch of one evaluator user: the stack, sized for the program,
// and the saved values of the sub-definitions, kept between evaluations.
struct EvaluationScratch {
  std::vector<double> stack;
  std::array<double, 10> saved{};
  // The block evaluator's lanes: its stack, the saved values and the checks,
  // each row kBlockLanes wide.
  std::vector<double> block;
};

// Points the block evaluator runs at once.
inline constexpr std::int32_t kBlockLanes = 256;

}  // namespace tessarix::detail
