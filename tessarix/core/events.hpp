// The events of NonlinearRegression: callbacks that run on the caller's thread
// in the middle of a fit (and, for the model events, in the queries after it).
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <vector>

#include "tessarix/platform/variant.hpp"

namespace tessarix {

// A host assigns the slots it wants; an empty slot is an event nobody listens
// to. Arguments passed by reference are the ones a handler writes. While a
// handler runs, the regression object is locked: its getters work, but
// defining a model, fitting, ClearFit and the solver setters raise 10033. An
// exception thrown by a handler fails the operation that raised the event
// (inside a fit: the evaluation or the run).
struct NonlinearRegressionEvents {
  // After each iteration of the fit: Iteration counts from 1, SSE is the
  // weighted merit function. Setting Abort ends the iteration; the run is then
  // finished with the values reached.
  std::function<void(std::int32_t Iteration, double SSE, bool& Abort)> IterationComplete;

  // External model (DefineExternalModel): the model value at XValue for the
  // parameter values (zero-based, in the order of the definition) into
  // Result. Success enters false; a handler that does not set it true reports
  // a failed evaluation.
  std::function<void(std::vector<double>& ParameterValues, double XValue, double& Result, bool& Success)>
      EvaluateExternal;
  // The same for DefineExternalModelAlt: ParameterValues is a Variant array of
  // Doubles.
  std::function<void(Variant& ParameterValues, double XValue, double& Result, bool& Success)> EvaluateExternalAlt;

  // External model defined with ExternalDerivatives = true: the derivative of
  // the model by each parameter at XValue into dParameterValues (zero-based,
  // one element per parameter; entries of parameters held constant are
  // ignored). Success enters false.
  std::function<void(std::vector<double>& ParameterValues, double XValue, std::vector<double>& dParameterValues,
                     bool& Success)>
      DerivativeExternal;
  // The same for DefineExternalModelAlt: each element of dParameterValues
  // must convert to a Double.
  std::function<void(Variant& ParameterValues, double XValue, Variant& dParameterValues, bool& Success)>
      DerivativeExternalAlt;

  // ---- extension: block events ----------------------------------------------------
  // A host whose model works on arrays (vectorised code, numpy) sets these
  // instead of the per-point events of an external model: the object then
  // hands it a whole block of observations at once. When
  // EvaluateExternalBlock is set, it is used and the per-point events are not.
  // ParameterValues holds the parameter values (zero-based, in the order of
  // the definition); XValues the points of the block(one x each); Results
  // one value per point. Success enters false; false fails the evaluation at
  // the block's first point, as a failed per-point event does, and so does a
  // result that is not finite at its own point. A fit calls the block events
  // from one thread unless ThreadSafeEvents() is set.
  std::function<void(std::span<const double> ParameterValues, std::span<const double> XValues,
                     std::span<double> Results, bool& Success)>
      EvaluateExternalBlock;
  // With ExternalDerivatives: the derivatives of every point by every
  // parameter into Derivatives, row-major (point i, parameter j at
  // i * parameter count + j). Without it, or when this slot is empty, the
  // derivatives are numerical from EvaluateExternalBlock.
  std::function<void(std::span<const double> ParameterValues, std::span<const double> XValues,
                     std::span<double> Derivatives, bool& Success)>
      DerivativeExternalBlock;
};

}  // namespace tessarix
