// The text report of a solved fit, laid out to be read at a glance: the
// model, how the solution ended, the parameter table, the statistics and
// criteria, the correlations of the parameters and a summary of the
// residuals. Everything in it comes from the object's own getters.
#include <algorithm>
#include <charconv>
#include <cmath>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "tessarix/core/internal/regression_engine.hpp"
#include "tessarix/core/regression_object.hpp"
#include "tessarix/data/data_series.hpp"
#include "tessarix/foundation/error_catalogue.hpp"
#include "tessarix/foundation/global_constants.hpp"
#include "tessarix/models/predefined_models.hpp"
#include "tessarix/platform/separators.hpp"

namespace tessarix {

namespace {

constexpr int kValueDigits = 10;
constexpr int kErrorDigits = 6;
// Correlations beyond this tell that the data hardly separate two parameters.
constexpr double kStrongCorrelation = 0.99;

// ---- number and column text ------------------------------------------------------

// The decimal point of a C-form number becomes the user's separator.
std::string Localised(std::string text) {
  const std::string& separator = CurrentSeparators().SystemDecimalSeparator;
  const auto point = text.find('.');
  if (point != std::string::npos && !separator.empty() && separator != ".") text.replace(point, 1, separator);
  return text;
}

// `significant` digits, as printf's %g writes them.
std::string Significant(double value, int significant) {
  char buffer[64];
  const auto result = std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::general, significant);
  return Localised(std::string(buffer, result.ptr));
}

std::string Fixed(double value, int decimals) {
  char buffer[64];
  const auto result = std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed, decimals);
  return Localised(std::string(buffer, result.ptr));
}

// Four decimals, and the exponent form for what would print as 0.0000.
std::string Probability(double p) {
  if (p == 0.0) return "0";
  if (std::fabs(p) < 1e-4) {
    char buffer[64];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, p, std::chars_format::scientific, 2);
    return Localised(std::string(buffer, result.ptr));
  }
  return Fixed(p, 4);
}

