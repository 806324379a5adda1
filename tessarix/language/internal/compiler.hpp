// The expression compiler: one recursive precedence parser that emits postfix
// records into a ModelProgram as it parses (no tree is built), resolves every
// name through the symbol table as it meets it, inlines the sub-definitions
// F1..F9 and builds the jump table of the conditional.
//
// Nothing here raises to a caller: faults end in the flags of the compiler
// state, which the model definition turns into numbered errors.
#pragma once

#include <cstdint>
#include <string>

#include "tessarix/language/internal/compiler_state.hpp"
#include "tessarix/language/internal/model_program.hpp"
#include "tessarix/language/internal/symbol_table.hpp"
#include "tessarix/language/internal/tokeniser.hpp"

namespace tessarix::detail {

// Input nested deeper than this (parentheses, calls, unary operators,
// sub-definitions) is a syntax fault of the model, not a stack overflow.
inline constexpr int kMaxNesting = 256;

class Compiler {
 public:
  // Compiles the local-form text in the state's mode, appending records to
  // `program`, the parameters met to the state's parameter table and the
  // variables met to its variable marks (both started afresh). Clears the
  // conversion and syntax flags first; returns true when no syntax fault
  // occurred and the whole text was read.
  static bool CompileDefinition(CompilerState& state, ModelProgram& program, const std::string& text,
                                const std::string& decimal_separator, const std::string& list_separator);

 private:
  Compiler(CompilerState& state, ModelProgram& program, const std::string& decimal_separator,
           const std::string& list_separator)
      : s_(state),
        p_(program),
        tok_(decimal_separator, list_separator, state.several_variables),
        symbols_(SymbolTable::For(state.several_variables)) {}

  void ParseExpression(int level, int depth);
  void ParseOperand(int depth);
  void ParseName(int depth);
  void ParseCall(const FunctionRow& row, int depth);
  void ParseSubDefinition(int k, const std::string& word, int depth);
  void Expect(const std::string& token);
  ModelOp* Emit(std::string text, OpKind kind, std::int16_t code = 0, double value = 0.0);
  void EmitParameter(const std::string& text, const std::string& spelling);
  void EmitFunction(const FunctionRow& row);
  void Fault() { s_.syntax_flag = true; }

  CompilerState& s_;
  ModelProgram& p_;
  Tokeniser tok_;
  const SymbolTable& symbols_;
};

// Fills the jump table from the whole program when it holds an "if" marker
// (and erases it otherwise). Nesting deeper than 100 faults with "Subscript
// out of range", as does a marker without its opening record.
void BuildJumpTable(ModelProgram& program);

// Rebuilds the evaluator's instructions from the records: parameters outside
// 1..parameter_count and jumps without a target become failing instructions.
void FinishProgram(ModelProgram& program, std::int32_t parameter_count);

// Test aid: one line per record with kind, text, codes and jumps.
std::string DumpProgram(const ModelProgram& program);

}  // namespace tessarix::detail
