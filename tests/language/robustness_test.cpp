// Random model texts never crash, hang or give a non-finite value: every
// definition either succeeds or raises a model definition error, and every
// evaluation either gives a finite value or fails. Redefinitions on one object
// pile their records (partial ones of failed texts too) into one program,
// which the evaluator must run safely as well.
#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <string>
#include <vector>

#include "language_support.hpp"
#include "tessarix/foundation/fault.hpp"
#include "tessarix/language/internal/function_table.hpp"

namespace tessarix::test {
namespace {

// Defines y (F1, F2) on `m` and evaluates at a few points; returns whether
// the definition succeeded.
bool DefineAndEvaluate(LanguageModel& m, const std::string& y, const std::string& f1, const std::string& f2) {
  try {
    m.Define(y, {f1, f2});
  } catch (const Error& e) {
    EXPECT_TRUE(e.HelpContext() >= 10015 && e.HelpContext() <= 10021) << y << " : " << e.Description();
    return false;
  } catch (const detail::RuntimeFault& f) {
    // Only the jump-table builder faults (a marker without its "if"); the
    // object reports it as a general error.
    EXPECT_EQ(f.Kind(), detail::FaultKind::SubscriptOutOfRange) << y;
    return false;
  }
  for (double x : {-2.0, 0.0, 0.5, 3.0}) {
    const std::optional<double> v = m.At({x, 0.5 - x, x * x}, {0.7, -1.3, 2.0, 0.4, 1.1});
    if (v) {
      EXPECT_TRUE(std::isfinite(*v)) << y;
    }
  }
  return true;
}

TEST(Robustness, RandomTextsFailCleanly) {
  std::mt19937 gen(20261122);
  for (const bool several : {false, true}) {
    LanguageModel shared(EnglishSeparators(), several ? 1 : 0);  // the first texts also on one object, piling up
    int valid = 0;
    for (int i = 0; i < 2000; ++i) {
      // Most texts use the variables and a parameter, so that many
      // definitions succeed.
      std::string y = RandomExpr(gen, 0, several);
      if (i % 4 != 0) y.insert(0, several ? "a*x1+x2*" : "a*x+");
      const std::string f1 = RandomExpr(gen, 2, several), f2 = i % 3 == 0 ? "" : RandomExpr(gen, 2, several);
      LanguageModel fresh(EnglishSeparators(), several ? 1 : 0);
      if (DefineAndEvaluate(fresh, y, f1, f2)) ++valid;
      if (i < 300) (void)DefineAndEvaluate(shared, y, f1, f2);
    }
    EXPECT_GT(valid, 400) << several;  // the generator does reach valid models
  }
}

}  // namespace
}  // namespace tessarix::test
