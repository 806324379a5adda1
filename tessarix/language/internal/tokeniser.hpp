// The character-level tokeniser of the model language.
//
// It reads the local form of a model: numbers with the decimal separator and
// arguments separated by the list separator it is given (the locale is a layer
// above; this class only takes the two separators as values). A "character" is
// one UTF-8 sequence, so a multi-byte separator is one character.
//
// Reserved words come as tokens of their own, as typed: the word operators,
// the list separator, the single letters "a" to "t" and the independent
// variable(s) of the mode. Every other identifier is the token "id".
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

namespace tessarix::detail {

class Tokeniser {
 public:
  Tokeniser(std::string decimal_separator, std::string list_separator, bool several_variables)
      : decimal_(std::move(decimal_separator)), list_(std::move(list_separator)), several_(several_variables) {}

  // Starts over on `text`.
  void Reset(std::string_view text);
  // Puts "(" + text + ")" in front of the text not yet read (a sub-definition
  // inlined at its first reference).
  void Splice(std::string_view text);
  // Reads the next token. At the end of the text the token is "".
  void Next();

  // The token class: "num", "id", a reserved word as typed, or the character
  // (pair) itself.
  const std::string& Token() const { return token_; }
  // The text of a number or identifier; the token itself otherwise.
  const std::string& Lexeme() const { return lexeme_; }

  const std::string& DecimalSeparator() const { return decimal_; }
  const std::string& ListSeparator() const { return list_; }

 private:
  std::string_view Peek() const;  // the next character, "" at the end
  std::string_view Take();        // reads and returns the next character

  std::string decimal_;
  std::string list_;
  bool several_;
  std::string source_;
  std::size_t pos_ = 0;
  std::string token_;
  std::string lexeme_;
};

// The number of an independent variable from its lower-case name: 0 for "x"
// with one variable; k for "xk" (k of 1 to 50) and "x0k" (k below 10) with
// several. -1 for any other name.
[[nodiscard]] int VariableNumber(std::string_view lower, bool several_variables);

// ASCII lower case, the case rule of every word of the language.
[[nodiscard]] std::string LowerAscii(std::string_view text);

// The value of a numeric lexeme: digits with at most one decimal separator
// and an optional exponent "E"/"e" with sign and digits. False for anything
// else and for a value beyond the range of a double; a value below the
// smallest double becomes 0.
[[nodiscard]] bool ConvertNumericLexeme(std::string_view lexeme, std::string_view decimal_separator, double& value);

}  // namespace tessarix::detail
