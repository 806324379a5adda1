// The expression compiler: one recursive precedence parser that emits postfix
// records into a ModelProgram as it parses (no tree is built), discovers the
// independent variable and the parameters from the text, inlines the
// sub-definitions F1..F9 and builds the jump table of the conditional.
//
// Nothing here raises to a caller: faults end in the flags of the program,
// which the model definition turns into numbered errors.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tessarix/language/internal/model_program.hpp"
#include "tessarix/language/internal/tokeniser.hpp"

namespace tessarix::detail {

// Input nested deeper than this (parentheses, calls, unary operators,
// sub-definitions) is a syntax fault of the model, not a stack overflow.
inline constexpr int kMaxNesting = 256;

class Compiler {
 public:
  // Compiles the local-form text, appending records to `program` and the
  // variable and parameter occurrences to `names` ("x," in front for every x,
  // then "name," for every parameter occurrence, in order). Clears the
  // conversion and syntax flags first; returns true when no syntax fault
  // occurred and the whole text was read.
  static bool CompileDefinition(ModelProgram& program, const std::string& text, const std::string& decimal_separator,
                                const std::string& list_separator, std::string& names);

 private:
  Compiler(ModelProgram& program, const std::string& decimal_separator, const std::string& list_separator)
      : p_(program), tok_(decimal_separator, list_separator) {}

  void ParseExpression(int level, std::string& names, int depth);
  void ParseOperand(std::string& names, int depth);
  void ParseIdentifier(std::string& names, int depth);
  void ParseCall(const std::string& word, std::string& names, int depth);
  void ParseSubDefinition(const std::string& word, std::string& names, int depth);
  void Expect(const std::string& token);
  void Emit(std::string text, OpKind kind, std::int16_t code = 0, double value = 0.0);
  void Fault() { p_.syntax_flag = true; }

  ModelProgram& p_;
  Tokeniser tok_;
};

// Removes every leading "x," of the name list (any case); true if there was one.
bool StripIndependentVariable(std::string& names);

// The distinct parameter names of the list in sorted order, spelled as at
// their first occurrence; every record of the whole program whose text equals
// a name (any case) gets that name's 1-based index. A count beyond 16 bits
// faults with "Overflow".
std::vector<std::string> CollectParameters(ModelProgram& program, const std::string& names);

// Fills the jump table from the whole program when it holds an "if" (and
// erases it otherwise). Nesting deeper than 100 faults with "Subscript out of
// range", as does a marker without its opening record.
void BuildJumpTable(ModelProgram& program);

// Rebuilds the evaluator's instructions from the records: parameters outside
// 1..parameter_count and jumps without a target become failing instructions.
void FinishProgram(ModelProgram& program, std::int32_t parameter_count);

// Test aid: one line per record with kind, text, codes and jumps.
std::string DumpProgram(const ModelProgram& program);

}  // namespace tessarix::detail
