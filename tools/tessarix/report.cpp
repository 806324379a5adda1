#include "report.hpp"

#include <sstream>
#include <tessarix/core/global_constants.hpp>

#include "row_check.hpp"
#include "text_format.hpp"

namespace tessarix::tool {

namespace {

// Rows listed under the heading; the rest are counted.
constexpr std::size_t kShownSkippedRows = 5;

bool StartsWith(const std::string& line, std::string_view prefix) {
  return line.compare(0, prefix.size(), prefix) == 0;
}

}  // namespace

std::string HeadingText(const ReportHeading& heading, bool weighted) {
  std::ostringstream out;
  out << "Tessarix " << GlobalConstants::tsxMajorVersion() << '.' << GlobalConstants::tsxMinorVersion() << '.'
      << GlobalConstants::tsxRevision() << " nonlinear regression\n\n";
  auto item = [&](const char* name, const std::string& value) { out << PadRight(name, 14) << value << '\n'; };
  item("Data", CleanText(heading.data.path));
  const bool several = heading.x_names.size() > 1;
  std::string columns;
  for (std::size_t k = 0; k < heading.x_names.size(); ++k) {
    columns += k == 0 ? "x" : ", x";
    if (several) columns += std::to_string(k + 1);
    columns += " = ";
    columns += CleanText(heading.x_names[k]);
  }
  columns += ", y = " + CleanText(heading.y_name);
  if (weighted) {
    columns += ", weighted by the standard deviations in " + CleanText(heading.sd_name);
  } else if (!heading.sd_name.empty()) {
    columns += ", unweighted (the deviations in " + CleanText(heading.sd_name) + " are unusable)";
  } else {
    columns += ", unweighted";
  }
  item("", columns);
  if (heading.skipped.skipped > 0) {
    item("Skipped rows", std::to_string(heading.skipped.skipped) + " of " + std::to_string(heading.skipped.data_lines) +
                             " rows could not be read and are left out (--strict refuses them):");
    out << SkippedRowLines(heading.skipped, heading.data, kShownSkippedRows, std::string(16, ' '));
  }
  return out.str();
}

std::string PrintableLines(const std::string& text) {
  std::string out;
  std::istringstream lines(text);
  std::string line;
  while (std::getline(lines, line)) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    out += CleanText(line) + '\n';
  }
  return out;
}

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

std::string MethodName(const RegressionObject& regression) {
  return regression.SolverMethod() == tsxSolverMarquardt ? "Marquardt" : "trust-region Levenberg-Marquardt";
}

std::string FitReport(const RegressionObject& regression, const ReportHeading& heading, double level) {
  return HeadingText(heading, regression.IsWeighted()) + PrintableLines(regression.Report(level));
}

}  // namespace tessarix::tool
