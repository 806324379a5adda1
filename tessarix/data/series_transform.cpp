// The all-or-nothing edits of a series: Transform, Translate, Multiply. Each
// works on a copy of the values and puts it back only when every element went
// through, so a fault at any element leaves the series exactly as it was.
#include <vector>

#include "tessarix/data/data_access.hpp"
#include "tessarix/data/data_series.hpp"
#include "tessarix/foundation/error_catalogue.hpp"
#include "tessarix/foundation/error_handler.hpp"
#include "tessarix/platform/checked.hpp"

namespace tessarix {

using detail::Checked;
using detail::CheckedDiv;
using detail::CheckedLog;
using detail::CheckedSqrt;

namespace {

template <class Step>
void ApplyToCopy(DataSeries& series, Step step) {
  detail::RunUnderHandler([&] {
    std::vector<double> work;
    detail::DataAccess::CopyValuesOut(series, work);
    const std::int32_t n = series.NumObservations();
    for (std::int32_t k = 1; k <= n; ++k) work[static_cast<std::size_t>(k)] = step(work[static_cast<std::size_t>(k)]);
    detail::DataAccess::CopyValuesIn(series, work, n);
  });
}

}  // namespace

void DataSeries::Transform(TransformTypeEnum Transformation) {
  GuardWritable();
  // An empty series returns before the argument is looked at.
  if (count_ == 0) return;
  switch (Transformation) {
    case tsxTransformSquare:
      return ApplyToCopy(*this, [](double v) { return Checked(v * v); });
    case tsxTransformSquareRoot:
      return ApplyToCopy(*this, [](double v) { return CheckedSqrt(v); });
    case tsxTransformNaturalLog:
      return ApplyToCopy(*this, [](double v) { return CheckedLog(v); });
    case tsxTransformInvert:
      return ApplyToCopy(*this, [](double v) { return CheckedDiv(1.0, v); });
    case tsxTransformInvertSquare:
      return ApplyToCopy(*this, [](double v) { return CheckedDiv(1.0, Checked(v * v)); });
    case tsxTransformInvertSquareRoot:
      return ApplyToCopy(*this, [](double v) { return CheckedDiv(1.0, CheckedSqrt(v)); });
    case tsxTransformInvertNaturalLog:
      return ApplyToCopy(*this, [](double v) { return CheckedDiv(1.0, CheckedLog(v)); });
  }
  detail::RaiseLibraryError(ErrorCode::InvalidArgument);
}

void DataSeries::Translate(double Factor) {
  GuardWritable();
  if (count_ == 0) return;
  ApplyToCopy(*this, [Factor](double v) { return Checked(Factor + v); });
}

void DataSeries::Multiply(double Factor) {
  GuardWritable();
  if (count_ == 0) return;
  ApplyToCopy(*this, [Factor](double v) { return Checked(Factor * v); });
}

}  // namespace tessarix
