// Fuzz target: the command line of the `tessarix` tool and the data file it
// reads, through tessarix::tool::RunCommandLine in this process.
//
// Input: one argument a line (argv[0] is supplied); a line "====" ends the
// arguments and the bytes after it are the file "data.csv". Every call runs
// in a private folder, and "/" in an argument becomes "_", so that whatever
// paths the arguments name (--log, --table, --plot, DATA) stay in that
// folder. Promises checked:
//   - RunCommandLine returns 0, 1 or 2 and lets no exception out;
//   - a failure says so on the error stream as "tessarix: error: ...";
//   - no text and no file the tool writes shows a NaN or an infinity (unless
//     the input itself holds such a word);
//   - the data file is left as it was unless an argument names it.
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "command_line.hpp"
#include "fuzz_support.hpp"

namespace tessarix::fuzz {
namespace {

constexpr std::size_t kMaxInput = 1 << 14;
constexpr std::string_view kDataMarker = "====";

std::string Lower(std::string s) {
  for (char& c : s) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return s;
}

// "nan", "inf" or "infinity" as a word of its own (letters on neither side).
bool HasNonFiniteWord(const std::string& text) {
  const std::string lower = Lower(text);
  for (std::string_view word : {"nan", "inf"}) {
    for (std::size_t at = lower.find(word); at != std::string::npos; at = lower.find(word, at + 1)) {
      const bool letter_before = at > 0 && std::isalpha(static_cast<unsigned char>(lower[at - 1]));
      std::size_t end = at + word.size();
      if (word == "inf" && lower.compare(end, 5, "inity") == 0) end += 5;
      const bool letter_after = end < lower.size() && std::isalpha(static_cast<unsigned char>(lower[end]));
      if (!letter_before && !letter_after) return true;
    }
  }
  return false;
}

// Runs the tool with the current folder set to the private one.
int Run(const std::vector<std::string>& args, std::string& out_text, std::string& err_text) {
  std::vector<const char*> argv = {"tessarix"};
  for (const std::string& a : args) argv.push_back(a.c_str());
  std::ostringstream out, err;
  const std::filesystem::path home = std::filesystem::current_path();
  std::filesystem::current_path(PrivateDir() + "/run");
  int status = 0;
  try {
    status = tool::RunCommandLine(static_cast<int>(argv.size()), argv.data(), out, err);
  } catch (const std::exception& e) {
    Broken("an exception escaped RunCommandLine", e.what());
  } catch (...) {
    Broken("an exception of unknown type escaped RunCommandLine");
  }
  std::filesystem::current_path(home);
  out_text = out.str();
  err_text = err.str();
  return status;
}

}  // namespace
}  // namespace tessarix::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace tessarix;
  using namespace tessarix::fuzz;
  if (size > kMaxInput) return -1;
  const std::string input(reinterpret_cast<const char*>(data), size);

  std::vector<std::string> args;
  std::string file;
  bool has_file = false;
  std::size_t start = 0;
  while (start <= input.size()) {
    const std::size_t end = std::min(input.find('\n', start), input.size());
    std::string line = input.substr(start, end - start);
    if (line == kDataMarker) {
      has_file = true;
      if (end < input.size()) file = input.substr(end + 1);
      break;
    }
    if (end < input.size() || !line.empty()) {
      std::replace(line.begin(), line.end(), '/', '_');
      args.push_back(line);
    }
    start = end + 1;
  }

  const std::string run_dir = PrivateDir() + "/run";
  std::filesystem::create_directories(run_dir);
  EmptyFolder(run_dir);
  if (has_file) WriteFile(run_dir + "/data.csv", file);

  std::string out, err;
  const int status = Run(args, out, err);
  const std::string context = "status " + std::to_string(status) + "\nout: " + out + "\nerr: " + err;
  if (std::getenv("TESSARIX_FUZZ_VERBOSE") != nullptr) std::fprintf(stderr, "%s\n", context.c_str());
  TSX_FUZZ_CHECK(status == 0 || status == 1 || status == 2, context);
  if (status != 0) TSX_FUZZ_CHECK(err.rfind("tessarix: error: ", 0) == 0, context);

  if (!HasNonFiniteWord(input)) {
    TSX_FUZZ_CHECK(!HasNonFiniteWord(out) && !HasNonFiniteWord(err), "a NaN or infinity in the output\n" + context);
    for (const std::string& name : FolderEntries(run_dir)) {
      const std::string written = ReadFile(run_dir + "/" + name);
      TSX_FUZZ_CHECK(!HasNonFiniteWord(written), "a NaN or infinity in the file " + name + "\n" + context);
    }
  }
  const bool named = std::any_of(args.begin(), args.end(),
                                 [](const std::string& a) { return a.find("data.csv") != std::string::npos; });
  if (has_file && !named) {
    TSX_FUZZ_CHECK(ReadFile(run_dir + "/data.csv") == file, "the tool changed its data file\n" + context);
  }
  return 0;
}
