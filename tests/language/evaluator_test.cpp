#include <gtest/gtest.h>

#include <cmath>
#include <optional>

#include "language_support.hpp"

namespace tessarix::test {
namespace {

constexpr std::optional<double> kFails = std::nullopt;

TEST(Evaluator, OperatorResults) {
  CheckValues({
      // Logical operators are bitwise on integers rounded half to even.
      {"not 0", -1.0},
      {"not 1", -2.0},
      {"not 0.4", -1.0},
      {"not 2.5", -3.0},
      {"3 and 5", 1.0},
      {"3 or 5", 7.0},
      {"3 xor 5", 6.0},
      {"3 eqv 5", -7.0},
      {"5 imp 3", -5.0},
      {"1.5 and 3", 2.0},
      {"2<3", -1.0},
      {"2<>2", 0.0},
      {"2<=2", -1.0},
      {"2>=3", 0.0},
      {"2=2", -1.0},
      {"2>1", -1.0},
      {"2.5 \\ 1", 2.0},
      {"3.5 \\ 1", 4.0},
      {"-7 \\ 2", -3.0},
      {"-7 mod 3", -1.0},
      {"7 mod -3", 1.0},
      {"(-2147483647-1) mod -1", 0.0},
      {"0^0", 1.0},
      {"(-8)^3", -512.0},
      {"exp(-1000)", 0.0},  // underflow is no fault
      // Out of the 32-bit range, divisions by zero, no real result, overflow.
      {"3e10 and 1", kFails},
      {"not 3e10", kFails},
      {"5 mod 0", kFails},
      {"5 \\ 0", kFails},
      {"5 \\ 0.4", kFails},
      {"(-2147483647-1) \\ -1", kFails},
      {"(-8)^(1/3)", kFails},
      {"0^-1", kFails},
      {"2^1024", kFails},
      {"1e308 + 1e308", kFails},
      {"1e308*10", kFails},
      {"1/0", kFails},
      {"0/0", kFails},
      {"ln(0)", kFails},
      {"log(-1)", kFails},
      {"sqr(-1)", kFails},
      {"exp(1000)", kFails},
      {"arcsin(2)", kFails},
      {"cotan(0)", kFails},
  });
}

TEST(Evaluator, ConditionalTakesOnlyMinusOneAsTrue) {
  LanguageModel m;
  m.Define("if(x,a,b)");
  EXPECT_EQ(m.Eval(1.0, {10.0, 20.0}), 20.0);
  EXPECT_EQ(m.Eval(-1.0, {10.0, 20.0}), 10.0);
  EXPECT_EQ(m.Eval(-1.0000001, {10.0, 20.0}), 20.0);
  EXPECT_EQ(Calc("if(1,2,3)"), 3.0);
  // The branch not taken is not evaluated.
  EXPECT_EQ(Calc("if(x=0,0,1/x)", 0.0), 0.0);
  EXPECT_EQ(Calc("if(x>0,ln(x),0)", 0.0), 0.0);
  EXPECT_EQ(Calc("if(x<=0,0,ln(x))+if(x>0,1,2)*10", 0.0), 20.0);
  // A step function by comparison: -a past the step.
  LanguageModel step;
  step.Define("a*(x>b)");
  EXPECT_EQ(step.Eval(1.0, {3.0, 2.0}), 0.0);
  EXPECT_EQ(step.Eval(5.0, {3.0, 2.0}), -3.0);
  // Fused pushes and operators read x, parameters and constants alike.
  LanguageModel fused;
  fused.Define("((x+a)*x-b)/x+1.5*a-x/b-2+x");
  EXPECT_EQ(fused.Eval(2.0, {3.0, 4.0}), ((2.0 + 3.0) * 2.0 - 4.0) / 2.0 + 1.5 * 3.0 - 2.0 / 4.0 - 2.0 + 2.0);
  EXPECT_EQ(fused.Eval(0.0, {3.0, 4.0}), std::nullopt);
}

TEST(Evaluator, DataWordsReadTheStatisticsOfTheRun) {
  LanguageModel m;
  m.Define("a*x+XMEAN+ystd*10+yrange*100");
  m.Stats().xmean = 2.0;
  m.Stats().ystd = 3.0;
  m.Stats().ymin = 1.0;
  m.Stats().ymax = 5.0;
  EXPECT_EQ(m.Eval(1.0, {1.0}), 1.0 + 2.0 + 30.0 + 400.0);
  m.Stats().xmean = -1.0;  // refreshed between fits: read at each evaluation
  EXPECT_EQ(m.Eval(1.0, {1.0}), 1.0 - 1.0 + 30.0 + 400.0);
  m.Stats().ymax = 1.7e308;
  m.Stats().ymin = -1.7e308;
  EXPECT_EQ(m.Eval(1.0, {1.0}), std::nullopt);  // the range overflows
}

TEST(Evaluator, BrokenProgramsFailInsteadOfReadingOutsideTheStack) {
  // A failed definition leaves partial records; a later good one appends to
  // them and the evaluator runs everything.
  LanguageModel m;
  EXPECT_TSX_CODE(m.Define("max("), 10015);
  m.Define("a*x");
  EXPECT_EQ(m.Eval(2.0, {3.0}), std::nullopt);

  LanguageModel cond;
  EXPECT_TSX_CODE(cond.Define("if(x>0,a"), 10015);
  cond.Define("b*x");  // the old "if" has no jump table
  EXPECT_EQ(cond.Eval(2.0, {3.0}), std::nullopt);

  LanguageModel kept;
  EXPECT_TSX_CODE(kept.Define("a+("), 10015);
  kept.Define("a*x");  // the old "a" gets index 1 again, "+" has two cells
  EXPECT_EQ(kept.Eval(2.0, {3.0}), 6.0);
}

}  // namespace
}  // namespace tessarix::test
