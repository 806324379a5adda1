// The one error type of the tool: a message for the user and the exit status
// the program ends with.
#pragma once

#include <stdexcept>
#include <string>

namespace tessarix::tool {

// Exit statuses of the program.
enum ExitStatus : int {
  kExitOk = 0,
  kExitFailure = 1,  // bad data, a model that does not compile, a fit that fails, a file error
  kExitUsage = 2,    // the command line itself is wrong
};

class ToolError : public std::runtime_error {
 public:
  explicit ToolError(const std::string& message, int exit_status = kExitFailure)
      : std::runtime_error(message), exit_status_(exit_status) {}
  int ExitStatus() const noexcept { return exit_status_; }

 private:
  int exit_status_;
};

}  // namespace tessarix::tool
