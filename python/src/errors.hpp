// Library errors as the Python exception tessarix.Error, and the text
// conversions that never fail on bytes that are not UTF-8.
#pragma once

#include <pybind11/pybind11.h>

#include <string>
#include <string_view>

namespace tessarix::python {

// Registers tessarix.Error, the ErrorCode enumeration and the translator that
// turns every tessarix::Error reaching Python into tessarix.Error.
void RegisterErrors(pybind11::module_& m);

// The name of an error of the catalogue ("ModelNotSolved"); "" for a help
// context outside it.
std::string_view ErrorCodeName(std::int32_t help_context);

// A Python str of library text; bytes that are not UTF-8 become U+FFFD.
pybind11::str Text(const std::string& text);

}  // namespace tessarix::python
