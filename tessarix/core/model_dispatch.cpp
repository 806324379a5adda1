// The one place where the kind of a model decides how it is evaluated and
// differentiated. The driver, the iteration, the statistics and the queries
// only call EvaluateModel and ParameterDerivatives; a kind of model plugs in
// here, through its functions declared in internal/nonlinear_regression_impl.hpp:
//
//   kind               value                     parameter derivatives
//   tsxModelUser       EvaluateUserModel         numerical (Ridders), through EvaluateModel
//   tsxModelInternal   EvaluateInternalModel     InternalModelDerivatives (analytic)
//   tsxModelExternal   EvaluateExternalModel     ExternalModelDerivatives (the host's event)
//                                                or numerical when the host gives none
#include <cmath>

#include "tessarix/core/internal/nonlinear_regression_impl.hpp"
#include "tessarix/foundation/fault.hpp"
#include "tessarix/numerics/extrapolated_derivative.hpp"
#include "tessarix/numerics/internal_failure.hpp"

namespace tessarix::detail {

bool NonlinearRegressionImpl::EvaluateModel(double x_value, double& y) {
  bool ok = false;
  double value = 0.0;
  const bool ran = SucceedsWithoutFault([&] {
    switch (model.type) {
      case tsxModelUser:
        ok = EvaluateUserModel(*this, x_value, value);
        break;
      case tsxModelInternal:
        ok = EvaluateInternalModel(*this, x_value, value);
        break;
      case tsxModelExternal:
        ok = EvaluateExternalModel(*this, x_value, value);
        break;
    }
  });
  // No kind may hand a NaN or an infinity on as a model value.
  if (!ran || !ok || !std::isfinite(value)) return false;
  y = value;
  return true;
}

namespace {

// Each fitted parameter in turn is moved in place in the values array, x
// fixed; the value held before is stored back after each derivative. On a
// failure the parameter is left at its last trial value: the caller abandons
// the pass in any case.
bool NumericalParameterDerivatives(NonlinearRegressionImpl& r, double x_value, const std::int32_t* ia, double* dyda) {
  const std::int32_t count = r.core.parameter_count;
  Vector1& values = r.core.parameter_values;
  // The definition sizes the table; a kind that forgot would write past it.
  if (r.model.derivative_table.Rows() < kDerivativeTableSize) {
    r.model.derivative_table.Resize(kDerivativeTableSize, kDerivativeTableSize);
  }
  for (std::int32_t l = 1; l <= count; ++l) {
    if (ia[l] == 0) {
      dyda[l] = 0.0;
      continue;
    }
    double& variable = values[static_cast<std::size_t>(l)];
    const double held = variable;
    const auto f = [&](double trial, double& y) {
      variable = trial;
      return r.EvaluateModel(x_value, y);
    };
    if (!ExtrapolatedDerivative(f, held, kDerivativeStepShrinkSquared, r.model.derivative_table, dyda[l])) {
      return false;
    }
    variable = held;
  }
  return true;
}

}  // namespace

bool NonlinearRegressionImpl::ParameterDerivatives(double x_value, const std::int32_t* ia, double* dyda) {
  switch (model.type) {
    case tsxModelInternal:
      return InternalModelDerivatives(*this, x_value, dyda);
    case tsxModelExternal:
      if (model.external_derivatives) return ExternalModelDerivatives(*this, x_value, dyda);
      return NumericalParameterDerivatives(*this, x_value, ia, dyda);
    case tsxModelUser:
      return NumericalParameterDerivatives(*this, x_value, ia, dyda);
  }
  return false;
}

}  // namespace tessarix::detail
