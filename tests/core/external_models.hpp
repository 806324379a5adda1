// External models in closed form for the regression tests.
#pragma once

#include <cmath>
#include <functional>
#include <string>
#include <vector>

#include "tessarix/core/nonlinear_regression.hpp"

namespace tessarix::test {

using ModelFunction = std::function<double(const std::vector<double>& p, double x)>;
using GradientFunction = std::function<void(const std::vector<double>& p, double x, std::vector<double>& d)>;

// Defines an external model with the given names; `f` answers the values,
// and `df` (when given) the derivatives.
inline void DefineClosedForm(NonlinearRegression& reg, const std::vector<std::string>& names, ModelFunction f,
                             GradientFunction df = nullptr) {
  reg.DefineExternalModel(names, static_cast<bool>(df));
  reg.Events.EvaluateExternal = [f](std::vector<double>& p, double x, double& result, bool& success) {
    result = f(p, x);
    success = std::isfinite(result);
  };
  if (df) {
    reg.Events.DerivativeExternal = [df](std::vector<double>& p, double x, std::vector<double>& d, bool& success) {
      df(p, x, d);
      success = true;
    };
  }
}

// y = a * exp(b * x) with its analytic derivatives.
inline void DefineExponential(NonlinearRegression& reg, bool analytic = true) {
  DefineClosedForm(
      reg, {"a", "b"}, [](const std::vector<double>& p, double x) { return p[0] * std::exp(p[1] * x); },
      analytic ? GradientFunction([](const std::vector<double>& p, double x, std::vector<double>& d) {
        d[0] = std::exp(p[1] * x);
        d[1] = p[0] * x * std::exp(p[1] * x);
      })
               : nullptr);
}

// y = a * x + b.
inline void DefineLine(NonlinearRegression& reg, bool analytic = true) {
  DefineClosedForm(
      reg, {"a", "b"}, [](const std::vector<double>& p, double x) { return p[0] * x + p[1]; },
      analytic ? GradientFunction([](const std::vector<double>&, double x, std::vector<double>& d) {
        d[0] = x;
        d[1] = 1.0;
      })
               : nullptr);
}

// The log as lines, without their "\r\n" ends.
inline std::vector<std::string> LogLines(const std::string& log) {
  std::vector<std::string> lines;
  std::size_t start = 0;
  for (;;) {
    const std::size_t end = log.find("\r\n", start);
    if (end == std::string::npos) {
      if (start < log.size()) lines.push_back(log.substr(start));
      return lines;
    }
    lines.push_back(log.substr(start, end - start));
    start = end + 2;
  }
}

}  // namespace tessarix::test
