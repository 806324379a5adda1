// The solution log: parameter lines and the writing of the log to a file.
#include <fstream>

#include "tessarix/core/internal/parameter_access.hpp"
#include "tessarix/core/internal/regression_core.hpp"
#include "tessarix/core/regression_parameters.hpp"
#include "tessarix/platform/number_text.hpp"

namespace tessarix::detail {

void AppendParameterValues(RegressionCore& core, const Vector1& values, bool is_last) {
  core.AppendLine(is_last ? "Last parameter values:" : "Final parameter values:");
  std::int32_t position = 0;
  for (const auto& parameter : core.Parameters()) {
    ++position;
    // A run that failed before its values were set up has none to show.
    if (static_cast<std::size_t>(position) >= values.size()) break;
    core.AppendLine(parameter->Name() + " = " + NumberText(values[static_cast<std::size_t>(position)]));
  }
}

bool WriteLogFile(const std::string& text, const std::string& path, bool append) {
  try {
    std::ofstream file(path, std::ios::binary | (append ? std::ios::app : std::ios::trunc));
    if (!file) return false;
    file << text << kLineEnd;
    file.close();
    return static_cast<bool>(file);
  } catch (...) {
    return false;
  }
}

}  // namespace tessarix::detail
