// The plain description of a result file for the desktop application
// Tessara (a TSF file): what the solving classes know of a solution, with no
// class behind it. Each class fills one from its state and hands it to
// WriteTsfFile (resultfile/tsf_writer.hpp), which knows the file's layout:
// the sections and their order, the literals, which item is written where
// and in which form. A library service; hosts call SaveTSF on the classes.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tessarix::detail {

// The three forms of the file, one per solving class.
enum class TsfForm {
  SingleVariable,  // NonlinearRegression
  MultiVariable,   // MultipleNonlinearRegression
  Spline,          // CubicSpline
};

// A user model as the file repeats it (regression forms only).
struct TsfModelText {
  // Y, F1 .. F9 of the definition in its English form, empty ones included.
  std::array<std::string, 10> formulas;
  // The definition's description as stored (the writer trims it where the
  // file wants it trimmed).
  std::string description;
  // "User Model: " + definition, or a pre-defined model's catalogue label.
  std::string file_label;
};

// One parameter of a regression model, in model order.
struct TsfParameter {
  double initial_estimate = 1.0;
  std::int32_t estimate_type = 1;  // EstimateTypeEnum: 1 fitted, 0 held constant
  // Of the solution (read only when the model is solved):
  double value = 0.0;
  double variance = 0.0;  // the diagonal element of the inverted normal-equation matrix
};

// The data words of one independent variable of the solved run.
struct TsfVariableSummary {
  double min = 0, max = 0, mean = 0, std = 0;
  double at_y_min = 0, at_y_max = 0;  // the variable at the first smallest / largest y
  double y_at_min = 0, y_at_max = 0;  // y at the first smallest / largest value of the variable
};

// What a solved regression adds (the equation class section).
struct TsfSolution {
  double sse = 0, sse_norm = 0, sst = 0, residual_average = 0, residual_sum = 0;
  double durbin_watson = 0, r2 = 0, r2_adjust = 0, standard_error = 0;
  std::int32_t dof_error = 0;
  std::int32_t dof_regression = 0;
  std::int32_t num_observations = 0;
  std::int32_t num_iterations = 0;
  // The data summary: one entry per independent variable, and the y words.
  std::vector<TsfVariableSummary> variables;
  double y_min = 0, y_max = 0, y_mean = 0, y_std = 0;
  // Single-variable form: the X column in ascending order.
  std::vector<double> sorted_x;
};

// A knot of a solved spline.
struct TsfKnot {
  double x = 0, y = 0, second_derivative = 0;
};

// What a solved spline adds (the interpolation class section).
struct TsfInterpolation {
  std::vector<TsfKnot> knots;  // after averaging of equal X
  double x_min = 0, x_max = 0, y_min = 0, y_max = 0;
};

struct TsfDocument {
  TsfForm form = TsfForm::SingleVariable;
  // The Tessara version the file is written for, (7, 1) or (8, 0).
  std::int32_t major_version = 8;
  std::int32_t minor_version = 0;

  // Regression forms: whether the fit was weighted and the number of
  // independent variables (1 in the single-variable form). Together they fix
  // the number of columns; the spline form always has two.
  bool weighted = false;
  std::int32_t variables = 1;
  // Regression forms: one name per column (X .. , Y, and SD when weighted).
  // The spline form writes its two names empty and ignores these.
  std::vector<std::string> column_names;

  // Regression forms: the solver settings (the spline form writes fixed ones).
  double tolerance = 1e-10;
  std::int32_t max_iterations = 250;
  std::int32_t max_unchanged_iterations = 10;

  // The observations in input order, one vector per column as above (X, Y in
  // the spline form); all of one length, the number of observations. Empty
  // for an unsolved regression.
  std::vector<std::vector<double>> input_columns;

  // Regression forms: the model. A user model has its text; a pre-defined
  // model has only its definition (formulas[0]) and label, `user_model`
  // false. The writer never sees an external model.
  bool user_model = false;
  TsfModelText model;
  std::vector<TsfParameter> parameters;

  // Present only for a solved model: the regression forms' solution or the
  // spline's knots.
  std::optional<TsfSolution> solution;
  std::optional<TsfInterpolation> interpolation;
};

}  // namespace tessarix::detail
