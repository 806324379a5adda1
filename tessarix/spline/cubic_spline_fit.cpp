// The fit forms of CubicSpline: validation of the caller's points, sorting,
// averaging of equal X, the solution, the result tables and the log.
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <utility>

#include "tessarix/data/data_access.hpp"
#include "tessarix/foundation/error_catalogue.hpp"
#include "tessarix/foundation/error_handler.hpp"
#include "tessarix/foundation/fault.hpp"
#include "tessarix/foundation/global_constants.hpp"
#include "tessarix/numerics/sort_values.hpp"
#include "tessarix/platform/checked.hpp"
#include "tessarix/platform/clock.hpp"
#include "tessarix/platform/number_text.hpp"
#include "tessarix/spline/cubic_spline.hpp"
#include "tessarix/spline/internal/cubic_spline_impl.hpp"

namespace tessarix {

namespace {

using Impl = detail::CubicSplineImpl;
using detail::IntegerText;

constexpr std::string_view kNotEnoughPoints = "Solution failed: not enough data points";

// Stores the catalogue message as the last error text, then raises it.
[[noreturn]] void StoreAndRaise(Impl& s, ErrorCode id) {
  s.last_error = detail::ErrorMessage(id);
  detail::RaiseLibraryError(id);
}

// The steps every form takes before it looks at its arguments: the old
// solution and the old log go, the new log begins.
void BeginFit(Impl& s) {
  s.last_error.clear();
  s.ReleaseSolution();
  s.solution_log.clear();
  s.AppendLine("Tessarix version " + IntegerText(GlobalConstants::tsxMajorVersion()) + "." +
               IntegerText(GlobalConstants::tsxMinorVersion()) + "." + IntegerText(GlobalConstants::tsxRevision()) +
               " (CubicSpline object)");
  s.AppendLine("Date/Time: " + detail::CurrentDateTimeText());
  s.AppendLine("Beginning solution for Cubic Spline");
}

// The handler of the forms, armed once the arguments have passed their
// checks. A failure leaves no solution at all: the flag is cleared too, so
// that no query can reach knots that are gone.
template <class Body>
void RunFit(Impl& s, Body&& body) {
  detail::RunUnderHandler(std::forward<Body>(body), [&s](const std::string& description) {
    DataCollection& tables = s.ResultTables();
    detail::DataAccess::SetReadOnly(tables, false);
    detail::DataAccess::RemoveAllSeries(tables);
    detail::DataAccess::SetReadOnly(tables, true);
    s.ReleaseFitArrays();
    s.knots.Clear();
    s.solved = false;
    s.num_observations = 0;
    s.last_error = std::string(detail::kGeneralErrorPrefix) + description;
  });
}

// The count of a span as a Long; only reached for a non-empty span.
std::int32_t CountOf(std::size_t size) {
  if (size > static_cast<std::size_t>(INT32_MAX)) detail::RaiseFault(detail::FaultKind::Overflow);
  return static_cast<std::int32_t>(size);
}

// Element i - 1 of the caller's array to place i; a value that is not finite
// is the fault of its kind.
void CopyIn(std::span<const double> from, detail::Vector1& to, std::int32_t n) {
  to = detail::MakeVector1(n);
  for (std::int32_t i = 1; i <= n; ++i) {
    to[static_cast<std::size_t>(i)] = detail::Checked(from[static_cast<std::size_t>(i) - 1]);
  }
}

void CopyIn(const Variant& from, detail::Vector1& to, std::int32_t n) {
  to = detail::MakeVector1(n);
  for (std::int32_t i = 1; i <= n; ++i) to[static_cast<std::size_t>(i)] = detail::Checked(from.At(i - 1).ToDouble());
}

void CheckFinite(const detail::Vector1& values) {
  for (std::size_t i = 1; i < values.size(); ++i) (void)detail::Checked(values[i]);
}

void SolveSpline(Impl& s) {
  if (s.knots.m >= 3) {
    detail::BuildSecondDerivatives(s.knots, s.ranges);
    s.AppendLine("Solution complete");
    s.AppendLine("");
    s.solved = true;
  } else {
    s.AppendLine(kNotEnoughPoints);
    s.AppendLine("");
    s.last_error = kNotEnoughPoints;
  }
}

void AddColumn(DataCollection& tables, const std::string& name, const std::string& key, const detail::Vector1& values,
               std::int32_t n) {
  // A name that is taken already (a host's series named "Residuals") fails
  // the fit rather than dropping a column.
  const std::shared_ptr<DataSeries> series = tables.AddSeries(name, n);
  if (!key.empty()) series->SetRegressionKey(key);
  detail::DataAccess::CopyValuesIn(*series, values, n);
}

// Everything after the input arrays hold the n points, to the end of the fit.
void SolveFromInput(Impl& s, std::int32_t n, const std::string& x_name, const std::string& y_name) {
  s.num_observations = n;
  {
    // Sorted scratch copies; the input arrays keep the caller's order for
    // the residuals and the tables.
    detail::Vector1 x = s.input_x;
    detail::Vector1 y = s.input_y;
    detail::SortValuesWithValues(x, y, n, 0);
    if (detail::AverageDuplicatePoints(x, y, n, s.knots)) s.AppendLine("Averaging duplicate points detected");
  }
  s.knots.y2.assign(static_cast<std::size_t>(s.knots.m) + 1, 0.0);
  SolveSpline(s);
  if (s.solved) {
    s.predicted = detail::MakeVector1(n);
    s.residuals = detail::MakeVector1(n);
    for (std::int32_t i = 1; i <= n; ++i) {
      const auto k = static_cast<std::size_t>(i);
      s.predicted[k] = detail::EvaluateSpline(s.knots, s.input_x[k]);
      s.residuals[k] = (detail::Num(s.input_y[k]) - s.predicted[k]).value();
    }
    DataCollection& tables = s.ResultTables();
    detail::DataAccess::SetReadOnly(tables, false);
    AddColumn(tables, x_name, "X", s.input_x, n);
    AddColumn(tables, y_name, "Y", s.input_y, n);
    AddColumn(tables, "Predicted Y", "", s.predicted, n);
    AddColumn(tables, "Residuals", "", s.residuals, n);
  }
  detail::DataAccess::SetReadOnly(s.ResultTables(), true);
  s.ReleaseFitArrays();
}

}  // namespace

void CubicSpline::Fit(std::span<const double> XObservations, std::span<const double> YObservations) {
  Impl& s = *impl_;
  BeginFit(s);
  if (XObservations.empty() || YObservations.empty()) StoreAndRaise(s, ErrorCode::NoObservationsInArray);
  if (XObservations.size() != YObservations.size()) StoreAndRaise(s, ErrorCode::UnequalArrayDimensions);
  RunFit(s, [&] {
    const std::int32_t n = CountOf(XObservations.size());
    CopyIn(XObservations, s.input_x, n);
    CopyIn(YObservations, s.input_y, n);
    SolveFromInput(s, n, "X", "Y");
  });
}

void CubicSpline::FitAlt(const Variant& XObservations, const Variant& YObservations) {
  Impl& s = *impl_;
  BeginFit(s);
  // The one check that leaves the last error empty.
  if (!XObservations.IsArray() || !YObservations.IsArray()) {
    detail::RaiseLibraryError(ErrorCode::ExpectedVariantArray);
  }
  if (XObservations.Dimensions() == 0 || YObservations.Dimensions() == 0) {
    StoreAndRaise(s, ErrorCode::NoObservationsInArray);
  }
  const std::int32_t nx = XObservations.UpperBound() + 1;
  const std::int32_t ny = YObservations.UpperBound() + 1;
  if (nx != ny) StoreAndRaise(s, ErrorCode::UnequalArrayDimensions);
  RunFit(s, [&] {
    CopyIn(XObservations, s.input_x, nx);
    CopyIn(YObservations, s.input_y, nx);
    SolveFromInput(s, nx, "X", "Y");
  });
}

void CubicSpline::FitCollection(const DataCollection& ObservedData) {
  Impl& s = *impl_;
  BeginFit(s);
  const std::shared_ptr<DataSeries> xs = detail::DataAccess::FindSeriesByKey(ObservedData, "x");
  if (!xs) StoreAndRaise(s, ErrorCode::MissingSeriesX);
  const std::shared_ptr<DataSeries> ys = detail::DataAccess::FindSeriesByKey(ObservedData, "y");
  if (!ys) StoreAndRaise(s, ErrorCode::MissingSeriesY);
  const std::int32_t n = xs->NumObservations();
  if (ys->NumObservations() != n) StoreAndRaise(s, ErrorCode::UnequalSeriesLengths);
  // Deviations are looked at only for their count: a spline has no weights.
  const std::shared_ptr<DataSeries> sds = detail::DataAccess::FindSeriesByKey(ObservedData, "sd");
  if (sds && sds->NumObservations() != n) StoreAndRaise(s, ErrorCode::UnequalSeriesLengths);
  RunFit(s, [&] {
    detail::DataAccess::CopyValuesOut(*xs, s.input_x);
    detail::DataAccess::CopyValuesOut(*ys, s.input_y);
    CheckFinite(s.input_x);
    CheckFinite(s.input_y);
    SolveFromInput(s, n, xs->Name(), ys->Name());
  });
  // A collection's fit ends with no stored error, also when it could not be
  // solved for lack of points: the log alone says so. Hosts have relied on it.
  s.last_error.clear();
}

}  // namespace tessarix
