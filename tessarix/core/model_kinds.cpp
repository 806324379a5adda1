// The kinds of model that the language and the catalogue supply, and the
// parts of the external kind that do not depend on the class.
#include "tessarix/core/internal/model_kinds.hpp"

#include <cmath>
#include <cstddef>

#include "tessarix/models/least_squares_estimates.hpp"
#include "tessarix/models/multiple_catalogue.hpp"
#include "tessarix/models/predefined_formulas.hpp"

namespace tessarix::detail {

namespace {

// Rows of a block of a text model that runs by blocks.
constexpr std::int32_t kTextBlockRows = 256;
// Rows of a block of a pre-defined model: a block's values and derivatives
// stay in the first-level cache for the pass that sums them.
constexpr std::int32_t kPredefinedBlockRows = 256;

class TextKind final : public PointModel {
 public:
  TextKind(TextModel& text, const DataStatistics& words, const DerivativeMethodEnum& method, const bool& vector_math)
      : text_(text), words_(words), method_(method), vector_math_(vector_math) {}
  bool RawValue(std::span<const double> point, const double* parameters, double& y) override {
    return text_.Evaluate(parameters, point, words_, y);
  }

  // Programs whose points cannot influence each other run by blocks; the
  // others keep the order of a pass point by point.
  std::int32_t BlockRows() const override { return text_.PointsIndependent() ? kTextBlockRows : 1; }

  // Exact derivatives at one point: the forward pass over the point (its
  // value is computed again, to the same bits).
  bool Derivatives(std::span<const double> point, double* parameters, const std::int32_t* ia, std::int32_t count,
                   double* dyda) override {
    if (!Exact()) return PointModel::Derivatives(point, parameters, ia, count, dyda);
    double y = 0.0;
    std::int32_t failed_row = 0;
    bool in_derivatives = false;
    return text_.EvaluateBlockDerivatives(parameters, ia, count, point.data(), static_cast<std::int32_t>(point.size()),
                                          1, words_, &y, dyda, count + 1, failed_row, in_derivatives, vector_math_);
  }

  // The values of the block first, then the derivatives row by row: for a
  // program that runs by blocks neither depends on the order. The first
  // failure in row order is reported, as a pass row by row finds it. Exact
  // derivatives come with the values in one pass.
  bool EvaluateRows(const PointTable& points, std::int32_t first, std::int32_t count, double* parameters,
                    const std::int32_t* ia, std::int32_t parameter_count, double* values, double* derivatives,
                    std::int32_t stride, RowFailure& failure) override {
    if (!text_.PointsIndependent()) {
      return PointModel::EvaluateRows(points, first, count, parameters, ia, parameter_count, values, derivatives,
                                      stride, failure);
    }
    values = ValueScratch(values, count);
    if (ia != nullptr && Exact()) {
      std::int32_t failed_row = 0;
      bool in_derivatives = false;
      if (text_.EvaluateBlockDerivatives(parameters, ia, parameter_count, points.Row(first).data(), points.Width(),
                                         count, words_, values, derivatives, stride, failed_row, in_derivatives,
                                         vector_math_)) {
        return true;
      }
      failure = {first + failed_row, in_derivatives};
      return false;
    }
    std::int32_t done =
        text_.EvaluateBlock(parameters, points.Row(first).data(), points.Width(), count, words_, values, vector_math_);
    for (std::int32_t r = 0; r < done; ++r) {
      if (!std::isfinite(values[r])) done = r;  // no non-finite model value is handed on
    }
    for (std::int32_t r = 0; ia != nullptr && r < done; ++r) {
      if (!Derivatives(points.Row(first + r), parameters, ia, parameter_count,
                       derivatives + static_cast<std::ptrdiff_t>(r) * stride)) {
        failure = {first + r, true};
        return false;
      }
    }
    if (done < count) {
      failure = {first + done, false};
      return false;
    }
    return true;
  }

 private:
  // Exact derivatives for a program the forward pass serves; the others
  // keep the numerical ones.
  bool Exact() const { return method_ == tsxDerivativeExact && text_.DifferentiatesByBlocks(); }

  TextModel& text_;
  const DataStatistics& words_;
  const DerivativeMethodEnum& method_;
  const bool& vector_math_;
};

class PredefinedKind final : public PointModel {
 public:
  PredefinedKind(std::int32_t code, std::int32_t terms) : code_(code), terms_(terms) {}
  bool RawValue(std::span<const double> point, const double* parameters, double& y) override {
    return EvaluatePredefined(code_, parameters, point[0], y);
  }
  // Analytic for every parameter: the flags of the fixed parameters are not
  // looked at, a fixed parameter's derivative is simply not used.
  bool Derivatives(std::span<const double> point, double* parameters, const std::int32_t* /*ia*/,
                   std::int32_t /*count*/, double* dyda) override {
    return PredefinedDerivatives(code_, parameters, point[0], dyda);
  }

