#include "tessarix/platform/checked.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "tessarix/platform/rounding.hpp"

using namespace tessarix::detail;

namespace {
std::string FaultOf(auto&& f) {
  try {
    f();
  } catch (const RuntimeFault& e) {
    return e.Description();
  }
  return "none";
}
}  // namespace

TEST(Checked, ClassifiesEveryNonFiniteStep) {
  const Num big(1e308);
  EXPECT_EQ(FaultOf([&] { (void)(big * 10.0); }), "Overflow");
  EXPECT_EQ(FaultOf([&] { (void)(big + big); }), "Overflow");
  EXPECT_EQ(FaultOf([] { (void)(Num(1.0) / 0.0); }), "Division by zero");
  EXPECT_EQ(FaultOf([] { (void)(Num(-3.0) / 0.0); }), "Division by zero");
  EXPECT_EQ(FaultOf([] { (void)(Num(0.0) / 0.0); }), "Invalid procedure call or argument");
  EXPECT_EQ(FaultOf([] { (void)sqrt(Num(-1.0)); }), "Invalid procedure call or argument");
  EXPECT_EQ(FaultOf([] { (void)log(Num(0.0)); }), "Invalid procedure call or argument");
  EXPECT_EQ(FaultOf([] { (void)log(Num(-2.0)); }), "Invalid procedure call or argument");
  EXPECT_EQ(FaultOf([] { (void)exp(Num(710.0)); }), "Overflow");
  EXPECT_EQ(FaultOf([] { (void)Checked(std::numeric_limits<double>::quiet_NaN()); }),
            "Invalid procedure call or argument");
  // An overflow in an inner step fails even where the outer value would be finite.
  EXPECT_EQ(FaultOf([] { (void)exp(-exp(Num(1000.0))); }), "Overflow");
}

TEST(Checked, UnderflowIsNotAFault) {
  EXPECT_EQ(exp(Num(-1000.0)).value(), 0.0);
  const double tiny = std::numeric_limits<double>::denorm_min();
  EXPECT_EQ((Num(tiny) / 2.0).value(), 0.0);
  EXPECT_EQ((Num(1e-200) * 1e-200).value(), 0.0);
  Num x = 2.0;
  x *= 3.0;
  x -= 1.0;
  EXPECT_EQ(x.value(), 5.0);
  EXPECT_TRUE(Num(1.0) < Num(2.0));
}

TEST(Rounding, HalfToEvenAtTiesAndBounds) {
  EXPECT_EQ(RoundToInt32(0.5), 0);
  EXPECT_EQ(RoundToInt32(1.5), 2);
  EXPECT_EQ(RoundToInt32(2.5), 2);
  EXPECT_EQ(RoundToInt32(-0.5), 0);
  EXPECT_EQ(RoundToInt32(-1.5), -2);
  EXPECT_EQ(RoundToInt32(-2.5), -2);
  EXPECT_EQ(RoundToInt32(2.5000001), 3);
  EXPECT_EQ(RoundToInt32(-2.4999999), -2);
  EXPECT_EQ(RoundToInt16(32767.4), 32767);
  EXPECT_EQ(RoundToInt16(-32768.5), -32768);
  EXPECT_EQ(FaultOf([] { (void)RoundToInt16(32767.5); }), "Overflow");
  EXPECT_EQ(FaultOf([] { (void)RoundToInt16(-32769.0); }), "Overflow");
  EXPECT_EQ(RoundToInt32(2147483647.4), 2147483647);
  EXPECT_EQ(RoundToInt32(-2147483648.5), -2147483648);
  EXPECT_EQ(FaultOf([] { (void)RoundToInt32(2147483647.5); }), "Overflow");
  EXPECT_EQ(FaultOf([] { (void)RoundToInt32(std::numeric_limits<double>::quiet_NaN()); }), "Overflow");
}

TEST(Rounding, Counter16FaultsOnOverflow) {
  std::int16_t c = 32766;
  IncrementCounter16(c);
  EXPECT_EQ(c, 32767);
  EXPECT_EQ(FaultOf([&] { IncrementCounter16(c); }), "Overflow");
  EXPECT_EQ(c, 32767);
  EXPECT_EQ(FaultOf([] { (void)ToCounter16(40000); }), "Overflow");
}
