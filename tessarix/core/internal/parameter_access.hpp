// The library's own operations on RegressionParameter and
// RegressionParameters, which hosts cannot reach.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "tessarix/core/regression_parameters.hpp"
#include "tessarix/numerics/one_based.hpp"

namespace tessarix::detail {

struct ParameterAccess {
  // A new empty collection.
  static std::shared_ptr<RegressionParameters> MakeCollection();

  // Adds a parameter with value 0.0 and the default estimate at the end,
  // keyed by its name (case ignored) unless the name is empty. A name already
  // in use is a run-time fault; the definition's handler reports it.
  static void AddParameter(RegressionParameters& c, const std::string& name);
  static void RemoveAllParameters(RegressionParameters& c);
  // The solved mark of the collection and of every parameter in it.
  static void SetSolved(RegressionParameters& c, bool solved);
  // Keeps a copy of covar(1..count, 1..count).
  static void SetCovarianceMatrix(RegressionParameters& c, const Matrix1& covar, std::int32_t count);
  // True when no parameter carries the caller-set mark.
  static bool AllEstimatesDefault(const RegressionParameters& c);
  static RegressionParameter& At(const RegressionParameters& c, std::int32_t position);  // one-based

  // Per parameter.
  static void SetValue(RegressionParameter& p, double v) { p.value_ = v; }
  static void SetVariance(RegressionParameter& p, double v) { p.variance_ = v; }
  static void SetStandardError(RegressionParameter& p, double v) { p.standard_error_ = v; }
  static void SetProbT(RegressionParameter& p, double v) { p.prob_t_ = v; }
  static void SetRegressionStandardError(RegressionParameter& p, double v) { p.regression_standard_error_ = v; }
  static void SetDofError(RegressionParameter& p, std::int32_t v) { p.dof_error_ = v; }
  static void SetSolved(RegressionParameter& p, bool solved) { p.solved_ = solved; }
  // Estimate 1.0, fitted, not set by the caller.
  static void ResetEstimate(RegressionParameter& p);
  // Stores an estimate found by the library; the caller-set mark stays.
  static void SetDefaultEstimate(RegressionParameter& p, double v) { p.initial_estimate_ = v; }
  static bool SetByCaller(const RegressionParameter& p) { return p.set_by_caller_; }
  static double RawValue(const RegressionParameter& p) { return p.value_; }
};

}  // namespace tessarix::detail
