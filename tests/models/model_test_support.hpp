// Shared by the model tests: an independent evaluation of the catalogue's
// linear definitions (a sum of coefficient-times-term pieces) in plain double
// arithmetic.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <string>
#include <string_view>

namespace tessarix::test {

// A factor of a linear term: x, x^p, log(x), log(x)^k, exp(x), exp(-x).
inline double FactorValue(std::string_view f, double x) {
  if (f == "exp(x)") return std::exp(x);
  if (f == "exp(-x)") return std::exp(-x);
  double base = x;
  std::string_view rest;
  if (f.starts_with("log(x)")) {
    base = std::log(x);
    rest = f.substr(6);
  } else if (f.starts_with("x")) {
    rest = f.substr(1);
  } else {
    ADD_FAILURE() << "unknown factor " << f;
    return 0.0;
  }
  if (rest.empty()) return base;
  if (!rest.starts_with("^")) {
    ADD_FAILURE() << "unknown factor " << f;
    return 0.0;
  }
  return std::pow(base, std::stod(std::string(rest.substr(1))));
}

// A definition such as "a+b*x*log(x)+c/x^2" or "a*x^2+b*x+c", summed piece by
// piece. scale receives the sum of the pieces' magnitudes.
inline double EvaluateLinearText(std::string_view text, const double* p, double x, double& scale) {
  double sum = 0.0;
  scale = 0.0;
  std::size_t start = 0;
  while (start <= text.size()) {
    std::size_t end = text.find('+', start);
    if (end == std::string_view::npos) end = text.size();
    const std::string_view piece = text.substr(start, end - start);
    double v = p[piece[0] - 'a' + 1];
    // factors joined by * and /
    std::size_t k = 1;
    while (k < piece.size()) {
      const char op = piece[k];
      std::size_t next = piece.find_first_of("*/", k + 1);
      if (next == std::string_view::npos) next = piece.size();
      const double f = FactorValue(piece.substr(k + 1, next - k - 1), x);
      v = op == '*' ? v * f : v / f;
      k = next;
    }
    sum += v;
    scale += std::fabs(v);
    start = end + 1;
  }
  return sum;
}

}  // namespace tessarix::test
