// MultipleNonlinearRegression: what the multi-variable class adds to the
// shared engine: points of m values, its events, its external models and its
// fit forms.
#include "tessarix/core/multiple_nonlinear_regression.hpp"

#include "tessarix/core/internal/model_kinds.hpp"
#include "tessarix/core/internal/multiple_sources.hpp"
#include "tessarix/core/internal/regression_engine.hpp"
#include "tessarix/foundation/error_catalogue.hpp"
#include "tessarix/foundation/fault.hpp"
#include "tessarix/models/multiple_catalogue.hpp"
#include "tessarix/platform/number_text.hpp"
#include "tessarix/platform/rounding.hpp"

namespace tessarix {

namespace detail {
namespace {

class MultipleVariableHooks final : public RegressionHooks {
 public:
  explicit MultipleVariableHooks(MultipleNonlinearRegressionEvents& events) : events_(events) {}
  std::string_view ClassName() const override { return "MultipleNonlinearRegression"; }
  void IterationComplete(std::int32_t iteration, double sse, bool& abort) override {
    if (events_.IterationComplete) InvokeHostHandler([&] { events_.IterationComplete(iteration, sse, abort); });
  }
  // The words reach variables 1 to 9 only, but every variable's statistics
  // are computed, as the run always has: a fault in any of them (an overflow
  // of a standard deviation) fails the run.
  DataStatistics ComputeDataStatistics(const PointTable& points, const Vector1& y, std::int32_t n) override {
    const std::int32_t m = points.Width();
    for (std::int32_t k = kVariablesWithDataWords + 1; k <= m; ++k) {
      static_cast<void>(detail::ComputeDataStatistics(points.Values().data() + (k - 1), m, y.data(), n));
    }
    return ComputeTableStatistics(points.Values().data(), m, y.data(), n);
  }
  std::string PointText(std::span<const double> point) const override {
    std::string text;
    for (std::size_t k = 0; k < point.size(); ++k) text += (k == 0 ? "" : ", ") + NumberText(point[k]);
    return text;
  }
  const InternalModelEntry* FindPredefinedModel(std::int32_t model_id) const override {
    return FindMultipleInternalModel(model_id);
  }
  bool SeveralVariables() const override { return true; }

