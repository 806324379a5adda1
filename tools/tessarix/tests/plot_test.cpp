// The SVG writer and its axes, checked with a real XML parser.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "plot_axis.hpp"
#include "svg_plot.hpp"
#include "text_format.hpp"
#include "xml_check.hpp"

namespace tessarix::tool {
namespace {

using test::ParseXml;

TEST(NiceScale, CoversTheRangeWithRoundEvenTicks) {
  struct Case {
    double lo, hi;
  };
  for (const Case c : {Case{77.6, 760.0}, Case{-3.067, 2.2}, Case{0.000123, 0.000987}, Case{-1e9, 3e9}, Case{5.0, 5.0},
                       Case{0.0, 0.0}, Case{10.0, -10.0}}) {
    const AxisScale s = NiceScale(c.lo, c.hi, 6);
    SCOPED_TRACE(std::to_string(c.lo) + " .. " + std::to_string(c.hi));
    EXPECT_LE(s.low, std::min(c.lo, c.hi));
    EXPECT_GE(s.high, std::max(c.lo, c.hi));
    EXPECT_LT(s.low, s.high);
    ASSERT_GE(s.ticks.size(), 3u);
    EXPECT_LE(s.ticks.size(), 13u);
    EXPECT_DOUBLE_EQ(s.ticks.front(), s.low);
    EXPECT_NEAR(s.ticks.back(), s.high, s.step * 1e-9);
    // The step is 1, 2 or 5 times a power of ten.
    const double mantissa = s.step / std::pow(10.0, std::floor(std::log10(s.step)));
    EXPECT_TRUE(std::fabs(mantissa - 1) < 1e-9 || std::fabs(mantissa - 2) < 1e-9 || std::fabs(mantissa - 5) < 1e-9)
        << s.step;
  }
  const AxisScale r = SymmetricScale(0.13, 4);
  EXPECT_DOUBLE_EQ(r.low, -r.high);
  EXPECT_GE(r.high, 0.13);
  EXPECT_TRUE(std::any_of(r.ticks.begin(), r.ticks.end(), [](double t) { return t == 0.0; }));
}

TEST(TickLabel, UsesTheDecimalsOfTheStepAndNoNegativeZero) {
  EXPECT_EQ(TickLabel(200.0, 100.0), "200");
  EXPECT_EQ(TickLabel(0.30000000000000004, 0.1), "0.3");
  EXPECT_EQ(TickLabel(-1e-17, 0.1), "0.0");
  EXPECT_EQ(TickLabel(-2.5, 0.5), "-2.5");
  EXPECT_EQ(TickLabel(3e9, 1e9), "3e+09");
  EXPECT_EQ(TickLabel(0.00025, 0.00005), "2.5e-04");
}

TEST(CleanText, KeepsValidUtf8AndReplacesTheRest) {
  EXPECT_EQ(CleanText("Druck (kPa) \xc3\xa4"), "Druck (kPa) \xc3\xa4");
  EXPECT_EQ(CleanText("a\xff"
                      "b\xc3"),
            "a?b?");
  EXPECT_EQ(CleanText("x\x01y\tz"), "x?y z");
  EXPECT_EQ(CleanText("\xed\xa0\x80"), "???");  // an encoded surrogate is not UTF-8
  EXPECT_EQ(Abbreviate("abcdefgh", 6), "abc...");
  EXPECT_EQ(Abbreviate("abc", 6), "abc");
}

FitPlotData SamplePlot() {
  FitPlotData d;
  d.title = "y = a*exp(b*x)";
  d.subtitle = "R2 = 0.99";
  d.x_label = "time";
  d.y_label = "count";
  for (int i = 0; i < 12; ++i) {
    d.x.push_back(i);
    d.y.push_back(2.0 * std::exp(0.3 * i) + (i % 2 ? 0.5 : -0.5));
    d.residuals.push_back(i % 2 ? 0.5 : -0.5);
  }
  d.curve.emplace_back();
  for (int i = 0; i <= 100; ++i) d.curve.back().emplace_back(0.11 * i, 2.0 * std::exp(0.033 * i));
  return d;
}

std::size_t Count(const std::vector<std::string>& names, const std::string& name) {
  return static_cast<std::size_t>(std::count(names.begin(), names.end(), name));
}

TEST(FitPlot, StaysWellFormedWithHostileTextsGapsAndWildValues) {
  FitPlotData d = SamplePlot();
  d.title = "y = if(x<c & x>0, a, \"b\") \xff\x01";
  d.x_label = "<x>";
  d.y_label = "a & b";
  // A curve broken at a pole, running off to huge values on both sides.
  d.curve = {{{0.0, 1.0}, {4.9, 1e12}}, {{5.1, -1e300}, {11.0, 3.0}}, {{11.5, 2.0}}};
  d.residuals[3] = 1e200;
  const std::string text = RenderFitPlot(d);
  const test::XmlSummary svg = ParseXml(text);
  ASSERT_TRUE(svg.well_formed) << svg.error;
  // A run of one point draws nothing.
  EXPECT_EQ(Count(svg.elements, "polyline"), 2u);
  EXPECT_NE(std::find(svg.texts.begin(), svg.texts.end(), "<x>"), svg.texts.end());
  EXPECT_EQ(text.find("nan"), std::string::npos);
  EXPECT_EQ(text.find("inf"), std::string::npos);

  // One run through a pole: the jump from below the panel to above it is
  // broken, not drawn as a vertical line.
  d.curve = {{{0.0, 1.0}, {4.4, -1e9}, {4.6, 1e9}, {11.0, 2.0}}};
  const test::XmlSummary pole = ParseXml(RenderFitPlot(d));
  ASSERT_TRUE(pole.well_formed) << pole.error;
  EXPECT_EQ(Count(pole.elements, "polyline"), 2u);

  // No observations at all still makes a valid, empty plot.
  const test::XmlSummary empty = ParseXml(RenderFitPlot(FitPlotData{}));
  EXPECT_TRUE(empty.well_formed) << empty.error;
}

}  // namespace
}  // namespace tessarix::tool
