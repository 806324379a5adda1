// Every model of the catalogue fitted to one data set, on several threads
// without the interpreter lock, best first.
#pragma once

#include <pybind11/pybind11.h>

namespace tessarix::python {

void RegisterRank(pybind11::module_& m);

}  // namespace tessarix::python
