// The catalogue of the 386 pre-defined models with several variables, used by
// MultipleNonlinearRegression's DefineInternalModel: IDs 1 to 242 (two
// variables) and, for every variable count n from 3 to 50, the three linear
// forms with IDs 100*n+700, +701 and +702. Entries have the same columns as
// those of the one-variable catalogue; the file label is the definition.
//
// The routines below are the formulas, analytic derivatives and least-squares
// estimates selected by the evaluation code (1 to 1122, with gaps). None
// raises: a failed step, a code of no model or a point with fewer values than
// the model has variables gives false.
#pragma once

#include <cstdint>
#include <span>

#include "tessarix/models/model_catalogue.hpp"

namespace tessarix::detail {

inline constexpr std::int32_t kLastMultipleEvaluationCode = 1122;

// The entry of a ModelID, or nullptr for an ID outside the catalogue.
const InternalModelEntry* FindMultipleInternalModel(std::int32_t model_id) noexcept;

// The model value at the point (x1 = point[0]). a holds the parameters from
// index 1.
[[nodiscard]] bool EvaluateMultiplePredefined(std::int32_t evaluation_code, const double* a,
                                              std::span<const double> point, double& y) noexcept;

// The partial derivatives by each parameter at the point into d[1..p].
[[nodiscard]] bool MultiplePredefinedDerivatives(std::int32_t evaluation_code, const double* a,
                                                 std::span<const double> point, double* d) noexcept;

// Values and, when d is not null, derivatives of n points in a block: point r
// at points[r * width], its value into y[r] and its derivatives into
// d[r * stride + 1 ..]. The same arithmetic as the two routines above, step
// for step, without a test per step: true when no step of the block failed
// (every output is then what the routines above give); false when one may
// have, and the caller then evaluates the points one by one through them to
// find the failure. The caller's floating-point flags are kept.
[[nodiscard]] bool EvaluateMultiplePredefinedBlock(std::int32_t evaluation_code, const double* a, const double* points,
                                                   std::int32_t width, std::int32_t n, double* y, double* d,
                                                   std::int32_t stride) noexcept;

// The least-squares starting values: the observations transformed (log(y)
// for the power and exponential models), the weighted linear problem in the
// model's terms solved through the singular value decomposition, the
// coefficients turned back into parameters. points holds the rows 0..n of
// `width` values each (row 0 unused), y and w the indexes 1..n. On success
// estimates[0..term_count-1] are written; after a failure they are untouched.
[[nodiscard]] bool ObtainMultipleLeastSquaresEstimates(std::int32_t evaluation_code, std::int32_t term_count,
                                                       const double* points, std::int32_t width, const double* y,
                                                       const double* w, std::int32_t n, std::span<double> estimates);

}  // namespace tessarix::detail
