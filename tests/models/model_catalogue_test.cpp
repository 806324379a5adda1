// The catalogue against its reviewed expectation, golden/predefined_models.txt:
// every row's texts, counts, code and label, through the public listing and
// the catalogue lookup alike.
#include "tessarix/models/model_catalogue.hpp"

#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

#include "tessarix/models/predefined_models.hpp"

namespace tessarix::detail {
namespace {

std::vector<std::string> GoldenLines() {
  std::ifstream in(TESSARIX_SOURCE_DIR "/tests/models/golden/predefined_models.txt");
  EXPECT_TRUE(in.is_open());
  std::vector<std::string> lines;
  for (std::string line; std::getline(in, line);) {
    if (!line.empty() && line[0] != '#') lines.push_back(line);
  }
  return lines;
}

// The line of a model as the golden file writes it.
std::string LineOf(const PredefinedModelInfo& listed, const InternalModelEntry& entry) {
  return std::to_string(listed.ID) + " | " + std::to_string(listed.NumParameters) + " | " +
         std::to_string(entry.estimate_term_count) + " | " + std::to_string(entry.evaluation_code) + " | " +
         listed.Definition + " | " + listed.Description + " | " + std::string(entry.file_label);
}

TEST(ModelCatalogue, EveryRowAsReviewed) {
  const std::vector<std::string> golden = GoldenLines();
  const std::vector<PredefinedModelInfo>& listing = PredefinedModels();
  ASSERT_EQ(golden.size(), 298u);
  ASSERT_EQ(listing.size(), 298u);
  for (std::size_t k = 0; k < listing.size(); ++k) {
    const PredefinedModelInfo& listed = listing[k];
    SCOPED_TRACE(listed.ID);
    const InternalModelEntry* entry = FindInternalModel(listed.ID);
    ASSERT_NE(entry, nullptr);
    // The listing and the catalogue are one source.
    EXPECT_EQ(listed.ID, static_cast<std::int32_t>(k + 1));
    EXPECT_EQ(listed.Definition, entry->definition);
    EXPECT_EQ(listed.Description, entry->description);
    EXPECT_EQ(listed.NumParameters, ParameterCountOfCode(entry->evaluation_code));
    EXPECT_EQ(listed.NumIndependentVariables, 1);
    EXPECT_EQ(LineOf(listed, *entry), golden[k]);
  }
}

}  // namespace
}  // namespace tessarix::detail
