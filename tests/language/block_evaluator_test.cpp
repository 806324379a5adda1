// The block evaluator against the evaluator point by point: the same bits in
// every row, the same failing row, over random programs, every catalogue
// definition and faults placed inside a block.
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "language_support.hpp"
#include "tessarix/core/nonlinear_regression.hpp"
#include "tessarix/models/predefined_models.hpp"

namespace tessarix::test {
namespace {

// Rows done point by point on `single` and by blocks on `blocks` (defined
// alike) agree: count, failing row, every value bit for bit. Returns whether
// the program ran by blocks.
bool ExpectSameRows(LanguageModel& single, LanguageModel& blocks, const std::vector<double>& points, std::int32_t width,
                    const std::string& what) {
  const auto rows = static_cast<std::int32_t>(points.size()) / width;
  std::vector<double> expected(static_cast<std::size_t>(rows));
  std::int32_t done = 0;
  for (; done < rows; ++done) {
    const std::vector<double> point(points.begin() + done * width, points.begin() + (done + 1) * width);
    const std::optional<double> v = single.At(point);
    if (!v) break;
    expected[static_cast<std::size_t>(done)] = *v;
  }
  std::vector<double> got;
  EXPECT_EQ(blocks.Block(points, width, got), done) << what;
  for (std::int32_t r = 0; r < done; ++r) {
    const auto ur = static_cast<std::size_t>(r);
    if (std::bit_cast<std::uint64_t>(got[ur]) != std::bit_cast<std::uint64_t>(expected[ur])) {
      ADD_FAILURE() << what << " row " << r << ": " << got[ur] << " vs " << expected[ur];
      break;
    }
  }
  return blocks.RunsByBlocks();
}

std::vector<double> Grid(std::int32_t rows, std::int32_t width, double start, double step) {
  std::vector<double> points;
  for (std::int32_t r = 0; r < rows; ++r) {
    for (std::int32_t j = 0; j < width; ++j) points.push_back(start + step * r + 0.37 * j);
  }
  return points;
}

// The rows of a one-column grid in a scattered order (389 is prime to the
// counts used), so that the points of every block take both branches of a
// conditional, lane by lane.
std::vector<double> Scrambled(const std::vector<double>& points) {
  std::vector<double> out(points.size());
  for (std::size_t r = 0; r < points.size(); ++r) out[r] = points[r * 389 % points.size()];
  return out;
}

TEST(BlockEvaluator, RandomProgramsMatchPointByPoint) {
  std::mt19937 gen(20261124);
  for (const bool several : {false, true}) {
    const std::int32_t width = several ? 3 : 1;
    int by_blocks = 0, failing = 0;
    for (int i = 0; i < 600; ++i) {
      std::string y = RandomExpr(gen, 0, several);
      y.insert(0, several ? "a*x1+x2*" : "a*x+");
      const std::vector<std::string> subs = {RandomExpr(gen, 2, several), RandomExpr(gen, 2, several)};
      // "rnd" draws from one generator shared by both models.
      if ((y + subs[0] + subs[1]).find("rnd") != std::string::npos) continue;
      LanguageModel single(EnglishSeparators(), several ? 1 : 0), blocks(EnglishSeparators(), several ? 1 : 0);
      try {
        single.Define(y, subs);
        blocks.Define(y, subs);
      } catch (...) {
        continue;
      }
      single.SetParameters({0.7, -1.3, 2.0, 0.4, 1.1});
      blocks.SetParameters({0.7, -1.3, 2.0, 0.4, 1.1});
      // 150 rows: two full blocks and a short one, across x = 0.
      const std::vector<double> points = Grid(150, width, -1.5, 0.02);
      if (ExpectSameRows(single, blocks, points, width, y)) ++by_blocks;
      std::vector<double> unused;
      if (blocks.Block(points, width, unused) < 150) ++failing;
    }
    EXPECT_GT(by_blocks, 100) << several;  // the generator reaches programs that run by blocks
    EXPECT_GT(failing, 10) << several;     // and programs that fail inside a block
  }
}

TEST(BlockEvaluator, CatalogueDefinitionsMatchPointByPoint) {
  int by_blocks = 0;
  for (const PredefinedModelInfo& info : PredefinedModels()) {
    LanguageModel single, blocks;
    single.Define(info.Definition);
    blocks.Define(info.Definition);
    // Parameters near 1, so that most definitions succeed over the grid.
    const std::initializer_list<double> values = {1.1, 0.9, 0.7, 1.3, 0.5, 1.2, 0.8, 0.6, 1.4, 0.3};
    single.SetParameters(values);
    blocks.SetParameters(values);
    if (ExpectSameRows(single, blocks, Grid(200, 1, 0.05, 0.025), 1, info.Definition)) ++by_blocks;
  }
  EXPECT_GT(by_blocks, 200);
}

TEST(BlockEvaluator, FaultsStopAtTheirRow) {
  // A division by zero at x = 3 (row 103 of a grid from -100), a square root
  // of a negative number from row 201, an integer conversion out of range,
  // a logarithm of 0 in a sub-definition saved and read again, an overflow
  // of exp from x = 89.
  const std::vector<std::pair<std::string, std::vector<std::string>>> cases = {
      {"a/(x-3)", {}},      {"a*sqr(100-x)", {}}, {"a*((x+80)*1e8 mod 7)", {}}, {"a+F1*F1", {"ln(x-50)+x"}},
      {"a*exp(x*8)+1", {}},
  };
  for (const auto& [y, subs] : cases) {
    LanguageModel single, blocks;
    single.Define(y, subs);
    blocks.Define(y, subs);
    single.SetParameters({2.0});
    blocks.SetParameters({2.0});
    EXPECT_TRUE(ExpectSameRows(single, blocks, Grid(300, 1, -100.0, 1.0), 1, y)) << y;
    std::vector<double> got;
    EXPECT_LT(blocks.Block(Grid(300, 1, -100.0, 1.0), 1, got), 300) << y;
  }
  // A point that is not a number fails its row's first step with it, even
  // where a comparison would hide it from the result.
  for (const std::string y : {"(x*a>1)+a", "a*x+1"}) {
    LanguageModel single, blocks;
    single.Define(y);
    blocks.Define(y);
    single.SetParameters({2.0});
    blocks.SetParameters({2.0});
    std::vector<double> points = Grid(300, 1, -1.5, 0.01);
    points[70] = std::nan("");
    EXPECT_TRUE(ExpectSameRows(single, blocks, points, 1, y)) << y;
    std::vector<double> got;
    EXPECT_EQ(blocks.Block(points, 1, got), 70) << y;
  }
  // A value saved inside a conditional and read where the branch was not
  // taken is the one the last point that took it saved (or the previous
  // call's): the first points read 0, then the value of the block before,
  // then, on the second call, the last point of the first.
  for (const auto& [y, sub] : std::vector<std::pair<std::string, std::string>>{
           {"if(x>0,F1,a)+F1", "x^2"}, {"if(x<0.5,if(x>-0.3,F1,2),3)+F1*a", "exp(x)"}}) {
    LanguageModel single, blocks;
    single.Define(y, {sub});
    blocks.Define(y, {sub});
    single.SetParameters({2.0});
    blocks.SetParameters({2.0});
    for (const double start : {-4.5, -1.5, 1.0}) {
      EXPECT_TRUE(ExpectSameRows(single, blocks, Grid(700, 1, start, 0.01), 1, y)) << start;
    }
    EXPECT_TRUE(ExpectSameRows(single, blocks, Scrambled(Grid(700, 1, -1.5, 0.01)), 1, y)) << y;
  }
  // Conditionals run by blocks: a fault in the branch a point does not take
  // is no fault, one in the branch it takes (x = 0 at row 150) is.
  // Overflows, divisions by zero and integer conversions out of range in
  // the branch not taken too.
  for (const std::string y : {"if(x>0,a*ln(x),a*ln(-x))+if(x<1,if(x<-1,1,2),3)", "if(x>0,a*x,a/x)",
                              "if(x<50,a*exp(x*20),x)", "if(x<>3,a/(x-3)+1/x,0)", "if(x>-1e9,a,(x*1e9)\\2)"}) {
    LanguageModel single, blocks;
    single.Define(y);
    blocks.Define(y);
    single.SetParameters({2.0});
    blocks.SetParameters({2.0});
    EXPECT_TRUE(ExpectSameRows(single, blocks, Grid(300, 1, -1.505, 0.01), 1, y)) << y;
    EXPECT_TRUE(ExpectSameRows(single, blocks, Grid(300, 1, -150.0, 1.0), 1, y)) << y;
    EXPECT_TRUE(ExpectSameRows(single, blocks, Scrambled(Grid(300, 1, -1.505, 0.01)), 1, y)) << y;
  }
  std::vector<double> got;
  LanguageModel pole;
  pole.Define("if(x>0,a*x,a/x)");
  pole.SetParameters({2.0});
  EXPECT_EQ(pole.Block(Grid(300, 1, -150.0, 1.0), 1, got), 150);
}

TEST(BlockEvaluator, PredictArrayFailsWhereTheLoopFails) {
  NonlinearRegression reg;
  reg.DefineUserModel("a*exp(b*x)/(x-c)");
  const auto parameters = reg.RegressionParameters();
  const double values[] = {2.0, 0.3, 40.0};
  for (std::int32_t j = 1; j <= 3; ++j) {
    parameters->Item(j)->SetInitialEstimate(values[j - 1]);
    parameters->Item(j)->SetInitialEstimateType(tsxEstimateConstant);
  }
  std::vector<double> x, y;
  for (int i = 0; i < 10; ++i) {
    x.push_back(0.5 * i);
    y.push_back(2.0 * std::exp(0.3 * x.back()) / (x.back() - 40.0));
  }
  reg.Fit(x, y);
  ASSERT_TRUE(reg.IsSolved()) << reg.LastSolveError();
  std::vector<double> grid;
  for (int i = 0; i < 700; ++i) grid.push_back(-3.0 + 0.05 * i);  // passes x = 40 at i = 860: not reached
  const std::vector<double> got = reg.PredictArray(grid);
  ASSERT_EQ(got.size(), grid.size());
  for (std::size_t i = 0; i < grid.size(); ++i) {
    EXPECT_EQ(std::bit_cast<std::uint64_t>(got[i]), std::bit_cast<std::uint64_t>(reg.PredictValue(grid[i]))) << i;
  }
  grid.push_back(40.0);
  EXPECT_TSX_CODE(reg.PredictArray(grid), 10030);
}

}  // namespace
}  // namespace tessarix::test
