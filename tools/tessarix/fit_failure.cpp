#include "fit_failure.hpp"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <sstream>
#include <tessarix/core/error.hpp>
#include <tessarix/core/regression_parameters.hpp>

#include "text_format.hpp"

namespace tessarix::tool {

namespace {

// Lines of the log shown at the end of a failure report.
constexpr std::size_t kLogTailLines = 8;

std::vector<std::string> LogLines(const std::string& log) {
  std::vector<std::string> lines;
  std::istringstream in(log);
  std::string line;
  while (std::getline(in, line)) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    lines.push_back(line);
  }
  return lines;
}

bool StartsWith(const std::string& text, std::string_view prefix) {
  return text.compare(0, prefix.size(), prefix) == 0;
}

bool Contains(const std::string& text, std::string_view part) { return text.find(part) != std::string::npos; }

std::optional<double> ParseNumber(const std::string& text) {
  double value = 0.0;
  const char* end = text.data() + text.size();
  const auto result = std::from_chars(text.data(), end, value);
  if (result.ec != std::errc() || result.ptr != end || !std::isfinite(value)) return std::nullopt;
  return value;
}

// The values after the log's last "Last parameter values:" line, by name.
std::vector<std::pair<std::string, double>> LastValues(const std::vector<std::string>& lines) {
  std::vector<std::pair<std::string, double>> values;
  // A failure text without a line end of its own runs into the heading
  // ("Singular matrix encountered in gaussian elimination.Last parameter values:").
  constexpr std::string_view kHeading = "Last parameter values:";
  const auto heading = std::find_if(lines.rbegin(), lines.rend(), [&](const std::string& line) {
    return line.size() >= kHeading.size() &&
           line.compare(line.size() - kHeading.size(), kHeading.size(), kHeading) == 0;
  });
  if (heading == lines.rend()) return values;
  for (auto it = heading.base(); it != lines.end(); ++it) {
    const auto equals = it->find(" = ");
    if (equals == std::string::npos) break;
    const auto value = ParseNumber(it->substr(equals + 3));
    if (!value) break;
    values.emplace_back(it->substr(0, equals), *value);
  }
  return values;
}

// Parameter names, as the library compares them: letter case ignored.
bool SameName(const std::string& a, const std::string& b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) {
    return std::tolower(static_cast<unsigned char>(x)) == std::tolower(static_cast<unsigned char>(y));
  });
}

std::string OneLine(std::string text) {
  while (!text.empty() && (text.back() == '\n' || text.back() == '\r')) text.pop_back();
  std::replace_if(
      text.begin(), text.end(), [](char c) { return c == '\r' || c == '\n'; }, ' ');
  return text;
}

std::string Number(double value) { return SignificantText(value, 8); }

// `text` in lines of at most 100 characters where the words allow, the first
// after `first`, the others after `rest`.
std::string Wrapped(const std::string& text, const std::string& first, const std::string& rest) {
  constexpr std::size_t kWidth = 100;
  std::istringstream words(text);
  std::string out, line = first, word;
  bool empty = true;
  while (words >> word) {
    if (!empty && DisplayWidth(line) + 1 + DisplayWidth(word) > kWidth) {
      out += line + '\n';
      line = rest;
      empty = true;
    }
    if (!empty) line += ' ';
    line += word;
    empty = false;
  }
  return out + line + '\n';
}

