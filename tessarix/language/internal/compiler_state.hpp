// What the compiler keeps on a regression object besides the program it
// emits: the flags that become the definition errors, the texts of the
// definition, the sub-definition marks, and the names met.
#pragma once

#include <array>
#include <string>
#include <vector>

#include "tessarix/language/internal/symbol_table.hpp"

namespace tessarix::detail {

// The highest variable number of the several-variable mode, x1 to x50.
inline constexpr int kMaxIndependentVariables = 50;

struct CompilerState {
  // The mode of the definition being compiled: one variable "x", or the
  // variables x1, x2, ... (and "x" a parameter name).
  bool several_variables = false;

  // Flags; the object's model reset clears the last four.
  bool syntax_flag = false;
  bool conversion_flag = false;  // set where the parser's trap caught a fault; read by nobody
  bool model_has_conditional = false;
  bool cyclic_flag = false;
  bool undefined_sub_flag = false;
  bool model_syntax_flag = false;

  // The local form of the definition: 0 holds Y, k holds Fk, up to the
  // highest sub-definition given.
  std::vector<std::string> sub_texts;
  // A sub-definition has been inlined, or is being inlined. Only a finished
  // inlining clears its open mark; otherwise both outlive every redefinition
  // on the object, so a later model recalls F1 where an earlier one inlined
  // it, and reports a cycle again where an earlier one found one.
  std::array<bool, 10> sub_done{};
  std::array<bool, 10> sub_open{};

  // The parameter names of this definition and the records of all of them.
  ParameterTable parameters;
  // The variables met in this definition: [0] for x, [k] for xk.
  std::array<bool, kMaxIndependentVariables + 1> variables_seen{};
};

}  // namespace tessarix::detail
