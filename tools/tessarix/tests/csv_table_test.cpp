// The CSV writer of result tables.
#include "csv_table.hpp"

#include <gtest/gtest.h>

#include <cstdlib>
#include <sstream>
#include <tessarix/data/data_collection.hpp>
#include <tessarix/data/data_series.hpp>
#include <vector>

namespace tessarix::tool {
namespace {

TEST(ResultTableCsv, QuotesNamesAndWritesNumbersThatReadBackExactly) {
  DataCollection tables;
  const std::vector<double> x = {0.1, 1e-300, -2.5e17};
  const std::vector<double> y = {1.0 / 3.0, 2.0, 123456789.123456789};
  tables.AddSeries("time, s")->ImportFromArray(x);
  tables.AddSeries("say \"hi\"")->ImportFromArray(y);
  tables.AddSeries("Residuals")->ImportFromArray(std::vector<double>{1.0});

  std::istringstream csv(ResultTableCsv(tables));
  std::string line;
  std::getline(csv, line);
  EXPECT_EQ(line, "\"time, s\",\"say \"\"hi\"\"\",Residuals");
  for (std::size_t i = 0; i < x.size(); ++i) {
    ASSERT_TRUE(std::getline(csv, line));
    std::istringstream fields(line);
    std::string a, b, c;
    std::getline(fields, a, ',');
    std::getline(fields, b, ',');
    std::getline(fields, c);
    EXPECT_EQ(std::strtod(a.c_str(), nullptr), x[i]) << line;
    EXPECT_EQ(std::strtod(b.c_str(), nullptr), y[i]) << line;
    // A shorter column leaves its later fields empty.
    EXPECT_EQ(c, i == 0 ? "1" : "") << line;
  }
  EXPECT_FALSE(std::getline(csv, line));
}

}  // namespace
}  // namespace tessarix::tool
