// Fitting a NIST StRD problem from one of its certified starts and scoring
// the result in digits of agreement with the certified values.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

#include "support/nist_problem.hpp"
#include "tessarix/core/regression_object.hpp"
#include "tessarix/platform/matrix.hpp"

namespace tessarix::test {

// The smallest log relative error of the parameters and of their standard
// errors, and that of the residual sum of squares; all 0 when not solved.
// unscaled_sd_lre is that of the standard errors over the root of the
// residual sum (the roots of the covariance's diagonal, up to a constant):
// the part of the standard errors that does not move with the residuals.
struct NistScore {
  bool solved = false;
  double value_lre = 0.0, sd_lre = 0.0, rss_lre = 0.0, unscaled_sd_lre = 0.0;
};

// The parameter names of the NIST files: b1, b2, ...
inline std::vector<std::string> NistParameterNames(std::size_t count) {
  std::vector<std::string> names;
  for (std::size_t j = 1; j <= count; ++j) {
    names.push_back(std::to_string(j));
    names.back().insert(names.back().begin(), 'b');  // not "b" + ...: g++ 12 warns falsely there
  }
  return names;
}

// The start's estimates and the 1000 iterations the hard problems need.
inline void SetNistStart(RegressionObject& reg, const std::vector<double>& start) {
  reg.SetMaxIterations(1000);
  for (std::size_t j = 0; j < start.size(); ++j) {
    reg.RegressionParameters()->Item(static_cast<std::int32_t>(j + 1))->SetInitialEstimate(start[j]);
  }
}

inline NistScore ScoreNistFit(const RegressionObject& reg, const NistProblem& data) {
  NistScore score;
  score.solved = reg.IsSolved();
  if (!score.solved) return score;
  score.value_lre = score.sd_lre = score.unscaled_sd_lre = 11.0;
  const auto params = reg.RegressionParameters();
  const double root_sse = std::sqrt(reg.SSE()), certified_root = std::sqrt(data.certified_rss);
  for (std::size_t j = 0; j < data.certified.size(); ++j) {
    const auto p = params->Item(static_cast<std::int32_t>(j + 1));
    score.value_lre = std::min(score.value_lre, LogRelativeError(p->Value(), data.certified[j]));
    score.sd_lre = std::min(score.sd_lre, LogRelativeError(p->StandardError(), data.certified_sd[j]));
    score.unscaled_sd_lre = std::min(
        score.unscaled_sd_lre, LogRelativeError(p->StandardError() / root_sse, data.certified_sd[j] / certified_root));
  }
  score.rss_lre = LogRelativeError(reg.SSE(), data.certified_rss);
  return score;
}

// Nelson as the multi-variable class fits it: log(y) = b1 - b2*x1*exp(-b3*x2)
// over the points (x, x2).
struct NelsonData {
  Matrix x;
  std::vector<double> log_y;
};

inline NelsonData ReadNelson() {
  const NistProblem p = ReadNistProblem("Nelson");
  NelsonData d{Matrix(static_cast<std::int32_t>(p.x2.size()), 2), {}};
  for (std::size_t i = 0; i < p.x2.size(); ++i) {
    d.x(static_cast<std::int32_t>(i), 0) = p.x[i];
    d.x(static_cast<std::int32_t>(i), 1) = p.x2[i];
    d.log_y.push_back(std::log(p.y[i]));
  }
  return d;
}

}  // namespace tessarix::test
