#include "catalogue.hpp"

#include <algorithm>
#include <cctype>
#include <tessarix/models/predefined_models.hpp>

#include "text_format.hpp"

namespace tessarix::tool {

namespace {

std::string Lower(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return text;
}

std::vector<CatalogueEntry> ReadCatalogue() {
  std::vector<CatalogueEntry> entries;
  for (const PredefinedModelInfo& model : PredefinedModels()) {
    entries.push_back({model.ID, model.Definition, model.Description});
  }
  return entries;
}

}  // namespace

const std::vector<CatalogueEntry>& Catalogue() {
  static const std::vector<CatalogueEntry> entries = ReadCatalogue();
  return entries;
}

std::vector<CatalogueEntry> CatalogueFor(std::int32_t variables) {
  if (variables == 1) return Catalogue();
  std::vector<CatalogueEntry> entries;
  for (const PredefinedModelInfo& model : PredefinedMultipleModels()) {
    if (model.NumIndependentVariables == variables) {
      entries.push_back({model.ID, model.Definition, model.Description, variables});
    }
  }
  return entries;
}

std::vector<CatalogueEntry> FindModels(const std::vector<CatalogueEntry>& entries, const std::string& word) {
  const std::string needle = Lower(word);
  std::vector<CatalogueEntry> found;
  for (const CatalogueEntry& e : entries) {
    if (needle.empty() || std::to_string(e.id) == needle || Lower(e.definition).find(needle) != std::string::npos ||
        Lower(e.description).find(needle) != std::string::npos) {
      found.push_back(e);
    }
  }
  return found;
}

std::string ModelListing(const std::vector<CatalogueEntry>& entries) {
  std::size_t width = 10;
  for (const CatalogueEntry& e : entries) width = std::max(width, DisplayWidth(e.definition));
  width = std::min<std::size_t>(width, 60);
  std::string out = PadLeft("ID", 4) + "  " + PadRight("Definition", width) + "  Description\n";
  for (const CatalogueEntry& e : entries) {
    std::string line = PadLeft(std::to_string(e.id), 4) + "  " + CleanText(e.definition);
    if (!e.description.empty()) {
      line = PadRight(line, width + 6) + "  " + CleanText(e.description);
    }
    out += line + '\n';
  }
  return out;
}

}  // namespace tessarix::tool
