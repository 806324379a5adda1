// Running the `tessarix` program from the tests, and reading what it wrote.
#pragma once

#include <string>
#include <vector>

namespace tessarix::tool::test {

struct ToolRun {
  int status = -1;  // exit status of the program
  std::string out;  // standard output
  std::string err;  // standard error
};

// Runs the built program with `args` (each passed as one argument).
ToolRun RunTool(const std::vector<std::string>& args);

std::string ReadFile(const std::string& path);
void WriteFile(const std::string& path, const std::string& text);

// A fresh path in the test's scratch folder.
std::string ScratchPath(const std::string& name);

// A bundled example data file.
std::string ExamplePath(const std::string& name);

}  // namespace tessarix::tool::test
