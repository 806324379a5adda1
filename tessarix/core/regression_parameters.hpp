// The parameters of a regression model: one RegressionParameter per name of
// the model, in the order of the model, held by a RegressionParameters
// collection that the regression object owns.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "tessarix/foundation/enums.hpp"
#include "tessarix/foundation/export.hpp"
#include "tessarix/platform/variant.hpp"

namespace tessarix {

namespace detail {
struct ParameterAccess;
}

// One parameter of a model. Made only by the library; a host reads its
// solution and sets its starting value and whether it is fitted.
class TESSARIX_API RegressionParameter {
 public:
  RegressionParameter(const RegressionParameter&) = delete;
  RegressionParameter& operator=(const RegressionParameter&) = delete;

  // The name the model gives the parameter.
  std::string Name() const { return name_; }

  // The fitted value. Raises 10029 unless the model is solved.
  double Value() const;
  // Standard error of the fitted value: sqrt(|C(i,i)|) times the standard
  // error of the regression, C being the covariance matrix of the fit.
  // Raises 10029 unless solved.
  double StandardError() const;
  // Two-sided probability of Student's t for the hypothesis "value is 0";
  // 0 when the standard error is 0. Raises 10029 unless solved.
  double ProbT() const;

  // The starting value of the fit, 1.0 by default. Setting it marks the
  // parameter as set by the caller, which (for a pre-defined model) turns the
  // automatic least-squares estimates off for the whole model. A NaN or an
  // infinity raises 10027 and changes nothing.
  double InitialEstimate() const { return initial_estimate_; }
  void SetInitialEstimate(double value);

  // tsxEstimateAdjust (fitted, the default) or tsxEstimateConstant (held at
  // the initial estimate). Any other value raises 10027 and changes nothing.
  // Setting it marks the parameter as set by the caller.
  EstimateTypeEnum InitialEstimateType() const { return initial_estimate_type_; }
  void SetInitialEstimateType(EstimateTypeEnum value);

  // Half-width of the confidence interval of the value at `Percent` percent:
  // sqrt(|C(i,i)|) * s * t(Percent/200 + 0.5, DOFError). Raises 10029 unless
  // solved and 10028 for a Percent at or below 0 or at or above 100.
  double CalculateCIDelta(double Percent) const;

 private:
  friend struct detail::ParameterAccess;
  friend class RegressionParameters;
  RegressionParameter() = default;

  std::string name_;
  double value_ = 0.0;
  double initial_estimate_ = 1.0;
  EstimateTypeEnum initial_estimate_type_ = tsxEstimateAdjust;
  bool set_by_caller_ = false;
  bool solved_ = false;
  double variance_ = 0.0;  // the diagonal element of the covariance matrix
  double standard_error_ = 0.0;
  double regression_standard_error_ = 0.0;
  double prob_t_ = 0.0;
  std::int32_t dof_error_ = 0;
};

// The ordered collection of the parameters of a model, keyed by name (letter
// case ignored). Made only by the library; refilled by every model definition.
class TESSARIX_API RegressionParameters {
 public:
  using const_iterator = std::vector<std::shared_ptr<RegressionParameter>>::const_iterator;

  RegressionParameters(const RegressionParameters&) = delete;
  RegressionParameters& operator=(const RegressionParameters&) = delete;

  // A parameter by one-based position (a number) or by name (a string, letter
  // case ignored). Raises 10002 "Invalid key or index" when there is none.
  std::shared_ptr<RegressionParameter> Item(const Variant& ParameterIndex) const;
  std::shared_ptr<RegressionParameter> operator[](const Variant& ParameterIndex) const { return Item(ParameterIndex); }

  // The number of parameters.
  std::int32_t Count() const;

  // The parameters in model order.
  const_iterator begin() const noexcept { return items_.begin(); }
  const_iterator end() const noexcept { return items_.end(); }

  // Every parameter back to estimate 1.0, fitted, not set by the caller.
  void SetDefaultEstimates();

  // The element of the covariance matrix of the fit for two parameters (each
  // by position or name). It is the inverse of the curvature matrix as the
  // iteration leaves it, not multiplied by the residual variance (unlike
  // StandardError). Raises 10029 unless solved; any other failure, such as an
  // unknown parameter, is 10001 "General Error: " + its description.
  double CalculateCovariance(const Variant& ParameterIndex1, const Variant& ParameterIndex2) const;

 private:
  friend struct detail::ParameterAccess;
  RegressionParameters() = default;

  std::int32_t PositionOf(const Variant& index) const;  // -1 when not found

  std::vector<std::shared_ptr<RegressionParameter>> items_;
  bool solved_ = false;
  std::vector<double> covariance_;  // row-major, Count() x Count()
};

}  // namespace tessarix
