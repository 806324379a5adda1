// Whole fits of text models: the NIST StRD nonlinear regression problems of
// one variable, each written in the model language and fitted from both NIST
// starting points with numerical parameter derivatives, MaxIterations 1000.
// The worst parameter's log relative error (digits in agreement) is printed
// as a table. Nelson, the one problem with two predictors, needs the
// multi-variable object and is not among them.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "support/nist_problem.hpp"
#include "tessarix/core/nonlinear_regression.hpp"

namespace tessarix {
namespace {

struct TextProblem {
  const char* name;
  const char* model;
};

const TextProblem kProblems[] = {
    {"Misra1a", "b1*(1-exp(-b2*x))"},
    {"Chwirut2", "exp(-b1*x)/(b2+b3*x)"},
    {"Chwirut1", "exp(-b1*x)/(b2+b3*x)"},
    {"Lanczos3", "b1*exp(-b2*x)+b3*exp(-b4*x)+b5*exp(-b6*x)"},
    {"Gauss1", "b1*exp(-b2*x)+b3*exp(-(x-b4)^2/b5^2)+b6*exp(-(x-b7)^2/b8^2)"},
    {"Gauss2", "b1*exp(-b2*x)+b3*exp(-(x-b4)^2/b5^2)+b6*exp(-(x-b7)^2/b8^2)"},
    {"DanWood", "b1*x^b2"},
    {"Misra1b", "b1*(1-(1+b2*x/2)^(-2))"},
    {"Kirby2", "(b1+b2*x+b3*x^2)/(1+b4*x+b5*x^2)"},
    {"Hahn1", "(b1+b2*x+b3*x^2+b4*x^3)/(1+b5*x+b6*x^2+b7*x^3)"},
    {"MGH17", "b1+b2*exp(-x*b4)+b3*exp(-x*b5)"},
    {"Lanczos1", "b1*exp(-b2*x)+b3*exp(-b4*x)+b5*exp(-b6*x)"},
    {"Lanczos2", "b1*exp(-b2*x)+b3*exp(-b4*x)+b5*exp(-b6*x)"},
    {"Gauss3", "b1*exp(-b2*x)+b3*exp(-(x-b4)^2/b5^2)+b6*exp(-(x-b7)^2/b8^2)"},
    {"Misra1c", "b1*(1-(1+2*b2*x)^(-.5))"},
    {"Misra1d", "b1*b2*x*((1+b2*x)^(-1))"},
    {"Roszman1", "b1-b2*x-arctan(b3/(x-b4))/pi"},
    {"ENSO",
     "b1+b2*cos(2*pi*x/12)+b3*sin(2*pi*x/12)+b5*cos(2*pi*x/b4)+b6*sin(2*pi*x/b4)+b8*cos(2*pi*x/b7)+b9*sin(2*pi*x/b7)"},
    {"MGH09", "b1*(x^2+x*b2)/(x^2+x*b3+b4)"},
    {"Thurber", "(b1+b2*x+b3*x^2+b4*x^3)/(1+b5*x+b6*x^2+b7*x^3)"},
    {"BoxBOD", "b1*(1-exp(-b2*x))"},
    {"Rat42", "b1/(1+exp(b2-b3*x))"},
    {"MGH10", "b1*exp(b2/(x+b3))"},
    {"Eckerle4", "(b1/b2)*exp(-0.5*((x-b3)/b2)^2)"},
    {"Rat43", "b1/((1+exp(b2-b3*x))^(1/b4))"},
    {"Bennett5", "b1*(b2+x)^(-1/b3)"},
};

struct Outcome {
  bool solved = false;
  double worst_lre = 0.0, rss_lre = 0.0;
  std::int32_t iterations = 0;
};

Outcome FitText(const TextProblem& problem, const test::NistProblem& data, const std::vector<double>& start) {
  NonlinearRegression reg;
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
  for (const TextProblem& problem : kProblems) {
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

}  // namespace
}  // namespace tessarix
