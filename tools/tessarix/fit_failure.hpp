// What the tool tells about a fit that failed: how far the iteration got
// (iterations, the sum of squares and the parameters it reached), the end of
// the solution log, and what to try next; and the curve of the parameters it
// reached, for the plot.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <tessarix/core/nonlinear_regression.hpp>
#include <tessarix/core/regression_object.hpp>
#include <utility>
#include <vector>

#include "report.hpp"

namespace tessarix::tool {

// The sums of squares of the iterations, as the IterationComplete event
// reports them.
struct IterationTrace {
  std::int32_t iterations = 0;
  std::optional<double> first_sse, last_sse;
  void Record(std::int32_t iteration, double sse);
};

struct FailureSummary {
  std::string reason;  // LastSolveError on one line
  std::string method;  // the solver that ran
  std::string ending;  // the log's lines on how the iterations ended
  std::int32_t iterations = 0;
  std::int32_t max_iterations = 0;
  std::optional<double> start_sse, sse;  // weighted sums of squares, first and last iteration
  struct Parameter {
    std::string name;
    double start = 0.0;
    std::optional<double> reached;  // from the log's "Last parameter values:"
    bool fixed = false;
    bool estimated = false;  // the start was set with --estimate
  };
  std::vector<Parameter> parameters;
  std::vector<std::string> log_tail;  // the last lines of the log
  std::vector<std::string> hints;     // what to try, most specific first
};

// What the failed fit of `regression` tells. `estimated` names the
// parameters given a start with --estimate; `rows` is the number of rows of
// the data; `rank_arguments` what follows `tessarix rank` to rank the
// catalogue on the same columns ("DATA", or "DATA --x A,B --y C").
FailureSummary SummariseFailure(const RegressionObject& regression, const IterationTrace& trace,
                                const std::vector<std::string>& estimated, std::int32_t rows,
                                const std::string& rank_arguments);

// The failure report for the terminal.
std::string FailureReport(const FailureSummary& summary, const ReportHeading& heading);

// The curve y = f(x) of a failed single-variable fit at the parameters it
// reached (model text in the model language), at the points `xs`; nullopt
// where the model cannot be evaluated with them.
std::vector<std::optional<double>> LastCurve(const std::string& model_text, const FailureSummary& summary,
                                             const std::vector<double>& xs);

}  // namespace tessarix::tool
