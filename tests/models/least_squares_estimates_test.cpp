// The least-squares estimates: exact recovery from noise-free data for every
// model whose linearisation is exact, and the failure rules of the chain.
#include "tessarix/models/least_squares_estimates.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <vector>

#include "tessarix/models/model_catalogue.hpp"
#include "tessarix/models/predefined_formulas.hpp"

namespace tessarix::detail {
namespace {

std::int32_t CodeOf(std::int32_t id) { return FindInternalModel(id)->evaluation_code; }

// Parameters (from index 1) for which the data of a model stay inside the
// domain of its transform on 0 < x < 1.
std::vector<double> TrueParameters(std::int32_t id) {
  static const std::map<std::int32_t, std::vector<double>> special = {
      {26, {0, -0.5}},
      {46, {0, 2.0, 0.3}},
      {57, {0, 0.3}},
      {58, {0, 0.3}},
  };
  const auto it = special.find(id);
  if (it != special.end()) return it->second;
  return {0, 1.3, 0.7, 0.45, 0.9, 1.1, 0.6, 0.8, 1.2, 0.5, 0.75, 1.05};
}

struct Data {
  Vector1 x, y, w;
  std::int32_t n = 0;
};

Data NoiseFree(std::int32_t id, const std::vector<double>& p, std::int32_t n = 25) {
  Data d{MakeVector1(n), MakeVector1(n), MakeVector1(n, 1.0), n};
  for (std::int32_t i = 1; i <= n; ++i) {
    const auto k = static_cast<std::size_t>(i);
    d.x[k] = 0.05 + 0.9 * (i - 1) / (n - 1);
    EXPECT_TRUE(EvaluatePredefined(CodeOf(id), p.data(), d.x[k], d.y[k])) << "ID " << id << " x " << d.x[k];
  }
  return d;
}

bool Estimate(std::int32_t id, const Data& d, std::vector<double>& estimates) {
  const InternalModelEntry* e = FindInternalModel(id);
  return ObtainLeastSquaresEstimates(e->evaluation_code, e->estimate_term_count, d.x.data(), d.y.data(), d.w.data(),
                                     d.n, estimates);
}

TEST(LeastSquaresEstimates, NoiseFreeDataGivesTheParametersBack) {
  for (std::int32_t id = 1; id <= 298; ++id) {
    if (id == 57 || id == 58) continue;  // see TrigonometricModelsKeepTheirFirstCoefficient
    SCOPED_TRACE(id);
    const std::vector<double> p = TrueParameters(id);
    Data d = NoiseFree(id, p);
    // Unequal weights change nothing when the data fit exactly.
    for (std::int32_t i = 1; i <= d.n; ++i) d.w[static_cast<std::size_t>(i)] = 0.5 + (i % 4);
    const std::int32_t count = ParameterCountOfCode(CodeOf(id));
    std::vector<double> estimates(static_cast<std::size_t>(count), 1.0);
    ASSERT_TRUE(Estimate(id, d, estimates));
    // The high polynomials are ill-conditioned on (0, 1).
    const double tolerance = count > 7 ? 2e-5 : 1e-7;
    for (std::int32_t j = 1; j <= count; ++j) {
      EXPECT_NEAR(estimates[static_cast<std::size_t>(j - 1)], p[static_cast<std::size_t>(j)],
                  tolerance * std::max(1.0, std::fabs(p[static_cast<std::size_t>(j)])))
          << "parameter " << j;
    }
  }
}

TEST(LeastSquaresEstimates, TrigonometricModelsKeepTheirFirstCoefficient) {
  // Two terms, one parameter: the first coefficient is written, the second
  // has no parameter to go to, and the chain reports failure.
  for (std::int32_t id : {57, 58}) {
    SCOPED_TRACE(id);
    const Data d = NoiseFree(id, TrueParameters(id));
    std::vector<double> estimates = {1.0};
    EXPECT_FALSE(Estimate(id, d, estimates));
    EXPECT_NEAR(estimates[0], 0.3, 1e-10);
  }
}

TEST(LeastSquaresEstimates, OneBadObservationFailsTheChain) {
  const std::vector<double> p = {0, 2.0, -1.5};
  std::vector<double> estimates = {1.0, 1.0};
  {
    Data d = NoiseFree(36, p);
    d.y[7] = 0.0;  // log(y) at 0
    EXPECT_FALSE(Estimate(36, d, estimates));
  }
  {
    Data d = NoiseFree(36, p);
    d.w[3] = -1.0;  // the square root of a negative weight
    EXPECT_FALSE(Estimate(36, d, estimates));
  }
  {
    Data d = NoiseFree(41, p);
    d.y[2] = 0.0;  // 1/y at 0
    EXPECT_FALSE(Estimate(41, d, estimates));
  }
  {
    Data d = NoiseFree(11, p);
    d.x[1] = 0.0;  // log(x) in a term
    EXPECT_FALSE(Estimate(11, d, estimates));
  }
  {
    Data d = NoiseFree(36, p);
    d.y[5] = NAN;
    EXPECT_FALSE(Estimate(36, d, estimates));
  }
  // Parameters keep what they held.
  EXPECT_EQ(estimates[0], 1.0);
  EXPECT_EQ(estimates[1], 1.0);
}

TEST(LeastSquaresEstimates, FailuresOnTheWayBack) {
  // The Gaussian needs a negative x^2 coefficient of log(y).
  Data d = NoiseFree(64, {0, 1.0, 0.5, 0.3});  // exp(a+b*x+c*x^2) with c > 0
  std::vector<double> estimates = {1.0, 1.0, 1.0};
  EXPECT_FALSE(Estimate(69, d, estimates));
  EXPECT_EQ(estimates, std::vector<double>({1.0, 1.0, 1.0}));
  // a*(x-b) with a zero slope: b = c2/a divides by zero.
  Data flat = NoiseFree(43, {0, 0.0, 0.7});
  EXPECT_FALSE(Estimate(43, flat, estimates));
}

TEST(LeastSquaresEstimates, ZeroWeightRemovesTheRow) {
  const std::vector<double> p = {0, 2.0, -1.5};
  Data d = NoiseFree(36, p);
  d.y[4] = 1000.0;  // an outlier that carries no weight
  d.w[4] = 0.0;
  std::vector<double> estimates = {1.0, 1.0};
  ASSERT_TRUE(Estimate(36, d, estimates));
  EXPECT_NEAR(estimates[0], 2.0, 1e-12);
  EXPECT_NEAR(estimates[1], -1.5, 1e-12);
}

TEST(LeastSquaresEstimates, StepsOfTheChain) {
  // The transformed values and the term count.
  Data d = NoiseFree(36, {0, 2.0, -1.5}, 4);
  Vector1 t;
  std::int32_t m = 0;
  ASSERT_TRUE(LinearizeObservations(CodeOf(36), 2, d.x.data(), d.y.data(), t, d.n, m));
  EXPECT_EQ(m, 2);
  EXPECT_NEAR(t[2], std::log(2.0) - 1.5 * d.x[2], 1e-15);
  // A model linear in its parameters copies y.
  Data lin = NoiseFree(2, {0, 1.0, 2.0, 3.0}, 4);
  ASSERT_TRUE(LinearizeObservations(CodeOf(2), 3, lin.x.data(), lin.y.data(), t, lin.n, m));
  for (std::int32_t i = 1; i <= 4; ++i) EXPECT_EQ(t[static_cast<std::size_t>(i)], lin.y[static_cast<std::size_t>(i)]);
  // Polynomial terms run from the highest power, so the coefficients arrive as a, b, c.
  double b[4] = {};
  ASSERT_TRUE(EstimateBasis(CodeOf(2), 3.0, b));
  EXPECT_EQ(b[1], 9.0);
  EXPECT_EQ(b[2], 3.0);
  EXPECT_EQ(b[3], 1.0);
  // Terms of the linear run: 1, x, x*log(x) for ID 92.
  ASSERT_TRUE(EstimateBasis(CodeOf(92), 2.0, b));
  EXPECT_EQ(b[1], 1.0);
  EXPECT_EQ(b[2], 2.0);
  EXPECT_EQ(b[3], 2.0 * std::log(2.0));
  EXPECT_FALSE(EstimateBasis(CodeOf(92), 0.0, b));
  // The Gaussian's way back.
  Vector1 c = {0.0, 0.2, 1.0, -0.5};  // log(y) = 0.2 + x - 0.5*x^2: c = 1, b = 1
  ASSERT_TRUE(RecoverEstimateParameters(CodeOf(69), c));
  EXPECT_NEAR(c[3], 1.0, 1e-15);
  EXPECT_NEAR(c[2], 1.0, 1e-15);
  EXPECT_NEAR(c[1], std::exp(0.7), 1e-15);
}

}  // namespace
}  // namespace tessarix::detail
