// Inputs a host should not give but may: deviations that are not finite, and
// derivative handlers that resize or replace the array they were handed. A
// fit keeps its promises all the same: nothing non-finite in its results,
// and every event receives one element per parameter.
#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

#include "tessarix/core/nonlinear_regression.hpp"

namespace tessarix {
namespace {

const std::vector<double> kX{1, 2, 3, 4, 5, 6};
const std::vector<double> kY{2.1, 3.9, 6.2, 7.8, 10.1, 12.2};

TEST(FitWeighted, DeviationThatIsNotFiniteFitsUnweighted) {
  NonlinearRegression unweighted;
  unweighted.DefineUserModel("a*x+b");
  unweighted.Fit(kX, kY);
  ASSERT_TRUE(unweighted.IsSolved());
  for (double bad : {std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity(),
                     std::numeric_limits<double>::quiet_NaN()}) {
    NonlinearRegression reg;
    reg.DefineUserModel("a*x+b");
    const std::vector<double> sd{0.1, 0.2, bad, 0.1, 0.3, 0.2};
    reg.FitWeighted(kX, kY, sd);
    ASSERT_TRUE(reg.IsSolved()) << bad;
    EXPECT_FALSE(reg.IsWeighted()) << bad;
    EXPECT_EQ(reg.ResultTables()->Count(), 4) << "no Standard Deviation column for " << bad;
    EXPECT_EQ(reg.SSE(), unweighted.SSE()) << bad;
  }
}

TEST(ExternalModel, DerivativeEventGetsOneElementPerParameterAfterHostResizedIt) {
  NonlinearRegression reg;
  const std::vector<std::string> names{"a", "b"};
  reg.DefineExternalModel(names, /*ExternalDerivatives=*/true);
  reg.Events.EvaluateExternal = [](std::vector<double>& p, double x, double& y, bool& ok) {
    y = p[0] * x + p[1];
    ok = true;
  };
  // First fit: the handler empties its array and reports failure.
  reg.Events.DerivativeExternal = [](std::vector<double>&, double, std::vector<double>& d, bool& ok) {
    d.clear();
    ok = false;
  };
  reg.Fit(kX, kY);
  EXPECT_FALSE(reg.IsSolved());
  // Second fit: a handler that trusts the array it is given.
  std::vector<std::size_t> sizes;
  reg.Events.DerivativeExternal = [&sizes](std::vector<double>&, double x, std::vector<double>& d, bool& ok) {
    sizes.push_back(d.size());
    if (d.size() != 2) return;
    d[0] = x;
    d[1] = 1.0;
    ok = true;
  };
  reg.Fit(kX, kY);
  ASSERT_FALSE(sizes.empty());
  for (std::size_t size : sizes) EXPECT_EQ(size, 2u);
  EXPECT_TRUE(reg.IsSolved());
}

TEST(ExternalModel, AltDerivativeEventGetsAnArrayAfterHostReplacedIt) {
  NonlinearRegression reg;
  reg.DefineExternalModelAlt(Variant::Array({Variant("a"), Variant("b")}), /*ExternalDerivatives=*/true);
  reg.Events.EvaluateExternalAlt = [](Variant& p, double x, double& y, bool& ok) {
    y = p.At(0).ToDouble() * x + p.At(1).ToDouble();
    ok = true;
  };
  reg.Events.DerivativeExternalAlt = [](Variant&, double, Variant& d, bool& ok) {
    d = Variant("no array");
    ok = false;
  };
  reg.Fit(kX, kY);
  EXPECT_FALSE(reg.IsSolved());
  bool all_arrays = true;
  reg.Events.DerivativeExternalAlt = [&all_arrays](Variant&, double x, Variant& d, bool& ok) {
    all_arrays = all_arrays && d.Dimensions() == 1 && d.UpperBound() == 1;
    if (!all_arrays) return;
    d.At(0) = x;
    d.At(1) = 1.0;
    ok = true;
  };
  reg.Fit(kX, kY);
  EXPECT_TRUE(all_arrays);
  EXPECT_TRUE(reg.IsSolved());
}

}  // namespace
}  // namespace tessarix
