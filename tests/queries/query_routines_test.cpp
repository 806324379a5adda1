// The numerical routines behind the queries, on plain functions.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "tessarix/numerics/adjacent_duplicates.hpp"
#include "tessarix/numerics/internal_failure.hpp"
#include "tessarix/queries/find_roots.hpp"
#include "tessarix/queries/ridder_derivative.hpp"
#include "tessarix/queries/romberg_integrate.hpp"

namespace tessarix::detail {
namespace {

TEST(RemoveAdjacentDuplicates, KeepsFirstOfEachRunOfExactlyEqualValues) {
  const std::vector<double> v{1.0, 1.0, 2.0, std::nextafter(2.0, 3.0), 2.0, 2.0};
  EXPECT_EQ(RemoveAdjacentDuplicates(v), (std::vector<double>{1.0, 2.0, std::nextafter(2.0, 3.0), 2.0}));
  EXPECT_TRUE(RemoveAdjacentDuplicates({}).empty());
}

TEST(PolynomialExtrapolate, ExactForPolynomialsAndRefusesEqualAbscissas) {
  // Five points of 3 - 2h + h^4, extrapolated to h = 0.
  const double xa[6] = {0, 1.0, 0.5, 0.25, 0.125, 0.0625};
  double ya[6] = {0};
  for (int i = 1; i <= 5; ++i) ya[i] = 3 - 2 * xa[i] + std::pow(xa[i], 4);
  double y = 0, dy = 0;
  PolynomialExtrapolate(xa, ya, 5, 0.0, y, dy);
  EXPECT_NEAR(y, 3.0, 1e-14);
  EXPECT_LT(std::fabs(dy), 1e-3);
  const double same[3] = {0, 1.0, 1.0};
  EXPECT_THROW(PolynomialExtrapolate(same, ya, 2, 0.0, y, dy), InternalFailure);
}

TEST(RombergIntegrate, StopsAtTheToleranceOrAfterTwentyStages) {
  int evaluations = 0;
  const auto cubic = [&](double x, double& y) {
    ++evaluations;
    y = x * x * x;
    return true;
  };
  EXPECT_NEAR(RombergIntegrate(cubic, 0.0, 2.0), 4.0, 1e-12);
  EXPECT_EQ(evaluations, 17);  // five stages: 2 + 1 + 2 + 4 + 8
  // sqrt has an infinite slope at 0: the error estimate is poor, and the
  // result holds fewer digits than the tolerance promises.
  evaluations = 0;
  const auto root = [&](double x, double& y) {
    ++evaluations;
    y = std::sqrt(x);
    return true;
  };
  const double v = RombergIntegrate(root, 0.0, 1.0);
  EXPECT_NEAR(v, 2.0 / 3.0, 1e-4);
  EXPECT_LE(evaluations, (1 << 19) + 1);
  const auto fails = [](double x, double& y) {
    y = x;
    return x < 0.7;
  };
  EXPECT_THROW(RombergIntegrate(fails, 0.0, 1.0), InternalFailure);
}

TEST(RidderDerivative, ExtrapolatesWithTheSquareOfTheStepRatioAsComputed) {
  // The x-derivative squares 1.4 in double arithmetic (1.9599999999999997),
  // where the parameter derivatives use the constant 1.96. At this point the
  // two give answers a few units of the last place apart.
  const auto f = [](double t, double& y) {
    y = std::exp(std::sin(3.0 * t));
    return true;
  };
  double derivative = 0.0;
  ASSERT_TRUE(RidderDerivative(f, 2.0, derivative));
  Matrix1 table(10, 10);
  double computed = 0.0;
  double constant = 0.0;
  ASSERT_TRUE(ExtrapolatedDerivative(f, 2.0, 1.4 * 1.4, table, computed));
  ASSERT_TRUE(ExtrapolatedDerivative(f, 2.0, 1.96, table, constant));
  EXPECT_EQ(derivative, computed);
  EXPECT_NE(computed, constant);
  EXPECT_NEAR(derivative, 3.0 * std::cos(6.0) * std::exp(std::sin(6.0)), 1e-9);
}

TEST(FindRoots, BracketsAndBisection) {
  const auto f = [](double x, double& y) {
    y = std::sin(x);
    return true;
  };
  const std::vector<double> roots = FindRoots(f, -1.0, 10.0, 0.0, 100);
  ASSERT_EQ(roots.size(), 4u);
  for (int k = 0; k < 4; ++k) EXPECT_NEAR(roots[static_cast<std::size_t>(k)], k * M_PI, 1e-14);
  // The last interval ends exactly at the upper bound.
  std::vector<double> left, right;
  BracketRoots(f, 0.5, 0.5 + M_PI, 0.0, 3, left, right);
  ASSERT_EQ(right.size(), 1u);
  EXPECT_EQ(right[0], 0.5 + M_PI);
  // A product that overflows throws every bracket away, the one already
  // found between 0 and 0.5 too.
  const auto huge = [](double x, double& y) {
    y = x < 0.5 ? -1.0 : (x < 1.5 ? 1e300 : -1e300);
    return true;
  };
  BracketRoots(huge, 0.0, 0.5, 0.0, 4, left, right);
  EXPECT_EQ(left.size(), 1u);
  BracketRoots(huge, 0.0, 2.0, 0.0, 4, left, right);
  EXPECT_TRUE(left.empty());
  // The scan's arithmetic as it stands, kept on purpose. A bracket's left end
  // is x - dx, which here lands an ulp below the lower bound 1, and the
  // refined root with it.
  const auto line = [](double x, double& y) {
    y = x + 2.0;
    return true;
  };
  EXPECT_EQ(FindRoots(line, 1.0529411764705883, 1.0, 3.0, 15), std::vector<double>{std::nextafter(1.0, 0.0)});
  // A curve equal to the target on [1.5, 2.5] hits scan points; where the
  // accumulated scan point and the next x - dx differ in the last bit, both
  // are kept (only exactly equal neighbours are one root).
  const auto step = [](double x, double& y) {
    y = x < 1.5 ? x + 2.5 : (x <= 2.5 ? 4.0 : x + 1.5);
    return true;
  };
  const std::vector<double> flat = FindRoots(step, 4.0, 0.5, 4.0, 20);
  ASSERT_EQ(flat.size(), 7u);
  EXPECT_EQ(flat[2], 1.9000000000000004);
  EXPECT_EQ(flat[3], 1.9000000000000001);
  // A scan that starts late, past failed points, still takes all its steps:
  // it runs beyond the upper bound, finds the root at 4.5 there, and then
  // comes back to its last point, the bound, whose bracket reports 4.
  const auto late = [](double x, double& y) {
    y = x - 4.5;
    return x > 0.5;
  };
  EXPECT_EQ(FindRoots(late, -1.0, 4.0, 0.0, 5), (std::vector<double>{4.5, 4.0}));
  // Bisection fails after 100 halvings when the tolerance cannot be met.
  double r = 0;
  EXPECT_FALSE(RefineRoot(f, 3.0, 3.5, 0.0, 0.0, r));
  EXPECT_TRUE(RefineRoot(f, 3.0, 3.5, 0.0, 1e-12, r));
  EXPECT_NEAR(r, M_PI, 1e-12);
}

}  // namespace
}  // namespace tessarix::detail
