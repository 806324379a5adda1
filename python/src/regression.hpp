// One regression object for Python: NonlinearRegression for x with one
// dimension, MultipleNonlinearRegression for x with columns, with the model
// (text, catalogue number or Python callable), the settings, the fit without
// the interpreter lock, and the plain-data snapshot that the package's
// FitResult keeps and pickles.
//
// An object is private to the call that fits it; afterwards its queries run
// with the lock held, so a result shared between threads is used by one
// thread at a time.
#pragma once

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <tessarix/core/multiple_nonlinear_regression.hpp>
#include <tessarix/core/nonlinear_regression.hpp>
#include <vector>

#include "python_model.hpp"

namespace tessarix::python {

class Regression {
 public:
  // `variables` 0: one independent variable; m >= 1: the multi-variable
  // class with m variables (x1 .. xm).
  explicit Regression(std::int32_t variables);

  std::int32_t Variables() const { return variables_; }

  void DefineText(const std::string& text);
  void DefineId(std::int32_t id);
  void DefineCallable(pybind11::object function, pybind11::object derivatives, const std::vector<std::string>& names);

  std::vector<std::string> ParameterNames() const;
  void SetEstimate(const std::string& name, double value);
  void SetFixed(const std::string& name, bool fixed);
  void SetMaxIterations(std::int32_t value) { Object().SetMaxIterations(value); }
  void SetMaxUnchangedIterations(std::int32_t value) { Object().SetMaxUnchangedIterations(value); }
  void SetTolerance(double value) { Object().SetRegressionTolerance(value); }
  void SetThreads(std::int32_t value) { Object().SetThreads(value); }
  void SetExactDerivatives(bool on) { Object().SetDerivativeMethod(on ? tsxDerivativeExact : tsxDerivativeNumerical); }
  void SetVectorMath(bool on) { Object().SetVectorMath(on); }
  void SetTrustRegion(bool on) { Object().SetSolverMethod(on ? tsxSolverTrustRegion : tsxSolverMarquardt); }

  // Fits y (and sd, when not None) against x. With `release` the lock is
  // let go for the run and taken back by the callbacks of a Python model.
  void Fit(pybind11::handle x, pybind11::handle y, pybind11::handle sd, bool release);

  // The library's guard of the solved results: ModelNotDefined, then
  // ModelNotSolved.
  void RequireSolved() const { (void)Object().NumObservations(); }

  // Everything a result shows, as plain Python values and numpy arrays.
  pybind11::dict Snapshot();

  // Half-widths of the confidence intervals at `level` (0 < level < 1).
  pybind11::array_t<double> ConfidenceDeltas(double level);

  pybind11::array_t<double> Predict(pybind11::handle x);
  pybind11::array_t<double> Derivative(pybind11::handle x, std::int32_t index);
  pybind11::array_t<double> Roots(double y, double lo, double hi, std::int32_t intervals, pybind11::handle point,
                                  std::int32_t index);
  double Integral(double lo, double hi);

  std::int64_t ModelCalls() const { return model_ ? model_->ModelCalls() : 0; }
  std::int64_t DerivativeCalls() const { return model_ ? model_->DerivativeCalls() : 0; }

 private:
  RegressionObject& Object();
  const RegressionObject& Object() const;
  // Runs a library call that may reach a Python model; a Python exception
  // that a callable raised meanwhile wins over the library's error.
  template <class F>
  auto Guarded(F&& call) -> decltype(call());
  // After each iteration: stops the run for a Python exception of the model
  // or a signal (Ctrl-C) that Python's handler turns into one.
  void WatchIterations();
  void ResetEvents();
  void ThrowInterrupt();
  std::vector<double> PredictCallable(
      const pybind11::array_t<double, pybind11::array::c_style | pybind11::array::forcecast>& x, std::size_t rows);

  std::int32_t variables_;
  std::unique_ptr<NonlinearRegression> single_;
  std::unique_ptr<MultipleNonlinearRegression> multiple_;
  std::shared_ptr<PythonModel> model_;
  std::optional<pybind11::error_already_set> interrupt_;
  bool watch_signals_ = false;
};

void RegisterRegression(pybind11::module_& m);

}  // namespace tessarix::python
