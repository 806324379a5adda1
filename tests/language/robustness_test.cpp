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

using Words = std::vector<std::string>;

// Pieces joined by appending (g++ 12 warns wrongly about "text" + string).
std::string Cat(std::initializer_list<std::string> pieces) {
  std::string out;
  for (const std::string& p : pieces) out += p;
  return out;
}

// Mostly well-formed expressions over the whole language (every function
// word), with a junk piece spliced in now and then.
std::string RandomExpr(std::mt19937& gen, int depth, bool several) {
  static const Words kOperands = {"x",  "a",  "b",  "c",  "1",     "2.5",   "1e5-3", "0", "xmean",
                                  "pi", "F1", "F2", "f3", "endif", "ENDIF", "e",     ".", "1.2.3"};
  // With several variables, "x" is a parameter.
  static const Words kSeveral = {"x1", "X02", "x3", "x", "a", "x2min", "yatx1max", "ymean", "F1", "x51"};
  static const Words kBinary = {"+", "-",  "*",  "/",  "^",     "\\",   " mod ", "=",     "<",
                                ">", "<>", "<=", ">=", " and ", " or ", " xor ", " eqv ", " imp "};
  static const Words kJunk = {"(", ")", ",", ";", "#", "AND", "Mod", ">>", "2 x", "", "-", "not "};
  const auto pick = [&](const Words& v) { return v[std::uniform_int_distribution<std::size_t>(0, v.size() - 1)(gen)]; };
  const auto sub = [&] { return RandomExpr(gen, depth + 1, several); };
  const int choice = std::uniform_int_distribution<int>(0, depth > 4 ? 1 : 8)(gen);
  std::string e;
  if (choice <= 1) {
    e = pick(several ? kSeveral : kOperands);
  } else if (choice == 2) {
    e = Cat({"-", sub()});
  } else if (choice == 3) {
    e = Cat({"not ", sub()});
  } else if (choice == 4) {
    e = Cat({"(", sub(), ")"});
  } else if (choice == 5) {
    const auto rows = detail::FunctionRows();
    const detail::FunctionRow& w = rows[std::uniform_int_distribution<std::size_t>(0, rows.size() - 1)(gen)];
    e = Cat({std::string(w.word), "(", sub()});
    for (int i = 1; i < w.arity; ++i) e += Cat({",", sub()});
    e += ")";
  } else {
    e = Cat({sub(), pick(kBinary), sub()});
  }
  if (std::uniform_int_distribution<int>(0, 19)(gen) == 0) e += pick(kJunk);
  return e;
}

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
