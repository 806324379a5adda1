// The mode of the several-variable class: x1, x2, ... are the independent
// variables and a plain x is a parameter name.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "language_support.hpp"

namespace tessarix::test {
namespace {

using Names = std::vector<std::string>;

LanguageModel Several(const SystemSeparators& separators = EnglishSeparators()) { return LanguageModel(separators, 1); }

TEST(SeveralVariables, VariablesComeFromTheText) {
  LanguageModel m = Several();
  EXPECT_EQ(m.Define("a*x1+b*X02^2+x*x3"), (Names{"a", "b", "x"}));  // any case, x01..x09 too
  EXPECT_EQ(m.Variables(), 3);
  EXPECT_EQ(m.At({2.0, 3.0, 5.0}, {1.0, 10.0, 100.0}), 2.0 + 90.0 + 500.0);
  EXPECT_EQ(m.At({2.0, 3.0}, {1.0, 10.0, 100.0}), std::nullopt);  // a point without x3
  EXPECT_EQ(m.Dump().substr(0, 34), "1 param a #1\n2 var x1 c1\n3 binary ");

  // Up to x50; x51 is a name like any other, and so is x0. The number given
  // for the mode is no limit: the text decides.
  std::string all = "a*x1";
  std::vector<double> point{1.0};
  for (int k = 2; k <= 50; ++k) {
    all += "+x" + std::to_string(k);
    point.push_back(k);
  }
  LanguageModel fifty = Several();
  EXPECT_EQ(fifty.Define(all + "+x51+x0"), (Names{"a", "x0", "x51"}));
  EXPECT_EQ(fifty.Variables(), 50);
  EXPECT_EQ(fifty.At(point, {0.5, 0.0, 0.0}), 0.5 + 1274.0);  // 2 + 3 + ... + 50
  point.pop_back();
  EXPECT_EQ(fifty.At(point, {0.5, 0.0, 0.0}), std::nullopt);
}

TEST(SeveralVariables, DefinitionErrorsInTheirOrder) {
  const std::vector<std::pair<const char*, std::int32_t>> cases = {
      {"a+b", 10019},       {"a*x", 10019},                        // x is a parameter here
      {"a*x2", 10020},      {"a*x1+x3", 10020}, {"x1+x3", 10020},  // before the count of parameters
      {"a*x1+x3+(", 10015}, {"x1+x2+1", 10021}, {"F1*x1", 10017},
  };
  for (const auto& [text, code] : cases) {
    LanguageModel m = Several();
    EXPECT_TSX_CODE(m.Define(text), code);
    EXPECT_EQ(m.Variables(), 0) << text;
  }
  LanguageModel m = Several();
  EXPECT_TSX_ERROR(m.Define("a*x1+x3"), 10020, "Model definition error, at least one independent variable missing");
  EXPECT_TSX_CODE(m.Define("F1", {"F1*x1"}), 10016);
  // The single mode knows x only: x1 is a parameter there.
  LanguageModel one;
  EXPECT_TSX_CODE(one.Define("a*x1+x2"), 10019);
}

TEST(SeveralVariables, SubDefinitionsAndLocales) {
  LanguageModel m = Several(DecimalCommaSeparators());
  EXPECT_EQ(m.Define("F1+max(b,x2)*1.5", {"a*x1"}), (Names{"a", "b"}));
  EXPECT_EQ(m.Local().Y(), "F1+max(b;x2)*1,5");
  EXPECT_EQ(m.At({2.0, 4.0}, {3.0, 1.0}), 6.0 + 6.0);

  LanguageModel local = Several(DecimalCommaSeparators());
  EXPECT_EQ(local.Define("F2*x2+F1", {"a*x1", "max(x;0,5)"}, tsxLocaleLocal), (Names{"a", "x"}));
  EXPECT_EQ(local.English().F2(), "max(x,0.5)");
  EXPECT_EQ(local.At({2.0, 4.0}, {3.0, 0.25}), 0.5 * 4.0 + 6.0);
  // The sub-definition stays done on the object: a second model recalls it.
  EXPECT_EQ(local.Define("F1*x2+c*x1+a*x", {"b*x1"}, tsxLocaleLocal), (Names{"a", "c", "x"}));
  EXPECT_EQ(local.At({2.0, 4.0}, {3.0, 1.0, 0.25}), 6.0 * 4.0 + 2.0 + 0.75);
}

TEST(SeveralVariables, DataWordsNameOneOfTheFirstNineVariables) {
  LanguageModel m = Several();
  EXPECT_EQ(m.Define("a*x1+x2+x2min+yatx1max*10+ymean*100+x1range*1000+xmin+yatxmin"), (Names{"a", "xmin", "yatxmin"}));
  detail::DataStatistics& s = m.Stats();
  s.variable_count = 2;
  s.variables[0].min = 1;
  s.variables[0].max = 4;
  s.variables[0].y_at_max = 3;
  s.variables[1].min = 2;
  s.ymean = 5;
  EXPECT_EQ(m.At({1.0, 1.0}, {1.0, 0.0, 0.0}), 1 + 1 + 2 + 30 + 500 + 3000);
  s.variable_count = 1;  // statistics that do not hold x2 fail the evaluation
  EXPECT_EQ(m.At({1.0, 1.0}, {1.0, 0.0, 0.0}), std::nullopt);
  // Only variables 1 to 9 have words; x10min is a parameter.
  LanguageModel ten = Several();
  EXPECT_EQ(ten.Define("a*x1+x10min+x9min"), (Names{"a", "x10min"}));
  ten.Stats().variable_count = 9;
  ten.Stats().variables[8].min = 7;
  EXPECT_EQ(ten.At({1.0}, {1.0, 0.0}), 8.0);
}

}  // namespace
}  // namespace tessarix::test
