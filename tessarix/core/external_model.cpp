// External models: the host names the parameters and answers the model's
// values (and, if it says so, derivatives) through the object's events.
#include <cmath>
#include <string>
#include <vector>

#include "tessarix/core/internal/nonlinear_regression_impl.hpp"
#include "tessarix/core/internal/parameter_access.hpp"
#include "tessarix/core/nonlinear_regression.hpp"
#include "tessarix/foundation/error_catalogue.hpp"
#include "tessarix/foundation/error_handler.hpp"
#include "tessarix/foundation/fault.hpp"
#include "tessarix/platform/checked.hpp"
#include "tessarix/platform/rounding.hpp"

namespace tessarix {

namespace {

// The definition after its guards; `names` reads name i of `count`.
template <class NameAt>
void DefineExternal(detail::NonlinearRegressionImpl& r, std::int32_t count, NameAt&& name_at, bool external_derivatives,
                    bool alternative_events) {
  using detail::ParameterAccess;
  detail::ModelState& m = r.model;
  m.type = tsxModelExternal;
  m.external_derivatives = external_derivatives;
  r.core.parameter_count = detail::ToCounter16(count);
  r.core.parameter_values = detail::MakeVector1(count);
  if (!external_derivatives) m.derivative_table.Resize(detail::kDerivativeTableSize, detail::kDerivativeTableSize);
  const auto size = static_cast<std::size_t>(count);
  m.event_values.assign(size, 0.0);
  m.event_derivatives.assign(size, 0.0);
  m.event_values_alt = Variant::Array(std::vector<Variant>(size, Variant(0.0)));
  m.event_derivatives_alt = Variant::Array(std::vector<Variant>(size, Variant(0.0)));
  for (std::int32_t i = 0; i < count; ++i) ParameterAccess::AddParameter(r.core.Parameters(), name_at(i));
  r.core.valid = true;
  m.definition_failed = false;
  m.alternative_events = alternative_events;
}

// A failed definition leaves no model behind.
auto DefinitionUndo(detail::NonlinearRegressionImpl& r) {
  return [&r](const std::string& description) {
    r.core.valid = false;
    r.core.parameter_count = 0;
    detail::ParameterAccess::RemoveAllParameters(r.core.Parameters());
    r.core.last_error = std::string(detail::kGeneralErrorPrefix) + description;
  };
}

}  // namespace

void NonlinearRegression::DefineExternalModel(std::span<const std::string> Parameters, bool ExternalDerivatives) {
  impl_->BeginDefinition();
  detail::RunUnderHandler(
      [&] {
        // The count is the array's upper bound + 1: an empty list has none.
        if (Parameters.empty()) detail::RaiseFault(detail::FaultKind::SubscriptOutOfRange);
        const auto count = static_cast<std::int32_t>(Parameters.size());
        DefineExternal(
            *impl_, count, [&](std::int32_t i) { return Parameters[static_cast<std::size_t>(i)]; }, ExternalDerivatives,
            false);
      },
      DefinitionUndo(*impl_));
}

void NonlinearRegression::DefineExternalModelAlt(const Variant& Parameters, bool ExternalDerivatives) {
  impl_->GuardLocked();
  if (!Parameters.IsArray()) detail::RaiseLibraryError(ErrorCode::ExpectedVariantArray);
  impl_->BeginDefinition();
  detail::RunUnderHandler(
      [&] {
        const std::int32_t count = Parameters.UpperBound() + 1;
        DefineExternal(
            *impl_, count, [&](std::int32_t i) { return Parameters.At(i).ToString(); }, ExternalDerivatives, true);
      },
      DefinitionUndo(*impl_));
}

}  // namespace tessarix

namespace tessarix::detail {

namespace {

// Parameter values 1..count into the zero-based array an event receives. The
// host may have resized or replaced it in an earlier call: it is rebuilt then.
void FillEventValues(std::vector<double>& out, const Vector1& values, std::int32_t count) {
  out.assign(values.begin() + 1, values.begin() + 1 + count);
}

void FillEventValues(Variant& out, const Vector1& values, std::int32_t count) {
  if (!out.IsArray() || out.Dimensions() != 1 || out.UpperBound() != count - 1) {
    out = Variant::Array(std::vector<Variant>(static_cast<std::size_t>(count)));
  }
  for (std::int32_t i = 0; i < count; ++i) out.At(i) = Variant(values[static_cast<std::size_t>(i) + 1]);
}

// The derivative array an event receives holds one element per parameter,
// also after the host resized or replaced it in an earlier call.
void SizeEventDerivatives(std::vector<double>& out, std::int32_t count) {
  if (out.size() != static_cast<std::size_t>(count)) out.assign(static_cast<std::size_t>(count), 0.0);
}

void SizeEventDerivatives(Variant& out, std::int32_t count) {
  if (!out.IsArray() || out.Dimensions() != 1 || out.UpperBound() != count - 1) {
    out = Variant::Array(std::vector<Variant>(static_cast<std::size_t>(count), Variant(0.0)));
  }
}

}  // namespace

bool EvaluateExternalModel(NonlinearRegressionImpl& r, double x, double& y) {
  ModelState& m = r.model;
  const std::int32_t count = r.core.parameter_count;
  double result = 0.0;
  bool success = false;  // a handler must set it
  if (m.alternative_events) {
    FillEventValues(m.event_values_alt, r.core.parameter_values, count);
    if (r.events.EvaluateExternalAlt) {
      InvokeHostHandler([&] { r.events.EvaluateExternalAlt(m.event_values_alt, x, result, success); });
    }
  } else {
    FillEventValues(m.event_values, r.core.parameter_values, count);
    if (r.events.EvaluateExternal) {
      InvokeHostHandler([&] { r.events.EvaluateExternal(m.event_values, x, result, success); });
    }
  }
  if (!success) return false;
  y = result;
  return true;
}

bool ExternalModelDerivatives(NonlinearRegressionImpl& r, double x, double* dyda) {
  ModelState& m = r.model;
  const std::int32_t count = r.core.parameter_count;
  bool success = false;  // a handler must set it
  if (m.alternative_events) {
    FillEventValues(m.event_values_alt, r.core.parameter_values, count);
    SizeEventDerivatives(m.event_derivatives_alt, count);
    if (r.events.DerivativeExternalAlt) {
      InvokeHostHandler(
          [&] { r.events.DerivativeExternalAlt(m.event_values_alt, x, m.event_derivatives_alt, success); });
    }
  } else {
    FillEventValues(m.event_values, r.core.parameter_values, count);
    SizeEventDerivatives(m.event_derivatives, count);
    if (r.events.DerivativeExternal) {
      InvokeHostHandler([&] { r.events.DerivativeExternal(m.event_values, x, m.event_derivatives, success); });
    }
  }
  if (!success) {
    r.core.last_error = "Numerical error occurred while calculating the derivative.";
    return false;
  }
  // Element i is the derivative by parameter i + 1. An element that is
  // missing, does not convert to a Double or is not finite is a fault, which
  // ends the run.
  for (std::int32_t i = 0; i < count; ++i) {
    double d = 0.0;
    if (m.alternative_events) {
      d = m.event_derivatives_alt.At(i).ToDouble();
    } else {
      if (static_cast<std::size_t>(i) >= m.event_derivatives.size()) RaiseFault(FaultKind::SubscriptOutOfRange);
      d = m.event_derivatives[static_cast<std::size_t>(i)];
    }
    dyda[i + 1] = Checked(d);
  }
  return true;
}

}  // namespace tessarix::detail
