// The dispatch of the pre-defined models: the row of the evaluation code
// (one indexed load from the table built at compile time) and its value or
// derivative routine.
#include "tessarix/models/predefined_formulas.hpp"

#include <cmath>

#include "tessarix/models/internal/flagged_num.hpp"
#include "tessarix/models/internal/model_row.hpp"
#include "tessarix/numerics/internal_failure.hpp"
#include "tessarix/platform/float_flags.hpp"

namespace tessarix::detail {
namespace {

const ModelRow* Lookup(std::int32_t code, double x) noexcept {
  // An infinite or NaN abscissa is a failed operand even where the formula
  // would map it to a finite number (b/x at x = inf).
  if (!std::isfinite(x)) {
    return nullptr;
  }
  return RowOfCode(code);
}

}  // namespace

bool EvaluatePredefined(std::int32_t evaluation_code, const double* a, double x, double& y) noexcept {
  const ModelRow* row = Lookup(evaluation_code, x);
  if (row == nullptr) {
    return false;
  }
  return SucceedsWithoutFault([&] { y = row->value(*row, a, Num(x)).value(); });
}

bool PredefinedDerivatives(std::int32_t evaluation_code, const double* a, double x, double* d) noexcept {
  const ModelRow* row = Lookup(evaluation_code, x);
  if (row == nullptr) {
    return false;
  }
  return SucceedsWithoutFault([&] { row->derivatives(*row, a, Num(x), d); });
}

bool EvaluatePredefinedBlock(std::int32_t evaluation_code, const double* a, const double* x, std::int32_t n, double* y,
                             double* d, std::int32_t stride) noexcept {
  const ModelRow* row = RowOfCode(evaluation_code);
  if (row == nullptr || n < 0) return false;
  // Steps on operands that are not finite raise no flag: a block with such
  // a parameter or point takes the checked routines.
  if (!AllFinite(a + 1, row->parameter_count)) return false;
  // The block is reached through the row's pointer, out of the compiler's
  // sight, so none of its steps moves across the flag tests.
  if (!FlagsCanBeWatched()) return false;
  const FlagWatch watch;
  // A step that still goes through a checked routine (one on plain numbers)
  // raises instead of setting a flag; the block is then done row by row,
  // where the same routine fails the same way.
  bool points_finite = false;
  const bool no_fault = SucceedsWithoutFault([&] { points_finite = row->block(*row, a, x, n, y, d, stride); });
  return no_fault && points_finite && watch.Clean();
}

}  // namespace tessarix::detail
