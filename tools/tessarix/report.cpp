#include "report.hpp"

#include <algorithm>
#include <cmath>
#include <sstream>
#include <tessarix/core/error.hpp>
#include <tessarix/core/global_constants.hpp>
#include <tessarix/core/regression_parameters.hpp>
#include <tessarix/data/data_collection.hpp>
#include <tessarix/data/data_series.hpp>
#include <vector>

#include "text_format.hpp"

namespace tessarix::tool {

namespace {

constexpr int kValueDigits = 10;
constexpr int kErrorDigits = 6;

bool StartsWith(const std::string& line, std::string_view prefix) {
  return line.compare(0, prefix.size(), prefix) == 0;
}

// Half-width of the 95% confidence interval; "-" where the t quantile cannot
// be had.
std::string ConfidenceText(RegressionParameter& parameter) {
  try {
    return SignificantText(parameter.CalculateCIDelta(95.0), kErrorDigits);
  } catch (const Error&) {
    return std::string(1, '-');
  }
}

void ParameterTable(std::ostringstream& out, const RegressionObject& regression) {
  struct Row {
    std::string name, value, se, prob, ci;
  };
  std::vector<Row> rows;
  for (const auto& p : *regression.RegressionParameters()) {
    Row row{CleanText(p->Name()), SignificantText(p->Value(), kValueDigits), "", "", ""};
    if (p->InitialEstimateType() == tsxEstimateConstant) {
      row.se = "fixed";
    } else {
      row.se = SignificantText(p->StandardError(), kErrorDigits);
      row.prob = ProbabilityText(p->ProbT());
      row.ci = ConfidenceText(*p);
    }
    rows.push_back(row);
  }
  Row head{"Parameter", "Value", "Std. error", "t prob.", "95% CI +/-"};
  std::size_t w[5] = {head.name.size(), head.value.size(), head.se.size(), head.prob.size(), head.ci.size()};
  for (const Row& r : rows) {
    w[0] = std::max(w[0], DisplayWidth(r.name));
    w[1] = std::max(w[1], r.value.size());
    w[2] = std::max(w[2], r.se.size());
    w[3] = std::max(w[3], r.prob.size());
    w[4] = std::max(w[4], r.ci.size());
  }
  auto line = [&](const Row& r) {
    std::string text = "  " + PadRight(r.name, w[0]) + "  " + PadLeft(r.value, w[1]) + "  " + PadLeft(r.se, w[2]) +
                       "  " + PadLeft(r.prob, w[3]) + "  " + PadLeft(r.ci, w[4]);
    text.erase(text.find_last_not_of(' ') + 1);
    out << text << '\n';
  };
  line(head);
  out << "  " << std::string(w[0] + w[1] + w[2] + w[3] + w[4] + 8, '-') << '\n';
  for (const Row& r : rows) line(r);
}

void Statistics(std::ostringstream& out, const RegressionObject& r) {
  auto item = [&](const char* name, const std::string& value) { out << "  " << PadRight(name, 22) << value << '\n'; };
  item("R2", SignificantText(r.R2(), kValueDigits));
  item("Adjusted R2", SignificantText(r.R2Adjust(), kValueDigits));
  item("Standard error", SignificantText(r.StandardError(), kValueDigits));
  item("SSE", SignificantText(r.SSE(), kValueDigits));
  if (r.IsWeighted()) item("Weighted SSE", SignificantText(r.SSENorm(), kValueDigits));
  item("Durbin-Watson", SignificantText(r.DurbinWatson(), 6));
  item("F probability", ProbabilityText(r.ProbF()));
  item("Degrees of freedom", "regression " + std::to_string(r.DOFRegression()) + ", error " +
                                 std::to_string(r.DOFError()) + ", total " + std::to_string(r.DOFTotal()));
}

// Where a residual lies: its x, or with several variables its observation.
std::string Where(const std::vector<double>& x, std::size_t i, bool several) {
  std::string text = several ? "at observation " : "at x = ";
  text += several ? std::to_string(i + 1) : SignificantText(x[i], 8);
  return text;
}

void Residuals(std::ostringstream& out, const RegressionObject& regression, bool several) {
  const auto tables = regression.ResultTables();
  const std::int32_t columns = tables->Count();
  if (columns < 4) return;
  const std::vector<double> x = tables->Item(1)->ExportToArray();
  const std::vector<double> e = tables->Item(columns)->ExportToArray();
  if (e.empty() || x.size() != e.size()) return;
  std::size_t lo = 0, hi = 0, positive = 0, negative = 0, runs = 0;
  double sum = 0.0, sum_sq = 0.0;
  int last_sign = 0;
  for (std::size_t i = 0; i < e.size(); ++i) {
    if (e[i] < e[lo]) lo = i;
    if (e[i] > e[hi]) hi = i;
    sum += e[i];
    sum_sq += e[i] * e[i];
    const int sign = e[i] > 0 ? 1 : (e[i] < 0 ? -1 : 0);
    if (sign > 0) ++positive;
    if (sign < 0) ++negative;
    if (sign != 0 && sign != last_sign) {
      ++runs;
      last_sign = sign;
    }
  }
  const double n = static_cast<double>(e.size());
  auto item = [&](const char* name, const std::string& value) { out << "  " << PadRight(name, 22) << value << '\n'; };
  item("Smallest", SignificantText(e[lo], kErrorDigits) + " " + Where(x, lo, several));
  item("Largest", SignificantText(e[hi], kErrorDigits) + " " + Where(x, hi, several));
  item("Mean", SignificantText(sum / n, kErrorDigits));
  item("Root mean square", SignificantText(std::sqrt(sum_sq / n), kErrorDigits));
  item("Signs", std::to_string(positive) + " positive, " + std::to_string(negative) + " negative, " +
                    std::to_string(runs) + " runs");
}

}  // namespace

std::string EndingLines(const std::string& solution_log) {
  static constexpr std::string_view kEndings[] = {
      "Solution converged",       "Reached iteration limit",  "Solution failed to converge",
      "Merit Function unchanged", "Solution process aborted", "Solution stopped at the best point",
      "Solution stalled"};
  std::string joined;
  std::istringstream lines(solution_log);
  std::string line;
  while (std::getline(lines, line)) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    for (std::string_view ending : kEndings) {
      if (StartsWith(line, ending)) {
        if (!joined.empty()) joined += "; ";
        joined += line;
      }
    }
  }
  return joined;
}

