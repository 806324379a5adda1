#include "python_model.hpp"

#include <pybind11/numpy.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <string>

#include "arrays.hpp"

namespace py = pybind11;

namespace tessarix::python {

namespace {

// The step of the central differences relative to the parameter: about
// eps^(1/3), where the truncation error of the second-order formula (h^2)
// and the rounding error (eps/h) meet. Parameters near zero step from
// kStepFloor so that the difference stays above rounding.
const double kRelativeStep = std::cbrt(std::numeric_limits<double>::epsilon());
constexpr double kStepFloor = 1e-3;

bool AllFinite(const std::vector<double>& v) {
  return std::all_of(v.begin(), v.end(), [](double d) { return std::isfinite(d); });
}

}  // namespace

PythonModel::PythonModel(py::object function, py::object derivatives, std::int32_t parameters, std::int32_t variables)
    : function_(std::move(function)),
      derivatives_(std::move(derivatives)),
      parameters_(parameters),
      variables_(variables),
      fixed_(static_cast<std::size_t>(parameters), false) {}

void PythonModel::Install(NonlinearRegressionEvents& events) {
  events.EvaluateExternalBlock = [this](std::span<const double> p, std::span<const double> x, std::span<double> out,
                                        bool& success) { success = Values(p, x, out); };
  events.DerivativeExternalBlock = [this](std::span<const double> p, std::span<const double> x, std::span<double> out,
                                          bool& success) { success = Derivatives(p, x, out); };
}

void PythonModel::Install(MultipleNonlinearRegressionEvents& events) {
  events.EvaluateExternalBlock = [this](std::span<const double> p, std::span<const double> x, std::span<double> out,
                                        bool& success) { success = Values(p, x, out); };
  events.DerivativeExternalBlock = [this](std::span<const double> p, std::span<const double> x, std::span<double> out,
                                          bool& success) { success = Derivatives(p, x, out); };
}

// The block is copied into an array of Python's own: a callable may keep
// its argument (to cache or to count), and the library's table of points
// does not outlive the fit. The copy is small beside the call. It is read
// only, as the differences hand the same array to several calls.
py::array_t<double> PythonModel::PointArray(std::span<const double> points, std::size_t rows) const {
  const auto n = static_cast<py::ssize_t>(rows);
  py::array_t<double> x =
      variables_ == 0 ? py::array_t<double>(n) : py::array_t<double>({n, static_cast<py::ssize_t>(variables_)});
  const std::size_t count = std::min(points.size(), static_cast<std::size_t>(x.size()));
  std::memcpy(x.mutable_data(), points.data(), count * sizeof(double));
  x.attr("setflags")(py::arg("write") = false);
  return x;
}

void PythonModel::Call(const py::array_t<double>& x, std::span<const double> parameters, std::span<double> out) {
  py::tuple args(parameters.size() + 1);
  args[0] = x;
  for (std::size_t j = 0; j < parameters.size(); ++j) args[j + 1] = py::float_(parameters[j]);
  ++model_calls_;
  const py::object result = function_(*args);
  const DoubleArray values = AsDoubles(result, "the value of the model");
  const auto rows = static_cast<py::ssize_t>(out.size());
  if (values.size() == rows) {
    std::copy(values.data(), values.data() + rows, out.begin());
  } else if (values.size() == 1) {
    // A model that does not depend on x may return one number for all points.
    std::fill(out.begin(), out.end(), *values.data());
  } else {
    throw py::value_error("the model returned " + std::to_string(values.size()) + " values for " +
                          std::to_string(rows) + " points");
  }
}

void PythonModel::CallDerivatives(const py::array_t<double>& x, std::span<const double> parameters,
                                  std::span<double> out) {
  py::tuple args(parameters.size() + 1);
  args[0] = x;
  for (std::size_t j = 0; j < parameters.size(); ++j) args[j + 1] = py::float_(parameters[j]);
  ++derivative_calls_;
  const py::object result = derivatives_(*args);
  const DoubleArray d = AsDoubles(result, "the derivatives of the model");
  const auto rows = static_cast<py::ssize_t>(out.size()) / parameters_;
  const bool shaped = (d.ndim() == 2 && d.shape(0) == rows && d.shape(1) == parameters_) ||
                      (d.ndim() == 1 && rows == 1 && d.shape(0) == parameters_);
  if (!shaped) {
    std::string shape = "(";
    for (py::ssize_t k = 0; k < d.ndim(); ++k) shape += (k ? ", " : "") + std::to_string(d.shape(k));
    throw py::value_error("the derivatives must have shape (" + std::to_string(rows) + ", " +
                          std::to_string(parameters_) + "), one row per point, not " + shape + ")");
  }
  std::copy(d.data(), d.data() + d.size(), out.begin());
}

bool PythonModel::FiniteDifferences(const py::array_t<double>& x, std::span<const double> parameters,
                                    std::span<double> out) {
  const std::size_t rows = out.size() / static_cast<std::size_t>(parameters_);
  const auto width = static_cast<std::size_t>(parameters_);
  std::vector<double> trial(parameters.begin(), parameters.end());
  std::vector<double> up(rows), down(rows), centre, up2, down2;
  const auto at = [&](std::size_t col, double value, std::vector<double>& into) {
    into.resize(rows);
    trial[col] = value;
    Call(x, trial, into);
    trial[col] = parameters[col];
  };
  for (std::size_t col = 0; col < width; ++col) {
    if (fixed_[col]) {
      for (std::size_t r = 0; r < rows; ++r) out[r * width + col] = 0.0;
      continue;
    }
    const double p = parameters[col];
    // A step that is exactly representable as the difference of two doubles.
    const double h = (p + kRelativeStep * std::max(std::abs(p), kStepFloor)) - p;
    at(col, p + h, up);
    at(col, p - h, down);
    if (AllFinite(up) && AllFinite(down)) {
      for (std::size_t r = 0; r < rows; ++r) out[r * width + col] = (up[r] - down[r]) / (2.0 * h);
      continue;
    }
    // Near the edge of the model's domain: one-sided differences of second
    // order on the side where the model is finite.
    if (centre.empty()) at(col, p, centre);
    at(col, p + 2.0 * h, up2);
    at(col, p - 2.0 * h, down2);
    for (std::size_t r = 0; r < rows; ++r) {
      double d = 0.0;
      if (std::isfinite(up[r]) && std::isfinite(down[r])) {
        d = (up[r] - down[r]) / (2.0 * h);
      } else if (std::isfinite(centre[r]) && std::isfinite(up[r]) && std::isfinite(up2[r])) {
        d = (-3.0 * centre[r] + 4.0 * up[r] - up2[r]) / (2.0 * h);
      } else if (std::isfinite(centre[r]) && std::isfinite(down[r]) && std::isfinite(down2[r])) {
        d = (3.0 * centre[r] - 4.0 * down[r] + down2[r]) / (2.0 * h);
      } else {
        return false;
      }
      if (!std::isfinite(d)) return false;
      out[r * width + col] = d;
    }
  }
  return true;
}

bool PythonModel::Values(std::span<const double> parameters, std::span<const double> points, std::span<double> out) {
  py::gil_scoped_acquire lock;
  return EvaluateHeld(parameters, points, out);
}

bool PythonModel::EvaluateHeld(std::span<const double> parameters, std::span<const double> points,
                               std::span<double> out) {
  if (has_pending_.load()) return false;
  try {
    Call(PointArray(points, out.size()), parameters, out);
    return true;
  } catch (py::error_already_set& e) {
    Record(std::move(e));
  } catch (py::builtin_exception& e) {
    e.set_error();
    Record(py::error_already_set());
  }
  return false;
}

bool PythonModel::Derivatives(std::span<const double> parameters, std::span<const double> points,
                              std::span<double> out) {
  py::gil_scoped_acquire lock;
  if (has_pending_.load()) return false;
  const std::size_t rows = out.size() / static_cast<std::size_t>(parameters_);
  try {
    const py::array_t<double> x = PointArray(points, rows);
    if (derivatives_.is_none()) return FiniteDifferences(x, parameters, out);
    CallDerivatives(x, parameters, out);
    return true;
  } catch (py::error_already_set& e) {
    Record(std::move(e));
  } catch (py::builtin_exception& e) {
    e.set_error();
    Record(py::error_already_set());
  }
  return false;
}

// The first exception of a run is the one raised again.
void PythonModel::Record(py::error_already_set&& error) {
  if (!pending_) pending_.emplace(std::move(error));
  has_pending_.store(true);
}

void PythonModel::ThrowPending() {
  if (!pending_) return;
  py::error_already_set error = std::move(*pending_);
  ClearPending();
  throw py::error_already_set(std::move(error));
}

void PythonModel::ClearPending() {
  pending_.reset();
  has_pending_.store(false);
}

}  // namespace tessarix::python
