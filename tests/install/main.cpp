// An outside program built against the installed package (scripts/test.sh):
// a user model fitted to exact data, read back through the public API.
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
  return std::fabs(b - 0.4) < 1e-8 ? 0 : 1;
}