std::string FitReport(const RegressionObject& regression, const ReportHeading& heading) {
  std::ostringstream out;
  out << "Tessarix " << GlobalConstants::tsxMajorVersion() << '.' << GlobalConstants::tsxMinorVersion() << '.'
      << GlobalConstants::tsxRevision() << " nonlinear regression\n\n";
  auto item = [&](const char* name, const std::string& value) { out << PadRight(name, 14) << value << '\n'; };
  item("Data", CleanText(heading.data_path));
  const bool several = heading.x_names.size() > 1;
  std::string columns;
  for (std::size_t k = 0; k < heading.x_names.size(); ++k) {
    columns += k == 0 ? "x" : ", x";
    if (several) columns += std::to_string(k + 1);
    columns += " = ";
    columns += CleanText(heading.x_names[k]);
  }
  columns += ", y = " + CleanText(heading.y_name);
  if (regression.IsWeighted()) {
    columns += ", weighted by the standard deviations in " + CleanText(heading.sd_name);
  } else if (!heading.sd_name.empty()) {
    columns += ", unweighted (the deviations in " + CleanText(heading.sd_name) + " are unusable)";
  } else {
    columns += ", unweighted";
  }
  item("", columns);
  item("Observations", std::to_string(regression.NumObservations()));
  item("Model", heading.model_label);
  item("Method", regression.SolverMethod() == tsxSolverMarquardt ? "Marquardt" : "trust-region Levenberg-Marquardt");
  const std::string ending = EndingLines(regression.SolutionLog());
  item("Convergence", ending.empty() ? "solved" : ending);
  item("Iterations", std::to_string(regression.NumIterations()));
  out << '\n';
  ParameterTable(out, regression);
  out << "\nStatistics\n";
  Statistics(out, regression);
  out << "\nResiduals\n";
  Residuals(out, regression, several);
  return out.str();
}

}  // namespace tessarix::tool
