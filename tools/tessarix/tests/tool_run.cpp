#include "tool_run.hpp"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace tessarix::tool::test {

namespace {

std::string ShellQuote(const std::string& arg) {
  std::string quoted = "'";
  for (char c : arg) {
    if (c == '\'') {
      quoted += "'\\''";
    } else {
      quoted += c;
    }
  }
  return quoted + "'";
}

std::filesystem::path ScratchFolder() {
  static const std::filesystem::path folder = [] {
    auto path = std::filesystem::temp_directory_path() / ("tessarix_tool_tests_" + std::to_string(getpid()));
    std::filesystem::create_directories(path);
    return path;
  }();
  return folder;
}

}  // namespace

ToolRun RunTool(const std::vector<std::string>& args) {
  static int counter = 0;
  const std::string out_path = ScratchPath("stdout_" + std::to_string(++counter));
  const std::string err_path = ScratchPath("stderr_" + std::to_string(counter));
  std::string command = ShellQuote(TESSARIX_TOOL_PATH);
  for (const std::string& arg : args) {
    command += ' ';
    command += ShellQuote(arg);
  }
  command += " >";
  command += ShellQuote(out_path);
  command += " 2>";
  command += ShellQuote(err_path);
  command += " </dev/null";
  const int raw = std::system(command.c_str());
  ToolRun run;
  run.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
  run.out = ReadFile(out_path);
  run.err = ReadFile(err_path);
  return run;
}

std::string ReadFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

void WriteFile(const std::string& path, const std::string& text) {
  std::ofstream(path, std::ios::binary | std::ios::trunc) << text;
}

std::string ScratchPath(const std::string& name) { return (ScratchFolder() / name).string(); }

std::string ExamplePath(const std::string& name) { return std::string(TESSARIX_SOURCE_DIR) + "/examples/data/" + name; }

}  // namespace tessarix::tool::test

namespace {

// Removes the scratch folder of this test process when the tests end.
class ScratchCleanup : public ::testing::Environment {
 public:
  void TearDown() override {
    std::error_code ec;
    std::filesystem::remove_all(tessarix::tool::test::ScratchPath(""), ec);
  }
};

::testing::Environment* const scratch_cleanup = ::testing::AddGlobalTestEnvironment(new ScratchCleanup);

}  // namespace
