// CubicSpline::SaveTSF: the points and the knots of a solved spline as a
// result file for Tessara, written by the result-file writer.
#include <string>

#include "tessarix/data/data_access.hpp"
#include "tessarix/foundation/error_catalogue.hpp"
#include "tessarix/resultfile/tsf_writer.hpp"
#include "tessarix/spline/cubic_spline.hpp"
#include "tessarix/spline/internal/cubic_spline_impl.hpp"

namespace tessarix {

namespace {

// The points as supplied, from the first two columns of the result tables
// (X and Y in the order of the input), and the knots after averaging.
detail::TsfDocument SplineDocument(const detail::CubicSplineImpl& s, std::int32_t major_version,
                                   std::int32_t minor_version) {
  detail::TsfDocument d;
  d.form = detail::TsfForm::Spline;
  d.major_version = major_version;
  d.minor_version = minor_version;
  const DataCollection& tables = s.ResultTables();
  for (std::int32_t j = 1; j <= 2; ++j) {
    const std::shared_ptr<DataSeries> series = tables.Item(j);
    const double* values = detail::DataAccess::Values(*series);
    d.input_columns.emplace_back(values + 1, values + 1 + series->NumObservations());
  }
  detail::TsfInterpolation interpolation;
  for (std::int32_t k = 1; k <= s.knots.m; ++k) {
    const auto i = static_cast<std::size_t>(k);
    interpolation.knots.push_back({s.knots.x.at(i), s.knots.y.at(i), s.knots.y2.at(i)});
  }
  interpolation.x_min = s.ranges.x_min;
  interpolation.x_max = s.ranges.x_max;
  interpolation.y_min = s.ranges.y_min;
  interpolation.y_max = s.ranges.y_max;
  d.interpolation = std::move(interpolation);
  return d;
}

}  // namespace

void CubicSpline::SaveTSF(const std::string& FilePath, std::int32_t MajorVersion, std::int32_t MinorVersion) {
  impl_->GuardSolved();
  if (!detail::IsSupportedTsfVersion(MajorVersion, MinorVersion)) {
    detail::RaiseLibraryError(ErrorCode::UnsupportedTessaraVersion);
  }
  bool written = false;
  try {
    written = detail::WriteTsfFile(SplineDocument(*impl_, MajorVersion, MinorVersion), FilePath);
  } catch (...) {
    // Whatever stops the description stops the file.
    written = false;
  }
  if (!written) detail::RaiseLibraryError(ErrorCode::FileWriteError);
}

}  // namespace tessarix
