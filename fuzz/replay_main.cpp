// Runs a fuzz target over files, without libFuzzer: the test suite replays
// the seed corpora and the inputs of past findings with any compiler.
//
//   tessarix_fuzz_replay_<target> FILE_OR_FOLDER...
//
// A folder stands for the files in it (not recursively), in name order. A
// broken promise aborts, so the test fails on the input that broke it; the
// name of each input is printed before it runs.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int main(int argc, char** argv) {
  std::vector<std::filesystem::path> inputs;
  for (int i = 1; i < argc; ++i) {
    const std::filesystem::path path(argv[i]);
    if (std::filesystem::is_directory(path)) {
      std::vector<std::filesystem::path> files;
      for (const auto& entry : std::filesystem::directory_iterator(path)) {
        if (entry.is_regular_file()) files.push_back(entry.path());
      }
      std::sort(files.begin(), files.end());
      inputs.insert(inputs.end(), files.begin(), files.end());
    } else if (std::filesystem::is_regular_file(path)) {
      inputs.push_back(path);
    } else {
      std::fprintf(stderr, "replay: no such file or folder: %s\n", argv[i]);
      return 2;
    }
  }
  for (const auto& path : inputs) {
    std::ifstream in(path, std::ios::binary);
    const std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    std::printf("replay: %s (%zu bytes)\n", path.string().c_str(), bytes.size());
    std::fflush(stdout);
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
  }
  std::printf("replay: %zu inputs, no broken promise\n", inputs.size());
  return 0;
}
