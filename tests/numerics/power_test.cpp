#include "tessarix/numerics/power.hpp"

#include <gtest/gtest.h>

#include <array>
#include <initializer_list>

#include "numerics/numerics_test_support.hpp"

using namespace tessarix::detail;
using tessarix::test::FailureOf;

TEST(Power, RealResultsAndTheFailuresWhereNoneExists) {
  EXPECT_EQ(Power(0.0, 0.0), 1.0);
  EXPECT_EQ(Power(0.0, 2.5), 0.0);
  EXPECT_EQ(Power(2.0, 10.0), 1024.0);
  EXPECT_EQ(Power(-2.0, 3.0), -8.0);
  EXPECT_EQ(Power(-2.0, -2.0), 0.25);
  EXPECT_EQ(Power(-3.0, 0.0), 1.0);
  EXPECT_DOUBLE_EQ(Power(8.0, 1.0 / 3.0), 2.0);
  EXPECT_EQ(Power(10.0, -400.0), 0.0);  // underflow is no fault
  EXPECT_EQ(FailureOf([] { (void)Power(-8.0, 1.0 / 3.0); }), "Invalid procedure call or argument");
  EXPECT_EQ(FailureOf([] { (void)Power(0.0, -1.0); }), "Invalid procedure call or argument");
  EXPECT_EQ(FailureOf([] { (void)Power(0.0, -0.5); }), "Invalid procedure call or argument");
  EXPECT_EQ(FailureOf([] { (void)Power(10.0, 400.0); }), "Overflow");
  EXPECT_EQ(FailureOf([] { (void)Power(-10.0, 401.0); }), "Overflow");
  // The Num form is the same routine.
  EXPECT_EQ(Power(Num(3.0), Num(2.0)).value(), 9.0);
  EXPECT_EQ(FailureOf([] { (void)Power(Num(-1.0), Num(0.5)); }), "Invalid procedure call or argument");
}

TEST(Power, PowerSumAddsExplicitPowersFromTheLowestDegree) {
  const std::array<double, 4> c = {1.0, -2.0, 0.5, 3.0};
  EXPECT_EQ(PowerSum(c, 2.0), 1.0 - 4.0 + 2.0 + 24.0);
  EXPECT_EQ(PowerSum(c, 0.0), 1.0);
  // The sum of powers rounds differently from the nested form: at y = 0.01
  // with these coefficients the two differ in the last bit, and the sum is
  // the defined value.
  const std::array<double, 3> d = {0.1, 0.7, 0.3};
  const double y = 0.01;
  const double sum_of_powers = (0.1 + 0.7 * y) + 0.3 * (y * y);
  const double nested = 0.1 + y * (0.7 + y * 0.3);
  ASSERT_NE(sum_of_powers, nested);
  EXPECT_EQ(PowerSum(d, y), sum_of_powers);
  EXPECT_EQ(FailureOf([&] { (void)PowerSum(c, 1e200); }), "Overflow");
}
