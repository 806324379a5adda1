#include "tessarix/platform/number_format.hpp"

#include <gtest/gtest.h>

#include <string>

#include "support/test_helpers.hpp"
#include "tessarix/data/data_collection.hpp"

using tessarix::detail::FormatNumber;

namespace {
std::string En(double v, const char* f) { return FormatNumber(v, f, ".", ","); }
}  // namespace

TEST(NumberFormat, DigitPlaceholdersAndRounding) {
  EXPECT_EQ(En(1234.5, "0.00"), "1234.50");
  EXPECT_EQ(En(12, "000"), "012");
  EXPECT_EQ(En(1234, "00"), "1234");
  EXPECT_EQ(En(0.5, "#.##"), ".5");
  EXPECT_EQ(En(1, "#.##"), "1.");
  EXPECT_EQ(En(0.5, "0.##"), "0.5");
  EXPECT_EQ(En(0, "#"), "");
  EXPECT_EQ(En(3.14159, "0"), "3");
  // Half away from zero on the 15-digit decimal form.
  EXPECT_EQ(En(2.5, "0"), "3");
  EXPECT_EQ(En(0.125, "0.00"), "0.13");
  EXPECT_EQ(En(1.005, "0.00"), "1.01");
  EXPECT_EQ(En(9.999, "0.00"), "10.00");
  EXPECT_EQ(En(0.004, "0.00"), "0.00");
  EXPECT_EQ(En(1e300, "0").size(), 301u);
  EXPECT_EQ(En(123456789012345678.0, "0"), "123456789012346000");
}

TEST(NumberFormat, GroupingScalingPercentAndLiterals) {
  EXPECT_EQ(En(1234.5, "#,##0.00"), "1,234.50");
  EXPECT_EQ(En(1234567.891, "#,##0"), "1,234,568");
  EXPECT_EQ(En(123, "#,##0"), "123");
  EXPECT_EQ(En(0.5, "#,##0.0"), "0.5");
  EXPECT_EQ(En(1234567, "#,##0,"), "1,235");
  EXPECT_EQ(En(1234567, "0,,.0"), "1.2");
  EXPECT_EQ(En(1234567, "##0,,"), "1");
  EXPECT_EQ(En(0.256, "0.0%"), "25.6%");
  EXPECT_EQ(En(5, "\"Total: \"0"), "Total: 5");
  EXPECT_EQ(En(5, "0\\ kg"), "5 kg");
  EXPECT_EQ(En(5551234567.0, "(000) 000-0000"), "(555) 123-4567");
  EXPECT_EQ(En(12.5, ".00"), "12.50");
  EXPECT_EQ(En(1234567.5, ".00"), "1234567.50");
  EXPECT_EQ(FormatNumber(1234567.5, "#,##0.00", ",", "."), "1.234.567,50");
  EXPECT_EQ(FormatNumber(0.5, "0%", ",", "\xC2\xA0"), "50%");
  EXPECT_EQ(FormatNumber(12345, "#,##0", ",", "\xC2\xA0"),
            "12\xC2\xA0"
            "345");
}

TEST(NumberFormat, ScientificForms) {
  EXPECT_EQ(En(12345.678, "0.00E+00"), "1.23E+04");
  EXPECT_EQ(En(0.000123, "0.0E-0"), "1.2E-4");
  EXPECT_EQ(En(12345.678, "0.00e-00"), "1.23e04");
  EXPECT_EQ(En(999.96, "0.0E+00"), "1.0E+03");
  EXPECT_EQ(En(0, "0.00E+00"), "0.00E+00");
  EXPECT_EQ(En(-0.05, "0.0E+0"), "-5.0E-2");
  EXPECT_EQ(En(1e-300, "0.##E+000"), "1.E-300");
}

TEST(NumberFormat, SectionsAndSigns) {
  EXPECT_EQ(En(-1.5, "0.0"), "-1.5");
  EXPECT_EQ(En(-1.5, "0.0;(0.0)"), "(1.5)");
  EXPECT_EQ(En(1.5, "0.0;(0.0)"), "1.5");
  EXPECT_EQ(En(0, "0.0;(0.0);\"zero\""), "zero");
  EXPECT_EQ(En(-2, "0;;\"z\""), "-2");
  EXPECT_EQ(En(0, "0;;\"z\""), "z");
  EXPECT_EQ(En(-0.001, "0.00"), "0.00");
  EXPECT_EQ(En(-3, "\"a;b\"0"), "-a;b3");
}

TEST(NumberFormat, NamedFormatsInAnyCase) {
  EXPECT_EQ(En(1234.5, "Standard"), "1,234.50");
  EXPECT_EQ(En(1234.5, "FIXED"), "1234.50");
  EXPECT_EQ(En(0.5, "percent"), "50.00%");
  EXPECT_EQ(En(1234.5, "Scientific"), "1.23E+03");
  EXPECT_EQ(En(1234.5, "general number"), "1234.5");
  EXPECT_EQ(En(1e-10, "General"), "1E-10");
  EXPECT_EQ(En(0, "Yes/No"), "No");
  EXPECT_EQ(En(-2, "True/False"), "True");
  EXPECT_EQ(En(1, "on/off"), "On");
  EXPECT_NE(En(1234.5, "Currency").find("1,234.50"), std::string::npos);
}

TEST(NumberFormat, ObservationsUseTheSeriesFormatAndTheLocale) {
  tessarix::test::ScopedSeparators sep(tessarix::test::DecimalCommaSeparators());
  tessarix::DataCollection c;
  auto s = c.AddSeries("s");
  s->ImportFromArray(std::vector<double>{1234.5, 0.1});
  EXPECT_EQ(s->GetObservationFormatted(0), "1234,5");
  s->SetNumberDisplayFormat("GENERAL");
  EXPECT_EQ(s->GetObservationFormatted(1), "0,1");
  s->SetNumberDisplayFormat("");
  EXPECT_EQ(s->GetObservationFormatted(1), "0,1");
  s->SetNumberDisplayFormat("#,##0.00");
  EXPECT_EQ(s->GetObservationFormatted(0), "1.234,50");
  EXPECT_TSX_ERROR((void)s->GetObservationFormatted(2), 10009, "Observation index out of bounds");
}
