// The events of NonlinearRegression: callbacks that run on the caller's thread
// in the middle of a fit (and, for the model events, in the queries after it).
#pragma once

#include <cstdint>
#include <functional>
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
};

}  // namespace tessarix