// Characters (UTF-8 code points) of a text.
std::size_t Width(std::string_view text) {
  return static_cast<std::size_t>(
      std::count_if(text.begin(), text.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
}

std::string PadLeft(std::string_view text, std::size_t width) {
  const std::size_t w = Width(text);
  return std::string(w < width ? width - w : 0, ' ') + std::string(text);
}

std::string PadRight(std::string_view text, std::size_t width) {
  const std::size_t w = Width(text);
  return std::string(text) + std::string(w < width ? width - w : 0, ' ');
}

// A table: a heading row and rows of cells, the first column left-aligned and
// the others right-aligned, indented by two blanks, trailing blanks cut.
std::string Table(const std::vector<std::vector<std::string>>& rows, bool rule) {
  std::vector<std::size_t> widths;
  for (const auto& row : rows) {
    if (widths.size() < row.size()) widths.resize(row.size(), 0);
    for (std::size_t j = 0; j < row.size(); ++j) widths[j] = std::max(widths[j], Width(row[j]));
  }
  std::string out;
  for (std::size_t i = 0; i < rows.size(); ++i) {
    std::string line;
    for (std::size_t j = 0; j < rows[i].size(); ++j) {
      line += "  ";
      line += j == 0 ? PadRight(rows[i][j], widths[j]) : PadLeft(rows[i][j], widths[j]);
    }
    line.erase(line.find_last_not_of(' ') + 1);
    out += line + '\n';
    if (rule && i == 0) {
      std::size_t total = 0;
      for (std::size_t w : widths) total += w + 2;
      out += "  " + std::string(total - 2, '-') + '\n';
    }
  }
  return out;
}

std::string Item(std::string_view name, const std::string& value, std::size_t width) {
  return PadRight(name, width) + value + '\n';
}

// ---- the parts of the report ----------------------------------------------------------

// The lines of the log that tell how the iterations ended, joined by "; ".
std::string EndingOfLog(const std::string& log) {
  static constexpr std::string_view kEndings[] = {
      "Solution converged",       "Reached iteration limit",  "Solution failed to converge",
      "Merit Function unchanged", "Solution process aborted", "Solution stopped at the best point",
      "Solution stalled"};
  std::string joined;
  std::istringstream lines(log);
  std::string line;
  while (std::getline(lines, line)) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    for (std::string_view ending : kEndings) {
      if (line.compare(0, ending.size(), ending) == 0) {
        if (!joined.empty()) joined += "; ";
        joined += line;
      }
    }
  }
  return joined.empty() ? std::string("solved") : joined;
}

// The catalogue number of the defined pre-defined model, 0 when it cannot be
// told: the engine keeps the entry's code and label, not its number. The
// listing is walked rather than the numbers, since the catalogue of several
// variables has gaps (243 to 999, and all but three IDs of every hundred).
std::int32_t PredefinedModelId(detail::RegressionEngine& e) {
  const std::string text = e.ModelText();
  const std::vector<PredefinedModelInfo>& listing =
      e.Hooks().SeveralVariables() ? PredefinedMultipleModels() : PredefinedModels();
  for (const PredefinedModelInfo& model : listing) {
    const detail::InternalModelEntry* entry = e.Hooks().FindPredefinedModel(model.ID);
    if (entry != nullptr && entry->evaluation_code == e.model.evaluation_code && entry->definition == text &&
        entry->file_label == e.model.model_file_label) {
      return model.ID;
    }
  }
  return 0;
}

std::string ModelLines(const RegressionObject& r, detail::RegressionEngine& e) {
  constexpr std::size_t kWidth = 14;
  if (r.ModelType() == tsxModelExternal) {
    std::string names;
    for (const auto& p : *r.RegressionParameters()) names += (names.empty() ? "" : ", ") + p->Name();
    return Item("Model", "external, parameters " + names, kWidth);
  }
  const tessarix::ModelDefinition definition = r.ModelDefinition();
  std::string label = "y = " + definition.Y();
  std::string note;
  if (r.ModelType() == tsxModelInternal) {
    const std::int32_t id = PredefinedModelId(e);
    if (id > 0) note = "model " + std::to_string(id);
  }
  if (!definition.Description().empty()) note += (note.empty() ? "" : ", ") + definition.Description();
  if (!note.empty()) label += "  (" + note + ")";
  std::string out = Item("Model", label, kWidth);
  const std::string subs[] = {definition.F1(), definition.F2(), definition.F3(), definition.F4(), definition.F5(),
                              definition.F6(), definition.F7(), definition.F8(), definition.F9()};
  for (std::size_t k = 0; k < std::size(subs); ++k) {
    if (subs[k].empty()) continue;
    std::string line = "F";
    line += std::to_string(k + 1);
    line += " = ";
    line += subs[k];
    out += Item("", line, kWidth);
  }
  return out;
}

std::string Parameters(const RegressionObject& r, double percent) {
  std::vector<std::vector<std::string>> rows;
  rows.push_back({"Parameter", "Value", "Std. error", "t prob.", Significant(percent, 6) + "% CI +/-"});
  for (const auto& p : *r.RegressionParameters()) {
    std::vector<std::string> row{p->Name(), Significant(p->Value(), kValueDigits)};
    if (p->InitialEstimateType() == tsxEstimateConstant) {
      row.emplace_back("fixed");
    } else {
      row.push_back(Significant(p->StandardError(), kErrorDigits));
      row.push_back(Probability(p->ProbT()));
      try {
        row.push_back(Significant(p->CalculateCIDelta(percent), kErrorDigits));
      } catch (const Error&) {
        row.emplace_back("-");
      }
    }
    rows.push_back(std::move(row));
  }
  return Table(rows, true);
}

// A criterion, or "-" where it has no finite value (a perfect fit).
template <class Getter>
std::string Criterion(Getter&& getter) {
  try {
    return Significant(getter(), kValueDigits);
  } catch (const Error&) {
    return "-";
  }
}

std::string Statistics(const RegressionObject& r) {
  constexpr std::size_t kWidth = 24;
  std::string out = "Statistics\n";
  const auto item = [&](std::string_view name, const std::string& value) {
    out += Item("  " + std::string(name), value, kWidth);
  };
  item("R2", Significant(r.R2(), kValueDigits));
  item("Adjusted R2", Significant(r.R2Adjust(), kValueDigits));
  item("Standard error", Significant(r.StandardError(), kValueDigits));
  item("SSE", Significant(r.SSE(), kValueDigits));
  if (r.IsWeighted()) item("Weighted SSE", Significant(r.SSENorm(), kValueDigits));
  item("Durbin-Watson", Significant(r.DurbinWatson(), 6));
  item("F probability", Probability(r.ProbF()));
  item("Degrees of freedom", "regression " + std::to_string(r.DOFRegression()) + ", error " +
                                 std::to_string(r.DOFError()) + ", total " + std::to_string(r.DOFTotal()));
  item("AIC", Criterion([&] { return r.AIC(); }));
  item("AICc", Criterion([&] { return r.AICc(); }));
  item("BIC", Criterion([&] { return r.BIC(); }));
  return out;
}

// The lower triangle of the correlations of the fitted parameters, and the
// pairs that the data hardly tell apart.
std::string Correlations(const RegressionObject& r) {
  const Matrix c = r.CorrelationMatrix();
  std::vector<std::int32_t> fitted;
  std::vector<std::string> names;
  std::int32_t i = 0;
  for (const auto& p : *r.RegressionParameters()) {
    if (c(i, i) != 0.0) {
      fitted.push_back(i);
      names.push_back(p->Name());
    }
    ++i;
  }
  if (fitted.size() < 2) return "";
  std::vector<std::vector<std::string>> rows;
  rows.emplace_back(1, "");
  for (const std::string& name : names) rows[0].push_back(name);
  std::vector<std::string> strong;
  for (std::size_t a = 0; a < fitted.size(); ++a) {
    std::vector<std::string> row{names[a]};
    for (std::size_t b = 0; b <= a; ++b) {
      const double value = c(fitted[a], fitted[b]);
      std::string text = Fixed(value, 4);
      if (b < a && std::fabs(value) > kStrongCorrelation) {
        text += '!';
        strong.push_back(names[b] + " and " + names[a] + " (" + Fixed(value, 4) + ")");
      }
      row.push_back(text);
    }
    rows.push_back(std::move(row));
  }
  std::string out = "Correlations of the parameters\n" + Table(rows, false);
  for (const std::string& pair : strong) {
    out += "  ! |r| > 0.99: " + pair + ": the data hardly tell them apart\n";
  }
  return out;
}

// Where a residual lies: its x, or with several variables its observation.
std::string Where(const std::vector<double>& x, std::size_t i, bool several) {
  return several ? "at observation " + std::to_string(i + 1) : "at x = " + Significant(x[i], 8);
}

std::string Residuals(const RegressionObject& r) {
  const auto tables = r.ResultTables();
  const std::int32_t columns = tables->Count();
  if (columns < 4) return "";
  const std::vector<double> x = tables->Item(1)->ExportToArray();
  const std::vector<double> e = tables->Item(columns)->ExportToArray();
  if (e.empty() || x.size() != e.size()) return "";
  const bool several = r.NumIndependentVariables() > 1;
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
  constexpr std::size_t kWidth = 24;
  std::string out = "Residuals\n";
  out += Item("  Smallest", Significant(e[lo], kErrorDigits) + " " + Where(x, lo, several), kWidth);
  out += Item("  Largest", Significant(e[hi], kErrorDigits) + " " + Where(x, hi, several), kWidth);
  out += Item("  Mean", Significant(sum / n, kErrorDigits), kWidth);
  out += Item("  Root mean square", Significant(std::sqrt(sum_sq / n), kErrorDigits), kWidth);
  out += Item("  Signs",
              std::to_string(positive) + " positive, " + std::to_string(negative) + " negative, " +
                  std::to_string(runs) + " runs",
              kWidth);
  return out;
}

}  // namespace

std::string RegressionObject::Report(double Percent) const {
  engine_->GuardQuery();
  if (!(Percent > 0.0 && Percent < 100.0)) detail::RaiseLibraryError(ErrorCode::InvalidArgument);
  constexpr std::size_t kWidth = 14;
  std::string out = ModelLines(*this, *engine_);
  out +=
      Item("Observations", std::to_string(NumObservations()) + (IsWeighted() ? ", weighted" : ", unweighted"), kWidth);
  out +=
      Item("Method", SolverMethod() == tsxSolverMarquardt ? "Marquardt" : "trust-region Levenberg-Marquardt", kWidth);
  out += Item("Convergence", EndingOfLog(SolutionLog()), kWidth);
  out += Item("Iterations", std::to_string(NumIterations()), kWidth);
  out += '\n' + Parameters(*this, Percent);
  out += '\n' + Statistics(*this);
  const std::string correlations = Correlations(*this);
  if (!correlations.empty()) out += '\n' + correlations;
  const std::string residuals = Residuals(*this);
  if (!residuals.empty()) out += '\n' + residuals;
  return out;
}

}  // namespace tessarix
