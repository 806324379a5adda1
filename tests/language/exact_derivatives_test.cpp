// Exact parameter derivatives (forward mode over the program) against the
// numerical ones of the whole model: every function word by every argument
// at random points of its domain, every catalogue definition, conditionals,
// fixed parameters, and failures at the row where they happen.
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "language_support.hpp"
#include "tessarix/language/internal/derivative_rules.hpp"
#include "tessarix/models/predefined_models.hpp"
#include "tessarix/numerics/extrapolated_derivative.hpp"

namespace tessarix::test {
namespace {

// The numerical derivative of the whole model by parameter l at a point, as
// the regression objects compute it; nullopt when it fails.
std::optional<double> Numerical(LanguageModel& m, std::size_t l, const std::vector<double>& point) {
  detail::Matrix1 table(detail::kDerivativeTableRows, detail::kDerivativeTableRows);
  double& p = m.Parameter(l);
  const double held = p;
  const auto f = [&](double t, double& y) {
    p = t;
    const std::optional<double> v = m.At(point);
    if (v) y = *v;
    return v.has_value();
  };
  double answer = 0.0;
  const bool ok = detail::ExtrapolatedDerivative(f, held, detail::kDerivativeStepShrinkSquared, table, answer);
  p = held;
  if (!ok) return std::nullopt;
  return answer;
}

// Exact and numerical derivatives agree to `relative` at every row where
// both exist, and the values are those point by point. Returns the rows
// compared.
int ExpectAgreement(LanguageModel& m, const std::vector<double>& points, std::int32_t width, double relative,
                    const std::string& what) {
  std::vector<double> y, dyda;
  std::int32_t row = 0;
  bool in_derivatives = false;
  const auto rows = static_cast<std::int32_t>(points.size()) / width;
  const bool all = m.Exact(points, width, y, dyda, row, in_derivatives);
  const std::int32_t done = all ? rows : row;
  const std::size_t n = m.ParameterCount();
  int compared = 0;
  for (std::int32_t r = 0; r < done; ++r) {
    const std::vector<double> point(points.begin() + r * width, points.begin() + (r + 1) * width);
    const std::optional<double> v = m.At(point);
    if (!v || std::bit_cast<std::uint64_t>(*v) != std::bit_cast<std::uint64_t>(y[static_cast<std::size_t>(r)])) {
      ADD_FAILURE() << what << " value at row " << r;
      return compared;
    }
    for (std::size_t l = 1; l <= n; ++l) {
      const std::optional<double> num = Numerical(m, l, point);
      if (!num) continue;
      const double exact = dyda[static_cast<std::size_t>(r) * (n + 1) + l];
      // Relative, with the rounding floor of the numerical derivative: its
      // differences of values near |y| over steps of 3.684E-06 |p| lose
      // about 1E-10 |y| / |p|.
      const double p = std::fabs(m.Parameter(l)) > 0.0 ? std::fabs(m.Parameter(l)) : 1.0;
      const double bound = relative * std::fabs(*num) + 1e-8 * std::fabs(*v) / p + 1e-15;
      if (!(std::fabs(exact - *num) <= bound)) {
        ADD_FAILURE() << what << " row " << r << " parameter " << l << ": exact " << exact << " numerical " << *num;
        return compared;
      }
      ++compared;
    }
  }
  // Where the exact pass stops, the model itself fails there, or its
  // numerical derivatives do.
  if (!all) {
    const std::vector<double> point(points.begin() + row * width, points.begin() + (row + 1) * width);
    const std::optional<double> v = m.At(point);
    EXPECT_EQ(v.has_value(), in_derivatives) << what << " row " << row;
  }
  return compared;
}

std::vector<double> Grid(std::int32_t rows, double start, double step) {
  std::vector<double> points;
  for (std::int32_t r = 0; r < rows; ++r) points.push_back(start + step * r);
  return points;
}

struct Domain {
  double lo, hi;
  bool integer;
};

// Arguments of each word where it is defined and smooth.
std::vector<Domain> DomainOf(std::string_view w, std::int32_t arity) {
  const Domain unit{-0.9, 0.9, false}, positive{0.3, 8.0, false}, wide{-3.0, 3.0, false}, order{0.0, 4.0, true};
  if (w == "tan" || w == "sec") return {{-1.2, 1.2, false}};
  if (w == "arcsin" || w == "arccos" || w == "harctan") return {unit};
  if (w == "arcsec" || w == "arccosec" || w == "harccos" || w == "harccotan") return {{1.2, 5.0, false}};
  if (w == "harcsec") return {{0.1, 0.9, false}};
  if (w == "cosec" || w == "cotan" || w == "hcosec" || w == "hcotan" || w == "harccosec") return {{0.2, 3.0, false}};
  if (w == "fact" || w == "factln" || w == "psi") return {{1.0, 10.0, true}};
  if (w == "gamma") return {{0.2, 6.0, false}};
  if (w == "erf" || w == "erfc") return {{-2.0, 2.0, false}};
  if (w == "airya" || w == "airyb" || w == "dairya" || w == "dairyb") return {wide};
  if (w == "fract" || w == "log" || w == "ln" || w == "log10" || w == "sqr" || w == "gammaln") return {positive};
  if (w.size() == 2 && (w[1] == '0' || w[1] == '1')) return {{0.3, 6.0, false}};
  if (w == "igamma" || w == "igammac" || w == "poisson") return {{0.5, 5.0, false}, {0.2, 8.0, false}};
  if (w == "beta") return {{0.5, 5.0, false}, {0.5, 5.0, false}};
  if (w == "student") return {{0.2, 3.0, false}, {1.0, 20.0, false}};
  if (w == "chi2") return {{0.5, 10.0, false}, {1.0, 3.0, false}};
  if (w == "chi2c") return {{0.5, 10.0, false}, {1.0, 10.0, false}};
  if (w == "jn" || w == "yn" || w == "in" || w == "kn") return {order, {0.5, 8.0, false}};
  if (w.ends_with("nu")) return {{0.5, 8.0, false}, {0.2, 3.0, false}};
  if (w.find("sph") != std::string_view::npos) return {order, {0.5, 8.0, false}};
  if (w == "legendre") return {{2.0, 5.0, true}, {0.0, 2.0, true}, unit};
  if (w == "binomial") return {{1.0, 5.0, false}, {6.0, 12.0, false}, {0.1, 0.9, false}};
  if (w == "ibeta") return {{0.5, 5.0, false}, {0.5, 5.0, false}, {0.1, 0.9, false}};
  if (w == "fdist") return {{1.0, 10.0, false}, {1.0, 10.0, false}, {0.2, 5.0, false}};
  return std::vector<Domain>(static_cast<std::size_t>(arity), wide);
}

// Words whose routines are good to about seven digits by design (the
// expansions of the gamma family stop at a relative change of 3E-7, the
// integer-order Bessel functions are polynomial approximations): the
// numerical derivative of such a routine differs from the true derivative by
// up to a few parts in a million.
bool SevenDigits(std::string_view w) {
  for (const std::string_view s : {"erf", "erfc", "igamma", "igammac", "poisson", "chi2", "chi2c", "student", "fdist",
                                   "ibeta", "binomial", "jn", "yn", "in", "kn"}) {
    if (w == s) return true;
  }
  return w.size() == 2 && std::string_view("jyik").find(w[0]) != std::string_view::npos && (w[1] == '0' || w[1] == '1');
}

TEST(ExactDerivatives, EveryWordByEveryArgument) {
  const auto rows = detail::FunctionRows();
  const auto rules = detail::DerivativeRules();
  ASSERT_EQ(rules.size(), rows.size());
  std::mt19937 gen(20261124);
  int words = 0;
  for (std::size_t k = 0; k < rows.size(); ++k) {
    const detail::FunctionRow& row = rows[k];
    EXPECT_EQ(rules[k].word, row.word);  // the two tables keep one order
    if (row.control != detail::Control::Call || row.word == "rnd") continue;
    const std::vector<Domain> domain = DomainOf(row.word, row.arity);
    // Every argument a parameter: "0*x+word(a,b,c)".
    std::string text = "0*x+" + std::string(row.word) + "(a";
    if (row.arity > 1) text += ",b";
    if (row.arity > 2) text += ",c";
    text += ")";
    LanguageModel m;
    m.Define(text);
    ASSERT_TRUE(m.RunsByBlocks()) << text;
    int compared = 0;
    for (int trial = 0; trial < 25; ++trial) {
      for (std::size_t a = 0; a < domain.size(); ++a) {
        double v = std::uniform_real_distribution<double>(domain[a].lo, domain[a].hi)(gen);
        if (domain[a].integer) v = std::round(v);
        m.Parameter(a + 1) = v;
      }
      if (row.word == "legendre" && m.Parameter(2) > m.Parameter(1)) m.Parameter(2) = m.Parameter(1);
      compared += ExpectAgreement(m, {0.5}, 1, SevenDigits(row.word) ? 5e-6 : 1e-7, text);
    }
    EXPECT_GT(compared, 20) << text;  // the domain is the word's
    ++words;
  }
  EXPECT_EQ(words, 87);
}

TEST(ExactDerivatives, CatalogueDefinitions) {
  int compared = 0;
  for (const PredefinedModelInfo& info : PredefinedModels()) {
    LanguageModel m;
    m.Define(info.Definition);
    m.SetParameters({1.1, 0.9, 0.7, 1.3, 0.5, 1.2, 0.8, 0.6, 1.4, 0.3});
    compared += ExpectAgreement(m, Grid(40, 0.05, 0.12), 1, 1e-7, info.Definition);
  }
  EXPECT_GT(compared, 20000);
  // The catalogue of several variables, at points of three variables.
  compared = 0;
  for (const PredefinedModelInfo& info : PredefinedMultipleModels()) {
    LanguageModel m(EnglishSeparators(), 1);
    m.Define(info.Definition);
    m.SetParameters({1.1, 0.9, 0.7, 1.3, 0.5, 1.2, 0.8, 0.6, 1.4, 0.3});
    std::vector<double> points;
    for (int r = 0; r < 30; ++r) {
      for (std::int32_t j = 0; j < m.Variables(); ++j) points.push_back(0.2 + 0.09 * r + 0.31 * j);
    }
    compared += ExpectAgreement(m, points, m.Variables(), 1e-7, info.Definition);
  }
  EXPECT_GT(compared, 100);
}

TEST(ExactDerivatives, BranchesFixedParametersAndFailures) {
  // Each point differentiates the branch it takes; relational, integer and
  // logical steps give 0; sub-definitions carry their partials.
  for (const std::string y : {"if(x>a+0.013,a*exp(-b*x),b*ln(x))+c*(x>2)+(a\\1)", "F1*F1+b*F1", "a^b*x^c+x^a+b^x",
                              "if(x<1,if(x<0.5,a*x,b*x^2),c/x)+max(a*x,b)+min(a,b*x)"}) {
    LanguageModel m;
    m.Define(y, {"a*sin(x)+c"});
    m.SetParameters({0.7, 1.3, 0.4});
    EXPECT_TRUE(m.RunsByBlocks()) << y;
    EXPECT_GT(ExpectAgreement(m, Grid(150, 0.1, 0.02), 1, 1e-7, y), 300) << y;
  }
  // A second definition on the object: the records of the first still run
  // and leave their value below the model's; blocks and derivatives take the
  // top, as point by point.
  {
    LanguageModel twice;
    twice.Define("a*x+b*exp(x)");
    twice.Define("a*exp(-b*x)+c*sin(x)");
    twice.SetParameters({0.7, 1.3, 0.4});
    EXPECT_GT(ExpectAgreement(twice, Grid(150, 0.1, 0.02), 1, 1e-7, "redefined"), 400);
    std::vector<double> block;
    ASSERT_EQ(twice.Block(Grid(150, 0.1, 0.02), 1, block), 150);
    EXPECT_EQ(block[77], *twice.At({0.1 + 0.02 * 77}));
  }
  // A fixed parameter gets 0 and changes none of the others.
  LanguageModel m;
  m.Define("a*exp(-b*x)+c");
  m.SetParameters({2.0, 0.5, 1.0});
  std::vector<double> y, all, fixed;
  std::int32_t row = 0;
  bool in_derivatives = false;
  ASSERT_TRUE(m.Exact(Grid(100, 0.0, 0.1), 1, y, all, row, in_derivatives));
  ASSERT_TRUE(m.Exact(Grid(100, 0.0, 0.1), 1, y, fixed, row, in_derivatives, {0, 1, 0, 1}));
  for (std::size_t r = 0; r < 100; ++r) {
    EXPECT_EQ(fixed[r * 4 + 2], 0.0);
    EXPECT_EQ(fixed[r * 4 + 1], all[r * 4 + 1]);
    EXPECT_EQ(fixed[r * 4 + 3], 1.0);
  }
  // "a*exp(b*x)" runs as one step: the bits of the same operations one by
  // one ("exp(b*x)*a" runs them so), any parameter fixed, in either order.
  for (const auto& [fused, stepwise] : {std::pair{"a*exp(b*x)+c", "exp(b*x)*a+c"}, {"b*exp(a*x)", "exp(a*x)*b"}}) {
    LanguageModel one, steps;
    one.Define(fused);
    steps.Define(stepwise);
    for (const std::vector<std::int32_t>& ia : std::vector<std::vector<std::int32_t>>{{}, {0, 0, 1, 1}, {0, 1, 0, 1}}) {
      for (const double a : {1.0, -0.7}) {
        one.SetParameters({a, 0.3, 0.5});
        steps.SetParameters({a, 0.3, 0.5});
        std::vector<double> y1, y2, d1, d2;
        ASSERT_TRUE(one.Exact(Grid(300, -2.0, 0.07), 1, y1, d1, row, in_derivatives, ia));
        ASSERT_TRUE(steps.Exact(Grid(300, -2.0, 0.07), 1, y2, d2, row, in_derivatives, ia));
        for (std::size_t i = 0; i < d1.size(); ++i) {
          ASSERT_EQ(std::bit_cast<std::uint64_t>(d1[i]), std::bit_cast<std::uint64_t>(d2[i])) << fused << " " << i;
        }
        for (std::size_t i = 0; i < y1.size(); ++i) {
          ASSERT_EQ(std::bit_cast<std::uint64_t>(y1[i]), std::bit_cast<std::uint64_t>(y2[i])) << fused << " " << i;
        }
      }
    }
  }
  // A value that fails stops at its row as a value failure; a value that
  // exists with an infinite derivative (sqr at 0) stops there as a failure
  // of the derivatives, the rows before it complete.
  LanguageModel pole, root;
  pole.Define("a/(x-3)");
  pole.SetParameters({2.0});
  EXPECT_FALSE(pole.Exact(Grid(100, 0.0, 0.25), 1, y, all, row, in_derivatives));
  EXPECT_EQ(row, 12);
  EXPECT_FALSE(in_derivatives);
  root.Define("b*sqr(a-x)");
  root.SetParameters({7.5, 2.0});
  EXPECT_FALSE(root.Exact(Grid(100, 0.0, 0.25), 1, y, all, row, in_derivatives));
  EXPECT_EQ(row, 30);
  EXPECT_TRUE(in_derivatives);
  EXPECT_EQ(y[29], 1.0);
  EXPECT_EQ(all[29 * 3 + 2], 0.5);
}

}  // namespace
}  // namespace tessarix::test
