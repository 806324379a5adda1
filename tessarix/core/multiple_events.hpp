// The events of MultipleNonlinearRegression: those of NonlinearRegression
// with the point handed over as an array of the m independent values.
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "tessarix/platform/variant.hpp"

namespace tessarix {

// A host assigns the slots it wants; an empty slot is an event nobody listens
// to. While a handler runs the object is locked (LockedDuringSolution, 10033
// for definitions, fits, ClearFit and the solver setters). An exception
// thrown by a handler fails the operation that raised the event.
struct MultipleNonlinearRegressionEvents {
  // After each iteration of the fit; setting Abort ends the iteration.
  std::function<void(std::int32_t Iteration, double SSE, bool& Abort)> IterationComplete;
  // External model: the model value at the point XValues (zero-based, x1
  // first, m elements) for the parameter values (zero-based, in the order of
  // the definition) into Result. Success enters false.
  std::function<void(std::vector<double>& ParameterValues, std::vector<double>& XValues, double& Result, bool& Success)>
      EvaluateExternal;
  // The same for DefineExternalModelAlt: Variant arrays of Doubles.
  std::function<void(Variant& ParameterValues, Variant& XValues, double& Result, bool& Success)> EvaluateExternalAlt;
  // External model defined with ExternalDerivatives = true: the derivative by
  // each parameter at XValues into dParameterValues (one element per
  // parameter). Success enters false.
  std::function<void(std::vector<double>& ParameterValues, std::vector<double>& XValues,
                     std::vector<double>& dParameterValues, bool& Success)>
      DerivativeExternal;
  // The same for DefineExternalModelAlt; each element of dParameterValues
  // must convert to a Double.
  std::function<void(Variant& ParameterValues, Variant& XValues, Variant& dParameterValues, bool& Success)>
      DerivativeExternalAlt;
};

}  // namespace tessarix
