// The events of MultipleNonlinearRegression: those of NonlinearRegression
// with the point handed over as an array of the m independent values.
#pragma once

#include <cstdint>
#include <functional>
#include <span>
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

  // ---- extension: block events ----------------------------------------------------
  // A host whose model works on arrays (vectorised code, numpy) sets these
  // instead of the per-point events of an external model: the object then
  // hands it a whole block of observations at once. When
  // EvaluateExternalBlock is set, it is used and the per-point events are not.
  // ParameterValues holds the parameter values (zero-based, in the order of
  // the definition); XValues the points of the block row-major: m values per point, x1 first; Results
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