 private:
  MultipleNonlinearRegressionEvents& events_;
};

// How this class hands a point to its host's events: an array of the m values.
struct MultipleVariableCalls {
  static std::vector<double>& Point(ExternalBuffers& b, std::span<const double> point) {
    b.point.assign(point.begin(), point.end());
    return b.point;
  }
  static Variant& PointAlt(ExternalBuffers& b, std::span<const double> point) {
    std::vector<Variant> elements;
    elements.reserve(point.size());
    for (double v : point) elements.emplace_back(v);
    b.point_alt = Variant::Array(std::move(elements));
    return b.point_alt;
  }
  static void Evaluate(MultipleNonlinearRegressionEvents& e, std::span<const double> point, double& result,
                       bool& success, ExternalBuffers& b) {
    if (e.EvaluateExternal) {
      InvokeHostHandler([&] { e.EvaluateExternal(b.values, Point(b, point), result, success); });
    }
  }
  static void EvaluateAlt(MultipleNonlinearRegressionEvents& e, std::span<const double> point, double& result,
                          bool& success, ExternalBuffers& b) {
    if (e.EvaluateExternalAlt) {
      InvokeHostHandler([&] { e.EvaluateExternalAlt(b.values_alt, PointAlt(b, point), result, success); });
    }
  }
  static void Derivatives(MultipleNonlinearRegressionEvents& e, std::span<const double> point, bool& success,
                          ExternalBuffers& b) {
    if (e.DerivativeExternal) {
      InvokeHostHandler([&] { e.DerivativeExternal(b.values, Point(b, point), b.derivatives, success); });
    }
  }
  static void DerivativesAlt(MultipleNonlinearRegressionEvents& e, std::span<const double> point, bool& success,
                             ExternalBuffers& b) {
    if (e.DerivativeExternalAlt) {
      InvokeHostHandler([&] { e.DerivativeExternalAlt(b.values_alt, PointAlt(b, point), b.derivatives_alt, success); });
    }
  }
};

template <class NameAt>
void DefineExternal(RegressionEngine& e, MultipleNonlinearRegressionEvents& events, std::int32_t variables,
                    std::int32_t count, NameAt&& name_at, bool external_derivatives, bool alternative_events) {
  e.model.type = tsxModelExternal;
  static_cast<void>(ToCounter16(count));
  std::vector<std::string> names;
  names.reserve(static_cast<std::size_t>(count));
  for (std::int32_t i = 0; i < count; ++i) names.push_back(name_at(i));
  e.variables = variables;
  e.InstallModel(names, std::make_unique<ExternalKind<MultipleNonlinearRegressionEvents, MultipleVariableCalls>>(
                            events, count, external_derivatives, alternative_events, &e.core.last_error));
}

}  // namespace
}  // namespace detail

MultipleNonlinearRegression::MultipleNonlinearRegression()
    : RegressionObject(
          std::make_unique<detail::RegressionEngine>(std::make_unique<detail::MultipleVariableHooks>(Events))) {}

MultipleNonlinearRegression::~MultipleNonlinearRegression() = default;

// ---- external models ------------------------------------------------------------------

void MultipleNonlinearRegression::DefineExternalModel(std::int32_t NumIndependentVars,
                                                      std::span<const std::string> Parameters,
                                                      bool ExternalDerivatives) {
  if (NumIndependentVars < 1) detail::RaiseLibraryError(ErrorCode::InvalidArgument);
  engine_->BeginDefinition();
  engine_->RunDefinition(
      [&] {
        if (Parameters.empty()) detail::RaiseFault(detail::FaultKind::SubscriptOutOfRange);
        const auto count = static_cast<std::int32_t>(Parameters.size());
        detail::DefineExternal(
            *engine_, Events, NumIndependentVars, count,
            [&](std::int32_t i) { return Parameters[static_cast<std::size_t>(i)]; }, ExternalDerivatives, false);
      },
      detail::LibraryErrors::Wrap);
}

void MultipleNonlinearRegression::DefineExternalModelAlt(std::int32_t NumIndependentVars, const Variant& Parameters,
                                                         bool ExternalDerivatives) {
  if (NumIndependentVars < 1) detail::RaiseLibraryError(ErrorCode::InvalidArgument);
  engine_->GuardLocked();
  if (!Parameters.IsArray()) detail::RaiseLibraryError(ErrorCode::ExpectedVariantArray);
  engine_->BeginDefinition();
  engine_->RunDefinition(
      [&] {
        const std::int32_t count = Parameters.UpperBound() + 1;
        detail::DefineExternal(
            *engine_, Events, NumIndependentVars, count, [&](std::int32_t i) { return Parameters.At(i).ToString(); },
            ExternalDerivatives, true);
      },
      detail::LibraryErrors::Wrap);
}

// ---- fit forms ---------------------------------------------------------------------------

void MultipleNonlinearRegression::Fit(const Matrix& XObservations, std::span<const double> YObservations) {
  detail::MatrixSource source(XObservations, YObservations, std::nullopt, engine_->variables);
  engine_->Fit(source);
}

void MultipleNonlinearRegression::FitWeighted(const Matrix& XObservations, std::span<const double> YObservations,
                                              std::span<const double> StandardDeviations) {
  detail::MatrixSource source(XObservations, YObservations, StandardDeviations, engine_->variables);
  engine_->Fit(source);
}

void MultipleNonlinearRegression::FitAlt(const Variant& XObservations, const Variant& YObservations) {
  detail::VariantMatrixSource source(XObservations, YObservations, nullptr, engine_->variables);
  engine_->Fit(source);
}

void MultipleNonlinearRegression::FitWeightedAlt(const Variant& XObservations, const Variant& YObservations,
                                                 const Variant& StandardDeviations) {
  detail::VariantMatrixSource source(XObservations, YObservations, &StandardDeviations, engine_->variables);
  engine_->Fit(source);
}

void MultipleNonlinearRegression::FitCollection(const DataCollection& ObservedData) {
  detail::MultipleCollectionSource source(ObservedData, engine_->variables);
  engine_->Fit(source);
}

}  // namespace tessarix
