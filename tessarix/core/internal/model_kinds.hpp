// The kinds of model behind the point seam. Each is made by its definition
// and lives until the next one.
#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

#include "tessarix/core/internal/point_model.hpp"
#include "tessarix/foundation/enums.hpp"
#include "tessarix/foundation/fault.hpp"
#include "tessarix/language/data_statistics.hpp"
#include "tessarix/language/text_model.hpp"
#include "tessarix/numerics/internal_failure.hpp"
#include "tessarix/platform/checked.hpp"
#include "tessarix/platform/variant.hpp"

namespace tessarix::detail {

// A user model: the compiled text with the data words of the run. Its
// parameter derivatives are numerical, or exact when `method` (the object's
// setting, read at each evaluation) asks for them and the program runs by
// blocks; `vector_math` (read at each evaluation) picks the vector routines
// for the points that run by blocks.
std::unique_ptr<PointModel> MakeTextKind(TextModel& text, const DataStatistics& words,
                                         const DerivativeMethodEnum& method, const bool& vector_math);

// A pre-defined model of the catalogue: the formula and analytic derivatives
// of an evaluation code, and its least-squares starting values.
std::unique_ptr<PointModel> MakePredefinedKind(std::int32_t evaluation_code, std::int32_t estimate_term_count);
// The same for the catalogue of several variables, at the whole point.
std::unique_ptr<PointModel> MakeMultiplePredefinedKind(std::int32_t evaluation_code, std::int32_t estimate_term_count);

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
// Before every call: a host may have written into the array it was handed.
inline void FillEventValues(std::vector<double>& out, const double* values, std::int32_t count) {
  const auto size = static_cast<std::size_t>(count);
  if (out.size() != size) {
    out.assign(values + 1, values + 1 + count);
    return;
  }
  // Once per point and event, for a handful of parameters as a rule: the
  // usual counts are copied inline (a loop or a call to memcpy cost more than
  // the copy).
  double* const to = out.data();
  const double* const from = values + 1;
  switch (count) {
    case 4:
      to[3] = from[3];
      [[fallthrough]];
    case 3:
      to[2] = from[2];
      [[fallthrough]];
    case 2:
      to[1] = from[1];
      [[fallthrough]];
    case 1:
      to[0] = from[0];
      return;
    default:
      std::memcpy(to, from, size * sizeof(double));
  }
}
void FillEventValues(Variant& out, const double* values, std::int32_t count);
// The host's derivatives from[0..count-1] into to[0..count-1]; one that is
// not finite is a fault. The usual counts are copied inline and tested at
// once. (The same switch as FillEventValues's: one routine for both, with
// the test left out for the parameters, made every pass 4% slower.)
inline void CopyEventDerivatives(const double* from, double* to, std::int32_t count) {
  bool finite = true;
  switch (count) {
    case 4:
      finite &= std::isfinite(from[3]);
      to[3] = from[3];
      [[fallthrough]];
    case 3:
      finite &= std::isfinite(from[2]);
      to[2] = from[2];
      [[fallthrough]];
    case 2:
      finite &= std::isfinite(from[1]);
      to[1] = from[1];
      [[fallthrough]];
    case 1:
      finite &= std::isfinite(from[0]);
      to[0] = from[0];
      if (finite) return;
      break;
    default:
      break;
  }
  for (std::int32_t i = 0; i < count; ++i) to[i] = Checked(from[i]);
}
// The derivative arrays an event receives: one element per parameter, rebuilt
// when the host resized or replaced them in an earlier call.
inline void SizeEventDerivatives(std::vector<double>& out, std::int32_t count) {
  if (out.size() != static_cast<std::size_t>(count)) out.assign(static_cast<std::size_t>(count), 0.0);
}
void SizeEventDerivatives(Variant& out, std::int32_t count);
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

  std::int32_t BlockRows() const override {
    return events_.EvaluateExternalBlock ? kExternalBlockRows : kExternalPointRows;
  }

  bool RawValue(std::span<const double> point, const double* parameters, double& y) override {
    if (events_.EvaluateExternalBlock) return BlockValues(point, 1, parameters, &y);
    return PointValue(point, parameters, y);
  }

