#include "tessarix/core/internal/multiple_sources.hpp"

#include <string>

#include "tessarix/core/internal/observation_sources.hpp"
#include "tessarix/data/data_access.hpp"
#include "tessarix/foundation/error_catalogue.hpp"
#include "tessarix/foundation/fault.hpp"
#include "tessarix/platform/number_text.hpp"

namespace tessarix::detail {

namespace {

// A letter and a number ("X2"), appended rather than concatenated: g++ 12
// misreads the temporary of "X" + text as an overlapping copy.
std::string Numbered(const char* prefix, std::int32_t k) {
  std::string text(prefix);
  text += IntegerText(k);
  return text;
}

void CopyIn(std::span<const double> from, Vector1& to, std::int32_t n) {
  for (std::int32_t i = 1; i <= n; ++i) to[static_cast<std::size_t>(i)] = from[static_cast<std::size_t>(i) - 1];
}

void CopyIn(const Variant& from, Vector1& to, std::int32_t n) {
  for (std::int32_t i = 1; i <= n; ++i) to[static_cast<std::size_t>(i)] = from.At(i - 1).ToDouble();
}

}  // namespace

ResultColumns NumberedColumns(std::int32_t variables) {
  ResultColumns columns;
  for (std::int32_t j = 1; j <= variables; ++j) {
    columns.x_names.push_back(Numbered("X", j));
    columns.x_keys.push_back(Numbered("X", j));
  }
  return columns;
}

// ---- a Matrix ------------------------------------------------------------------------

std::int32_t MatrixSource::Validate(RegressionEngine& engine) {
  // The second dimension first: a table without one, or with too few
  // columns, is no table of points.
  if (x_.Cols() == 0 || x_.Cols() < variables_) engine.StoreAndRaise(ErrorCode::InvalidArrayDimensions);
  if (x_.Rows() == 0) engine.StoreAndRaise(ErrorCode::NoObservationsInArray);
  const std::int32_t nx = x_.Rows();
  const std::int32_t ny = CountOfArray(engine, y_.size());
  const std::int32_t nsd = sd_ ? CountOfArray(engine, sd_->size()) : nx;
  if (nx != ny || nx != nsd) engine.StoreAndRaise(ErrorCode::UnequalArrayDimensions);
  return nx;
}

void MatrixSource::Read(PointTable& points, Vector1& y, Vector1& deviations) {
  const std::int32_t n = points.Count();
  for (std::int32_t i = 1; i <= n; ++i) {
    for (std::int32_t j = 1; j <= variables_; ++j) points.At(i, j) = x_(i - 1, j - 1);
  }
  CopyIn(y_, y, n);
  if (sd_) CopyIn(*sd_, deviations, n);
}

// ---- Variant arrays ------------------------------------------------------------------------

std::int32_t VariantMatrixSource::Validate(RegressionEngine& engine) {
  RequireVariantArray(engine, x_);
  RequireVariantArray(engine, y_);
  if (sd_ != nullptr) RequireVariantArray(engine, *sd_);
  if (x_.Dimensions() != 2 || x_.UpperBound(2) + 1 < variables_) {
    engine.StoreAndRaise(ErrorCode::InvalidArrayDimensions);
  }
  const std::int32_t nx = x_.UpperBound(1) + 1;
  if (nx < 1) engine.StoreAndRaise(ErrorCode::NoObservationsInArray);
  const std::int32_t ny = CountOfArray(engine, y_);
  const std::int32_t nsd = sd_ != nullptr ? CountOfArray(engine, *sd_) : nx;
  if (nx != ny || nx != nsd) engine.StoreAndRaise(ErrorCode::UnequalArrayDimensions);
  return nx;
}

void VariantMatrixSource::Read(PointTable& points, Vector1& y, Vector1& deviations) {
  const std::int32_t n = points.Count();
  for (std::int32_t i = 1; i <= n; ++i) {
    for (std::int32_t j = 1; j <= variables_; ++j) points.At(i, j) = x_.At(i - 1, j - 1).ToDouble();
  }
  CopyIn(y_, y, n);
  if (sd_ != nullptr) CopyIn(*sd_, deviations, n);
}

// ---- a collection -------------------------------------------------------------------------------

std::int32_t MultipleCollectionSource::Validate(RegressionEngine& engine) {
  x_.clear();
  for (std::int32_t j = 1; j <= variables_; ++j) {
    std::shared_ptr<DataSeries> series = DataAccess::FindSeriesByKey(data_, Numbered("x", j));
    if (!series) {
      engine.StoreAndRaise(ErrorCode::MissingIndependentSeries,
                           ErrorMessage(ErrorCode::MissingIndependentSeries) + Numbered(" X", j));
    }
    x_.push_back(std::move(series));
  }
  y_ = DataAccess::FindSeriesByKey(data_, "y");
  if (!y_) engine.StoreAndRaise(ErrorCode::MissingSeriesY);
  const std::int32_t n = x_[0]->NumObservations();
  if (y_->NumObservations() != n) engine.StoreAndRaise(ErrorCode::UnequalSeriesLengths);
  sd_ = DataAccess::FindSeriesByKey(data_, "sd");
  if (sd_ && sd_->NumObservations() != n) engine.StoreAndRaise(ErrorCode::UnequalSeriesLengths);
  return n;
}

void MultipleCollectionSource::Read(PointTable& points, Vector1& y, Vector1& deviations) {
  const std::int32_t n = points.Count();
  for (std::int32_t j = 1; j <= variables_; ++j) {
    const DataSeries& series = *x_[static_cast<std::size_t>(j - 1)];
    // Only the first x series is measured against y; a shorter one fails at
    // its missing observations instead of reading past them.
    if (series.NumObservations() < n) RaiseFault(FaultKind::SubscriptOutOfRange);
    const double* values = DataAccess::Values(series);
    for (std::int32_t i = 1; i <= n; ++i) points.At(i, j) = values[i];
  }
  DataAccess::CopyValuesOut(*y_, y);
  if (sd_) DataAccess::CopyValuesOut(*sd_, deviations);
}

ResultColumns MultipleCollectionSource::Columns() const {
  ResultColumns columns = NumberedColumns(variables_);
  for (std::int32_t j = 1; j <= variables_; ++j) {
    columns.x_names[static_cast<std::size_t>(j - 1)] = x_[static_cast<std::size_t>(j - 1)]->Name();
  }
  columns.y = y_->Name();
  columns.predicted = "Predicted " + y_->Name();
  if (sd_) columns.sd = sd_->Name();
  return columns;
}

}  // namespace tessarix::detail
