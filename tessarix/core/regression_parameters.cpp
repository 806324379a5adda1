#include "tessarix/core/regression_parameters.hpp"

#include <cmath>

#include "tessarix/core/internal/parameter_access.hpp"
#include "tessarix/foundation/error_catalogue.hpp"
#include "tessarix/foundation/error_handler.hpp"
#include "tessarix/foundation/fault.hpp"
#include "tessarix/numerics/distributions.hpp"
#include "tessarix/platform/checked.hpp"
#include "tessarix/platform/rounding.hpp"
#include "tessarix/platform/text_case.hpp"

namespace tessarix {

using detail::RaiseLibraryError;

// ---- RegressionParameter ----------------------------------------------------

double RegressionParameter::Value() const {
  if (!solved_) RaiseLibraryError(ErrorCode::ModelNotSolved);
  return value_;
}

double RegressionParameter::StandardError() const {
  if (!solved_) RaiseLibraryError(ErrorCode::ModelNotSolved);
  return standard_error_;
}

double RegressionParameter::ProbT() const {
  if (!solved_) RaiseLibraryError(ErrorCode::ModelNotSolved);
  return prob_t_;
}

void RegressionParameter::SetInitialEstimate(double value) {
  // A NaN or an infinity would travel into the fit and out as a value.
  if (!std::isfinite(value)) RaiseLibraryError(ErrorCode::InvalidPropertyValue);
  initial_estimate_ = value;
  set_by_caller_ = true;
}

void RegressionParameter::SetInitialEstimateType(EstimateTypeEnum value) {
  if (value != tsxEstimateConstant && value != tsxEstimateAdjust) {
    RaiseLibraryError(ErrorCode::InvalidPropertyValue);
  }
  initial_estimate_type_ = value;
  set_by_caller_ = true;
}

double RegressionParameter::CalculateCIDelta(double Percent) const {
  if (!solved_) RaiseLibraryError(ErrorCode::ModelNotSolved);
  if (!(Percent > 0.0 && Percent < 100.0)) RaiseLibraryError(ErrorCode::InvalidArgument);
  return detail::RunUnderHandler([&] {
    using detail::Num;
    const Num p = Num(Percent) / 100.0 * 0.5 + 0.5;
    const double t = detail::StudentTCritical(p.value(), dof_error_);
    return (sqrt(abs(Num(variance_))) * regression_standard_error_ * t).value();
  });
}

// ---- RegressionParameters ---------------------------------------------------

std::int32_t RegressionParameters::PositionOf(const Variant& index) const {
  switch (index.Type()) {
    case VariantType::String: {
      const std::string name = index.ToString();
      for (std::size_t i = 0; i < items_.size(); ++i) {
        if (!items_[i]->name_.empty() && detail::EqualIgnoringCase(items_[i]->name_, name)) {
          return static_cast<std::int32_t>(i) + 1;
        }
      }
      return -1;
    }
    case VariantType::Long:
    case VariantType::Double:
    case VariantType::Boolean: {
      const double d = index.ToDouble();
      if (!(d > 0.5 - 1.0 && d < static_cast<double>(items_.size()) + 1.0)) return -1;
      const std::int32_t position = detail::RoundToInt32(d);
      if (position < 1 || position > static_cast<std::int32_t>(items_.size())) return -1;
      return position;
    }
    default:
      return -1;
  }
}

std::shared_ptr<RegressionParameter> RegressionParameters::Item(const Variant& ParameterIndex) const {
  const std::int32_t position = PositionOf(ParameterIndex);
  if (position < 1) RaiseLibraryError(ErrorCode::InvalidKeyOrIndex);
  return items_[static_cast<std::size_t>(position) - 1];
}

std::int32_t RegressionParameters::Count() const { return static_cast<std::int32_t>(items_.size()); }

void RegressionParameters::SetDefaultEstimates() {
  for (const auto& p : items_) detail::ParameterAccess::ResetEstimate(*p);
}

double RegressionParameters::CalculateCovariance(const Variant& ParameterIndex1, const Variant& ParameterIndex2) const {
  if (!solved_) RaiseLibraryError(ErrorCode::ModelNotSolved);
  return detail::RunUnderHandler([&] {
    // Each argument is looked up, and then its position found again by its
    // name, compared exactly; two parameters can never share a name.
    const auto find_position = [&](const Variant& index) {
      const std::string name = Item(index)->name_;
      for (std::size_t i = 0; i < items_.size(); ++i) {
        if (items_[i]->name_ == name) return i;
      }
      detail::RaiseFault(detail::FaultKind::SubscriptOutOfRange);
    };
    const std::size_t i = find_position(ParameterIndex1);
    const std::size_t j = find_position(ParameterIndex2);
    if (covariance_.size() != items_.size() * items_.size()) {
      detail::RaiseFault(detail::FaultKind::SubscriptOutOfRange);
    }
    return covariance_[i * items_.size() + j];
  });
}

}  // namespace tessarix

// ---- library operations -----------------------------------------------------

namespace tessarix::detail {

std::shared_ptr<RegressionParameters> ParameterAccess::MakeCollection() {
  return std::shared_ptr<RegressionParameters>(new RegressionParameters());
}

void ParameterAccess::AddParameter(RegressionParameters& c, const std::string& name) {
  if (!name.empty()) {
    for (const auto& p : c.items_) {
      if (!p->name_.empty() && EqualIgnoringCase(p->name_, name)) {
        throw RuntimeFault(std::string("This key is already associated with an element of this collection"));
      }
    }
  }
  std::shared_ptr<RegressionParameter> p(new RegressionParameter());
  p->name_ = name;
  c.items_.push_back(std::move(p));
}

void ParameterAccess::RemoveAllParameters(RegressionParameters& c) {
  c.items_.clear();
  c.covariance_.clear();
  c.solved_ = false;
}

void ParameterAccess::SetSolved(RegressionParameters& c, bool solved) {
  c.solved_ = solved;
  for (const auto& p : c.items_) p->solved_ = solved;
}

void ParameterAccess::SetCovarianceMatrix(RegressionParameters& c, const Matrix1& covar, std::int32_t count) {
  const auto n = static_cast<std::size_t>(count < 0 ? 0 : count);
  c.covariance_.assign(n * n, 0.0);
  for (std::int32_t i = 1; i <= count; ++i) {
    for (std::int32_t j = 1; j <= count; ++j) {
      c.covariance_[static_cast<std::size_t>(i - 1) * n + static_cast<std::size_t>(j - 1)] = covar(i, j);
    }
  }
}

bool ParameterAccess::AllEstimatesDefault(const RegressionParameters& c) {
  for (const auto& p : c.items_) {
    if (p->set_by_caller_) return false;
  }
  return true;
}

RegressionParameter& ParameterAccess::At(const RegressionParameters& c, std::int32_t position) {
  if (position < 1 || position > static_cast<std::int32_t>(c.items_.size())) {
    RaiseFault(FaultKind::SubscriptOutOfRange);
  }
  return *c.items_[static_cast<std::size_t>(position) - 1];
}

void ParameterAccess::ResetEstimate(RegressionParameter& p) {
  p.initial_estimate_ = 1.0;
  p.initial_estimate_type_ = tsxEstimateAdjust;
  p.set_by_caller_ = false;
}

}  // namespace tessarix::detail
