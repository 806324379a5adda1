// numpy arrays in and out. An input that is already a C-contiguous float64
// array is read through a span over its own buffer; anything else (lists,
// integers, strided views) is converted once. Outputs hand the library's
// vectors to numpy without copying them.
#pragma once

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <span>
#include <tessarix/platform/matrix.hpp>
#include <vector>

namespace tessarix::python {

using DoubleArray = pybind11::array_t<double, pybind11::array::c_style | pybind11::array::forcecast>;

// `value` as a float64 C-contiguous array (no copy when it already is one).
// TypeError naming `what` for a value numpy cannot read as numbers.
DoubleArray AsDoubles(pybind11::handle value, const char* what);

// The same, and ValueError unless it has `ndim` dimensions.
DoubleArray AsDoubles(pybind11::handle value, const char* what, pybind11::ssize_t ndim);

inline std::span<const double> Span(const DoubleArray& a) { return {a.data(), static_cast<std::size_t>(a.size())}; }

// A 2-D array (rows = observations) as the library's Matrix.
Matrix ToMatrix(const DoubleArray& a);

// The vector's storage becomes the array's buffer.
pybind11::array_t<double> ToNumpy(std::vector<double>&& values);
// Rows x cols, row-major.
pybind11::array_t<double> ToNumpy(std::vector<double>&& values, pybind11::ssize_t rows, pybind11::ssize_t cols);

// Sizes beyond the library's 32-bit counts are refused before they reach it.
std::int32_t CheckedCount(pybind11::ssize_t n, const char* what);

}  // namespace tessarix::python
