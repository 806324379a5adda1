// The dispatch of the pre-defined models: the row of the evaluation code
// (one indexed load from the table built at compile time) and its value or
// derivative routine.
#include "tessarix/models/predefined_formulas.hpp"

#include <cmath>

#include "tessarix/models/internal/model_row.hpp"
#include "tessarix/numerics/internal_failure.hpp"

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

}  // namespace tessarix::detail
