// The command line of `tessarix`: subcommands fit, models, rank and spline.
#pragma once

#include <ostream>

namespace tessarix::tool {

// Parses the arguments, runs the subcommand and returns the exit status.
// Reports go to `out`, errors to `err` as "tessarix: error: ...".
int RunCommandLine(int argc, const char* const* argv, std::ostream& out, std::ostream& err);

}  // namespace tessarix::tool
