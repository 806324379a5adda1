// The TSF file: a header, the column names, the solver settings, the
// columns' display formats and a note, then the data bracket with the
// observations, the user model and the solution of the class. Every line is
// written by the platform's list writer, one or more items a line.
#include "tessarix/resultfile/tsf_writer.hpp"

#include <string_view>

#include "tessarix/foundation/fault.hpp"
#include "tessarix/foundation/global_constants.hpp"
#include "tessarix/platform/number_text.hpp"
#include "tessarix/platform/text_writer.hpp"
#include "tessarix/resultfile/internal/file_replacement.hpp"

namespace tessarix::detail {

namespace {

// The typed items of the file. Each item is followed by a comma when its
// line goes on (`end` false) and by the line end otherwise.
class Items {
 public:
  explicit Items(TextWriter& writer) : writer_(writer) {}

  void String(std::string_view text, bool end = true) { writer_.ListString(text, end); }
  // Header lines stand four blanks in; Tessara's reader skips blanks ahead of an item.
  void Indented(std::string_view text) {
    writer_.Plain("    ", false);
    writer_.ListString(text, true);
  }
  void Double(double value, bool end = true) { writer_.ListDouble(value, end); }
  void Long(std::int64_t value, bool end = true) { Word(IntegerText(value), end); }
  void Boolean(bool value, bool end = true) { Word(value ? "#TRUE#" : "#FALSE#", end); }

 private:
  void Word(const std::string& text, bool end) { writer_.Plain(end ? text : text + ",", end); }