  bool EvaluateRows(const PointTable& points, std::int32_t first, std::int32_t count, double* parameters,
                    const std::int32_t* ia, std::int32_t parameter_count, double* values, double* derivatives,
                    std::int32_t stride, RowFailure& failure) override {
    // Asked for the derivatives only, the host's value events are not
    // raised: its derivative events and the numerical derivatives need no
    // value at the point itself.
    if (values == nullptr && ia != nullptr) {
      return DerivativeRows(points, first, count, parameters, ia, parameter_count, derivatives, stride, failure);
    }
    if (!events_.EvaluateExternalBlock)
      return PointRows(points, first, count, parameters, ia, parameter_count, values, derivatives, stride, failure);
    const std::span<const double> block(points.Row(first).data(),
                                        static_cast<std::size_t>(count) * static_cast<std::size_t>(points.Width()));
    bool ran = false;
    const bool ok = SucceedsWithoutFault([&] { ran = BlockValues(block, count, parameters, values); });
    if (!ok || !ran) {
      failure = {first, false};
      return false;
    }
    for (std::int32_t r = 0; r < count; ++r) {
      if (!std::isfinite(values[r])) {
        failure = {first + r, false};
        return false;
      }
    }
    if (ia == nullptr) return true;
    return DerivativeRows(points, first, count, parameters, ia, parameter_count, derivatives, stride, failure);
  }

  bool Derivatives(std::span<const double> point, double* parameters, const std::int32_t* ia, std::int32_t count,
                   double* dyda) override {
    if (events_.EvaluateExternalBlock) {
      if (external_derivatives_ && events_.DerivativeExternalBlock) {
        if (BlockDerivatives(point, 1, parameters, dyda, count + 1)) return true;
        last_error_ = "Numerical error occurred while calculating the derivative.";
        return false;
      }
      return NumericalDerivatives(point, parameters, ia, count, dyda);
    }
    if (!external_derivatives_) return NumericalDerivatives(point, parameters, ia, count, dyda);
    return HostDerivatives(point, parameters, dyda);
  }

 private:
  static constexpr std::int32_t kExternalBlockRows = 4096;
  // The rows of the per-point events are handed over in blocks too: the
  // host's events still come point by point in the order of the data, and
  // the pass adds a block's rows without a test per step. (A pass that a
  // fault in its sums ends has then raised the events of the rest of that
  // block; every result is as a pass point by point leaves it.)
  static constexpr std::int32_t kExternalPointRows = 256;

  // Rows by the per-point events: for each point its value, then its
  // derivatives, as a pass point by point raises them, without a virtual
  // call between the host's events. (A fault in the derivatives ends the run
  // whichever row raises it, so the rows before it need not be added first.)
  bool PointRows(const PointTable& points, std::int32_t first, std::int32_t count, double* parameters,
                 const std::int32_t* ia, std::int32_t parameter_count, double* values, double* derivatives,
                 std::int32_t stride, RowFailure& failure) {
    for (std::int32_t r = 0; r < count; ++r) {
      const std::span<const double> point = points.Row(first + r);
      if (!GuardedValue([&](double& value) { return PointValue(point, parameters, value); }, values[r])) {
        failure = {first + r, false};
        return false;
      }
      if (ia == nullptr) continue;
      double* const dyda = derivatives + static_cast<std::ptrdiff_t>(r) * stride;
      if (!(external_derivatives_ ? HostDerivatives(point, parameters, dyda)
                                  : NumericalDerivatives(point, parameters, ia, parameter_count, dyda))) {
        failure = {first + r, true};
        return false;
      }
    }
    return true;
  }

