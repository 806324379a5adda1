// One row of the catalogue of several variables: the texts the regression
// object reads, the number of parameters and variables, and what the
// arithmetic of the row is made of. Rows are made by rules (the polynomial
// combinations of two variables, the Taylor series, the linear forms in n
// variables) and, for the three power models, written out; the formula of a
// row is chosen by its `Formula` and, for the polynomials, driven by its list
// of terms, so one routine serves 239 of the models.
//
// Private to models/: built once in multiple_catalogue.cpp, read by the
// formulas there and by multiple_estimates.cpp.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "tessarix/models/model_catalogue.hpp"

namespace tessarix::detail {

// How a variable enters a polynomial term.
enum class Shape : std::uint8_t {
  Plain,    // x^k
  Log,      // log(x)^k
  Inverse,  // 1/x^k
};

// One factor of a term: variable (1 or 2), shape and power; power 0 is a
// factor that is absent.
struct Factor {
  std::uint8_t variable = 0;
  Shape shape = Shape::Plain;
  std::uint8_t power = 0;
};

// A term after the constant: parameter * (plain and log factors, x1's first)
// / (the inverse factors, x1's first), as the text writes it.
struct PolynomialTerm {
  std::array<Factor, 2> factors{};
};

enum class Formula : std::uint8_t {
  PowerX1X2,              // a*x1^b*x2^c
  ExponentX1PowerX2,      // a*b^x1*x2^c
  PowerX1ExponentX2,      // a*x1^b*c^x2
  Polynomial,             // a + the terms
  LinearSum,              // p(1)*x(1) + ... + p(n)*x(n)
  LinearSumPlusConstant,  // p(1)*x(1) + ... + p(n-1)*x(n-1) + p(n)
  ExpLinearSum,           // exp of the sum above
};

// The most terms after the constant of a polynomial (the eleven parameter ones).
inline constexpr std::size_t kMostPolynomialTerms = 10;

// The most parameters of a row (the 50 variables and a constant).
inline constexpr std::size_t kMostMultipleParameters = 51;

struct MultipleRow {
  std::int32_t id = 0;
  std::string definition;
  std::string description;
  // Views of the two texts above, set once the table stands.
  InternalModelEntry entry;
  std::int32_t parameter_count = 0;
  std::int32_t variable_count = 0;
  // The arithmetic of value and derivatives.
  Formula formula = Formula::Polynomial;
  // The estimate works on log(y) rather than y (the power and exponential
  // rows, and ID 1302 whose arithmetic is the plain sum).
  bool log_transform = false;
  std::array<PolynomialTerm, kMostPolynomialTerms> terms{};
  // Where the i-th parameter of the text (a, b, ... z, aa, bb, ...) stands
  // in the parameter array, which holds the names in code-unit order (a, aa,
  // b, bb, ...): slot[i], for i from 1. Only the rows past 26 parameters are
  // not the identity.
  std::array<std::uint8_t, kMostMultipleParameters + 1> slot{};
};

// Every row in ID order.
const std::vector<MultipleRow>& MultipleRows();

// The row of an evaluation code, nullptr for a code of no model.
const MultipleRow* MultipleRowOfCode(std::int32_t evaluation_code) noexcept;

}  // namespace tessarix::detail