  // The block without a test per step; a block in which a step failed is
  // evaluated again row by row, so the failure is found at the row and in
  // the part (value or derivatives) where a pass row by row finds it.
  std::int32_t BlockRows() const override { return kPredefinedBlockRows; }
  bool EvaluateRows(const PointTable& points, std::int32_t first, std::int32_t count, double* parameters,
                    const std::int32_t* ia, std::int32_t parameter_count, double* values, double* derivatives,
                    std::int32_t stride, RowFailure& failure) override {
    // The formulas' derivatives reuse most of the value's work: the values
    // come along even when not asked for.
    values = ValueScratch(values, count);
    if (EvaluatePredefinedBlock(code_, parameters, points.Row(first).data(), count, values,
                                ia != nullptr ? derivatives : nullptr, stride)) {
      return true;
    }
    return PointModel::EvaluateRows(points, first, count, parameters, ia, parameter_count, values, derivatives, stride,
                                    failure);
  }

  std::unique_ptr<PointModel> ThreadCopy() const override { return std::make_unique<PredefinedKind>(code_, terms_); }
  bool HasLeastSquaresEstimates() const override { return true; }
  bool ObtainLeastSquaresEstimates(const PointTable& points, const Vector1& y, const Vector1& weights, std::int32_t n,
                                   std::vector<double>& estimates) override {
    return detail::ObtainLeastSquaresEstimates(code_, terms_, points.Values().data(), y.data(), weights.data(), n,
                                               estimates);
  }

 private:
  std::int32_t code_;
  std::int32_t terms_;
};

// A model of the catalogue of several variables: the same seam, at the
// whole point.
class MultiplePredefinedKind final : public PointModel {
 public:
  MultiplePredefinedKind(std::int32_t code, std::int32_t terms) : code_(code), terms_(terms) {}
  bool RawValue(std::span<const double> point, const double* parameters, double& y) override {
    return EvaluateMultiplePredefined(code_, parameters, point, y);
  }
  bool Derivatives(std::span<const double> point, double* parameters, const std::int32_t* /*ia*/,
                   std::int32_t /*count*/, double* dyda) override {
    return MultiplePredefinedDerivatives(code_, parameters, point, dyda);
  }
  // As the one-variable kind's.
  std::int32_t BlockRows() const override { return kPredefinedBlockRows; }
  bool EvaluateRows(const PointTable& points, std::int32_t first, std::int32_t count, double* parameters,
                    const std::int32_t* ia, std::int32_t parameter_count, double* values, double* derivatives,
                    std::int32_t stride, RowFailure& failure) override {
    values = ValueScratch(values, count);
    if (EvaluateMultiplePredefinedBlock(code_, parameters, points.Row(first).data(), points.Width(), count, values,
                                        ia != nullptr ? derivatives : nullptr, stride)) {
      return true;
    }
    return PointModel::EvaluateRows(points, first, count, parameters, ia, parameter_count, values, derivatives, stride,
                                    failure);
  }
  std::unique_ptr<PointModel> ThreadCopy() const override {
    return std::make_unique<MultiplePredefinedKind>(code_, terms_);
  }
  bool HasLeastSquaresEstimates() const override { return true; }
  bool ObtainLeastSquaresEstimates(const PointTable& points, const Vector1& y, const Vector1& weights, std::int32_t n,
                                   std::vector<double>& estimates) override {
    return ObtainMultipleLeastSquaresEstimates(code_, terms_, points.Values().data(), points.Width(), y.data(),
                                               weights.data(), n, estimates);
  }

 private:
  std::int32_t code_;
  std::int32_t terms_;
};

}  // namespace

std::unique_ptr<PointModel> MakeTextKind(TextModel& text, const DataStatistics& words,
                                         const DerivativeMethodEnum& method, const bool& vector_math) {
  return std::make_unique<TextKind>(text, words, method, vector_math);
}

std::unique_ptr<PointModel> MakePredefinedKind(std::int32_t evaluation_code, std::int32_t estimate_term_count) {
  return std::make_unique<PredefinedKind>(evaluation_code, estimate_term_count);
}

std::unique_ptr<PointModel> MakeMultiplePredefinedKind(std::int32_t evaluation_code, std::int32_t estimate_term_count) {
  return std::make_unique<MultiplePredefinedKind>(evaluation_code, estimate_term_count);
}

void FillEventValues(Variant& out, const double* values, std::int32_t count) {
  if (!out.IsArray() || out.Dimensions() != 1 || out.UpperBound() != count - 1) {
    out = Variant::Array(std::vector<Variant>(static_cast<std::size_t>(count)));
  }
  for (std::int32_t i = 0; i < count; ++i) out.At(i) = Variant(values[i + 1]);
}

void SizeEventDerivatives(Variant& out, std::int32_t count) {
  if (!out.IsArray() || out.Dimensions() != 1 || out.UpperBound() != count - 1) {
    out = Variant::Array(std::vector<Variant>(static_cast<std::size_t>(count), Variant(0.0)));
  }
}

void ReadEventDerivatives(const ExternalBuffers& buffers, bool alternative, std::int32_t count, double* dyda) {
  for (std::int32_t i = 0; i < count; ++i) {
    double d = 0.0;
    if (alternative) {
      d = buffers.derivatives_alt.At(i).ToDouble();
    } else {
      if (static_cast<std::size_t>(i) >= buffers.derivatives.size()) RaiseFault(FaultKind::SubscriptOutOfRange);
      d = buffers.derivatives[static_cast<std::size_t>(i)];
    }
    dyda[i + 1] = Checked(d);
  }
}

}  // namespace tessarix::detail
