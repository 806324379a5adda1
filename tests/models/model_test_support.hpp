// Shared by the model tests: an independent evaluation of the catalogue's
// linear definitions (a sum of coefficient-times-term pieces) in plain double
// arithmetic, and a numerical derivative of the hand-written formulas.
#pragma once

#include <cmath>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "tessarix/models/predefined_formulas.hpp"

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

// Central difference by parameter j, extrapolated (Richardson) from h and h/2.
inline bool NumericalDerivative(std::int32_t code, std::vector<double> p, std::int32_t j, double x, double& d) {
  const double h = 1e-5 * std::max(1.0, std::fabs(p[j]));
  auto central = [&](double step, double& out) {
    const double keep = p[j];
    double up = 0.0, down = 0.0;
    p[j] = keep + step;
    const bool ok1 = detail::EvaluatePredefined(code, p.data(), x, up);
    p[j] = keep - step;
    const bool ok2 = detail::EvaluatePredefined(code, p.data(), x, down);
    p[j] = keep;
    out = (up - down) / (2.0 * step);
    return ok1 && ok2;
  };
  double d1 = 0.0, d2 = 0.0, d4 = 0.0;
  if (!central(h, d1) || !central(h / 2, d2) || !central(h / 4, d4)) return false;
  const double r1 = (4.0 * d2 - d1) / 3.0;
  const double r2 = (4.0 * d4 - d2) / 3.0;
  d = (16.0 * r2 - r1) / 15.0;
  return true;
}

}  // namespace tessarix::test
