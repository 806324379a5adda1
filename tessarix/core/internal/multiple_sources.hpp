// The fit forms' inputs for m independent variables: a Matrix, Variant
// arrays and a collection keyed "x1".."xm", each with its checks in order.
#pragma once

#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "tessarix/core/internal/regression_engine.hpp"
#include "tessarix/data/data_collection.hpp"
#include "tessarix/platform/matrix.hpp"
#include "tessarix/platform/variant.hpp"

namespace tessarix::detail {

// X1 .. Xm with the same texts as keys.
ResultColumns NumberedColumns(std::int32_t variables);

class MatrixSource final : public ObservationSource {
 public:
  MatrixSource(const Matrix& x, std::span<const double> y, std::optional<std::span<const double>> sd,
               std::int32_t variables)
      : x_(x), y_(y), sd_(sd), variables_(variables) {}
  std::int32_t Validate(RegressionEngine& engine) override;
  bool HasDeviations() const override { return sd_.has_value(); }
  void Read(PointTable& points, Vector1& y, Vector1& deviations) override;
  ResultColumns Columns() const override { return NumberedColumns(variables_); }

 private:
  const Matrix& x_;
  std::span<const double> y_;
  std::optional<std::span<const double>> sd_;
  std::int32_t variables_;
};

class VariantMatrixSource final : public ObservationSource {
 public:
  VariantMatrixSource(const Variant& x, const Variant& y, const Variant* sd, std::int32_t variables)
      : x_(x), y_(y), sd_(sd), variables_(variables) {}
  std::int32_t Validate(RegressionEngine& engine) override;
  bool HasDeviations() const override { return sd_ != nullptr; }
  void Read(PointTable& points, Vector1& y, Vector1& deviations) override;
  ResultColumns Columns() const override { return NumberedColumns(variables_); }

 private:
  const Variant& x_;
  const Variant& y_;
  const Variant* sd_;
  std::int32_t variables_;
};

class MultipleCollectionSource final : public ObservationSource {
 public:
  MultipleCollectionSource(const DataCollection& data, std::int32_t variables) : data_(data), variables_(variables) {}
  std::int32_t Validate(RegressionEngine& engine) override;
  bool HasDeviations() const override { return sd_ != nullptr; }
  void Read(PointTable& points, Vector1& y, Vector1& deviations) override;
  ResultColumns Columns() const override;

 private:
  const DataCollection& data_;
  std::int32_t variables_;
  std::vector<std::shared_ptr<DataSeries>> x_;
  std::shared_ptr<DataSeries> y_, sd_;
};

}  // namespace tessarix::detail
