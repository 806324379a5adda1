// --tsf of fit and spline: the result file that the desktop application
// Tessara opens, saved through the solving object's own SaveTSF.
#pragma once

#include <cstdint>
#include <ostream>
#include <string>
#include <tessarix/core/error.hpp>

#include "text_format.hpp"
#include "tool_error.hpp"

namespace tessarix::tool {

struct ResultFileOptions {
  std::string path;             // --tsf; empty: no file
  std::string version = "8.0";  // --tsf-version: "8.0" or "7.1"
};

// Saves the result file of a solved object when one is asked for, and notes
// it on `out`; a file that cannot be written is a ToolError.
template <class Solver>
void SaveResultFile(Solver& solver, const ResultFileOptions& options, std::ostream& out) {
  if (options.path.empty()) return;
  const bool older = options.version == "7.1";
  try {
    solver.SaveTSF(options.path, older ? 7 : 8, older ? 1 : 0);
  } catch (const Error& e) {
    throw ToolError("cannot write the result file '" + CleanText(options.path) + "': " + e.Description());
  }
  out << "Result file written to " << CleanText(options.path) << '\n';
}

}  // namespace tessarix::tool
