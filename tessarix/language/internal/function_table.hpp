// The dictionary of the model language: one row per function word, carrying
// everything about it, its text, its number of arguments, how the compiler
// handles it and what the evaluator calls. Nothing else in the language knows
// a word by its number.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace tessarix::detail {

using Function1 = double (*)(double);
using Function2 = double (*)(double, double);
using Function3 = double (*)(double, double, double);

// How the compiler and the evaluator treat a row.
enum class Control : std::uint8_t {
  Call,     // an ordinary call: arguments, then the record; the evaluator calls f1, f2 or f3
  If,       // "if": condition, record, true branch, "endtrue" record, false branch, "endif" record
  EndTrue,  // end of the true branch: a jump to the matching "endif"; not a word a user can write
  EndIf,    // end of the conditional: no effect; not a word a user can write
};

// A call the evaluator does in line, without the indirect call (the common
// one-argument words). The row's f1 computes the same value.
enum class InlineCall : std::uint8_t { None, Exp, Ln, Sqrt, Sin, Cos };

struct FunctionRow {
  std::string_view word;  // lower case
  std::int8_t arity;      // 1 to 3 (3 for "if"); 0 for the two control records
  Control control;
  InlineCall inline_call;
  // Exactly one is set for a Call row, matching the arity. Arguments come in
  // the order written; the result is finite, and a failed operation raises a
  // RuntimeFault or an InternalFailure instead.
  Function1 f1;
  Function2 f2;
  Function3 f3;
};

// All rows. The code of a word (what the compiled records carry) is its
// position + 1.
[[nodiscard]] std::span<const FunctionRow> FunctionRows();

// The row of a lower-case word, the two control records included; nullptr for
// any other text.
[[nodiscard]] const FunctionRow* FindFunctionRow(std::string_view lower);

// The code of a row of the table.
[[nodiscard]] std::int16_t FunctionCode(const FunctionRow& row);

// The language's two-argument arctangent, built from the one-argument one by
// cases on the signs, with PI = 3.14159265358979.
[[nodiscard]] double Atan2(double y, double x);

// The generator behind "rnd", one per thread: a negative argument reseeds from
// the argument (the same argument gives the same number), 0 repeats the last
// number, a positive argument gives the next one. Single precision in [0, 1).
[[nodiscard]] double RandomNumber(double v);

}  // namespace tessarix::detail
