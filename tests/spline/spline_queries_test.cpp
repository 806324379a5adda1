// Queries on a solved CubicSpline: values and cubic pieces, the range rule,
// derivatives, roots and integrals, and the errors of every query.
#include <gtest/gtest.h>

#include <cmath>
#include <type_traits>
#include <vector>

#include "support/test_helpers.hpp"
#include "tessarix/spline/cubic_information.hpp"
#include "tessarix/spline/cubic_spline.hpp"

namespace tessarix {
namespace {

static_assert(std::is_copy_constructible_v<CubicInformation> && std::is_copy_assignable_v<CubicInformation>);
static_assert(!std::is_default_constructible_v<CubicInformation>);
static_assert(!std::is_copy_constructible_v<CubicSpline> && !std::is_move_constructible_v<CubicSpline>);

constexpr double kPi = 3.14159265358979;

// The spline through (0, 0), (1, 1), (2, 0).
void FitHat(CubicSpline& s) { s.Fit(std::vector<double>{0, 1, 2}, std::vector<double>{0, 1, 0}); }

// A wavy spline: sin x at 41 knots over two periods.
void FitSine(CubicSpline& s) {
  std::vector<double> x, y;
  for (int i = 0; i <= 40; ++i) {
    x.push_back(4 * kPi * i / 40);
    y.push_back(std::sin(x.back()));
  }
  s.Fit(x, y);
}

// The value of the spline's piece at x, by its own coefficients.
double PieceAt(CubicSpline& s, double x) {
  const CubicInformation piece = s.GetCubicByValue(x);
  const double t = x - piece.LowerBound();
  return ((piece.a() * t + piece.b()) * t + piece.c()) * t + piece.d();
}

TEST(CubicSplineQueries, CubicPiecesByIntervalAndByValue) {
  CubicSpline s;
  FitHat(s);
  const CubicInformation first = s.GetCubicByInterval(1);
  EXPECT_EQ(first.a(), -0.5);
  EXPECT_EQ(first.b(), 0.0);
  EXPECT_EQ(first.c(), 1.5);
  EXPECT_EQ(first.d(), 0.0);
  EXPECT_EQ(first.LowerBound(), 0.0);
  EXPECT_EQ(first.UpperBound(), 1.0);
  EXPECT_EQ(first.Interval(), 1);
  // An inner knot belongs to the interval on its left; the ends to their own.
  EXPECT_EQ(s.GetCubicByValue(0).Interval(), 1);
  EXPECT_EQ(s.GetCubicByValue(1).Interval(), 1);
  EXPECT_EQ(s.GetCubicByValue(1.5).Interval(), 2);
  EXPECT_EQ(s.GetCubicByValue(2).Interval(), 2);
  EXPECT_TSX_ERROR(s.GetCubicByInterval(0), 10039, "X value is out of range of fitted spline");
  EXPECT_TSX_CODE(s.GetCubicByInterval(3), 10039);
  EXPECT_TSX_CODE(s.GetCubicByValue(-0.001), 10039);

  // A copy is a value of its own: a new fit does not change it.
  CubicInformation copy = s.GetCubicByInterval(2);
  s.Fit(std::vector<double>{0, 1, 2}, std::vector<double>{5, 5, 5});
  EXPECT_EQ(copy.d(), 1.0);
  EXPECT_EQ(copy.Interval(), 2);
  copy = first;
  EXPECT_EQ(copy.c(), 1.5);
}

TEST(CubicSplineQueries, ValuesAtKnotsAndBetweenFollowThePieces) {
  CubicSpline s;
  FitSine(s);
  ASSERT_TRUE(s.IsSolved());
  for (int i = 0; i <= 40; ++i) {
    const double x = 4 * kPi * i / 40;
    EXPECT_EQ(s.PredictValue(x), std::sin(x));
  }
  std::vector<double> between;
  for (double t = 0.05; t < 4 * kPi; t += 0.37) between.push_back(t);
  const std::vector<double> values = s.PredictArray(between);
  const Variant alt = s.PredictArrayAlt(Variant::Array(std::vector<Variant>(between.begin(), between.end())));
  for (std::size_t k = 0; k < between.size(); ++k) {
    EXPECT_NEAR(values[k], PieceAt(s, between[k]), 1e-14);
    EXPECT_NEAR(values[k], std::sin(between[k]), 2e-4);  // interpolation error of the spline
    EXPECT_EQ(alt.At(static_cast<std::int32_t>(k)).ToDouble(), values[k]);
  }
}

TEST(CubicSplineQueries, UnevenKnotsFindTheirIntervals) {
  // Knots crowded at one end and sparse at the other, so that a guess from
  // even spacing is far off; each value must come from its own piece.
  std::vector<double> x, y;
  for (int i = 0; i < 60; ++i) {
    x.push_back(std::pow(1.3, i) - 1);
    y.push_back(std::cos(0.7 * i));
  }
  CubicSpline s;
  s.Fit(x, y);
  for (int i = 0; i + 1 < 60; ++i) {
    for (double f : {0.0, 0.01, 0.5, 0.99}) {
      const double t =
          x[static_cast<std::size_t>(i)] + f * (x[static_cast<std::size_t>(i) + 1] - x[static_cast<std::size_t>(i)]);
      EXPECT_NEAR(s.PredictValue(t), PieceAt(s, t), 1e-9 * (1 + std::fabs(PieceAt(s, t)))) << t;
    }
  }
}

TEST(CubicSplineQueries, OnlyTheKnotRangeIsAnswered) {
  CubicSpline s;
  FitHat(s);
  EXPECT_EQ(s.PredictValue(1), 1.0);
  EXPECT_EQ(s.PredictValue(2), 0.0);
  EXPECT_TSX_ERROR(s.PredictValue(2.0001), 10039, "X value is out of range of fitted spline");
  EXPECT_TSX_CODE(s.PredictValue(std::nan("")), 10039);
  EXPECT_TSX_CODE(s.PredictArray(std::vector<double>{1, 3}), 10039);
  // The derivative steps beyond the last knot at 2 (the end cubic goes on),
  // but is refused a step further.
  EXPECT_NEAR(s.CalculateDerivative(2), -1.5, 1e-8);
  EXPECT_NEAR(s.CalculateDerivative(0), 1.5, 1e-8);
  EXPECT_TSX_CODE(s.CalculateDerivative(2.0001), 10039);
  EXPECT_TSX_CODE(s.CalculateIntegral(0, 2.5), 10039);
  EXPECT_TSX_CODE(s.CalculateIntegral(-1, 1), 10039);
  EXPECT_TSX_CODE(s.CalculateRoots(0.5, 0, 2.5), 10039);
  EXPECT_TSX_CODE(s.CalculateRoots(0.5, 0, 2.5, 2), 10039);  // the range before the interval count
}

TEST(CubicSplineQueries, DerivativeIsNumericalOnTheSpline) {
  CubicSpline s;
  FitSine(s);
  for (double x : {0.3, 1.0, 2.5, kPi, 7.7, 12.0}) {
    const CubicInformation piece = s.GetCubicByValue(x);
    const double t = x - piece.LowerBound();
    const double exact = (3 * piece.a() * t + 2 * piece.b()) * t + piece.c();
    EXPECT_NEAR(s.CalculateDerivative(x), exact, 1e-9) << x;
  }
  // At an inner knot the slopes of both pieces agree.
  EXPECT_NEAR(s.CalculateDerivative(kPi / 10), s.GetCubicByInterval(2).c(), 1e-9);
}

TEST(CubicSplineQueries, RootsOfMonotoneAndWavySplines) {
  CubicSpline s;
  FitHat(s);
  // The top at x = 1 lies on a scan point (summed steps of 0.02, so an ulp
  // off 1, where the spline rounds to 1 exactly): both brackets around it
  // find it, and it is reported once.
  const std::vector<double> top = s.CalculateRoots(1, 0, 2);
  ASSERT_EQ(top.size(), 1u);
  EXPECT_NEAR(top[0], 1.0, 1e-15);
  EXPECT_EQ(s.PredictValue(top[0]), 1.0);
  EXPECT_TRUE(s.CalculateRoots(5, 0, 2).empty());
  EXPECT_TRUE(s.CalculateRootsAlt(5, 0, 2).IsEmpty());
  EXPECT_TSX_ERROR(s.CalculateRoots(0.5, 0, 2, 2), 10028, "Invalid argument");
  EXPECT_EQ(s.CalculateRoots(0.5, 2, 0, 3).size(), 2u);  // reversed bounds, 3 intervals

  CubicSpline cube;
  cube.Fit(std::vector<double>{0, 1, 2, 3, 4, 5}, std::vector<double>{0, 1, 8, 27, 64, 125});
  const std::vector<double> one = cube.CalculateRoots(10, 0, 5);
  ASSERT_EQ(one.size(), 1u);
  EXPECT_GT(one[0], 2.0);
  EXPECT_LT(one[0], 3.0);
  EXPECT_NEAR(cube.PredictValue(one[0]), 10.0, 1e-12);

  CubicSpline wave;
  FitSine(wave);
  const std::vector<double> roots = wave.CalculateRoots(0.5, 0, 4 * kPi);
  const std::vector<double> expected{kPi / 6, 5 * kPi / 6, 13 * kPi / 6, 17 * kPi / 6};
  ASSERT_EQ(roots.size(), expected.size());
  for (std::size_t k = 0; k < roots.size(); ++k) {
    EXPECT_NEAR(roots[k], expected[k], 1e-3);
    EXPECT_NEAR(wave.PredictValue(roots[k]), 0.5, 1e-12);
  }
  const Variant alt = wave.CalculateRootsAlt(0.5, 0, 4 * kPi);
  ASSERT_EQ(alt.UpperBound(), 3);
  EXPECT_EQ(alt.At(2).ToDouble(), roots[2]);
}

// The integral of the pieces in closed form from x(first) to x(last).
double PiecewiseIntegral(CubicSpline& s, std::int32_t first, std::int32_t last) {
  double sum = 0.0;
  for (std::int32_t i = first; i <= last; ++i) {
    const CubicInformation p = s.GetCubicByInterval(i);
    const double h = p.UpperBound() - p.LowerBound();
    sum += ((p.a() * h / 4 + p.b() / 3) * h + p.c() / 2) * h * h + p.d() * h;
  }
  return sum;
}

TEST(CubicSplineQueries, IntegralsMatchTheClosedFormsOfThePieces) {
  CubicSpline s;
  FitHat(s);
  EXPECT_NEAR(s.CalculateIntegral(0, 2), 1.25, 1e-6);
  EXPECT_EQ(s.CalculateIntegral(2, 0), -s.CalculateIntegral(0, 2));
  EXPECT_EQ(s.CalculateIntegral(1, 1), 0.0);

  CubicSpline wave;
  FitSine(wave);
  const double whole = PiecewiseIntegral(wave, 1, 40);
  EXPECT_NEAR(wave.CalculateIntegral(0, 4 * kPi), whole, 1e-6);
  // Romberg's error estimate assumes a smooth integrand; the jumps of the
  // third derivative at the knots leave a method error of a few 1e-6 here.
  const double part = PiecewiseIntegral(wave, 4, 12);
  EXPECT_NEAR(wave.CalculateIntegral(3 * kPi / 10, 12 * kPi / 10), part, 1e-5 * std::fabs(part));

  // A wide interval times huge values overflows the trapezoid sums.
  CubicSpline wide;
  wide.Fit(std::vector<double>{0, 1e150, 2e150}, std::vector<double>{0, 1e300, 0});
  ASSERT_TRUE(wide.IsSolved());
  EXPECT_EQ(wide.PredictValue(1e150), 1e300);
  EXPECT_TSX_ERROR(wide.CalculateIntegral(0, 2e150), 10040, "Error calculating the integral");
}

TEST(CubicSplineQueries, ArrayFormsAndUnsolvedSplinesRaiseTheirErrors) {
  CubicSpline s;
  EXPECT_TSX_ERROR(s.NumIntervals(), 10029, "The model is not solved, the requested property is not available");
  EXPECT_TSX_CODE(s.NumObservations(), 10029);
  EXPECT_TSX_CODE(s.GetCubicByInterval(1), 10029);
  EXPECT_TSX_CODE(s.GetCubicByValue(1), 10029);
  EXPECT_TSX_CODE(s.PredictValue(1), 10029);
  EXPECT_TSX_CODE(s.PredictArray(std::vector<double>{1}), 10029);
  EXPECT_TSX_CODE(s.PredictArrayAlt(Variant(1.0)), 10029);
  EXPECT_TSX_CODE(s.CalculateDerivative(1), 10029);
  EXPECT_TSX_CODE(s.CalculateIntegral(0, 1), 10029);
  EXPECT_TSX_CODE(s.CalculateRoots(0, 0, 1, 2), 10029);
  EXPECT_TSX_CODE(s.CalculateRootsAlt(0, 0, 1), 10029);

  FitHat(s);
  EXPECT_TSX_ERROR(s.PredictArray(std::vector<double>{}), 10005, "Argument for rows or columns exceeds array size");
  EXPECT_TSX_ERROR(s.PredictArrayAlt(Variant(1.0)), 10042, "Expected variant array");
  EXPECT_TSX_CODE(s.PredictArrayAlt(Variant::Array({})), 10005);
  EXPECT_TSX_CODE(s.PredictArrayAlt(Variant::Array(2, 2)), 10005);
  EXPECT_TSX_ERROR(s.PredictArrayAlt(Variant::Array({Variant(0.5), Variant("x")})), 10001,
                   "General Error: Type mismatch");
  EXPECT_TSX_CODE(s.PredictArrayAlt(Variant::Array({Variant(0.5), Variant(7.0)})), 10039);
  EXPECT_EQ(s.PredictArray(std::vector<double>{0, 1, 2}), (std::vector<double>{0, 1, 0}));
}

}  // namespace
}  // namespace tessarix