std::vector<std::string> Hints(const FailureSummary& s, const std::string& log, std::int32_t rows,
                               const std::string& rank_arguments) {
  std::vector<std::string> hints;
  if (Contains(s.reason, "not enough data points")) {
    hints.push_back("the model has " + std::to_string(s.parameters.size()) + " parameters and the data " +
                    std::to_string(rows) + " rows: a fit needs more rows than parameters");
    return hints;
  }
  // Parameters that moved far beyond their starts: the iteration diverged,
  // and more iterations will not bring it back.
  std::string ran_off;
  for (const auto& p : s.parameters) {
    if (p.reached && std::fabs(*p.reached - p.start) > 10.0 * std::max(std::fabs(p.start), 1e-3)) {
      ran_off += (ran_off.empty() ? "" : ", ") + CleanText(p.name) + " = " + Number(*p.reached);
    }
  }
  if (!ran_off.empty()) {
    hints.push_back("parameters ran off far from their starts (" + ran_off +
                    "): the iteration diverged; better starting values will help where more iterations will not");
  }
  if (Contains(log, "Reached iteration limit") && ran_off.empty()) {
    hints.push_back("the run stopped at its limit of " + std::to_string(s.max_iterations) +
                    " iterations: raise it with --max-iterations " + std::to_string(s.max_iterations * 4));
  }
  if (StartsWith(s.reason, "Error evaluating the function") || StartsWith(s.reason, "Error taking parameter")) {
    hints.push_back(
        "the model cannot be evaluated at that point with the parameters tried: check where it is "
        "defined (a logarithm or a root of a negative, a division by zero, an exp that overflows) and "
        "start from estimates where it is");
  }
  if (Contains(s.reason, "poor goodness of fit")) {
    hints.push_back(
        "the curve reached fits the data worse than their mean: the iteration went astray from its "
        "starting values; start closer to the solution");
  }
  if (Contains(s.reason, "Singular matrix")) {
    hints.push_back(
        "the data cannot tell the parameters apart at these values (a singular matrix): one may have no "
        "effect, or two may play the same part; hold one with --fix or simplify the model");
  }
  std::string starts;
  bool all_default = true;
  for (const auto& p : s.parameters) {
    if (!starts.empty()) starts += ", ";
    starts += CleanText(p.name) + " = " + Number(p.start);
    if (p.estimated) all_default = false;
  }
  hints.push_back(std::string(all_default ? "every parameter started from 1 (" : "the fit started from ") + starts +
                  (all_default ? ")" : "") +
                  ": give starting values near the solution with --estimate NAME=VALUE, read for instance "
                  "from a plot of the data");
  hints.push_back("'tessarix rank " + CleanText(rank_arguments) +
                  "' fits every pre-defined model with its own starting values and lists the best: a close one "
                  "suggests both a model and starting values");
  return hints;
}

}  // namespace

void IterationTrace::Record(std::int32_t iteration, double sse) {
  iterations = iteration;
  if (!first_sse) first_sse = sse;
  last_sse = sse;
}

FailureSummary SummariseFailure(const RegressionObject& regression, const IterationTrace& trace,
                                const std::vector<std::string>& estimated, std::int32_t rows,
                                const std::string& rank_arguments) {
  FailureSummary s;
  s.reason = OneLine(regression.LastSolveError());
  const std::string log = regression.SolutionLog();
  const std::vector<std::string> lines = LogLines(log);
  s.ending = EndingLines(log);
  s.method = MethodName(regression);
  s.iterations = trace.iterations;
  s.max_iterations = regression.MaxIterations();
  s.start_sse = trace.first_sse;
  s.sse = trace.last_sse;
  const auto reached = LastValues(lines);
  for (const auto& p : *regression.RegressionParameters()) {
    FailureSummary::Parameter row;
    row.name = p->Name();
    row.start = p->InitialEstimate();
    row.fixed = p->InitialEstimateType() == tsxEstimateConstant;
    row.estimated = std::any_of(estimated.begin(), estimated.end(),
                                [&](const std::string& name) { return SameName(name, row.name); });
    for (const auto& [name, value] : reached) {
      if (name == row.name) row.reached = value;
    }
    s.parameters.push_back(row);
  }
  std::vector<std::string> tail;
  for (auto it = lines.rbegin(); it != lines.rend() && tail.size() < kLogTailLines; ++it) {
    if (!it->empty()) tail.push_back(*it);
  }
  s.log_tail.assign(tail.rbegin(), tail.rend());
  s.hints = Hints(s, log, rows, rank_arguments);
  return s;
}

std::string FailureReport(const FailureSummary& s, const ReportHeading& heading) {
  std::ostringstream out;
  // Whether the deviations were usable is known only of a solved fit.
  out << HeadingText(heading, !heading.sd_name.empty());
  auto item = [&](const char* name, const std::string& value) { out << PadRight(name, 14) << value << '\n'; };
  item("Model", heading.model_label);
  if (!s.method.empty()) item("Method", s.method);
  item("Outcome", "THE FIT FAILED: " + CleanText(s.reason));
  if (!s.ending.empty()) item("", CleanText(s.ending));
  item("Iterations", std::to_string(s.iterations) + " (limit " + std::to_string(s.max_iterations) + ")");
  if (s.sse) {
    std::string sse = Number(*s.sse);
    if (s.start_sse) sse += " (" + Number(*s.start_sse) + " after the first iteration)";
    item("SSE reached", sse);
  }
  out << "\nParameters\n";
  std::size_t width = 9;
  for (const auto& p : s.parameters) width = std::max(width, DisplayWidth(CleanText(p.name)));
  out << "  " << PadRight("Parameter", width) << "  " << PadLeft("Start", 16) << "  " << PadLeft("Reached", 16) << '\n';
  for (const auto& p : s.parameters) {
    std::string line = "  " + PadRight(CleanText(p.name), width) + "  " + PadLeft(Number(p.start), 16) + "  " +
                       PadLeft(p.fixed ? "fixed" : (p.reached ? Number(*p.reached) : "-"), 16);
    out << line << '\n';
  }
  out << "\nEnd of the solution log\n";
  for (const std::string& line : s.log_tail) out << "  " << CleanText(line) << '\n';
  out << "\nWhat to try\n";
  for (const std::string& hint : s.hints) out << Wrapped(hint, "  - ", "    ");
  return out.str();
}

