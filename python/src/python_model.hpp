// A Python callable as an external model. The regression object calls it
// through its block events: once per block of observations with the whole
// block as a numpy array, never once per point. The fit runs without the
// interpreter lock; each call takes the lock back for as long as Python runs.
//
// The callable is f(x, p1, p2, ...) -> array of one value per point, where x
// is a float64 array of the block's points: shape (rows,) for one
// independent variable, (rows, m) for m. The optional derivatives callable
// has the same arguments and returns shape (rows, parameters). Without it
// the derivatives are central differences over the whole block, two calls
// of f per fitted parameter.
//
// A Python exception raised by a callable fails the evaluation; the owner
// stops the fit at the end of its iteration (HasPending) and raises it again
// (ThrowPending), so an error in the user's code never passes for a fit that
// did not converge.
#pragma once

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <atomic>
#include <cstdint>
#include <optional>
#include <span>
#include <tessarix/core/events.hpp>
#include <tessarix/core/multiple_events.hpp>
#include <vector>

namespace tessarix::python {

class PythonModel {
 public:
  // `variables` is 0 for the single-variable class (x one-dimensional), m for
  // the multi-variable one.
  PythonModel(pybind11::object function, pybind11::object derivatives, std::int32_t parameters, std::int32_t variables);
  PythonModel(const PythonModel&) = delete;
  PythonModel& operator=(const PythonModel&) = delete;

  // Connects the block events.
  void Install(NonlinearRegressionEvents& events);
  void Install(MultipleNonlinearRegressionEvents& events);

  // Parameters held constant get no derivatives (the library ignores them).
  void SetFixed(std::vector<bool> fixed) { fixed_ = std::move(fixed); }

  // The model at `points` (rows of the block) for `parameters` into `out`,
  // with the lock held by the caller; false for a Python exception, which is
  // kept for ThrowPending.
  bool EvaluateHeld(std::span<const double> parameters, std::span<const double> points, std::span<double> out);

  // Raises the Python exception of the last call into Python, if any, and
  // forgets it. Call with the lock held.
  void ThrowPending();
  void ClearPending();
  bool HasPending() const { return has_pending_.load(); }

  // Calls of the model callable and of the derivatives callable so far.
  std::int64_t ModelCalls() const { return model_calls_; }
  std::int64_t DerivativeCalls() const { return derivative_calls_; }

 private:
  bool Values(std::span<const double> parameters, std::span<const double> points, std::span<double> out);
  bool Derivatives(std::span<const double> parameters, std::span<const double> points, std::span<double> out);

  pybind11::array_t<double> PointArray(std::span<const double> points, std::size_t rows) const;
  void Call(const pybind11::array_t<double>& x, std::span<const double> parameters, std::span<double> out);
  void CallDerivatives(const pybind11::array_t<double>& x, std::span<const double> parameters, std::span<double> out);
  bool FiniteDifferences(const pybind11::array_t<double>& x, std::span<const double> parameters, std::span<double> out);
  void Record(pybind11::error_already_set&& error);

  pybind11::object function_;
  pybind11::object derivatives_;
  std::int32_t parameters_;
  std::int32_t variables_;
  std::vector<bool> fixed_;
  std::int64_t model_calls_ = 0;
  std::int64_t derivative_calls_ = 0;
  std::optional<pybind11::error_already_set> pending_;
  std::atomic<bool> has_pending_{false};
};

}  // namespace tessarix::python
