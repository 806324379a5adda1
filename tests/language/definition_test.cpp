#include <gtest/gtest.h>

#include "language_support.hpp"
#include "tessarix/language/internal/locale_forms.hpp"

namespace tessarix::test {
namespace {

TEST(ModelDefinitionErrors, InTheirOrder) {
  struct Case {
    const char* y;
    std::vector<std::string> subs;
    std::int32_t code;
    const char* message;
  };
  const Case cases[] = {
      {"F1+F2", {"a*x", "", "b"}, 10018, "Model definition error, missing sub-definition F2"},
      // A gap is a fault even when nothing refers to it.
      {"a*x", {"", "", "", "", "", "", "", "", "b"}, 10018, "Model definition error, missing sub-definition F1"},
      {"F4*x",
       {"a", "b", "c"},
       10017,
       "Model definition error, a reference was made to a model sub-definition that was not defined"},
      {"F1*x", {}, 10017, nullptr},  // no sub-definitions at all
      {"F1", {"F2*a", "F1+x"}, 10016, "Model definition error, cyclic expression in model was detected"},
      {"F1*x+(", {"F1*a"}, 10016, nullptr},  // a direct self-reference wins over the syntax fault after it
      {"a+(", {}, 10015, "Model definition error, invalid model syntax"},
      {"a+b", {}, 10019, "Model definition error, no independent variables detected in model"},
      {"a", {}, 10019, nullptr},
      {"x+1", {}, 10021, "Model definition error, no fitting parameters detected in model"},
      {"x", {}, 10021, nullptr},
  };
  for (const Case& c : cases) {
    LanguageModel m;
    if (c.message == nullptr) {
      EXPECT_TSX_CODE(m.Define(c.y, c.subs), c.code);
    } else {
      EXPECT_TSX_ERROR(m.Define(c.y, c.subs), c.code, c.message);
    }
    EXPECT_EQ(m.Variables(), 0) << c.y;
  }
  LanguageModel m;
  EXPECT_EQ(m.Define("F1*x", {"a"}), std::vector<std::string>{"a"});
  EXPECT_EQ(m.Variables(), 1);
}

TEST(LocaleForms, BothWaysAndThousandsNeverSurvive) {
  const SystemSeparators comma = DecimalCommaSeparators();  // "," decimal, ";" list, "." thousands
  EXPECT_EQ(detail::ToLocalForm("max(a,x)+1.5", comma), "max(a;x)+1,5");
  EXPECT_EQ(detail::ToEnglishForm("max(a;x)+1,5", comma), "max(a,x)+1.5");
  EXPECT_EQ(detail::ToEnglishForm("1.000,5*x", comma), "1000.5*x");
  // English separators in all three: the text stands as it is.
  EXPECT_EQ(detail::ToLocalForm("1.5,2", EnglishSeparators()), "1.5,2");
  EXPECT_EQ(detail::ToEnglishForm("1.5,2", EnglishSeparators()), "1.5,2");
  // Where "," separates thousands, a "," is still a list separator first.
  EXPECT_EQ(detail::ToLocalForm("max(1'000.5,x)", SystemSeparators{".", ";", "'", ".", ":"}), "max(1000.5;x)");
  EXPECT_EQ(detail::ToLocalForm("max(a,x)", SystemSeparators{".", ";", ",", "/", ":"}), "max(a;x)");
  // A multi-byte thousands separator is one character.
  EXPECT_EQ(detail::ToEnglishForm("1\xC2\xA0"
                                  "000,5",
                                  SystemSeparators{",", ";", "\xC2\xA0", ".", ":"}),
            "1000.5");
}

TEST(LocaleForms, DefinitionsKeepBothFormsAndCompileTheLocalOne) {
  LanguageModel english(DecimalCommaSeparators());
  EXPECT_EQ(english.Define("a*x+1.5+max(b,x)"), (std::vector<std::string>{"a", "b"}));
  EXPECT_EQ(english.English().Y(), "a*x+1.5+max(b,x)");
  EXPECT_EQ(english.Local().Y(), "a*x+1,5+max(b;x)");
  EXPECT_EQ(english.Eval(2.0, {1.0, 0.0}), 5.5);

  LanguageModel local(DecimalCommaSeparators());
  local.Define("a*x+1,5", {"a*2,5"}, tsxLocaleLocal);
  EXPECT_EQ(local.English().Y(), "a*x+1.5");
  EXPECT_EQ(local.English().F1(), "a*2.5");
  EXPECT_EQ(local.Local().Y(), "a*x+1,5");
  EXPECT_EQ(local.Eval(2.0, {1.0}), 3.5);
  // "pi" is written with the local decimal separator.
  EXPECT_EQ(local.Define("a*x+pi", {}, tsxLocaleLocal), std::vector<std::string>{"a"});
  EXPECT_EQ(local.Eval(0.0, {1.0}), 3.14159265358979);

  // An English "," would be a decimal comma here, so the local text with ","
  // between arguments is a fault.
  LanguageModel wrong(DecimalCommaSeparators());
  EXPECT_TSX_CODE(wrong.Define("max(a,x)", {}, tsxLocaleLocal), 10015);
}

}  // namespace
}  // namespace tessarix::test
