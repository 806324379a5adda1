// Reading the digits of a number: the text forms of numbers and the format
// engine take a NaN or an infinity without reading past digits they never
// got (the general form names the value, and every format shows that name;
// no result of the library holds such a value, but hosts reach the engine
// with values of their own), and the engine reads a value's decimal exponent
// from its own digits only, not from whatever an earlier, longer number left beyond them.
#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "tessarix/platform/number_format.hpp"
#include "tessarix/platform/number_text.hpp"

namespace tessarix {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();

TEST(NonFiniteText, GeneralFormNamesTheValue) {
  EXPECT_EQ(detail::FormatDouble(kNaN, "."), "NaN");
  EXPECT_EQ(detail::FormatDouble(-kNaN, ","), "NaN");
  EXPECT_EQ(detail::FormatDouble(kInf, "."), "Infinity");
  EXPECT_EQ(detail::FormatDouble(-kInf, ","), "-Infinity");
  EXPECT_EQ(detail::FormatDouble(-2.5, ","), "-2,5");  // finite values as before
}

TEST(NonFiniteText, EveryFormatShowsTheGeneralForm) {
  for (const char* format : {"0.00", "#,##0", "0.00E+00", "0%", "##0,,", "0;(0);\"zero\"", "Currency", "Standard",
                             "Scientific", "Yes/No", "General"}) {
    EXPECT_EQ(detail::FormatNumber(kNaN, format, ",", "."), "NaN") << format;
    EXPECT_EQ(detail::FormatNumber(kInf, format, ",", "."), "Infinity") << format;
    EXPECT_EQ(detail::FormatNumber(-kInf, format, ",", "."), "-Infinity") << format;
  }
  EXPECT_EQ(detail::FormatNumber(1234.5, "#,##0.00", ",", "."), "1.234,50");
}

// Leaves digits in the stack memory that the engine's buffers take over next.
[[gnu::noinline]] void LeaveDigitsOnTheStack() {
  volatile char junk[16384];
  for (std::size_t i = 0; i < sizeof junk; ++i) junk[i] = '7';
}

TEST(FormatEngine, ExponentIsReadFromTheDigitsAlone) {
  struct Case {
    double value;
    const char* format;
    const char* text;
  };
  const Case cases[] = {{27.0, "0E+00", "3E+01"},
                        {-27.0, "0.0000E+00", "-2.7000E+01"},
                        {12345.0, "0.00E+00", "1.23E+04"},
                        {0.00012, "0.0E-0", "1.2E-4"},
                        {27.0, "0.00", "27.00"},
                        {1234567.5, "#,##0.0", "1,234,567.5"},
                        {0.25, "0%", "25%"},
                        {1e300, "0.00E+00", "1.00E+300"}};
  for (const Case& c : cases) {
    LeaveDigitsOnTheStack();
    EXPECT_EQ(detail::FormatNumber(c.value, c.format, ".", ","), c.text) << c.format;
  }
}

}  // namespace
}  // namespace tessarix
