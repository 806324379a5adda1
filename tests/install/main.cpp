// An outside program built against the installed package (scripts/test.sh):
// a user model and a pre-defined surface fitted to exact data, read back
// through the public API.
#include <cmath>
#include <cstdio>
#include <tessarix/tessarix.hpp>
#include <vector>

int main() {
  std::printf("tessarix %d.%d.%d\n", tessarix::GlobalConstants::tsxMajorVersion(),
              tessarix::GlobalConstants::tsxMinorVersion(), tessarix::GlobalConstants::tsxRevision());
  std::vector<double> x, y;
  for (int i = 0; i < 20; ++i) {
    x.push_back(i * 0.5);
    y.push_back(3.0 * std::exp(-0.4 * x.back()) + 1.0);
  }
  tessarix::NonlinearRegression reg;
  try {
    reg.DefineUserModel("a*exp(-b*x)+c");
    reg.Fit(x, y);
  } catch (const tessarix::Error& e) {
    std::printf("error %d: %s\n", e.HelpContext(), e.Description().c_str());
    return 1;
  }
  if (!reg.IsSolved()) {
    std::printf("not solved: %s\n", reg.LastSolveError().c_str());
    return 1;
  }
  for (const auto& p : *reg.RegressionParameters()) {
    std::printf("%s = %.10g\n", p->Name().c_str(), p->Value());
  }
  const double b = reg.RegressionParameters()->Item("b")->Value();
  std::printf("R2 = %.12g\n", reg.R2());

  // A plane in two variables from the catalogue of several variables.
  tessarix::Matrix points(12, 2);
  std::vector<double> z;
  for (int i = 0; i < 12; ++i) {
    points(i, 0) = i % 4;
    points(i, 1) = i / 4 + 0.5;
    z.push_back(1.0 + 2.0 * points(i, 0) - 0.5 * points(i, 1));
  }
  tessarix::MultipleNonlinearRegression plane;
  try {
    plane.DefineInternalModel(4);
    plane.Fit(points, z);
  } catch (const tessarix::Error& e) {
    std::printf("error %d: %s\n", e.HelpContext(), e.Description().c_str());
    return 1;
  }
  if (!plane.IsSolved()) return 1;
  const double c = plane.RegressionParameters()->Item("c")->Value();
  std::printf("c = %.10g\n", c);
  return std::fabs(b - 0.4) < 1e-8 && std::fabs(c + 0.5) < 1e-10 ? 0 : 1;
}
