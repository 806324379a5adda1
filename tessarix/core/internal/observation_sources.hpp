// The fit forms' inputs for one independent variable: typed arrays, Variant
// arrays and a collection keyed by regression key, each with its checks in
// the order the callers have always seen.
#pragma once

#include <optional>
#include <span>

#include "tessarix/core/internal/regression_engine.hpp"
#include "tessarix/data/data_collection.hpp"
#include "tessarix/platform/variant.hpp"

namespace tessarix::detail {

// The count of an array: its upper bound + 1; one without elements has no
// upper bound, which is NoObservationsInArray (10006).
std::int32_t CountOfArray(RegressionEngine& engine, std::size_t size);
std::int32_t CountOfArray(RegressionEngine& engine, const Variant& array);
// An argument of an Alt form that holds no array: ExpectedVariantArray
// (10042), with the last error text "42", the error's constant in decimal
// rather than its message, as the callers of the library have always seen it.
void RequireVariantArray(RegressionEngine& engine, const Variant& value);

class ArraySource final : public ObservationSource {
 public:
  ArraySource(std::span<const double> x, std::span<const double> y,
              std::optional<std::span<const double>> sd = std::nullopt)
      : x_(x), y_(y), sd_(sd) {}
  std::int32_t Validate(RegressionEngine& engine) override;
  bool HasDeviations() const override { return sd_.has_value(); }
  void Read(PointTable& points, Vector1& y, Vector1& deviations) override;
  ResultColumns Columns() const override;

 private:
  std::span<const double> x_, y_;
  std::optional<std::span<const double>> sd_;
};

class VariantSource final : public ObservationSource {
 public:
  VariantSource(const Variant& x, const Variant& y, const Variant* sd = nullptr) : x_(x), y_(y), sd_(sd) {}
  std::int32_t Validate(RegressionEngine& engine) override;
  bool HasDeviations() const override { return sd_ != nullptr; }
  void Read(PointTable& points, Vector1& y, Vector1& deviations) override;
  ResultColumns Columns() const override;

 private:
  const Variant& x_;
  const Variant& y_;
  const Variant* sd_;
};

// The series whose keys are "x", "y" and, optionally, "sd" (weights).
class CollectionSource final : public ObservationSource {
 public:
  explicit CollectionSource(const DataCollection& data) : data_(data) {}
  std::int32_t Validate(RegressionEngine& engine) override;
  bool HasDeviations() const override { return sd_ != nullptr; }
  void Read(PointTable& points, Vector1& y, Vector1& deviations) override;
  ResultColumns Columns() const override;

 private:
  const DataCollection& data_;
  std::shared_ptr<DataSeries> x_, y_, sd_;
};

}  // namespace tessarix::detail
