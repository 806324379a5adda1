// The names of the language. The reserved ones (function words, F1 to F9, the
// data words, "pi", the independent variable or variables) sit in one fixed
// table per mode; every other name is a parameter, kept in the parameter
// table of the object while the parser meets it.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "tessarix/language/data_statistics.hpp"
#include "tessarix/language/internal/function_table.hpp"
#include "tessarix/language/internal/model_program.hpp"

namespace tessarix::detail {

enum class SymbolKind : std::uint8_t { Parameter, Variable, Function, SubDefinition, DataWord, Pi };

struct Symbol {
  SymbolKind kind = SymbolKind::Parameter;
  // Variable: 0 for the single x, k for xk. SubDefinition: k of Fk. DataWord:
  // the variable the word describes, 0 for x and for the words of y.
  std::int16_t number = 0;
  DataWord data_word = DataWord::XMin;
  const FunctionRow* function = nullptr;  // the callable words only
};

// The reserved names of one mode, looked up by their lower-case text.
//   One variable:     "x"; data words "xmin" ... "yrange".
//   Several (x1..xm): "x1" to "x50" and "x01" to "x09"; a plain "x" is a
//                     parameter. Data words name a variable k of 1 to 9:
//                     "x1min", "x1max", "x1mean", "x1std", "x1atymin",
//                     "x1atymax", "x1range", "yatx1min", "yatx1max" with
//                     the digit k, and "ymin", "ymax", "ymean", "ystd",
//                     "yrange".
class SymbolTable {
 public:
  static const SymbolTable& For(bool several_variables);

  // The symbol of a name; SymbolKind::Parameter for one that is not reserved.
  [[nodiscard]] Symbol Resolve(const std::string& lower) const;

 private:
  explicit SymbolTable(bool several_variables);
  std::unordered_map<std::string, Symbol> names_;
};

// The parameters of the object. Names are the same without regard to case.
// The table remembers the records of every definition on the object, so
// that a name of a new definition also renumbers the records of the earlier
// ones that carry it (they stay in the program and run with it).
class ParameterTable {
 public:
  // Starts the name list of a new definition; the records stay.
  void BeginDefinition();
  // A parameter record: `spelling` as written, `record` its index.
  void Note(std::string_view spelling, std::int32_t record);
  // The distinct names of this definition sorted by code unit (upper case
  // before lower case), each spelled as at its first occurrence; every record
  // of the object with a name of the list gets that name's 1-based index. A
  // count beyond 16 bits faults with "Overflow".
  std::vector<std::string> Collect(ModelProgram& program) const;

 private:
  std::vector<std::string> spellings_;                                  // this definition, by first occurrence
  std::unordered_map<std::string, std::size_t> known_;                  // lower case -> index in spellings_
  std::unordered_map<std::string, std::vector<std::int32_t>> records_;  // lower case -> records, every definition
};

}  // namespace tessarix::detail