  // The per-point derivative event at one point into dyda[1..count]; false,
  // with the failure's text, when the host reports failure.
  [[gnu::always_inline]] bool HostDerivatives(std::span<const double> point, double* parameters, double* dyda) {
    bool success = false;  // a handler must set it
    if (alternative_) {
      FillEventValues(buffers_.values_alt, parameters, count_);
      SizeEventDerivatives(buffers_.derivatives_alt, count_);
      Calls::DerivativesAlt(events_, point, success, buffers_);
    } else {
      FillEventValues(buffers_.values, parameters, count_);
      SizeEventDerivatives(buffers_.derivatives, count_);
      Calls::Derivatives(events_, point, success, buffers_);
    }
    if (!success) {
      last_error_ = "Numerical error occurred while calculating the derivative.";
      return false;
    }
    if (!alternative_ && buffers_.derivatives.size() >= static_cast<std::size_t>(count_)) {
      CopyEventDerivatives(buffers_.derivatives.data(), dyda + 1, count_);
    } else {
      ReadEventDerivatives(buffers_, alternative_, count_, dyda);
    }
    return true;
  }

  // The derivatives of rows first..first+count-1, as EvaluateRows hands them
  // after the values: by the block event where the host has one, else row by
  // row.
  bool DerivativeRows(const PointTable& points, std::int32_t first, std::int32_t count, double* parameters,
                      const std::int32_t* ia, std::int32_t parameter_count, double* derivatives, std::int32_t stride,
                      RowFailure& failure) {
    if (events_.EvaluateExternalBlock && external_derivatives_ && events_.DerivativeExternalBlock) {
      const std::span<const double> block(points.Row(first).data(),
                                          static_cast<std::size_t>(count) * static_cast<std::size_t>(points.Width()));
      if (!BlockDerivatives(block, count, parameters, derivatives, stride)) {
        failure = {first, true};
        return false;
      }
      return true;
    }
    for (std::int32_t r = 0; r < count; ++r) {
      const std::span<const double> point = points.Row(first + r);
      double* const dyda = derivatives + static_cast<std::ptrdiff_t>(r) * stride;
      const bool ok = events_.EvaluateExternalBlock || !external_derivatives_
                          ? NumericalDerivatives(point, parameters, ia, parameter_count, dyda)
                          : HostDerivatives(point, parameters, dyda);
      if (!ok) {
        failure = {first + r, true};
        return false;
      }
    }
    return true;
  }

  // The per-point value event at one point; false when the host reports
  // failure.
  bool PointValue(std::span<const double> point, const double* parameters, double& y) {
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

  // The block event for `rows` points; false when the host reports failure.
  bool BlockValues(std::span<const double> points, std::int32_t rows, const double* parameters, double* values) {
    bool success = false;
    InvokeHostHandler([&] {
      events_.EvaluateExternalBlock(std::span<const double>(parameters + 1, static_cast<std::size_t>(count_)), points,
                                    std::span<double>(values, static_cast<std::size_t>(rows)), success);
    });
    return success;
  }

  // The block derivatives of `rows` points into derivatives[r * stride + l],
  // l one-based; a derivative that is not finite is a fault.
  bool BlockDerivatives(std::span<const double> points, std::int32_t rows, const double* parameters,
                        double* derivatives, std::int32_t stride) {
    const auto size = static_cast<std::size_t>(rows) * static_cast<std::size_t>(count_);
    if (block_derivatives_.size() < size) block_derivatives_.resize(size);
    bool success = false;
    InvokeHostHandler([&] {
      events_.DerivativeExternalBlock(std::span<const double>(parameters + 1, static_cast<std::size_t>(count_)), points,
                                      std::span<double>(block_derivatives_.data(), size), success);
    });
    if (!success) return false;
    for (std::int32_t r = 0; r < rows; ++r) {
      for (std::int32_t l = 1; l <= count_; ++l) {
        derivatives[r * stride + l] = Checked(block_derivatives_[static_cast<std::size_t>(r * count_ + l - 1)]);
      }
    }
    return true;
  }

  Events& events_;
  std::int32_t count_;
  bool external_derivatives_;
  bool alternative_;
  // A copy's own error text (declared before the reference that may name it):
  // the pass writes its message over it anyway.
  std::string private_error_;
  std::string& last_error_;
  ExternalBuffers buffers_;
  std::vector<double> block_derivatives_;
};

}  // namespace tessarix::detail
