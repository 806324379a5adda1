#include "tessarix/core/internal/observation_sources.hpp"

#include <cstdint>

#include "tessarix/data/data_access.hpp"
#include "tessarix/foundation/error_catalogue.hpp"

namespace tessarix::detail {

std::int32_t CountOfArray(RegressionEngine& engine, std::size_t size) {
  if (size == 0 || size > static_cast<std::size_t>(INT32_MAX) - 1) {
    engine.StoreAndRaise(ErrorCode::NoObservationsInArray);
  }
  return static_cast<std::int32_t>(size);
}

std::int32_t CountOfArray(RegressionEngine& engine, const Variant& array) {
  if (array.Dimensions() == 0) engine.StoreAndRaise(ErrorCode::NoObservationsInArray);
  return array.UpperBound() + 1;
}

void RequireVariantArray(RegressionEngine& engine, const Variant& value) {
  if (!value.IsArray()) {
    engine.core.last_error = "42";
    RaiseLibraryError(ErrorCode::ExpectedVariantArray);
  }
}

namespace {

ResultColumns SingleVariableColumns() {
  ResultColumns columns;
  columns.x_names = {"X"};
  columns.x_keys = {"X"};
  return columns;
}

// Elements i - 1 of the caller's array to places i of a work array.
void CopyIn(std::span<const double> from, double* to, std::int32_t n) {
  for (std::int32_t i = 1; i <= n; ++i) to[i] = from[static_cast<std::size_t>(i) - 1];
}

void CopyIn(const Variant& from, double* to, std::int32_t n) {
  for (std::int32_t i = 1; i <= n; ++i) to[i] = from.At(i - 1).ToDouble();
}

double* Column(PointTable& points) { return &points.At(0, 1); }

}  // namespace

// ---- typed arrays -------------------------------------------------------------------

std::int32_t ArraySource::Validate(RegressionEngine& engine) {
  const std::int32_t nx = CountOfArray(engine, x_.size());
  const std::int32_t ny = CountOfArray(engine, y_.size());
  const std::int32_t nsd = sd_ ? CountOfArray(engine, sd_->size()) : nx;
  if (nx != ny || nx != nsd) engine.StoreAndRaise(ErrorCode::UnequalArrayDimensions);
  return nx;
}

void ArraySource::Read(PointTable& points, Vector1& y, Vector1& deviations) {
  const std::int32_t n = points.Count();
  CopyIn(x_, Column(points), n);
  CopyIn(y_, y.data(), n);
  if (sd_) CopyIn(*sd_, deviations.data(), n);
}

ResultColumns ArraySource::Columns() const { return SingleVariableColumns(); }

// ---- Variant arrays ----------------------------------------------------------------------

std::int32_t VariantSource::Validate(RegressionEngine& engine) {
  RequireVariantArray(engine, x_);
  RequireVariantArray(engine, y_);
  if (sd_ != nullptr) RequireVariantArray(engine, *sd_);
  const std::int32_t nx = CountOfArray(engine, x_);
  const std::int32_t ny = CountOfArray(engine, y_);
  const std::int32_t nsd = sd_ != nullptr ? CountOfArray(engine, *sd_) : nx;
  if (nx != ny || nx != nsd) engine.StoreAndRaise(ErrorCode::UnequalArrayDimensions);
  return nx;
}

void VariantSource::Read(PointTable& points, Vector1& y, Vector1& deviations) {
  const std::int32_t n = points.Count();
  CopyIn(x_, Column(points), n);
  CopyIn(y_, y.data(), n);
  if (sd_ != nullptr) CopyIn(*sd_, deviations.data(), n);
}

ResultColumns VariantSource::Columns() const { return SingleVariableColumns(); }

// ---- a collection ------------------------------------------------------------------------------

// The series are found by their regression keys; these errors reach the
// caller as they are.
std::int32_t CollectionSource::Validate(RegressionEngine& engine) {
  x_ = DataAccess::FindSeriesByKey(data_, "x");
  if (!x_) engine.StoreAndRaise(ErrorCode::MissingSeriesX);
  y_ = DataAccess::FindSeriesByKey(data_, "y");
  if (!y_) engine.StoreAndRaise(ErrorCode::MissingSeriesY);
  const std::int32_t n = x_->NumObservations();
  if (y_->NumObservations() != n) engine.StoreAndRaise(ErrorCode::UnequalSeriesLengths);
  sd_ = DataAccess::FindSeriesByKey(data_, "sd");
  if (sd_ && sd_->NumObservations() != n) engine.StoreAndRaise(ErrorCode::UnequalSeriesLengths);
  return n;
}

void CollectionSource::Read(PointTable& points, Vector1& y, Vector1& deviations) {
  const std::int32_t n = points.Count();
  const double* x = DataAccess::Values(*x_);
  double* to = Column(points);
  for (std::int32_t i = 1; i <= n; ++i) to[i] = x[i];
  DataAccess::CopyValuesOut(*y_, y);
  if (sd_) DataAccess::CopyValuesOut(*sd_, deviations);
}

ResultColumns CollectionSource::Columns() const {
  ResultColumns columns;
  columns.x_names = {x_->Name()};
  columns.x_keys = {"X"};
  columns.y = y_->Name();
  columns.predicted = "Predicted " + y_->Name();
  if (sd_) columns.sd = sd_->Name();
  return columns;
}

}  // namespace tessarix::detail
