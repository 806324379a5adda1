// The kinds of model behind the point seam. Each is made by its definition
// and lives until the next one.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "tessarix/core/internal/point_model.hpp"
#include "tessarix/foundation/fault.hpp"
#include "tessarix/language/data_statistics.hpp"
#include "tessarix/language/text_model.hpp"
#include "tessarix/platform/checked.hpp"
#include "tessarix/platform/variant.hpp"

namespace tessarix::detail {

// A user model: the compiled text with the data words of the run. Its
// parameter derivatives are numerical.
std::unique_ptr<PointModel> MakeTextKind(TextModel& text, const DataStatistics& words);

// A pre-defined model of the catalogue: the formula and analytic derivatives
// of an evaluation code, and its least-squares starting values.
std::unique_ptr<PointModel> MakePredefinedKind(std::int32_t evaluation_code, std::int32_t estimate_term_count);

// An external model: the host's events of a regression class. `Calls` knows
// how that class hands a point to its events:
//   static void Evaluate(Events&, std::vector<double>& values, std::span<const double> point, double& result,
//                        bool& success, ExternalBuffers&);   and EvaluateAlt, Derivatives, DerivativesAlt alike.
// The arrays handed to the events are kept between calls, sized once by the
// definition; a host that resized or replaced one gets it rebuilt.
struct ExternalBuffers {
  std::vector<double> values;
  std::vector<double> derivatives;
  Variant values_alt;
  Variant derivatives_alt;
  // The point as the multi-variable events receive it.
  std::vector<double> point;
  Variant point_alt;
};

// Parameter values 1..count into the zero-based arrays an event receives.
void FillEventValues(std::vector<double>& out, const double* values, std::int32_t count);
void FillEventValues(Variant& out, const double* values, std::int32_t count);
// The host's derivatives (element i for parameter i + 1) into dyda[1..count].
// An element that is missing, does not convert to a Double or is not finite
// is a fault, which ends the run.
void ReadEventDerivatives(const ExternalBuffers& buffers, bool alternative, std::int32_t count, double* dyda);

template <class Events, class Calls>
class ExternalKind final : public PointModel {
 public:
  // `last_error` receives the text of failed derivatives; null: a text of
  // the kind's own.
  ExternalKind(Events& events, std::int32_t count, bool external_derivatives, bool alternative_events,
               std::string* last_error)
      : events_(events),
        count_(count),
        external_derivatives_(external_derivatives),
        alternative_(alternative_events),
        last_error_(last_error != nullptr ? *last_error : private_error_) {
    const auto size = static_cast<std::size_t>(count);
    buffers_.values.assign(size, 0.0);
    buffers_.derivatives.assign(size, 0.0);
    buffers_.values_alt = Variant::Array(std::vector<Variant>(size, Variant(0.0)));
    buffers_.derivatives_alt = Variant::Array(std::vector<Variant>(size, Variant(0.0)));
  }

  // Only for a host that has declared its handlers thread-safe; each copy
  // hands the events arrays of its own.
  std::unique_ptr<PointModel> ThreadCopy() const override {
    return std::make_unique<ExternalKind>(events_, count_, external_derivatives_, alternative_, nullptr);
  }

  bool RawValue(std::span<const double> point, const double* parameters, double& y) override {
    double result = 0.0;
    bool success = false;  // a handler must set it
    if (alternative_) {
      FillEventValues(buffers_.values_alt, parameters, count_);
      Calls::EvaluateAlt(events_, point, result, success, buffers_);
    } else {
      FillEventValues(buffers_.values, parameters, count_);
      Calls::Evaluate(events_, point, result, success, buffers_);
    }
    if (!success) return false;
    y = result;
    return true;
  }

  bool Derivatives(std::span<const double> point, double* parameters, const std::int32_t* ia, std::int32_t count,
                   double* dyda) override {
    if (!external_derivatives_) return NumericalDerivatives(point, parameters, ia, count, dyda);
    bool success = false;  // a handler must set it
    if (alternative_) {
      FillEventValues(buffers_.values_alt, parameters, count_);
      Calls::DerivativesAlt(events_, point, success, buffers_);
    } else {
      FillEventValues(buffers_.values, parameters, count_);
      Calls::Derivatives(events_, point, success, buffers_);
    }
    if (!success) {
      last_error_ = "Numerical error occurred while calculating the derivative.";
      return false;
    }
    ReadEventDerivatives(buffers_, alternative_, count_, dyda);
    return true;
  }

 private:
  Events& events_;
  std::int32_t count_;
  bool external_derivatives_;
  bool alternative_;
  // A copy's own error text (declared before the reference that may name it):
  // the pass writes its message over it anyway.
  std::string private_error_;
  std::string& last_error_;
  ExternalBuffers buffers_;
};

}  // namespace tessarix::detail
