// The seam between the regression engine and the kinds of model. A kind
// (compiled text, pre-defined formula, the host's events) answers the model
// value and its parameter derivatives at a point: a span of the independent
// values, one element for the single-variable class, m for the multi-variable
// one. The engine never asks which kind it holds.
//
// Parameter values are one-based arrays (element 0 unused) owned by the
// engine; the numerical derivatives move one value at a time in place and put
// it back.
#pragma once

#include <cmath>
#include <cstdint>
#include <memory>
#include <span>
#include <utility>
#include <vector>

#include "tessarix/core/internal/point_table.hpp"
#include "tessarix/numerics/internal_failure.hpp"
#include "tessarix/numerics/one_based.hpp"

namespace tessarix::detail {

// Where a block of rows stopped: the row, and whether its value or its
// derivatives failed.
struct RowFailure {
  std::int32_t row = 0;
  bool in_derivatives = false;
};

class PointModel {
 public:
  PointModel() = default;
  virtual ~PointModel() = default;
  PointModel(const PointModel&) = delete;
  PointModel& operator=(const PointModel&) = delete;

  // The model at `point`; false when it cannot be evaluated there. A kind
  // may also throw a run-time fault; the callers of Value below turn both
  // into a failed evaluation.
  [[nodiscard]] virtual bool RawValue(std::span<const double> point, const double* parameters, double& y) = 0;

  // The derivatives by every parameter l (1..count) with ia[l] != 0 into
  // dyda[l]; false when they cannot be had. A fault propagates and ends the
  // run. The default differentiates Value numerically (Ridders' method),
  // moving each fitted parameter in place.
  [[nodiscard]] virtual bool Derivatives(std::span<const double> point, double* parameters, const std::int32_t* ia,
                                         std::int32_t count, double* dyda);

  // Least-squares starting values for the run's observations (pre-defined
  // models): `estimates` enters with the current estimates, zero-based.
  virtual bool HasLeastSquaresEstimates() const { return false; }
  [[nodiscard]] virtual bool ObtainLeastSquaresEstimates(const PointTable& /*points*/, const Vector1& /*y*/,
                                                         const Vector1& /*weights*/, std::int32_t /*n*/,
                                                         std::vector<double>& /*estimates*/) {
    return false;
  }

  // A copy for another thread of a parallel pass: it shares nothing that an
  // evaluation writes (buffers, tables, scratch). nullptr, the default, for a
  // kind whose evaluations must run one after the other on one thread.
  virtual std::unique_ptr<PointModel> ThreadCopy() const { return nullptr; }

  // ---- the block seam ----------------------------------------------------------
  // How many rows the engine hands EvaluateRows at once. 1, the default, keeps
  // the order of every evaluation (and every host event) exactly as a pass
  // point by point makes it.
  virtual std::int32_t BlockRows() const { return 1; }

  // Rows first..first+count-1 of `points`: values[r] and, when `ia` is not
  // null, the derivatives of row r at derivatives[r * stride + l] (l one-based,
  // as Derivatives writes them). On a failure returns false with the row and
  // the kind of failure; the rows before it are complete. A null `values`
  // with `ia` not null asks for the derivatives only (the caller knows the
  // values there); a kind that cannot have one without the other computes
  // the values into ValueScratch. The default runs Value then Derivatives
  // row by row, the values into the scratch when not asked for: a program
  // whose points influence each other needs every value in its order.
  [[nodiscard]] virtual bool EvaluateRows(const PointTable& points, std::int32_t first, std::int32_t count,
                                          double* parameters, const std::int32_t* ia, std::int32_t parameter_count,
                                          double* values, double* derivatives, std::int32_t stride,
                                          RowFailure& failure);

  // The model value with the fault guard: false for a failed evaluation, a
  // run-time fault inside it, or a value that is not finite.
  [[nodiscard]] bool Value(std::span<const double> point, const double* parameters, double& y);

  // Floors of the first step of the numerical parameter derivatives, one per
  // parameter (one-based, element 0 unused), or empty for the plain relative
  // step of Ridders' method. The trust-region iteration sets them for its run
  // and empties them after it.
  void SetDerivativeStepFloors(std::vector<double> floors) { step_floors_ = std::move(floors); }

 protected:
  // Value's guard around an evaluation `raw(double& y) -> bool`, for a kind
  // whose own loop evaluates without a virtual call: false for a failed
  // evaluation, a run-time fault inside it, or a value that is not finite
  // (no kind may hand a NaN or an infinity on as a model value).
  template <class Raw>
  [[nodiscard]] static bool GuardedValue(Raw&& raw, double& y) {
    bool ok = false;
    double value = 0.0;
    const bool ran = SucceedsWithoutFault([&] { ok = raw(value); });
    if (!ran || !ok || !std::isfinite(value)) return false;
    y = value;
    return true;
  }

  // `values`, or when it is null a scratch of `count` values that nobody reads.
  double* ValueScratch(double* values, std::int32_t count);

  // Ridders' derivatives by each fitted parameter through Value.
  [[nodiscard]] bool NumericalDerivatives(std::span<const double> point, double* parameters, const std::int32_t* ia,
                                          std::int32_t count, double* dyda);

 private:
  Matrix1 derivative_table_;
  std::vector<double> step_floors_;
  std::vector<double> value_scratch_;
};

}  // namespace tessarix::detail
