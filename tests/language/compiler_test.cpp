#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "language_support.hpp"
#include "tessarix/foundation/fault.hpp"

namespace tessarix::test {
namespace {

using Names = std::vector<std::string>;

TEST(Compiler, NumbersAreReadWithoutChecking) {
  // The exponent takes every sign that follows it, and a lexeme that does
  // not convert is the constant 0.
  CheckTable("1e5-3 => 0 | 1e5 - 3 => 99997 | 1.2.3 => 0 | 1e-5 => 1e-5 | 1e-400 => 0 | 1e999 => 0 | .5*4 => 2");
  LanguageModel m;
  EXPECT_TSX_CODE(m.Define("2e3+x*a"), 10015);  // "2e3+" then "x": no operator between
}

TEST(Compiler, EmitsPostfixRecords) {
  LanguageModel m;
  EXPECT_EQ(m.Define("a*exp(-b*x)+if(x>c,d,0)"), (Names{"a", "b", "c", "d"}));
  EXPECT_EQ(m.Dump(),
            "1 param a #1\n2 param b #2\n3 unary neg c1\n4 var x\n5 binary * c4\n6 func exp c2\n"
            "7 binary * c4\n8 var x\n9 param c #3\n10 binary > c10\n11 func if c45 ->12/14\n"
            "12 param d #4\n13 func endtrue c46 ->15\n14 const 0 =0\n15 func endif c47\n16 binary + c2\n");
  EXPECT_EQ(m.Eval(2.0, {3.0, 0.5, 1.0, 10.0}), 3.0 * std::exp(-1.0) + 10.0);
  EXPECT_EQ(m.Eval(0.5, {3.0, 0.5, 1.0, 10.0}), 3.0 * std::exp(-0.25));
}

TEST(Compiler, PrecedenceAndAssociativity) {
  // Left-associative, "^" too; unary minus binds looser than "^" and tighter
  // than "*", and may follow any operator; "not" takes a comparison.
  CheckTable(R"(
    2^3^2 => 64 | -2^2 => -4 | -2*3+1 => -5 | 2^-1 => 0.5 | 3*-2 => -6 | 1+2*3 => 7 | 7\2*2 => 1 | 7 mod 4\2 => 1
    1+2 mod 2 => 1 | 1+1=2 => -1 | not 1=2 => -1 | not 0 and 0 => 0 | 1 or 2 and 0 => 1 | 1 xor 1 or 1 => 0
    0 eqv 1 or 1 => -2 | 0 imp 0 eqv 1 => -1 | 10-4-3 => 3 | 64/4/2 => 8 | PI+pi-Pi => 3.14159265358979
  )");
}

TEST(Compiler, NamesCaseAndParameterOrder) {
  LanguageModel m;
  EXPECT_TSX_CODE(m.Define("x>a AND x<b"), 10015);  // word operators in lower case only
  EXPECT_TSX_CODE(m.Define("x Mod a"), 10015);
  EXPECT_TSX_CODE(m.Define("and*x"), 10015);  // nor are they names
  EXPECT_TSX_CODE(m.Define("k1*x"), 10015);   // a function word without "("
  const std::vector<std::pair<const char*, Names>> cases = {
      {"x>a and x<b", {"a", "b"}},
      {"NOT X>a", {"a"}},  // NOT, X, function and data words, pi in any case
      {"EXP(a*X)+XMEAN+Pi", {"a"}},
      {"e*x", {"e"}},  // no constant for Euler's number
      {"pi1*x+endtrue", {"endtrue", "pi1"}},
      {"y*x+z+u+alpha+my_param1", {"alpha", "my_param1", "u", "y", "z"}},
      {"a*x+A", {"a"}},
      {"A*x+a", {"A"}},       // spelling of the first occurrence
      {"B*x+a", {"B", "a"}},  // by code unit: upper case first
      {"x1*x+x0", {"x0", "x1"}},
  };
  for (const auto& [text, names] : cases) EXPECT_EQ(m.Define(text), names) << text;
  LanguageModel fresh;  // (m's program holds all the models above)
  EXPECT_EQ(fresh.Define("c*x+b*x+a+b+c"), (Names{"a", "b", "c"}));
  EXPECT_EQ(fresh.Eval(2.0, {1.0, 10.0, 100.0}), 100.0 * 2 + 10.0 * 2 + 1 + 10 + 100);
}

TEST(Compiler, SyntaxFaultsAndBoundedNesting) {
  LanguageModel m;
  for (const char* text : {"", "2*x*", "2 x", "a+(", "a*x)", "(a*x", "max(a)", "max(a,x,1)", "sin(a,x)", "a*x+>b",
                           "if(x>0,a)", "x>>a", "x=<a", "a*x+#", "a*x,", "endif(x)", "x.a"}) {
    EXPECT_TSX_ERROR(m.Define(text), 10015, "Model definition error, invalid model syntax");
  }
  EXPECT_TSX_CODE(m.Define(std::string(400, '(') + "a*x" + std::string(400, ')')), 10015);
  EXPECT_TSX_CODE(m.Define(std::string(400, '-') + "a*x"), 10015);
  EXPECT_EQ(m.Define(std::string(100, '(') + "a*x" + std::string(100, ')')), (Names{"a"}));
  // A stray separator in front of an operand is skipped.
  LanguageModel with_separator, plain;
  EXPECT_EQ(with_separator.Define(",x+a"), (Names{"a"}));
  plain.Define("x+a");
  EXPECT_EQ(with_separator.Dump(), plain.Dump());
  EXPECT_EQ(Calc("max(,1,2)"), 2.0);
}

TEST(Compiler, SubDefinitionsAreInlinedOnceThenRecalled) {
  LanguageModel m;
  EXPECT_EQ(m.Define("F1+f1", {"a*x"}), (Names{"a"}));
  EXPECT_EQ(m.Dump(), "1 param a #1\n2 var x\n3 binary * c4\n4 save savef1 c1\n5 recall f1 c1\n6 binary + c2\n");
  EXPECT_EQ(m.Eval(3.0, {2.0}), 12.0);

  // Parameters of every sub-definition join the one list.
  LanguageModel nested;
  EXPECT_EQ(nested.Define("F2*c+F1", {"a*x", "F1+b"}), (Names{"a", "b", "c"}));
  EXPECT_EQ(nested.Eval(2.0, {1.0, 3.0, 10.0}), (2.0 + 3.0) * 10.0 + 2.0);

  // A first reference inside the untaken branch leaves the saved value of an
  // earlier evaluation (0 before any) to the later recall.
  LanguageModel branch;
  branch.Define("if(x>0,F1,0)+F1", {"a*x"});
  EXPECT_EQ(branch.Eval(-1.0, {2.0}), 0.0);
  EXPECT_EQ(branch.Eval(1.0, {2.0}), 4.0);
  EXPECT_EQ(branch.Eval(-1.0, {2.0}), 2.0);
}

TEST(Compiler, ProgramOutlivesRedefinition) {
  // The second definition appends; the top of the stack is the new model.
  LanguageModel m;
  m.Define("a*x");
  EXPECT_EQ(m.Define("a+b*x"), (Names{"a", "b"}));
  EXPECT_EQ(m.Dump(),
            "1 param a #1\n2 var x\n3 binary * c4\n4 param a #1\n5 param b #2\n6 var x\n7 binary * c4\n"
            "8 binary + c2\n");
  EXPECT_EQ(m.Eval(2.0, {1.0, 10.0}), 21.0);

  // Old records keep an index beyond a smaller new parameter array: every
  // evaluation fails.
  LanguageModel fewer;
  fewer.Define("a*x+b");
  EXPECT_EQ(fewer.Define("c*x"), (Names{"c"}));
  EXPECT_EQ(fewer.Eval(2.0, {1.0}), std::nullopt);

  // A sub-definition stays done: the new text of F1 is never read.
  LanguageModel done;
  done.Define("F1*x", {"a"});
  EXPECT_TSX_ERROR(done.Define("F1+x", {"b"}), 10021,
                   "Model definition error, no fitting parameters detected in model");

  // One that failed with a cycle stays open and reports the cycle again.
  LanguageModel cyclic;
  EXPECT_TSX_CODE(cyclic.Define("F1", {"F2*a", "F1+x"}), 10016);
  EXPECT_TSX_CODE(cyclic.Define("F1*x", {"a"}), 10016);
  LanguageModel fresh;
  EXPECT_EQ(fresh.Define("F1*x", {"a"}), (Names{"a"}));
}

TEST(Compiler, JumpTable) {
  LanguageModel m;
  m.Define("if(x>a,if(x>b,1,2),3)");
  EXPECT_EQ(m.Eval(0.0, {1.0, 2.0}), 3.0);
  EXPECT_EQ(m.Eval(1.5, {1.0, 2.0}), 2.0);
  EXPECT_EQ(m.Eval(2.5, {1.0, 2.0}), 1.0);

  // 100 nested conditionals fit the builder's stacks; 101 do not.
  auto nested = [](int depth) {
    std::string s = "a*x";
    for (int i = 0; i < depth; ++i) s = "if(x>0," + s + ",0)";
    return s;
  };
  LanguageModel deep;
  EXPECT_EQ(deep.Define(nested(100)), (Names{"a"}));
  EXPECT_EQ(deep.Eval(2.0, {3.0}), 6.0);
  EXPECT_THROW(deep.Define(nested(101)), detail::RuntimeFault);

  // The markers are found by their text: a parameter written "endif" is one.
  LanguageModel marker, upper, plain;
  EXPECT_THROW(marker.Define("if(x>0,endif,b)"), detail::RuntimeFault);
  EXPECT_EQ(upper.Define("if(x>0,ENDIF,b)"), (Names{"ENDIF", "b"}));
  EXPECT_EQ(upper.Eval(1.0, {5.0, 6.0}), 5.0);
  EXPECT_EQ(plain.Define("endtrue*x+endif"), (Names{"endif", "endtrue"}));  // no "if": no table, no markers
  EXPECT_EQ(plain.Eval(2.0, {1.0, 3.0}), 7.0);
}

}  // namespace
}  // namespace tessarix::test
