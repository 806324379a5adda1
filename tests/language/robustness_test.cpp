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

namespace tessarix::test {
namespace {

// Mostly well-formed expressions over the whole language, with a junk piece
// spliced in now and then. With several variables, "x" is a parameter.
std::string RandomExpr(std::mt19937& gen, int depth, bool several = false) {
  static const std::vector<std::string> kOperands = {"x",  "a",  "b",  "c",  "1",     "2.5",   "1e5-3", "0", "xmean",
                                                     "pi", "F1", "F2", "f3", "endif", "ENDIF", "e",     ".", "1.2.3"};
  static const std::vector<std::string> kSeveral = {"x1", "X02", "x3", "x", "a", "x2min", "yatx1max", "ymean", "F1"};
  static const std::vector<std::string> kBinary = {"+", "-",  "*",  "/",  "^",     "\\",   " mod ", "=",     "<",
                                                   ">", "<>", "<=", ">=", " and ", " or ", " xor ", " eqv ", " imp "};
  static const std::vector<std::string> kCalls1 = {"exp",  "ln",     "sqr", "fact",  "rnd", "gamma", "sin",
                                                   "hsin", "arcsin", "j0",  "airya", "psi", "ceil",  "harccotan"};
  static const std::vector<std::string> kCalls2 = {"max", "jn", "beta", "igamma", "sphyn", "knu", "chi2"};
  static const std::vector<std::string> kJunk = {"(", ")", ",", ";", "#", "AND", "Mod", ">>", "2 x", "", "-", "not "};
  auto pick = [&](const std::vector<std::string>& v) {
    return v[std::uniform_int_distribution<std::size_t>(0, v.size() - 1)(gen)];
  };
  std::uniform_int_distribution<int> choice(0, depth > 4 ? 1 : 9);
  std::string e;
  switch (choice(gen)) {
    case 0:
    case 1:
      e = pick(several ? kSeveral : kOperands);
      break;
    case 2:
      e = "-" + RandomExpr(gen, depth + 1, several);
      break;
    case 3:
      e = "not " + RandomExpr(gen, depth + 1, several);
      break;
    case 4:
      e = "(" + RandomExpr(gen, depth + 1, several) + ")";
      break;
    case 5:
      e = pick(kCalls1) + "(" + RandomExpr(gen, depth + 1, several) + ")";
      break;
    case 6:
      e = pick(kCalls2) + "(" + RandomExpr(gen, depth + 1, several) + "," + RandomExpr(gen, depth + 1, several) + ")";
      break;
    case 7:
      e = "if(" + RandomExpr(gen, depth + 1, several) + "," + RandomExpr(gen, depth + 1, several) + "," +
          RandomExpr(gen, depth + 1, several) + ")";
      break;
    default:
      e = RandomExpr(gen, depth + 1, several) + pick(kBinary) + RandomExpr(gen, depth + 1, several);
      break;
  }
  if (std::uniform_int_distribution<int>(0, 19)(gen) == 0) e += pick(kJunk);
  return e;
}

std::string RandomText(std::mt19937& gen, bool several) {
  // Most texts use the variable and a parameter, so that many definitions
  // succeed.
  const std::string start = several ? "a*x1+x2*" : "a*x+";
  return std::uniform_int_distribution<int>(0, 3)(gen) == 0 ? RandomExpr(gen, 0, several)
                                                            : start + RandomExpr(gen, 0, several);
}

// Defines y (F1, F2) on `m` and evaluates at a few points; returns whether
// the definition succeeded.
bool DefineAndEvaluate(LanguageModel& m, const std::string& y, const std::string& f1, const std::string& f2) {
  std::vector<std::string> names;
  try {
    names = m.Define(y, {f1, f2});
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
    const std::int32_t mode = several ? 1 : 0;
    LanguageModel shared(EnglishSeparators(), mode);  // the first texts also on one object, piling up
    int valid = 0;
    for (int i = 0; i < 2000; ++i) {
      const std::string y = RandomText(gen, several);
      const std::string f1 = RandomExpr(gen, 2, several), f2 = i % 3 == 0 ? "" : RandomExpr(gen, 2, several);
      LanguageModel fresh(EnglishSeparators(), mode);
      if (DefineAndEvaluate(fresh, y, f1, f2)) ++valid;
      if (i < 300) (void)DefineAndEvaluate(shared, y, f1, f2);
    }
    EXPECT_GT(valid, 400) << several;  // the generator does reach valid models
  }
}

}  // namespace
}  // namespace tessarix::test
