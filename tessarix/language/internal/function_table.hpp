// The dictionary of the model language: every function word with its code and
// number of arguments, and what the evaluator computes for it.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

namespace tessarix::detail {

struct FunctionWord {
  std::string_view word;  // lower case
  std::int16_t code;      // ORDER: the code is the row's position + 1
  std::int8_t arity;      // 0 for the two control records "endtrue", "endif"
};

inline constexpr int kFunctionWordCount = 91;
// Codes of the three records of the conditional.
inline constexpr std::int16_t kCodeIf = 45;
inline constexpr std::int16_t kCodeEndTrue = 46;
inline constexpr std::int16_t kCodeEndIf = 47;

// ORDER: the code of a word is its position in this table + 1.
inline constexpr std::array<FunctionWord, kFunctionWordCount> kFunctionWords = {{
    {"abs", 1, 1},      {"exp", 2, 1},       {"fix", 3, 1},       {"int", 4, 1},        {"fract", 5, 1},
    {"log", 6, 1},      {"ln", 7, 1},        {"log10", 8, 1},     {"rnd", 9, 1},        {"sgn", 10, 1},
    {"sqr", 11, 1},     {"cos", 12, 1},      {"sin", 13, 1},      {"tan", 14, 1},       {"arcsin", 15, 1},
    {"arccos", 16, 1},  {"arctan", 17, 1},   {"sec", 18, 1},      {"cosec", 19, 1},     {"cotan", 20, 1},
    {"arcsec", 21, 1},  {"arccosec", 22, 1}, {"arccotan", 23, 1}, {"hsin", 24, 1},      {"hcos", 25, 1},
    {"htan", 26, 1},    {"hsec", 27, 1},     {"hcosec", 28, 1},   {"hcotan", 29, 1},    {"harcsin", 30, 1},
    {"harccos", 31, 1}, {"harctan", 32, 1},  {"harcsec", 33, 1},  {"harccosec", 34, 1}, {"harccotan", 35, 1},
    {"rtod", 36, 1},    {"dtor", 37, 1},     {"erf", 38, 1},      {"erfc", 39, 1},      {"fact", 40, 1},
    {"factln", 41, 1},  {"gamma", 42, 1},    {"gammaln", 43, 1},  {"psi", 44, 1},       {"if", 45, 3},
    {"endtrue", 46, 0}, {"endif", 47, 0},    {"igamma", 48, 2},   {"igammac", 49, 2},   {"beta", 50, 2},
    {"poisson", 51, 2}, {"student", 52, 2},  {"chi2", 53, 2},     {"chi2c", 54, 2},     {"jn", 55, 2},
    {"yn", 56, 2},      {"in", 57, 2},       {"kn", 58, 2},       {"jnu", 59, 2},       {"ynu", 60, 2},
    {"djnu", 61, 2},    {"dynu", 62, 2},     {"inu", 63, 2},      {"knu", 64, 2},       {"dinu", 65, 2},
    {"dknu", 66, 2},    {"sphjn", 67, 2},    {"sphyn", 68, 2},    {"dsphjn", 69, 2},    {"dsphyn", 70, 2},
    {"max", 71, 2},     {"min", 72, 2},      {"mag", 73, 2},      {"legendre", 74, 3},  {"binomial", 75, 3},
    {"ibeta", 76, 3},   {"fdist", 77, 3},    {"j0", 78, 1},       {"j1", 79, 1},        {"y0", 80, 1},
    {"y1", 81, 1},      {"i0", 82, 1},       {"i1", 83, 1},       {"k0", 84, 1},        {"k1", 85, 1},
    {"airya", 86, 1},   {"airyb", 87, 1},    {"dairya", 88, 1},   {"dairyb", 89, 1},    {"floor", 90, 1},
    {"ceil", 91, 1},
}};

// The code of a word in any case; 0 when the word is not in the table.
[[nodiscard]] std::int16_t LookupFunctionCode(std::string_view word);
// True for the callable words: the table without "endtrue" and "endif".
[[nodiscard]] bool IsFunctionWord(std::string_view word);
// Arguments of a code (1, 2 or 3; 3 for "if"); 0 for an unknown code.
[[nodiscard]] int FunctionArity(std::int16_t code);

// The functions themselves. Each result is finite; a failed operation raises
// a RuntimeFault or an InternalFailure, which the evaluator turns into a
// failed evaluation. Arguments are in the order written in the model.
[[nodiscard]] double ApplyFunction1(std::int16_t code, double v);
[[nodiscard]] double ApplyFunction2(std::int16_t code, double a, double b);
[[nodiscard]] double ApplyFunction3(std::int16_t code, double a, double b, double c);

// The language's two-argument arctangent, built from the one-argument one by
// cases on the signs, with PI = 3.14159265358979.
[[nodiscard]] double Atan2(double y, double x);

// The generator behind "rnd", one per thread: a negative argument reseeds from
// the argument (the same argument gives the same number), 0 repeats the last
// number, a positive argument gives the next one. Single precision in [0, 1).
[[nodiscard]] double RandomNumber(double v);

// Special-function words (codes 38..44, 48..70, 74..89): defined with the
// numerics they rest on.
[[nodiscard]] double SpecialFunction1(std::int16_t code, double v);
[[nodiscard]] double SpecialFunction2(std::int16_t code, double a, double b);
[[nodiscard]] double SpecialFunction3(std::int16_t code, double a, double b, double c);

}  // namespace tessarix::detail
