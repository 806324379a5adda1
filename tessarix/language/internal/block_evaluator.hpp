// The block evaluator: runs a finished ModelProgram over many points at once,
// each instruction applied to a row of values, with the same results and the
// same failures as the evaluator point by point.
#pragma once

#include <array>
#include <cstdint>

#include "tessarix/language/data_statistics.hpp"
#include "tessarix/language/internal/model_program.hpp"

namespace tessarix::detail {

// Whether a program can run by blocks with results identical to a run point
// by point: records of successful compiles only, every recall of a saved
// value after a save of it in the same pass (in the order of the records),
// no "rnd". Conditionals run by masks: each lane follows its own branch, the
// steps of the branch it does not take computed on harmless operands (or
// not at all, for the routines) and their checks discarded; their branches
// nest properly.
//
// A save inside a conditional is the only save of its value in the program:
// a point that does not take the branch keeps the value the last point
// before it saved (the language's stale value), which the block fills in
// from the lanes before it and the call before. Such a program's points
// influence each other (`independent` false): the values of a call by
// blocks are those of a pass point by point over the same rows in order,
// but any evaluation between two calls (a derivative at a point) changes
// what the next call reads.
//
// `differentiable`: the forward pass of exact derivatives serves the program
// (independent points, and no saved value in a program with conditionals,
// whose derivatives stay numerical).
struct BlockPlan {
  bool usable = false;
  bool independent = false;
  bool differentiable = false;
  std::array<bool, 10> saves{};         // the sub-definitions the program saves
  std::array<bool, 10> branch_saves{};  // those it saves inside a conditional
  std::int32_t conditionals = 0;
};
[[nodiscard]] BlockPlan PlanBlocks(const ModelProgram& program);

// y[r] = the model at rows 0..count-1 of `points` (row r at points + r *
// width, `width` elements each). Returns the number of rows evaluated before
// the first failure: count when every row succeeded. The values before a
// failure, the failing row and the saved values afterwards are exactly those
// of EvaluateProgram called row by row; a block in which any check fails is
// replayed row by row to find the row. Never throws.
//
// A program whose points and scalar operands are all finite first runs
// every block of the call with its arithmetic unchecked, under the
// floating-point exception flags (overflow, division by zero, invalid): an
// operation on finite operands whose result is not finite raises one, and
// the steps that fail without one (function words, powers, the integer
// operators) keep their checks. The lanes of a branch not taken compute on
// operands of 1 there, so that they raise none. A raised flag sends the call
// through the checked passes. A conditional whose lanes all take the same
// branch runs that branch alone, in either pass. The values are the same either way; after a
// failure, rows beyond the failing one may hold values of the watched pass.
//
// `vector_math` computes exp, ln, sin and cos of full blocks with the vector
// routines of vector_math.hpp: the values then differ from the scalar path
// by the bound stated there (a block replayed row by row, the one with a
// failure, keeps the scalar values); the failures stay where they are.
[[nodiscard]] std::int32_t EvaluateProgramBlock(const ModelProgram& program, const BlockPlan& plan,
                                                EvaluationScratch& scratch, const double* parameters,
                                                const double* points, std::int32_t width, std::int32_t count,
                                                const DataStatistics& stats, double* y,
                                                bool vector_math = false) noexcept;

}  // namespace tessarix::detail
