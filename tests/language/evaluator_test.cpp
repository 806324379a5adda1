#include <gtest/gtest.h>

#include <cmath>
#include <optional>

#include "language_support.hpp"

namespace tessarix::test {
namespace {

TEST(Evaluator, OperatorResults) {
  // Logical operators are bitwise on integers rounded half to even; out of the
  // 32-bit range, divisions by zero, no real result and overflow fail, and
  // underflow does not.
  CheckTable(R"(
    not 0 => -1 | not 1 => -2 | not 0.4 => -1 | not 2.5 => -3 | 3 and 5 => 1 | 3 or 5 => 7 | 3 xor 5 => 6
    3 eqv 5 => -7 | 5 imp 3 => -5 | 1.5 and 3 => 2 | 2<3 => -1 | 2<>2 => 0 | 2<=2 => -1 | 2>=3 => 0 | 2=2 => -1
    2>1 => -1 | 2.5 \ 1 => 2 | 3.5 \ 1 => 4 | -7 \ 2 => -3 | -7 mod 3 => -1 | 7 mod -3 => 1 | 0^0 => 1
    (-2147483647-1) mod -1 => 0 | (-8)^3 => -512 | exp(-1000) => 0 | 3e10 and 1 => fails | not 3e10 => fails
    5 mod 0 => fails | 5 \ 0 => fails | 5 \ 0.4 => fails | (-2147483647-1) \ -1 => fails | (-8)^(1/3) => fails
    0^-1 => fails | 2^1024 => fails | 1e308 + 1e308 => fails | 1e308*10 => fails | 1/0 => fails | 0/0 => fails
    ln(0) => fails | log(-1) => fails | sqr(-1) => fails | exp(1000) => fails | arcsin(2) => fails | cotan(0) => fails
  )");
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