  TextWriter& writer_;
};

// An inconsistent document is a fault of its maker: the write fails.
void Require(bool condition) {
  if (!condition) RaiseFault(FaultKind::SubscriptOutOfRange);
}

std::string TrimBlanks(const std::string& text) {
  const std::size_t first = text.find_first_not_of(' ');
  if (first == std::string::npos) return std::string();
  return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

std::int32_t ColumnCount(const TsfDocument& d) {
  switch (d.form) {
    case TsfForm::SingleVariable:
      return d.weighted ? 3 : 2;
    case TsfForm::MultiVariable:
      Require(d.variables >= 1 && d.variables <= 1000000);
      return d.variables + (d.weighted ? 2 : 1);
    case TsfForm::Spline:
      return 2;
  }
  RaiseFault(FaultKind::InvalidCall);
}

void WriteHeader(Items& out, const TsfDocument& d, std::int32_t columns) {
  out.String("B_HEADER");
  out.Indented("Tessara:  Version " + IntegerText(d.major_version) + "." + IntegerText(d.minor_version));
  out.Indented("filetype=regression");
  // Two spellings, both read by Tessara: the regression forms write the
  // flag as a Boolean's text, the spline a fixed lower-case literal.
  out.Indented(d.form == TsfForm::Spline ? std::string("standarddeviation=false")
                                         : std::string("standarddeviation=") + (d.weighted ? "True" : "False"));
  out.Indented("columns=" + IntegerText(columns));
  out.String("E_HEADER");

  out.String("B_COLHEADER");
  if (d.form != TsfForm::Spline) Require(d.column_names.size() == static_cast<std::size_t>(columns));
  for (std::int32_t j = 0; j < columns; ++j) {
    // The spline's column names are not written.
    out.String(d.form == TsfForm::Spline ? std::string_view() : d.column_names[static_cast<std::size_t>(j)]);
  }
  out.String("E_COLHEADER");
}

void WriteSettings(Items& out, const TsfDocument& d, std::int32_t columns) {
  const bool spline = d.form == TsfForm::Spline;
  out.String("B_SOLVESETUP");
  out.Double(spline ? 1e-10 : d.tolerance);
  out.Long(spline ? 250 : d.max_iterations);
  out.Long(spline ? 10 : d.max_unchanged_iterations);
  out.String("E_SOLVESETUP");

  // Display settings of Tessara's columns, the same for every column; the
  // library gives them no meaning of its own.
  out.String("B_FORMAT");
  for (std::int32_t j = 0; j < columns; ++j) {
    out.String("General");
    out.Long(1);
    out.Boolean(false);
    out.Long(3);
    out.Long(0);
    out.String("Arial");
    out.Long(200);
    for (int k = 0; k < 4; ++k) out.Boolean(false);
    out.Long(0);
    out.Boolean(false);
    out.Boolean(false);
    out.Long(255);
    out.Long(1100);
  }
  out.String("E_FORMAT");

  out.String("B_NOTES");
  out.String("Solved with Tessarix version " + IntegerText(GlobalConstants::tsxMajorVersion()) + "." +
             IntegerText(GlobalConstants::tsxMinorVersion()) + "." + IntegerText(GlobalConstants::tsxRevision()));
  out.String("E_NOTES");
}

void WriteInput(Items& out, const TsfDocument& d, std::int32_t columns) {
  const auto& input = d.input_columns;
  const std::size_t rows = input.empty() ? 0 : input.front().size();
  Require(input.empty() || input.size() == static_cast<std::size_t>(columns));
  for (const auto& column : input) Require(column.size() == rows);
  out.String("B_INPUT");
  out.Long(static_cast<std::int64_t>(rows));
  for (std::size_t i = 0; i < rows; ++i) {
    for (std::size_t j = 0; j < input.size(); ++j) out.Double(input[j][i], j + 1 == input.size());
  }
  out.String("E_INPUT");
}

void WriteFormulas(Items& out, const TsfModelText& model) {
  for (const std::string& formula : model.formulas) out.String(formula);
}

// The user model's section; empty marks for the spline and pre-defined models.
void WriteUserModel(Items& out, const TsfDocument& d) {
  out.String("B_USERDEFINED");
  if (d.form != TsfForm::Spline && d.user_model) {
    WriteFormulas(out, d.model);
    out.String(d.model.file_label);
    out.String("Begin_description");
    const std::string description = TrimBlanks(d.model.description);
    if (!description.empty()) out.String(description);
    out.String("End_description");
    out.Long(static_cast<std::int64_t>(d.parameters.size()));
    for (const TsfParameter& p : d.parameters) {
      out.String("Value", false);
      out.Double(p.initial_estimate);
    }
    for (std::size_t k = 0; k < d.parameters.size(); ++k) out.String("Numerical");
  }
  out.String("E_USERDEFINED");
}

// What the data words of the run were, in each form's layout.
void WriteDataSummary(Items& out, const TsfDocument& d, const TsfSolution& s) {
  if (d.form == TsfForm::SingleVariable) {
    Require(s.variables.size() == 1);
    const TsfVariableSummary& x = s.variables.front();
    for (double value : s.sorted_x) out.Double(value);
    for (double value : {x.min, x.max, s.y_min, s.y_max, x.mean, x.std, x.at_y_min, x.at_y_max, x.y_at_min, x.y_at_max,
                         s.y_mean, s.y_std}) {
      out.Double(value);
    }
    return;
  }
  Require(s.variables.size() == static_cast<std::size_t>(d.variables));
  for (std::size_t k = 0; k < s.variables.size(); ++k) out.Double(s.variables[k].min, k + 1 == s.variables.size());
  for (std::size_t k = 0; k < s.variables.size(); ++k) out.Double(s.variables[k].max, k + 1 == s.variables.size());
  out.Double(s.y_min);
  out.Double(s.y_max);
  for (const TsfVariableSummary& x : s.variables) {
    for (double value : {x.mean, x.std, x.at_y_min, x.at_y_max, x.y_at_min, x.y_at_max}) out.Double(value);
  }
  out.Double(s.y_mean);
  out.Double(s.y_std);
}

void WriteEquationClass(Items& out, const TsfDocument& d, const TsfSolution& s) {
  const auto p = static_cast<std::int64_t>(d.parameters.size());
  out.String("B_EQUATIONCLASS");
  // A pre-defined model's description is not written: Tessara reads one only
  // with a user model.
  out.String(d.user_model ? std::string_view(d.model.description) : std::string_view());
  WriteFormulas(out, d.model);
  out.String(d.model.file_label);
  out.Boolean(d.user_model);
  for (int k = 0; k < 3; ++k) out.Boolean(false);
  out.Boolean(true);  // solved
  out.Long(0);
  for (double value : {s.sse, s.sse_norm, s.sst, s.residual_average, s.residual_sum, s.durbin_watson, s.r2, s.r2_adjust,
                       s.standard_error}) {
    out.Double(value);
  }
  out.Long(s.dof_error);
  out.Long(s.dof_regression);
  out.Long(p);
  for (const TsfParameter& parameter : d.parameters) {
    out.Long(parameter.estimate_type, false);
    out.Double(parameter.value, false);
    out.Long(1, false);
    out.Long(1, false);
    out.Long(1);
  }
  out.Long(0);
  out.Long(s.num_observations);
  WriteDataSummary(out, d, s);
  out.Boolean(true);
  out.Long(p);
  for (const TsfParameter& parameter : d.parameters) out.Double(parameter.variance);
  out.Long(s.num_iterations);
  out.String("E_EQUATIONCLASS");
}

void WriteInterpolationClass(Items& out, const TsfInterpolation& s) {
  out.String("B_INTERPOLATIONCLASS");
  out.String("Cubic Spline Interpolation");
  out.String("Cubic Spline");
  out.Long(0);
  out.Boolean(false);
  out.Boolean(true);
  out.String("Cubic Spline Interpolation");
  out.Long(static_cast<std::int64_t>(s.knots.size()));
  for (const TsfKnot& knot : s.knots) {
    out.Double(knot.x, false);
    out.Double(knot.y, false);
    out.Double(knot.second_derivative);
  }
  for (double value : {s.x_min, s.x_max, s.y_min, s.y_max}) out.Double(value);
  out.Boolean(false);
  out.Boolean(false);
  out.String("E_INTERPOLATIONCLASS");
}

void WriteDocument(TextWriter& writer, const TsfDocument& d) {
  Items out(writer);
  const std::int32_t columns = ColumnCount(d);
  WriteHeader(out, d, columns);
  WriteSettings(out, d, columns);
  out.String("B_DATA");
  WriteInput(out, d, columns);
  WriteUserModel(out, d);
  // An unsolved model ends with its user model.
  if (d.form == TsfForm::Spline) {
    if (d.interpolation) WriteInterpolationClass(out, *d.interpolation);
  } else if (d.solution) {
    WriteEquationClass(out, d, *d.solution);
  }
  out.String("E_DATA");
}

}  // namespace

bool IsSupportedTsfVersion(std::int32_t major_version, std::int32_t minor_version) {
  return (major_version == 7 && minor_version == 1) || (major_version == 8 && minor_version == 0);
}

bool WriteTsfFile(const TsfDocument& document, const std::string& path) {
  return ReplaceFileWith(path, [&document](const std::string& file) {
    TextWriter writer;
    if (!writer.Open(file, false)) throw RuntimeFault(std::string("Error writing to file"));
    WriteDocument(writer, document);
    writer.Close();
  });
}

}  // namespace tessarix::detail