namespace {

// A parameter name that the model does not use.
std::string FreeName(const FailureSummary& s) {
  std::string name = "tessarix_slope";
  auto taken = [&](const std::string& n) {
    return std::any_of(s.parameters.begin(), s.parameters.end(), [&](const auto& p) { return SameName(p.name, n); });
  };
  while (taken(name)) name += '_';
  return name;
}

// The x of "Error evaluating the function at X = 3", if the text holds one.
std::optional<double> FailedX(const std::string& error) {
  const auto at = error.find("at X = ");
  if (at == std::string::npos) return std::nullopt;
  std::string number = error.substr(at + 7);
  while (!number.empty() && (number.back() == '\n' || number.back() == '\r' || number.back() == ' ')) number.pop_back();
  return ParseNumber(number);
}

}  // namespace

// The library evaluates a model only once it is solved. So the model is
// solved here with its parameters held at the values reached, beside one
// more term s*x that is fitted to data y = M*x: with M large enough the fit
// is always accepted, s*x is known, and f(x) is the prediction less s*x.
// Points where f cannot be evaluated are dropped from those data one by one.
std::vector<std::optional<double>> LastCurve(const std::string& model_text, const FailureSummary& summary,
                                             const std::vector<double>& xs) {
  std::vector<std::optional<double>> ys(xs.size());
  if (xs.size() < 3) return ys;
  for (const auto& p : summary.parameters) {
    if (!p.fixed && !p.reached) return ys;
  }
  const std::string slope_name = FreeName(summary);
  NonlinearRegression helper;
  try {
    helper.DefineUserModel("(" + model_text + ")+" + slope_name + "*x");
    for (const auto& p : summary.parameters) {
      const auto parameter = helper.RegressionParameters()->Item(p.name);
      parameter->SetInitialEstimate(p.fixed ? p.start : *p.reached);
      parameter->SetInitialEstimateType(tsxEstimateConstant);
    }
  } catch (const Error&) {
    return ys;
  }
  const auto [lo, hi] = std::minmax_element(xs.begin(), xs.end());
  if (!(*hi > *lo)) return ys;
  std::vector<double> fit_x = xs;
  double m = 1.0 / (*hi - *lo);
  for (int tries = 0; tries < 2000 && fit_x.size() > 2;) {
    std::vector<double> fit_y(fit_x.size());
    for (std::size_t i = 0; i < fit_x.size(); ++i) fit_y[i] = m * fit_x[i];
    try {
      helper.RegressionParameters()->Item(slope_name)->SetInitialEstimate(m);
      helper.Fit(fit_x, fit_y);
    } catch (const Error&) {
      return ys;
    }
    if (helper.IsSolved()) break;
    ++tries;
    if (const auto bad = FailedX(helper.LastSolveError())) {
      const auto nearest = std::min_element(
          fit_x.begin(), fit_x.end(), [&](double a, double b) { return std::fabs(a - *bad) < std::fabs(b - *bad); });
      fit_x.erase(nearest);
      continue;
    }
    // Rejected: the data do not yet outweigh the curve.
    m *= 1e4;
    if (!std::isfinite(m * (*hi))) return ys;
  }
  if (!helper.IsSolved()) return ys;
  const double s = helper.RegressionParameters()->Item(slope_name)->Value();
  for (std::size_t i = 0; i < xs.size(); ++i) {
    try {
      const double y = helper.PredictValue(xs[i]) - s * xs[i];
      if (std::isfinite(y)) ys[i] = y;
    } catch (const Error&) {
    }
  }
  return ys;
}

}  // namespace tessarix::tool
