// Writes the definition text of every pre-defined model of the catalogue as
// a seed of the model-text fuzz target: FOLDER/catalogue_NNN, NNN the model's
// ID, holding the text and nothing else. The seeds are made where they are
// used (by scripts/fuzz.sh and before ctest's replay), so they always follow
// the catalogue.
//
//   tessarix_fuzz_write_model_seeds FOLDER
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

#include "tessarix/models/predefined_models.hpp"

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: %s FOLDER\n", argv[0]);
    return 2;
  }
  const std::filesystem::path folder = argv[1];
  std::filesystem::create_directories(folder);
  std::size_t written = 0;
  for (const tessarix::PredefinedModelInfo& model : tessarix::PredefinedModels()) {
    char name[32];
    std::snprintf(name, sizeof name, "catalogue_%03d", static_cast<int>(model.ID));
    std::ofstream out(folder / name, std::ios::binary | std::ios::trunc);
    out << model.Definition;
    if (!out) {
      std::fprintf(stderr, "cannot write %s\n", (folder / name).string().c_str());
      return 1;
    }
    ++written;
  }
  std::printf("%zu catalogue seeds written to %s\n", written, folder.string().c_str());
  return 0;
}
