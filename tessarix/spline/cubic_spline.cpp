// CubicSpline: creation, the solution's release, guards and the plain members.
#include "tessarix/spline/cubic_spline.hpp"

#include <exception>

#include "tessarix/data/data_access.hpp"
#include "tessarix/foundation/error_catalogue.hpp"
#include "tessarix/platform/text_writer.hpp"
#include "tessarix/spline/internal/cubic_spline_impl.hpp"

namespace tessarix {

using detail::RaiseLibraryError;

CubicSpline::CubicSpline() : impl_(std::make_unique<detail::CubicSplineImpl>()) {}

CubicSpline::~CubicSpline() = default;

void CubicSpline::ClearFit() { impl_->ReleaseSolution(); }

bool CubicSpline::IsSolved() const { return impl_->solved; }

std::string CubicSpline::LastSolveError() const {
  const std::string& text = impl_->last_error;
  return text.empty() ? std::string("No errors") : text;
}

std::int32_t CubicSpline::NumObservations() const {
  impl_->GuardSolved();
  return impl_->num_observations;
}

std::shared_ptr<DataCollection> CubicSpline::ResultTables() const {
  impl_->ResultTables();
  return impl_->result_tables;
}

std::string CubicSpline::SolutionLog() const { return impl_->solution_log; }

void CubicSpline::SaveLog(const std::string& FilePath, bool Append) {
  bool written = false;
  try {
    detail::TextWriter writer;
    if (writer.Open(FilePath, Append)) {
      writer.Plain(impl_->solution_log, true);
      writer.Close();
      written = true;
    }
  } catch (const std::exception&) {
    written = false;
  }
  if (!written) RaiseLibraryError(ErrorCode::FileWriteError);
}

std::string CubicSpline::Tag() const { return impl_->tag; }
void CubicSpline::SetTag(const std::string& value) { impl_->tag = value; }

}  // namespace tessarix

namespace tessarix::detail {

tessarix::DataCollection& CubicSplineImpl::ResultTables() const {
  if (!result_tables) {
    result_tables = std::make_shared<tessarix::DataCollection>();
    DataAccess::SetReadOnly(*result_tables, true);
  }
  return *result_tables;
}

void CubicSplineImpl::AppendLine(std::string_view text) {
  solution_log += text;
  solution_log += kSplineLineEnd;
}

void CubicSplineImpl::ReleaseFitArrays() {
  // Released, not only emptied: a fit of a million points should not keep
  // its memory until the next one.
  Vector1().swap(input_x);
  Vector1().swap(input_y);
  Vector1().swap(predicted);
  Vector1().swap(residuals);
}

void CubicSplineImpl::ReleaseSolution() {
  tessarix::DataCollection& tables = ResultTables();
  if (tables.Count() > 0) {
    DataAccess::SetReadOnly(tables, false);
    DataAccess::RemoveAllSeries(tables);
    DataAccess::SetReadOnly(tables, true);
  }
  solved = false;
  ReleaseFitArrays();
  knots.Clear();
  num_observations = 0;
}

void CubicSplineImpl::GuardSolved() const {
  if (!solved) RaiseLibraryError(ErrorCode::ModelNotSolved);
}

bool CubicSplineImpl::InRange(double x) const noexcept { return x >= ranges.x_min && x <= ranges.x_max; }

void CubicSplineImpl::GuardInRange(double x) const {
  if (!InRange(x)) RaiseLibraryError(ErrorCode::SplineXOutOfRange);
}

}  // namespace tessarix::detail
