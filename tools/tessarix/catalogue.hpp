// The catalogue of pre-defined models as the tool lists and ranks it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace tessarix::tool {

struct CatalogueEntry {
  std::int32_t id = 0;
  std::string definition;      // the model language, e.g. "a*exp(b*x)"
  std::string description;     // may be empty
  std::int32_t variables = 1;  // x alone, or x1 .. xn
};

// Every pre-defined model of one variable, in ID order, from the library's own
// catalogue table, so the tool never carries a copy of it.
const std::vector<CatalogueEntry>& Catalogue();

// The pre-defined models that take `variables` independent variables: the
// catalogue above for 1, the models of MultipleNonlinearRegression in x1 ..
// xn for n of 2 or more (none for n above 50), in ID order.
std::vector<CatalogueEntry> CatalogueFor(std::int32_t variables);

// The entries whose ID, definition or description contains `word`, without
// regard to case; all entries for an empty word.
std::vector<CatalogueEntry> FindModels(const std::vector<CatalogueEntry>& entries, const std::string& word);

// The listing of `tessarix models`: one line per entry, ID, definition, description.
std::string ModelListing(const std::vector<CatalogueEntry>& entries);

}  // namespace tessarix::tool
