// The fit entry points: validation of the caller's observations, the run,
// and the result tables.
#include <span>
#include <string>
#include <vector>

#include "tessarix/core/internal/nonlinear_regression_impl.hpp"
#include "tessarix/core/nonlinear_regression.hpp"
#include "tessarix/data/data_access.hpp"
#include "tessarix/foundation/error_catalogue.hpp"
#include "tessarix/foundation/error_handler.hpp"
#include "tessarix/foundation/fault.hpp"
#include "tessarix/numerics/weights.hpp"

namespace tessarix {

namespace {

using Impl = detail::NonlinearRegressionImpl;

// Stores the catalogue message as the last error text, then raises it.
[[noreturn]] void StoreAndRaise(Impl& r, ErrorCode id) {
  r.core.last_error = detail::ErrorMessage(id);
  detail::RaiseLibraryError(id);
}

// Steps shared by every form before the data are read.
void BeginFit(Impl& r) {
  r.core.last_error.clear();
  if (!r.core.valid) StoreAndRaise(r, ErrorCode::ModelNotDefined);
  if (r.core.locked) StoreAndRaise(r, ErrorCode::LockedDuringSolution);
  detail::ClearCoreFit(r.core);
}

// The caller's deviations are kept only for a weighted fit, for its table.
void AllocateWorkArrays(Impl& r, std::int32_t n, bool with_deviations) {
  r.x = detail::MakeVector1(n);
  r.core.y = detail::MakeVector1(n);
  if (with_deviations) r.core.deviations = detail::MakeVector1(n, 1.0);
  r.core.weights = detail::MakeVector1(n, 1.0);
  r.core.predicted = detail::MakeVector1(n);
  r.core.residuals = detail::MakeVector1(n);
}

void ReleaseWorkArrays(Impl& r) {
  detail::Vector1().swap(r.x);
  r.core.ReleaseWorkArrays();
}

void Solve(Impl& r, std::int32_t n) {
  r.core.solution_log.clear();
  r.core.locked = true;
  detail::SolveModel(r.core, r, n);
  r.core.locked = false;
}

struct ColumnNames {
  std::string x = "X";
  std::string y = "Y";
  std::string sd = "Standard Deviation";
  std::string predicted = "Predicted Y";
};

void AddColumn(DataCollection& tables, const std::string& name, const std::string& key, const detail::Vector1& values,
               std::int32_t n) {
  const std::shared_ptr<DataSeries> series = detail::DataAccess::ReplaceSeries(tables, name, n);
  if (!key.empty()) series->SetRegressionKey(key);
  detail::DataAccess::CopyValuesIn(*series, values, n);
}

void PublishTables(Impl& r, std::int32_t n, const ColumnNames& names, bool with_deviations) {
  DataCollection& tables = r.core.ResultTables();
  detail::DataAccess::SetReadOnly(tables, false);
  AddColumn(tables, names.x, "X", r.x, n);
  AddColumn(tables, names.y, "Y", r.core.y, n);
  if (with_deviations) AddColumn(tables, names.sd, "SD", r.core.deviations, n);
  AddColumn(tables, names.predicted, "", r.core.predicted, n);
  AddColumn(tables, "Residuals", "", r.core.residuals, n);
}

void EndFit(Impl& r) {
  detail::DataAccess::SetReadOnly(r.core.ResultTables(), true);
  ReleaseWorkArrays(r);
}

// The handler of the forms, armed once the work arrays are about to be made.
template <class Body>
void RunFit(Impl& r, Body&& body) {
  detail::RunUnderHandler(std::forward<Body>(body), [&r](const std::string& description) {
    r.core.locked = false;
    detail::DataAccess::SetReadOnly(r.core.ResultTables(), true);
    ReleaseWorkArrays(r);
    r.core.last_error = std::string(detail::kGeneralErrorPrefix) + description;
  });
}

// The count of an array: its upper bound + 1; one without elements has no
// upper bound, which is 10006.
std::int32_t CountOf(Impl& r, std::size_t size) {
  if (size == 0) StoreAndRaise(r, ErrorCode::NoObservationsInArray);
  if (size > static_cast<std::size_t>(INT32_MAX) - 1) StoreAndRaise(r, ErrorCode::NoObservationsInArray);
  return static_cast<std::int32_t>(size);
}

std::int32_t CountOf(Impl& r, const Variant& array) {
  if (array.Dimensions() == 0) StoreAndRaise(r, ErrorCode::NoObservationsInArray);
  return array.UpperBound() + 1;
}

void RequireArray(Impl& r, const Variant& v) {
  if (!v.IsArray()) {
    // The last error text is the error's constant in decimal, not its
    // message: kept as the callers of the library have always seen it.
    r.core.last_error = "42";
    detail::RaiseLibraryError(ErrorCode::ExpectedVariantArray);
  }
}

// Elements i - 1 of the caller's array to places i of a work array.
void CopyIn(std::span<const double> from, detail::Vector1& to, std::int32_t n) {
  for (std::int32_t i = 1; i <= n; ++i) to[static_cast<std::size_t>(i)] = from[static_cast<std::size_t>(i) - 1];
}

void CopyIn(const Variant& from, detail::Vector1& to, std::int32_t n) {
  for (std::int32_t i = 1; i <= n; ++i) to[static_cast<std::size_t>(i)] = from.At(i - 1).ToDouble();
}

// Fit and FitWeighted once the data are in the work arrays.
void SolveUnweighted(Impl& r, std::int32_t n) {
  Solve(r, n);
  if (r.core.solved) {
    r.core.is_weighted = false;
    PublishTables(r, n, ColumnNames(), false);
  }
  EndFit(r);
}

void SolveWeighted(Impl& r, std::int32_t n) {
  r.core.solution_log.clear();
  // Weights that cannot be computed leave the fit unweighted, silently.
  const bool weighted = detail::WeightsFromDeviations(r.core.deviations, n, r.core.weights);
  if (!weighted) std::fill(r.core.weights.begin(), r.core.weights.end(), 1.0);
  Solve(r, n);
  if (r.core.solved) {
    r.core.is_weighted = weighted;
    PublishTables(r, n, ColumnNames(), weighted);
  }
  EndFit(r);
}

}  // namespace

void NonlinearRegression::Fit(std::span<const double> XObservations, std::span<const double> YObservations) {
  Impl& r = *impl_;
  BeginFit(r);
  const std::int32_t nx = CountOf(r, XObservations.size());
  const std::int32_t ny = CountOf(r, YObservations.size());
  if (nx != ny) StoreAndRaise(r, ErrorCode::UnequalArrayDimensions);
  RunFit(r, [&] {
    AllocateWorkArrays(r, nx, false);
    CopyIn(XObservations, r.x, nx);
    CopyIn(YObservations, r.core.y, nx);
    SolveUnweighted(r, nx);
  });
}

void NonlinearRegression::FitWeighted(std::span<const double> XObservations, std::span<const double> YObservations,
                                      std::span<const double> StandardDeviations) {
  Impl& r = *impl_;
  BeginFit(r);
  const std::int32_t nx = CountOf(r, XObservations.size());
  const std::int32_t ny = CountOf(r, YObservations.size());
  const std::int32_t nsd = CountOf(r, StandardDeviations.size());
  if (nx != ny || nx != nsd) StoreAndRaise(r, ErrorCode::UnequalArrayDimensions);
  RunFit(r, [&] {
    AllocateWorkArrays(r, nx, true);
    CopyIn(XObservations, r.x, nx);
    CopyIn(YObservations, r.core.y, nx);
    CopyIn(StandardDeviations, r.core.deviations, nx);
    SolveWeighted(r, nx);
  });
}

void NonlinearRegression::FitAlt(const Variant& XObservations, const Variant& YObservations) {
  Impl& r = *impl_;
  BeginFit(r);
  RequireArray(r, XObservations);
  RequireArray(r, YObservations);
  const std::int32_t nx = CountOf(r, XObservations);
  const std::int32_t ny = CountOf(r, YObservations);
  if (nx != ny) StoreAndRaise(r, ErrorCode::UnequalArrayDimensions);
  RunFit(r, [&] {
    AllocateWorkArrays(r, nx, false);
    CopyIn(XObservations, r.x, nx);
    CopyIn(YObservations, r.core.y, nx);
    SolveUnweighted(r, nx);
  });
}

void NonlinearRegression::FitWeightedAlt(const Variant& XObservations, const Variant& YObservations,
                                         const Variant& StandardDeviations) {
  Impl& r = *impl_;
  BeginFit(r);
  RequireArray(r, XObservations);
  RequireArray(r, YObservations);
  RequireArray(r, StandardDeviations);
  const std::int32_t nx = CountOf(r, XObservations);
  const std::int32_t ny = CountOf(r, YObservations);
  const std::int32_t nsd = CountOf(r, StandardDeviations);
  if (nx != ny || nx != nsd) StoreAndRaise(r, ErrorCode::UnequalArrayDimensions);
  RunFit(r, [&] {
    AllocateWorkArrays(r, nx, true);
    CopyIn(XObservations, r.x, nx);
    CopyIn(YObservations, r.core.y, nx);
    CopyIn(StandardDeviations, r.core.deviations, nx);
    SolveWeighted(r, nx);
  });
}

void NonlinearRegression::FitCollection(const DataCollection& ObservedData) {
  Impl& r = *impl_;
  BeginFit(r);
  // The series are found by their regression keys; these errors reach the
  // caller as they are.
  const std::shared_ptr<DataSeries> xs = detail::DataAccess::FindSeriesByKey(ObservedData, "x");
  if (!xs) StoreAndRaise(r, ErrorCode::MissingSeriesX);
  const std::shared_ptr<DataSeries> ys = detail::DataAccess::FindSeriesByKey(ObservedData, "y");
  if (!ys) StoreAndRaise(r, ErrorCode::MissingSeriesY);
  const std::int32_t n = xs->NumObservations();
  if (ys->NumObservations() != n) StoreAndRaise(r, ErrorCode::UnequalSeriesLengths);
  const std::shared_ptr<DataSeries> sds = detail::DataAccess::FindSeriesByKey(ObservedData, "sd");
  r.core.is_weighted = sds != nullptr;
  if (sds && sds->NumObservations() != n) StoreAndRaise(r, ErrorCode::UnequalSeriesLengths);

  RunFit(r, [&] {
    AllocateWorkArrays(r, n, sds != nullptr);
    detail::DataAccess::CopyValuesOut(*xs, r.x);
    detail::DataAccess::CopyValuesOut(*ys, r.core.y);
    if (sds) detail::DataAccess::CopyValuesOut(*sds, r.core.deviations);
    r.core.solution_log.clear();
    ColumnNames names;
    names.x = xs->Name();
    names.y = ys->Name();
    names.predicted = "Predicted " + ys->Name();
    if (sds) names.sd = sds->Name();
    // Without deviations the weights stay 1.0 (what deviations of 1 give).
    const bool weights_ok = !sds || detail::WeightsFromDeviations(r.core.deviations, n, r.core.weights);
    if (!weights_ok) std::fill(r.core.weights.begin(), r.core.weights.end(), 1.0);
    Solve(r, n);
    if (r.core.solved) {
      if (!weights_ok) r.core.is_weighted = false;
      PublishTables(r, n, names, r.core.is_weighted);
    }
    EndFit(r);
  });
}

}  // namespace tessarix
