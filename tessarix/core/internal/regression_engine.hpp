// The engine that both regression classes run on: the object's state, its
// guards, the common steps of every definition, the one fit path over an
// input view, and the model at a point for the queries. A class adds only
// what differs: the shape of its points, its events and its inputs.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "tessarix/core/internal/model_state.hpp"
#include "tessarix/core/internal/parallel_pass.hpp"
#include "tessarix/core/internal/point_model.hpp"
#include "tessarix/core/internal/point_table.hpp"
#include "tessarix/core/internal/regression_core.hpp"
#include "tessarix/foundation/error_code.hpp"
#include "tessarix/foundation/error_handler.hpp"
#include "tessarix/models/model_catalogue.hpp"

namespace tessarix::detail {

class RegressionEngine;

// What a regression class tells the engine about itself.
class RegressionHooks {
 public:
  virtual ~RegressionHooks() = default;
  // " (NonlinearRegression object)" in the log's first line.
  virtual std::string_view ClassName() const = 0;
  // The IterationComplete event.
  virtual void IterationComplete(std::int32_t iteration, double sse, bool& abort) = 0;
  // The data words of a run from its observations.
  virtual DataStatistics ComputeDataStatistics(const PointTable& points, const Vector1& y, std::int32_t n) = 0;
  // A point as the failure texts of a run show it.
  virtual std::string PointText(std::span<const double> point) const = 0;
  // The class's catalogue entry of a pre-defined model, or nullptr.
  virtual const InternalModelEntry* FindPredefinedModel(std::int32_t model_id) const = 0;
  // Whether the model language reads x1..xm (the multi-variable class)
  // rather than the one x.
  virtual bool SeveralVariables() const = 0;
};

// The names of the result tables' columns.
struct ResultColumns {
  std::vector<std::string> x_names;  // one per variable
  std::vector<std::string> x_keys;   // their regression keys
  std::string y = "Y";
  std::string sd = "Standard Deviation";
  std::string predicted = "Predicted Y";
};

// The caller's observations, as one fit form received them.
class ObservationSource {
 public:
  virtual ~ObservationSource() = default;
  // The checks of the form in their order; each failure stores its message
  // as the last error text and raises (RegressionEngine::StoreAndRaise).
  // Returns the number of observations.
  virtual std::int32_t Validate(RegressionEngine& engine) = 0;
  // Whether the form brings standard deviations.
  virtual bool HasDeviations() const = 0;
  // Copies the observations into the work arrays (rows 1..n); `deviations`
  // only when HasDeviations.
  virtual void Read(PointTable& points, Vector1& y, Vector1& deviations) = 0;
  virtual ResultColumns Columns() const = 0;
};

class RegressionEngine final : public RunModel {
 public:
  explicit RegressionEngine(std::unique_ptr<RegressionHooks> hooks);

  RegressionCore core;
  ModelState model;
  std::unique_ptr<PointModel> kind;
  // The run's observations; empty outside a fit.
  PointTable points;
  // The number of independent variables of the model (1 for a model of the
  // single-variable class).
  std::int32_t variables = 1;

  // ---- guards -------------------------------------------------------------------
  void GuardDefined() const;  // ModelNotDefined (10023)
  void GuardSolved() const;   // ModelNotSolved (10029)
  void GuardLocked() const;   // LockedDuringSolution (10033)
  // The guards of every query: 10023, then 10029.
  void GuardQuery() const {
    GuardDefined();
    GuardSolved();
  }
  // Stores the catalogue message as the last error text, then raises it.
  [[noreturn]] void StoreAndRaise(ErrorCode code);
  // The same with a message of its own (a catalogue text with a suffix).
  [[noreturn]] void StoreAndRaise(ErrorCode code, const std::string& message);

  // ---- definitions ----------------------------------------------------------------
  // The first steps of every definition: 10033, then the reset of the model
  // (parameters, result tables, solved state, kind); the solver settings,
  // Tag, the log and LastSolveError stay.
  void BeginDefinition();
  // Runs the rest of a definition under the handler. Whatever fails leaves no
  // model behind (no parameters, not valid) and stores "General Error: " and
  // the failure as the last error; catalogue errors reach the caller as they
  // are when `library_errors` is PassThrough, otherwise as 10001.
  template <class Body>
  void RunDefinition(Body&& body, LibraryErrors library_errors) {
    RunUnderHandler(
        std::forward<Body>(body), [this](const std::string& description) { AbandonDefinition(description); },
        library_errors);
  }
  // The parameters of a new model (estimate 1.0, fitted) in this order, and
  // the model marked valid with its kind.
  void InstallModel(const std::vector<std::string>& names, std::unique_ptr<PointModel> new_kind);
  // Compiles a model text (user or pre-defined) and installs it with the kind
  // that `make_kind` makes. The definition errors reach the caller as they are.
  void DefineText(const tessarix::ModelDefinition& definition, InputLocaleEnum locale,
                  const std::function<std::unique_ptr<PointModel>()>& make_kind);

  // ---- the fit ------------------------------------------------------------------------
  // Every fit form: guards (10023, 10033), ClearFit, the form's own checks,
  // then the run and, when it is solved, the result tables. A run that fails
  // returns normally (IsSolved false); any other failure raises 10001.
  void Fit(ObservationSource& source);

  // ---- the model at one point --------------------------------------------------------
  // With the current parameter values; false when it cannot be evaluated.
  [[nodiscard]] bool ValueAt(std::span<const double> point, double& y);

  // ---- RunModel --------------------------------------------------------------------------
  std::int32_t BlockRows() const override;
  bool EvaluateRows(std::int32_t first, std::int32_t count, const std::int32_t* ia, double* values, double* derivatives,
                    std::int32_t stride, RowFailure& failure) override;
  std::string PointText(std::int32_t i) const override;
  void ComputeDataStatistics() override;
  bool ObtainLeastSquaresEstimates() override;
  void IterationComplete(std::int32_t iteration, double sse, bool& abort) override;
  void SetDerivativeStepFloors(std::vector<double> floors) override;
  std::string_view ClassName() const override { return hooks_->ClassName(); }
  ModelTypeEnum Type() const override { return model.type; }
  std::string ModelText() const override { return model.model_text.empty() ? std::string() : model.model_text[0]; }

  RegressionHooks& Hooks() { return *hooks_; }

 private:
  // Readies a parallel pass when the settings and the model allow one.
  void PrepareThreads();
  // Ends the parallel pass that may still run, before the run's arrays go.
  void EndParallelPass();
  [[nodiscard]] bool EvaluateRowsInParallel(std::int32_t first, std::int32_t count, const std::int32_t* ia,
                                            double* values, double* derivatives, std::int32_t stride,
                                            RowFailure& failure);
  void AbandonDefinition(const std::string& description);
  void PublishTables(std::int32_t n, const ResultColumns& columns, bool with_deviations);
  void ReleaseWorkArrays();

  std::unique_ptr<RegressionHooks> hooks_;
  // The helper threads of a parallel pass, kept from one fit to the next;
  // `parallel_` while a run uses them.
  std::unique_ptr<ParallelPass> pass_;
  bool parallel_ = false;
};

}  // namespace tessarix::detail
