// The catalogue listing of `tessarix models` and the search in it.
#include "catalogue.hpp"

#include <gtest/gtest.h>

#include <algorithm>

namespace tessarix::tool {
namespace {

bool HasId(const std::vector<CatalogueEntry>& entries, std::int32_t id) {
  return std::any_of(entries.begin(), entries.end(), [id](const CatalogueEntry& e) { return e.id == id; });
}

TEST(Catalogue, HoldsEveryModelInIdOrder) {
  const auto& all = Catalogue();
  ASSERT_EQ(all.size(), 298u);
  for (std::size_t i = 0; i < all.size(); ++i) EXPECT_EQ(all[i].id, static_cast<std::int32_t>(i + 1));
  EXPECT_EQ(all[35].definition, "a*exp(b*x)");
  EXPECT_EQ(all[35].description, "Exponential");
  EXPECT_EQ(all[297].description, "");
}

TEST(FindModels, MatchesIdDefinitionOrDescriptionWithoutCase) {
  const auto& all = Catalogue();
  EXPECT_EQ(FindModels(all, "").size(), all.size());
  const auto exponential = FindModels(all, "EXPONENTIAL");
  EXPECT_TRUE(HasId(exponential, 36));
  EXPECT_TRUE(HasId(exponential, 37));  // Modified Exponential
  EXPECT_FALSE(HasId(exponential, 1));
  const auto by_text = FindModels(all, "x^b");
  EXPECT_TRUE(HasId(by_text, 34));  // a*x^b
  EXPECT_FALSE(HasId(by_text, 36));
  EXPECT_TRUE(HasId(FindModels(all, "36"), 36));
  EXPECT_TRUE(FindModels(all, "no such word").empty());
}

TEST(ModelListing, OneAlignedLinePerModelUnderAHeading) {
  const std::vector<CatalogueEntry> entries = {{1, "a*x+b", "First Order Polynomial"}, {26, "log(x-a)", ""}};
  EXPECT_EQ(ModelListing(entries),
            "  ID  Definition  Description\n"
            "   1  a*x+b       First Order Polynomial\n"
            "  26  log(x-a)\n");
}

}  // namespace
}  // namespace tessarix::tool
