#include "arrays.hpp"

#include <cstdint>
#include <limits>
#include <memory>
#include <string>

namespace py = pybind11;

namespace tessarix::python {

DoubleArray AsDoubles(py::handle value, const char* what) {
  if (value.is_none()) throw py::type_error(std::string(what) + " must be an array of numbers, not None");
  DoubleArray a = DoubleArray::ensure(value);
  if (!a) throw py::type_error(std::string(what) + " must be an array of numbers");
  return a;
}

DoubleArray AsDoubles(py::handle value, const char* what, py::ssize_t ndim) {
  DoubleArray a = AsDoubles(value, what);
  if (a.ndim() != ndim) {
    throw py::value_error(std::string(what) + " must have " + std::to_string(ndim) + " dimension" +
                          (ndim == 1 ? "" : "s") + ", not " + std::to_string(a.ndim()));
  }
  return a;
}

std::int32_t CheckedCount(py::ssize_t n, const char* what) {
  if (n > std::numeric_limits<std::int32_t>::max()) {
    throw py::value_error(std::string(what) + " has more elements than a fit can take (2^31 - 1)");
  }
  return static_cast<std::int32_t>(n);
}

Matrix ToMatrix(const DoubleArray& a) {
  const std::int32_t rows = CheckedCount(a.shape(0), "x");
  const std::int32_t cols = CheckedCount(a.shape(1), "x");
  Matrix m(rows, cols);
  std::copy(a.data(), a.data() + a.size(), m.Data());
  return m;
}

py::array_t<double> ToNumpy(std::vector<double>&& values) {
  const auto n = static_cast<py::ssize_t>(values.size());
  return ToNumpy(std::move(values), n, -1);
}

py::array_t<double> ToNumpy(std::vector<double>&& values, py::ssize_t rows, py::ssize_t cols) {
  auto owner = std::make_unique<std::vector<double>>(std::move(values));
  // The capsule owns the vector from here on; numpy frees it with the array.
  py::capsule base(owner.get(), [](void* p) { delete static_cast<std::vector<double>*>(p); });
  const double* data = owner.release()->data();
  if (cols < 0) return py::array_t<double>(rows, data, base);
  return py::array_t<double>({rows, cols}, data, base);
}

}  // namespace tessarix::python
