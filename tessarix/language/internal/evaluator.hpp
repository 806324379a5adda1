// The postfix evaluator: runs a finished ModelProgram on a stack of doubles
// at one point with the current parameter values.
#pragma once

#include <span>

#include "tessarix/language/data_statistics.hpp"
#include "tessarix/language/internal/model_program.hpp"

namespace tessarix::detail {

// Sizes the scratch for the program (call after FinishProgram; the evaluator
// grows it itself if it was not).
void PrepareScratch(const ModelProgram& program, EvaluationScratch& scratch);

// y = the model at the point (x, or x1..xm). `parameters` is one-based
// (element 0 unused) and holds at least the parameter count the program was
// finished with. False when the model cannot be evaluated there: a non-finite
// step, a failed function, an integer conversion out of range, a stack or
// index fault, a point shorter than the program reads. Then y is left as it
// was; the saved values keep what was saved so far. Never throws.
[[nodiscard]] bool EvaluateProgram(const ModelProgram& program, EvaluationScratch& scratch, const double* parameters,
                                   std::span<const double> point, const DataStatistics& stats, double& y) noexcept;
// The same at a point of one element.
[[nodiscard]] bool EvaluateProgram(const ModelProgram& program, EvaluationScratch& scratch, const double* parameters,
                                   double x, const DataStatistics& stats, double& y) noexcept;

}  // namespace tessarix::detail
