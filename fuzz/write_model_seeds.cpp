// Writes the definition text of every pre-defined model of the catalogue as
// a seed of the model-text fuzz target: FOLDER/catalogue_NNN, NNN the model's
// ID, holding the text and nothing else.
//
//   tessarix_fuzz_write_model_seeds FOLDER           write (replace) the seeds
//   tessarix_fuzz_write_model_seeds --check FOLDER   exit 1 if they differ
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <string>

#include "tessarix/models/predefined_models.hpp"

namespace {

std::string SeedName(std::int32_t id) {
  char name[32];
  std::snprintf(name, sizeof name, "catalogue_%03d", static_cast<int>(id));
  return name;
}

std::string Read(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

}  // namespace

int main(int argc, char** argv) {
  const bool check = argc == 3 && std::string(argv[1]) == "--check";
  if (argc != 2 && !check) {
    std::fprintf(stderr, "usage: %s [--check] FOLDER\n", argv[0]);
    return 2;
  }
  const std::filesystem::path folder = argv[argc - 1];
  std::set<std::string> expected;
  int stale = 0;
  for (const tessarix::PredefinedModelInfo& model : tessarix::PredefinedModels()) {
    const std::string name = SeedName(model.ID);
    expected.insert(name);
    const std::filesystem::path path = folder / name;
    if (check) {
      if (Read(path) != model.Definition) {
        std::fprintf(stderr, "stale seed: %s\n", path.string().c_str());
        ++stale;
      }
    } else {
      std::ofstream(path, std::ios::binary | std::ios::trunc) << model.Definition;
    }
  }
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    const std::string name = entry.path().filename().string();
    if (name.rfind("catalogue_", 0) == 0 && expected.count(name) == 0) {
      if (check) {
        std::fprintf(stderr, "seed of no model: %s\n", entry.path().string().c_str());
        ++stale;
      } else {
        std::filesystem::remove(entry.path());
      }
    }
  }
  if (check && stale > 0) {
    std::fprintf(stderr, "run tessarix_fuzz_write_model_seeds %s to renew them\n", folder.string().c_str());
    return 1;
  }
  std::printf("%zu catalogue seeds %s\n", expected.size(), check ? "current" : "written");
  return 0;
}
