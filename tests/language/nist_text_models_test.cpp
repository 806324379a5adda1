// Whole fits of text models: the NIST StRD nonlinear regression problems of
// one variable, each written in the model language and fitted from both NIST
// starting points with numerical parameter derivatives, MaxIterations 1000.
// The worst parameter's log relative error (digits in agreement) is printed
// as a table. Nelson, the one problem with two predictors, needs the
// multi-variable object and is not among them.
#include "support/nist_text_models.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "support/nist_problem.hpp"
#include "tessarix/core/nonlinear_regression.hpp"

namespace tessarix {
namespace {

using TextProblem = test::NistTextModel;

struct Outcome {
  bool solved = false;
  double worst_lre = 0.0, rss_lre = 0.0;
  std::int32_t iterations = 0;
};

Outcome FitText(const TextProblem& problem, const test::NistProblem& data, const std::vector<double>& start,
                DerivativeMethodEnum method = tsxDerivativeNumerical) {
  NonlinearRegression reg;
  reg.SetDerivativeMethod(method);
  reg.DefineUserModel(problem.model);
  const auto params = reg.RegressionParameters();
  EXPECT_EQ(params->Count(), static_cast<std::int32_t>(start.size())) << problem.name;
  for (std::int32_t j = 1; j <= params->Count(); ++j) {
    std::string name = "b";  // b1 .. b9 in order
    name += std::to_string(j);
    EXPECT_EQ(params->Item(j)->Name(), name);
    params->Item(j)->SetInitialEstimate(start[static_cast<std::size_t>(j - 1)]);
  }
  reg.SetMaxIterations(1000);
  reg.Fit(data.x, data.y);
  Outcome out;
  out.solved = reg.IsSolved();
  if (!out.solved) return out;
  out.worst_lre = 11.0;
  for (std::int32_t j = 1; j <= params->Count(); ++j) {
    out.worst_lre = std::min(out.worst_lre, test::LogRelativeError(params->Item(j)->Value(),
                                                                   data.certified[static_cast<std::size_t>(j - 1)]));
  }
  out.rss_lre = test::LogRelativeError(reg.SSE(), data.certified_rss);
  out.iterations = reg.NumIterations();
  return out;
}

TEST(TextModelFits, NistProblemsFromBothStarts) {
  std::printf("%-9s %5s %8s %8s %6s   %5s %8s %8s %6s\n", "problem", "start", "params", "rss", "iter", "start",
              "params", "rss", "iter");
  for (const TextProblem& problem : test::kNistTextModels) {
    const test::NistProblem data = test::ReadNistProblem(problem.name);
    ASSERT_FALSE(data.x.empty()) << problem.name;
    std::printf("%-9s", problem.name);
    for (std::size_t k = 0; k < 2; ++k) {
      const Outcome out = FitText(problem, data, data.starts[k]);
      if (out.solved) {
        std::printf(" %5zu %8.1f %8.1f %6d  ", k + 1, out.worst_lre, out.rss_lre, out.iterations);
      } else {
        std::printf(" %5zu %8s %8s %6s  ", k + 1, "fail", "-", "-");
      }
      // From the second start, near the solution, every problem is solved
      // to at least 4.5 digits; from the first, all but the four that are
      // known to defeat a plain Marquardt iteration from there.
      const std::string name = problem.name;
      if (k == 1 || (name != "MGH17" && name != "BoxBOD" && name != "MGH10" && name != "Eckerle4")) {
        EXPECT_TRUE(out.solved) << problem.name << " start " << k + 1;
        EXPECT_GE(out.worst_lre, 4.5) << problem.name << " start " << k + 1;
      }
    }
    std::printf("\n");
  }
  std::fflush(stdout);
}

// The same fits with the exact derivatives of the compiled text: every
// problem reaches the certified values from the second start and from the
// first where the numerical derivatives do, to at least as many digits less
// half a digit (the iterations take other paths).
TEST(TextModelFits, NistProblemsWithExactDerivatives) {
  for (const TextProblem& problem : test::kNistTextModels) {
    const test::NistProblem data = test::ReadNistProblem(problem.name);
    ASSERT_FALSE(data.x.empty()) << problem.name;
    for (std::size_t k = 0; k < 2; ++k) {
      const Outcome numerical = FitText(problem, data, data.starts[k]);
      const Outcome exact = FitText(problem, data, data.starts[k], tsxDerivativeExact);
      std::printf("%-9s start %zu: numerical %5.1f digits in %4d iterations, exact %5.1f in %4d\n", problem.name, k + 1,
                  numerical.solved ? numerical.worst_lre : 0.0, numerical.iterations,
                  exact.solved ? exact.worst_lre : 0.0, exact.iterations);
      if (!numerical.solved) continue;
      EXPECT_TRUE(exact.solved) << problem.name << " start " << k + 1;
      EXPECT_GE(exact.worst_lre, std::min(numerical.worst_lre - 0.5, 4.5)) << problem.name << " start " << k + 1;
    }
  }
  std::fflush(stdout);
}

}  // namespace
}  // namespace tessarix
