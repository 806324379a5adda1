// The model language as the regression classes use it: a compiled model text
// that outlives redefinitions on its object, evaluated at one point.
//
// A TextModel belongs to one regression object and lives as long as it. A new
// definition appends to the program of the previous ones and the
// sub-definition marks stay (the language's rules), so only a new TextModel
// starts clean. The compiler, the program format and the evaluator stay
// private to the language; this class is their one door.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "tessarix/foundation/enums.hpp"
#include "tessarix/language/data_statistics.hpp"
#include "tessarix/language/model_definition.hpp"
#include "tessarix/platform/separators.hpp"

namespace tessarix::detail {

struct TextModelState;

class TextModel {
 public:
  TextModel();
  ~TextModel();
  TextModel(const TextModel&) = delete;
  TextModel& operator=(const TextModel&) = delete;

  // The language's part of an object's model reset: the conditional and error
  // flags. The program's records and the sub-definition marks stay.
  void ResetFlags();

  // Prepares the definition (English and local forms into `english` and
  // `local`, sub-definitions F1..Fk), compiles it and readies the evaluator.
  // Returns the parameter names in their sorted order.
  //
  // `independent_variables` picks the mode of the text. 0: one independent
  // variable, "x". 1 or more: the variables x1, x2, ... (also x01 to x09) of
  // a several-variable model; a plain "x" is then a parameter name like any
  // other, and the data words are those of y and "x1min" ... "yatx9max". In
  // that mode the number of variables comes from the text, not from the
  // argument: it is the highest k of the xk used (at most 50), and every x1
  // to xk must appear. IndependentVariables() reports it.
  //
  // Raises the definition errors in their order: 10018 (gap in the
  // sub-definitions), 10016 (cycle), 10017 (undefined sub-definition), 10015
  // (syntax), 10019 (no independent variable), 10020 (one of x1..xk missing),
  // 10015 (parameters but no valid model), 10021 (no parameters). Faults of
  // the jump-table builder propagate as run-time faults.
  std::vector<std::string> Define(const tessarix::ModelDefinition& definition, InputLocaleEnum locale,
                                  const SystemSeparators& separators, tessarix::ModelDefinition& english,
                                  tessarix::ModelDefinition& local, std::int32_t independent_variables = 0);

  // The number of elements of a point of the last successful definition: 1
  // for x, m for x1..xm; 0 before any and after a failed definition.
  std::int32_t IndependentVariables() const noexcept;

  // y = the model at a point: x alone, or x1..xm in that order. `parameters`
  // is one-based (element 0 unused) and holds at least as many values as the
  // last definition named. False when the model cannot be evaluated there (a
  // point with fewer elements than the program reads included); y is then
  // left as it was. Never throws.
  [[nodiscard]] bool Evaluate(const double* parameters, std::span<const double> point, const DataStatistics& words,
                              double& y) noexcept;
  // The same at x, for a model of one variable.
  [[nodiscard]] bool Evaluate(const double* parameters, double x, const DataStatistics& words, double& y) noexcept;

  // y[r] = the model at rows 0..count-1 of `points`, row r at points + r *
  // width with `width` elements (x, or x1..xm). Returns how many rows were
  // evaluated before the first failure (count when all were): the values,
  // the failing row and the saved sub-definition values afterwards are
  // exactly those of Evaluate called row by row. Programs whose points cannot
  // depend on each other (no conditional, no value of a sub-definition read
  // before it is saved) run a block of points per instruction; the others
  // run row by row. Never throws.
  //
  // `vector_math` (the objects' opt-in setting) computes exp, ln, sin and cos
  // by the vector routines of the C library on the points that run by
  // blocks: the values then differ from the default by at most a few units
  // in the last place per step (see VectorMath on the regression objects).
  [[nodiscard]] std::int32_t EvaluateBlock(const double* parameters, const double* points, std::int32_t width,
                                           std::int32_t count, const DataStatistics& words, double* y,
                                           bool vector_math = false) noexcept;
  // Whether the current program runs by blocks in EvaluateBlock; the rows of
  // one that does not may also be evaluated out of order without changing a
  // result.
  [[nodiscard]] bool RunsByBlocks() noexcept;
  // Whether the current program runs by blocks and no point of it reads a
  // value another point saved (a sub-definition saved inside a conditional
  // and read where the branch was not taken): only then may the rows of a
  // pass be evaluated in blocks between which other evaluations run.
  [[nodiscard]] bool PointsIndependent() noexcept;
  // Whether EvaluateBlockDerivatives serves the current program: one whose
  // points are independent, without saved values if it has conditionals.
  [[nodiscard]] bool DifferentiatesByBlocks() noexcept;

  // The exact parameter derivatives with the values, by forward mode over
  // the program: y[r] as EvaluateBlock computes it and, for l = 1..
  // parameter_count, dyda[r * stride + l] = dy/dparameter l at row r (0 where
  // ia[l] is 0, a fixed parameter). Only for a program that
  // DifferentiatesByBlocks().
  // False at the first failure, with its row and whether the value (exactly
  // as EvaluateBlock fails) or the derivatives (not finite, or a word's
  // derivative that cannot be had) failed; the rows before it are complete.
  // Never throws.
  [[nodiscard]] bool EvaluateBlockDerivatives(const double* parameters, const std::int32_t* ia,
                                              std::int32_t parameter_count, const double* points, std::int32_t width,
                                              std::int32_t count, const DataStatistics& words, double* y, double* dyda,
                                              std::int32_t stride, std::int32_t& failed_row, bool& in_derivatives,
                                              bool vector_math = false) noexcept;

  // A readable listing of the compiled records (kind, code, text, jumps), for
  // tests and diagnostics: one line per record, as "3 param b #2",
  // "4 binary * c4", "5 func if c45 ->6/9" or "2 const 1.5 =1.5".
  std::string Dump() const;

 private:
  std::unique_ptr<TextModelState> state_;
};

}  // namespace tessarix::detail
