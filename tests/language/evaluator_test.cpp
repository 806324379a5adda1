#include <gtest/gtest.h>

#include <cmath>

#include "language_support.hpp"

namespace tessarix::test {
namespace {

TEST(Evaluator, LogicalOperatorsOnHalfEvenIntegers) {
  EXPECT_EQ(Calc("not 0"), -1.0);
  EXPECT_EQ(Calc("not 1"), -2.0);
  EXPECT_EQ(Calc("not 0.4"), -1.0);  // 0.4 rounds to 0
  EXPECT_EQ(Calc("not 2.5"), -3.0);  // 2.5 rounds to 2
  EXPECT_EQ(Calc("3 and 5"), 1.0);
  EXPECT_EQ(Calc("3 or 5"), 7.0);
  EXPECT_EQ(Calc("3 xor 5"), 6.0);
  EXPECT_EQ(Calc("3 eqv 5"), -7.0);
  EXPECT_EQ(Calc("5 imp 3"), -5.0);
  EXPECT_EQ(Calc("1.5 and 3"), 2.0);  // 1.5 rounds to 2
  EXPECT_EQ(Calc("2<3"), -1.0);
  EXPECT_EQ(Calc("2<>2"), 0.0);
  EXPECT_EQ(Calc("2<=2"), -1.0);
  EXPECT_EQ(Calc("2>=3"), 0.0);
  EXPECT_EQ(Calc("2=2"), -1.0);
  // Integer division and remainder.
  EXPECT_EQ(Calc("2.5 \\ 1"), 2.0);
  EXPECT_EQ(Calc("3.5 \\ 1"), 4.0);
  EXPECT_EQ(Calc("-7 \\ 2"), -3.0);
  EXPECT_EQ(Calc("-7 mod 3"), -1.0);
  EXPECT_EQ(Calc("7 mod -3"), 1.0);
  // Out of the 32-bit range and divisions by zero fail.
  EXPECT_EQ(Calc("3e10 and 1"), std::nullopt);
  EXPECT_EQ(Calc("not 3e10"), std::nullopt);
  EXPECT_EQ(Calc("5 mod 0"), std::nullopt);
  EXPECT_EQ(Calc("5 \\ 0"), std::nullopt);
  EXPECT_EQ(Calc("5 \\ 0.4"), std::nullopt);
  EXPECT_EQ(Calc("(-2147483647-1) \\ -1"), std::nullopt);
  EXPECT_EQ(Calc("(-2147483647-1) mod -1"), 0.0);
}

TEST(Evaluator, StepFunctionByComparison) {
  LanguageModel m;
  m.Define("a*(x>b)");
  EXPECT_EQ(m.Eval(1.0, {3.0, 2.0}), 0.0);
  EXPECT_EQ(m.Eval(5.0, {3.0, 2.0}), -3.0);  // -a past the step
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
  EXPECT_EQ(Calc("if(x>0,ln(x),0)", 1.0), 0.0);
  EXPECT_EQ(Calc("if(x<=0,0,ln(x))+if(x>0,1,2)*10", 0.0), 20.0);
}

TEST(Evaluator, FailedEvaluationsNeverGiveAValue) {
  EXPECT_EQ(Calc("1/x", 0.0), std::nullopt);
  EXPECT_EQ(Calc("0/x", 0.0), std::nullopt);
  EXPECT_EQ(Calc("ln(x)", -1.0), std::nullopt);
  EXPECT_EQ(Calc("log(x)", 0.0), std::nullopt);
  EXPECT_EQ(Calc("sqr(x)", -1.0), std::nullopt);
  EXPECT_EQ(Calc("exp(x)", 1000.0), std::nullopt);
  EXPECT_EQ(Calc("x*1e308*10"), 0.0);  // x = 0
  EXPECT_EQ(Calc("x*1e308*10", 1.0), std::nullopt);
  EXPECT_EQ(Calc("1e308 + 1e308"), std::nullopt);
  EXPECT_EQ(Calc("2^1024"), std::nullopt);
  EXPECT_EQ(Calc("0^0"), 1.0);
  EXPECT_EQ(Calc("(-8)^(1/3)"), std::nullopt);
  EXPECT_EQ(Calc("(-8)^3"), -512.0);
  EXPECT_EQ(Calc("0^-1"), std::nullopt);
  EXPECT_EQ(Calc("exp(-1000)"), 0.0);  // underflow is no fault
  EXPECT_EQ(Calc("arcsin(2)"), std::nullopt);
  EXPECT_EQ(Calc("tan(x)*0+cotan(x)", 0.0), std::nullopt);
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
