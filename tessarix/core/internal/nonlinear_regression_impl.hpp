// The inside of a NonlinearRegression: the shared regression state, the
// model, the x values of a run, and the model's view for the engine.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "tessarix/core/events.hpp"
#include "tessarix/core/internal/model_state.hpp"
#include "tessarix/core/internal/regression_core.hpp"
#include "tessarix/numerics/one_based.hpp"

namespace tessarix::detail {

struct NonlinearRegressionImpl final : RunModel {
  explicit NonlinearRegressionImpl(NonlinearRegressionEvents& events_of_object) : events(events_of_object) {}

  NonlinearRegressionEvents& events;
  RegressionCore core;
  ModelState model;
  Vector1 x;  // the x values of a run, 1..n, beside the core's work arrays

  // ---- the model at one x, with core.parameter_values (model_dispatch.cpp) --
  // The model value; false when it cannot be evaluated (a numerical fault
  // inside counts as a failure).
  [[nodiscard]] bool EvaluateModel(double x_value, double& y);
  // The derivatives by each parameter l with ia[l] != 0 into dyda[l]; the
  // others get 0 where the method computes them one by one.
  [[nodiscard]] bool ParameterDerivatives(double x_value, const std::int32_t* ia, double* dyda);

  // ---- guards (nonlinear_regression.cpp) -------------------------------------
  void GuardDefined() const;  // 10023
  void GuardSolved() const;   // 10029
  void GuardLocked() const;   // 10033
  // The first steps of every definition: guard 10033, then the reset of the
  // object's model (core and ModelState).
  void BeginDefinition();

  // ---- RunModel ---------------------------------------------------------------
  bool EvaluateAt(std::int32_t i, double& value) override {
    return EvaluateModel(x[static_cast<std::size_t>(i)], value);
  }
  bool DerivativesAt(std::int32_t i, const std::int32_t* ia, double* dyda) override {
    return ParameterDerivatives(x[static_cast<std::size_t>(i)], ia, dyda);
  }
  std::string PointText(std::int32_t i) const override;
  void ComputeDataStatistics() override;
  bool ObtainLeastSquaresEstimates() override;
  void IterationComplete(std::int32_t iteration, double sse, bool& abort) override;
  std::string_view ClassName() const override { return "NonlinearRegression"; }
  ModelTypeEnum Type() const override { return model.type; }
  std::string ModelText() const override { return model.model_text.empty() ? std::string() : model.model_text[0]; }
};

// ---- the kinds of model (the seam of model_dispatch.cpp) ----------------------
// External models: the host's events (external_model.cpp).
[[nodiscard]] bool EvaluateExternalModel(NonlinearRegressionImpl& r, double x, double& y);
[[nodiscard]] bool ExternalModelDerivatives(NonlinearRegressionImpl& r, double x, double* dyda);
// User models: the compiled program of the model language.
[[nodiscard]] bool EvaluateUserModel(NonlinearRegressionImpl& r, double x, double& y);
// Pre-defined models: the catalogue's formulas, analytic derivatives and
// least-squares starting values.
[[nodiscard]] bool EvaluateInternalModel(NonlinearRegressionImpl& r, double x, double& y);
[[nodiscard]] bool InternalModelDerivatives(NonlinearRegressionImpl& r, double x, double* dyda);
[[nodiscard]] bool ObtainInternalEstimates(NonlinearRegressionImpl& r);

}  // namespace tessarix::detail
