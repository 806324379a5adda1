#include <gtest/gtest.h>

#include "language_support.hpp"
#include "tessarix/language/internal/locale_forms.hpp"

namespace tessarix::test {
namespace {

TEST(ModelDefinitionErrors, InTheirOrder) {
  {
    LanguageModel m;
    EXPECT_TSX_ERROR(m.Define("F1+F2", {"a*x", "", "b"}), 10018, "Model definition error, missing sub-definition F2");
  }
  {
    LanguageModel m;  // a gap is a fault even when nothing refers to it
    EXPECT_TSX_ERROR(m.Define("a*x", {"", "", "", "", "", "", "", "", "b"}), 10018,
                     "Model definition error, missing sub-definition F1");
  }
  {
    LanguageModel m;
    EXPECT_TSX_ERROR(m.Define("F4*x", {"a", "b", "c"}), 10017,
                     "Model definition error, a reference was made to a model sub-definition that was not defined");
  }
  {
    LanguageModel m;
    EXPECT_TSX_ERROR(m.Define("F1", {"F2*a", "F1+x"}), 10016,
                     "Model definition error, cyclic expression in model was detected");
  }
  {
    LanguageModel m;  // a direct self-reference, and the cycle wins over the syntax fault that follows
    EXPECT_TSX_CODE(m.Define("F1*x+(", {"F1*a"}), 10016);
  }
  LanguageModel m;
  EXPECT_TSX_ERROR(m.Define("a+b"), 10019, "Model definition error, no independent variables detected in model");
  EXPECT_TSX_ERROR(m.Define("x+1"), 10021, "Model definition error, no fitting parameters detected in model");
  EXPECT_TSX_ERROR(m.Define("a+("), 10015, "Model definition error, invalid model syntax");
  EXPECT_TSX_CODE(m.Define("x"), 10021);
  EXPECT_TSX_CODE(m.Define("a"), 10019);
  EXPECT_TSX_CODE(m.Define("F1*x"), 10017);  // no sub-definitions at all
  EXPECT_EQ(m.Define("F1*x", {"a"}), std::vector<std::string>{"a"});
}

TEST(LocaleForms, BothWaysUnderDecimalComma) {
  const SystemSeparators comma = DecimalCommaSeparators();  // "," decimal, ";" list, "." thousands
  EXPECT_EQ(detail::ToLocalForm("a*x+1.5", comma), "a*x+1,5");
  EXPECT_EQ(detail::ToLocalForm("max(a,x)", comma), "max(a;x)");
  EXPECT_EQ(detail::ToEnglishForm("max(a;x)+1,5", comma), "max(a,x)+1.5");
  EXPECT_EQ(detail::ToEnglishForm("1.000,5*x", comma), "1000.5*x");  // thousands never survive
  EXPECT_EQ(detail::ToLocalForm("", comma), "");

  // English separators in all three: the text stands as it is.
  EXPECT_EQ(detail::ToLocalForm("1.5,2", EnglishSeparators()), "1.5,2");
  EXPECT_EQ(detail::ToEnglishForm("1.5,2", EnglishSeparators()), "1.5,2");

  // Where "," separates thousands, a "," is still a list separator first.
  const SystemSeparators swiss{".", ";", "'", ".", ":"};
  EXPECT_EQ(detail::ToLocalForm("max(1'000.5,x)", swiss), "max(1000.5;x)");
  const SystemSeparators list_is_thousands{".", ";", ",", "/", ":"};
  EXPECT_EQ(detail::ToLocalForm("max(a,x)", list_is_thousands), "max(a;x)");
  // A multi-byte thousands separator is one character.
  const SystemSeparators nbsp{",", ";", "\xC2\xA0", ".", ":"};
  EXPECT_EQ(detail::ToEnglishForm("1\xC2\xA0"
                                  "000,5",
                                  nbsp),
            "1000.5");
}

TEST(LocaleForms, DefinitionsKeepBothForms) {
  {
    LanguageModel m(DecimalCommaSeparators());
    EXPECT_EQ(m.Define("a*x+1.5+max(b,x)"), (std::vector<std::string>{"a", "b"}));
    EXPECT_EQ(m.English().Y(), "a*x+1.5+max(b,x)");
    EXPECT_EQ(m.Local().Y(), "a*x+1,5+max(b;x)");
    EXPECT_EQ(m.Eval(2.0, {1.0, 0.0}), 5.5);
  }
  {
    LanguageModel m(DecimalCommaSeparators());
    m.Define("a*x+1,5", {"a*2,5"}, tsxLocaleLocal);
    EXPECT_EQ(m.English().Y(), "a*x+1.5");
    EXPECT_EQ(m.English().F1(), "a*2.5");
    EXPECT_EQ(m.Local().Y(), "a*x+1,5");
    EXPECT_EQ(m.Eval(2.0, {1.0}), 3.5);
  }
  {
    // The compiler reads the local form: an English "," would be a decimal
    // comma here, so the local text with "," between arguments is a fault.
    LanguageModel m(DecimalCommaSeparators());
    EXPECT_TSX_CODE(m.Define("max(a,x)", {}, tsxLocaleLocal), 10015);
  }
}

}  // namespace
}  // namespace tessarix::test
