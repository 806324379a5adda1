// The extension module tessarix._tessarix. The package tessarix (its
// __init__.py) builds the public functions on top of it.
#include <pybind11/pybind11.h>

#include <string>
#include <tessarix/core/global_constants.hpp>

#include "errors.hpp"
#include "rank.hpp"
#include "regression.hpp"

PYBIND11_MODULE(_tessarix, m) {
  m.doc() = "Tessarix curve fitting: the compiled part of the package tessarix.";
  using tessarix::GlobalConstants;
  m.attr("__version__") = std::to_string(GlobalConstants::tsxMajorVersion()) + "." +
                          std::to_string(GlobalConstants::tsxMinorVersion()) + "." +
                          std::to_string(GlobalConstants::tsxRevision());
  tessarix::python::RegisterErrors(m);
  tessarix::python::RegisterRegression(m);
  tessarix::python::RegisterRank(m);
}
