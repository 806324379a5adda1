// Exact parameter derivatives of a compiled program: forward mode over the
// postfix instructions, each stack row carrying its value and its partial
// derivatives by the fitted parameters, in one pass over a block of points.
// The values are computed by the very expressions of the block evaluator, so
// they are the bits of the evaluation point by point.
#pragma once

#include <cstdint>
#include <vector>

#include "tessarix/language/data_statistics.hpp"
#include "tessarix/language/internal/block_evaluator.hpp"
#include "tessarix/language/internal/derivative_rules.hpp"
#include "tessarix/language/internal/model_program.hpp"
#include "tessarix/numerics/one_based.hpp"

namespace tessarix::detail {

// The rule of each function instruction (null elsewhere), found once per
// program.
struct DerivativePlan {
  std::vector<const FunctionRow*> rows;  // by instruction, 1..code_length
};
[[nodiscard]] DerivativePlan PlanDerivatives(const ModelProgram& program);

// Work space of the forward pass, kept between calls.
struct DerivativeScratch {
  std::vector<double> rows;
  std::vector<std::uint8_t> depends;   // per stack cell and saved value: any partial not 0, then which
  std::vector<std::int32_t> slot;      // parameter index -> partial row, -1 for a fixed one
  std::vector<const double*> columns;  // parameter index -> the row its derivatives are stored from
  Matrix1 table;                       // the numerical derivative of one word
};

// Where a pass stopped: the row, and whether its value or its derivatives
// failed.
struct DerivativeStop {
  std::int32_t row = 0;
  bool in_derivatives = false;
};

// y[r] and the derivatives dyda[r * stride + l] (l = 1..parameter_count,
// one-based; 0 for a parameter with ia[l] == 0) at rows 0..count-1 of
// `points` (width elements per row). Only for a program whose block plan is
// usable and differentiable. Returns true when every row succeeded; otherwise the stop: the rows
// before it are complete, a value failure is the one the evaluator point by
// point finds (same row, same saved values), and a row whose value succeeds
// but whose derivatives are not all finite fails in its derivatives. Never
// throws. `vector_math`: exp, ln, sin and cos of full blocks by the vector
// routines, as in EvaluateProgramBlock. A block runs under the
// floating-point flags first where EvaluateProgramBlock's would (the
// factors of function words checked too), and checked after a raised flag.
// The partials that are 0 by the program's shape (a parameter that an
// operand does not move with) are written as +0.
[[nodiscard]] bool EvaluateProgramDerivatives(const ModelProgram& program, const BlockPlan& plan,
                                              const DerivativePlan& rules, EvaluationScratch& scratch,
                                              DerivativeScratch& work, const double* parameters, const std::int32_t* ia,
                                              std::int32_t parameter_count, const double* points, std::int32_t width,
                                              std::int32_t count, const DataStatistics& stats, double* y, double* dyda,
                                              std::int32_t stride, DerivativeStop& stop,
                                              bool vector_math = false) noexcept;

}  // namespace tessarix::detail
