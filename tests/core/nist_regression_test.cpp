// Accuracy against the NIST StRD nonlinear regression problems of one
// variable with two or three parameters, each fitted as an external model
// with analytic derivatives from both NIST starting points. The log relative
// errors (digits in agreement) are printed as a table.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "external_models.hpp"
#include "support/nist_fit.hpp"
#include "tessarix/core/nonlinear_regression.hpp"

namespace tessarix {
namespace {

using Vec = std::vector<double>;

struct NistModel {
  const char* name;
  test::ModelFunction f;
  test::GradientFunction df;
};

std::vector<NistModel> Models() {
  using std::exp;
  using std::log;
  using std::pow;
  const auto exponential_rise = [](const Vec& b, double x) { return b[0] * (1 - exp(-b[1] * x)); };
  const auto exponential_rise_d = [](const Vec& b, double x, Vec& d) {
    d[0] = 1 - exp(-b[1] * x);
    d[1] = b[0] * x * exp(-b[1] * x);
  };
  const auto chwirut = [](const Vec& b, double x) { return exp(-b[0] * x) / (b[1] + b[2] * x); };
  const auto chwirut_d = [](const Vec& b, double x, Vec& d) {
    const double e = exp(-b[0] * x), q = b[1] + b[2] * x;
    d[0] = -x * e / q;
    d[1] = -e / (q * q);
    d[2] = -x * e / (q * q);
  };
  return {
      {"Misra1a", exponential_rise, exponential_rise_d},
      {"Misra1b", [](const Vec& b, double x) { return b[0] * (1 - pow(1 + b[1] * x / 2, -2)); },
       [](const Vec& b, double x, Vec& d) {
         d[0] = 1 - pow(1 + b[1] * x / 2, -2);
         d[1] = b[0] * x * pow(1 + b[1] * x / 2, -3);
       }},
      {"Misra1c", [](const Vec& b, double x) { return b[0] * (1 - pow(1 + 2 * b[1] * x, -0.5)); },
       [](const Vec& b, double x, Vec& d) {
         d[0] = 1 - pow(1 + 2 * b[1] * x, -0.5);
         d[1] = b[0] * x * pow(1 + 2 * b[1] * x, -1.5);
       }},
      {"Misra1d", [](const Vec& b, double x) { return b[0] * b[1] * x / (1 + b[1] * x); },
       [](const Vec& b, double x, Vec& d) {
         d[0] = b[1] * x / (1 + b[1] * x);
         d[1] = b[0] * x / ((1 + b[1] * x) * (1 + b[1] * x));
       }},
      {"DanWood", [](const Vec& b, double x) { return b[0] * pow(x, b[1]); },
       [](const Vec& b, double x, Vec& d) {
         d[0] = pow(x, b[1]);
         d[1] = b[0] * pow(x, b[1]) * log(x);
       }},
      {"BoxBOD", exponential_rise, exponential_rise_d},
      {"Chwirut1", chwirut, chwirut_d},
      {"Chwirut2", chwirut, chwirut_d},
      {"Rat42", [](const Vec& b, double x) { return b[0] / (1 + exp(b[1] - b[2] * x)); },
       [](const Vec& b, double x, Vec& d) {
         const double e = exp(b[1] - b[2] * x);
         d[0] = 1 / (1 + e);
         d[1] = -b[0] * e / ((1 + e) * (1 + e));
         d[2] = b[0] * x * e / ((1 + e) * (1 + e));
       }},
      {"Eckerle4",
       [](const Vec& b, double x) { return (b[0] / b[1]) * exp(-0.5 * ((x - b[2]) / b[1]) * ((x - b[2]) / b[1])); },
       [](const Vec& b, double x, Vec& d) {
         const double u = (x - b[2]) / b[1], g = exp(-0.5 * u * u);
         d[0] = g / b[1];
         d[1] = b[0] * g / (b[1] * b[1]) * (u * u - 1);
         d[2] = b[0] / b[1] * g * u / b[1];
       }},
      {"MGH10", [](const Vec& b, double x) { return b[0] * exp(b[1] / (x + b[2])); },
       [](const Vec& b, double x, Vec& d) {
         const double e = exp(b[1] / (x + b[2]));
         d[0] = e;
         d[1] = b[0] * e / (x + b[2]);
         d[2] = -b[0] * e * b[1] / ((x + b[2]) * (x + b[2]));
       }},
      {"Bennett5", [](const Vec& b, double x) { return b[0] * pow(b[1] + x, -1 / b[2]); },
       [](const Vec& b, double x, Vec& d) {
         const double p = pow(b[1] + x, -1 / b[2]);
         d[0] = p;
         d[1] = -b[0] / b[2] * pow(b[1] + x, -1 / b[2] - 1);
         d[2] = b[0] * p * log(b[1] + x) / (b[2] * b[2]);
       }},
  };
}

TEST(NistRegression, TwoAndThreeParameterProblemsMatchTheCertifiedValues) {
  std::printf("%-10s %-6s %8s %8s %8s\n", "problem", "start", "values", "sd", "rss");
  for (const NistModel& model : Models()) {
    const test::NistProblem p = test::ReadNistProblem(model.name);
    ASSERT_FALSE(p.x.empty()) << model.name;
    for (std::size_t k = 0; k < 2; ++k) {
      NonlinearRegression reg;
      test::DefineClosedForm(reg, test::NistParameterNames(p.certified.size()), model.f, model.df);
      test::SetNistStart(reg, p.starts[k]);
      reg.Fit(p.x, p.y);
      const test::NistScore out = test::ScoreNistFit(reg, p);
      std::printf("%-10s %-6zu %8.1f %8.1f %8.1f%s\n", model.name, k + 1, out.value_lre, out.sd_lre, out.rss_lre,
                  out.solved ? "" : "  (not solved)");
      // The second start lies near the solution: every problem must reach it.
      if (k == 1) {
        EXPECT_TRUE(out.solved) << model.name;
        EXPECT_GE(out.value_lre, 5.0) << model.name;
        EXPECT_GE(out.sd_lre, 3.0) << model.name;
        EXPECT_GE(out.rss_lre, 5.0) << model.name;
      }
    }
  }
}

}  // namespace
}  // namespace tessarix
