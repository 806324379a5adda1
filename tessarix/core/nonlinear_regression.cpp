// NonlinearRegression: what the single-variable class adds to the shared
// engine: its points (one x each), its events, its external models and its
// fit forms.
#include "tessarix/core/nonlinear_regression.hpp"

#include "tessarix/core/internal/model_kinds.hpp"
#include "tessarix/core/internal/observation_sources.hpp"
#include "tessarix/core/internal/regression_engine.hpp"
#include "tessarix/foundation/error_catalogue.hpp"
#include "tessarix/foundation/fault.hpp"
#include "tessarix/language/data_statistics.hpp"
#include "tessarix/platform/number_text.hpp"
#include "tessarix/platform/rounding.hpp"

namespace tessarix {

namespace detail {
namespace {

class SingleVariableHooks final : public RegressionHooks {
 public:
  explicit SingleVariableHooks(NonlinearRegressionEvents& events) : events_(events) {}
  std::string_view ClassName() const override { return "NonlinearRegression"; }
  void IterationComplete(std::int32_t iteration, double sse, bool& abort) override {
    if (events_.IterationComplete) InvokeHostHandler([&] { events_.IterationComplete(iteration, sse, abort); });
  }
  DataStatistics ComputeDataStatistics(const PointTable& points, const Vector1& y, std::int32_t n) override {
    return detail::ComputeDataStatistics(points.Values().data(), y.data(), n);
  }
  std::string PointText(std::span<const double> point) const override { return NumberText(point[0]); }
  const InternalModelEntry* FindPredefinedModel(std::int32_t model_id) const override {
    return FindInternalModel(model_id);
  }
  bool SeveralVariables() const override { return false; }

 private:
  NonlinearRegressionEvents& events_;
};

// How this class hands a point to its host's events: the one x.
struct SingleVariableCalls {
  static void Evaluate(NonlinearRegressionEvents& e, std::span<const double> point, double& result, bool& success,
                       ExternalBuffers& b) {
    if (e.EvaluateExternal) InvokeHostHandler([&] { e.EvaluateExternal(b.values, point[0], result, success); });
  }
  static void EvaluateAlt(NonlinearRegressionEvents& e, std::span<const double> point, double& result, bool& success,
                          ExternalBuffers& b) {
    if (e.EvaluateExternalAlt) {
      InvokeHostHandler([&] { e.EvaluateExternalAlt(b.values_alt, point[0], result, success); });
    }
  }
  static void Derivatives(NonlinearRegressionEvents& e, std::span<const double> point, bool& success,
                          ExternalBuffers& b) {
    if (e.DerivativeExternal) {
      InvokeHostHandler([&] { e.DerivativeExternal(b.values, point[0], b.derivatives, success); });
    }
  }
  static void DerivativesAlt(NonlinearRegressionEvents& e, std::span<const double> point, bool& success,
                             ExternalBuffers& b) {
    if (e.DerivativeExternalAlt) {
      InvokeHostHandler([&] { e.DerivativeExternalAlt(b.values_alt, point[0], b.derivatives_alt, success); });
    }
  }
};

// The definition after its guards; `name_at(i)` reads name i of `count`.
template <class NameAt>
void DefineExternal(RegressionEngine& e, NonlinearRegressionEvents& events, std::int32_t count, NameAt&& name_at,
                    bool external_derivatives, bool alternative_events) {
  e.model.type = tsxModelExternal;
  // A count past the 16-bit counter fails before any name is read.
  static_cast<void>(ToCounter16(count));
  std::vector<std::string> names;
  names.reserve(static_cast<std::size_t>(count));
  for (std::int32_t i = 0; i < count; ++i) names.push_back(name_at(i));
  e.InstallModel(names, std::make_unique<ExternalKind<NonlinearRegressionEvents, SingleVariableCalls>>(
                            events, count, external_derivatives, alternative_events, &e.core.last_error));
}

}  // namespace
}  // namespace detail

NonlinearRegression::NonlinearRegression()
    : RegressionObject(
          std::make_unique<detail::RegressionEngine>(std::make_unique<detail::SingleVariableHooks>(Events))) {}

NonlinearRegression::~NonlinearRegression() = default;

// ---- external models -------------------------------------------------------------

void NonlinearRegression::DefineExternalModel(std::span<const std::string> Parameters, bool ExternalDerivatives) {
  engine_->BeginDefinition();
  engine_->RunDefinition(
      [&] {
        // The count is the array's upper bound + 1: an empty list has none.
        if (Parameters.empty()) detail::RaiseFault(detail::FaultKind::SubscriptOutOfRange);
        const auto count = static_cast<std::int32_t>(Parameters.size());
        detail::DefineExternal(
            *engine_, Events, count, [&](std::int32_t i) { return Parameters[static_cast<std::size_t>(i)]; },
            ExternalDerivatives, false);
      },
      detail::LibraryErrors::Wrap);
}

void NonlinearRegression::DefineExternalModelAlt(const Variant& Parameters, bool ExternalDerivatives) {
  engine_->GuardLocked();
  if (!Parameters.IsArray()) detail::RaiseLibraryError(ErrorCode::ExpectedVariantArray);
  engine_->BeginDefinition();
  engine_->RunDefinition(
      [&] {
        const std::int32_t count = Parameters.UpperBound() + 1;
        detail::DefineExternal(
            *engine_, Events, count, [&](std::int32_t i) { return Parameters.At(i).ToString(); }, ExternalDerivatives,
            true);
      },
      detail::LibraryErrors::Wrap);
}

// ---- fit forms ---------------------------------------------------------------------

void NonlinearRegression::Fit(std::span<const double> XObservations, std::span<const double> YObservations) {
  detail::ArraySource source(XObservations, YObservations);
  engine_->Fit(source);
}

void NonlinearRegression::FitWeighted(std::span<const double> XObservations, std::span<const double> YObservations,
                                      std::span<const double> StandardDeviations) {
  detail::ArraySource source(XObservations, YObservations, StandardDeviations);
  engine_->Fit(source);
}

void NonlinearRegression::FitAlt(const Variant& XObservations, const Variant& YObservations) {
  detail::VariantSource source(XObservations, YObservations);
  engine_->Fit(source);
}

void NonlinearRegression::FitWeightedAlt(const Variant& XObservations, const Variant& YObservations,
                                         const Variant& StandardDeviations) {
  detail::VariantSource source(XObservations, YObservations, &StandardDeviations);
  engine_->Fit(source);
}

void NonlinearRegression::FitCollection(const DataCollection& ObservedData) {
  detail::CollectionSource source(ObservedData);
  engine_->Fit(source);
}

}  // namespace tessarix
