// Every routine over awkward arguments: each call either returns finite
// values or fails with the internal failure or a run-time fault. No NaN or
// infinity comes out, nothing else is thrown, and every call ends.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <exception>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#include "tessarix/foundation/fault.hpp"
#include "tessarix/numerics/airy_spherical.hpp"
#include "tessarix/numerics/bessel_integer.hpp"
#include "tessarix/numerics/bessel_real_order.hpp"
#include "tessarix/numerics/distributions.hpp"
#include "tessarix/numerics/gamma.hpp"
#include "tessarix/numerics/internal_failure.hpp"
#include "tessarix/numerics/polynomials.hpp"
#include "tessarix/numerics/power.hpp"

using namespace tessarix::detail;

namespace {

const std::vector<double> kArguments = {-1e308, -1e10, -700.0, -3.5, -1.0, -0.5, -1e-310, -0.0,  0.0, 1e-310, 1e-5,
                                        0.5,    1.0,   2.0,    3.75, 8.0,  30.0, 100.0,   709.0, 1e5, 1e10,   1e308};
const std::vector<std::int32_t> kOrders = {-1, 0, 1, 2, 3, 17, 300, 32767};

// Counts the calls that returned finite values and those that failed as
// they may; anything else fails the test, named by `call` (built on demand).
struct Prober {
  int finite = 0;
  int failed = 0;

  template <class F, class Name>
  void operator()(F&& f, Name&& call) {
    try {
      for (const double v : f()) {
        if (!std::isfinite(v)) ADD_FAILURE() << call() << " returned " << v;
      }
      ++finite;
    } catch (const InternalFailure&) {
      ++failed;
    } catch (const RuntimeFault&) {
      ++failed;
    } catch (const std::exception& e) {
      ADD_FAILURE() << call() << " threw " << e.what();
    }
  }
};

std::string Args(const char* name, double a, double b = 0, double c = 0) {
  return std::string(name) + "(" + std::to_string(a) + ", " + std::to_string(b) + ", " + std::to_string(c) + ")";
}

}  // namespace

TEST(NumericsRobustness, EveryRoutineOverExtremeArguments) {
  using One = double (*)(double);
  using Two = double (*)(double, double);
  using Order = double (*)(std::int32_t, double);
  const std::pair<const char*, One> one[] = {{"GammaLn", GammaLn},
                                             {"Factorial", Factorial},
                                             {"FactorialLn", FactorialLn},
                                             {"Digamma", Digamma},
                                             {"Erf", Erf},
                                             {"Erfc", Erfc},
                                             {"BesselJ0", BesselJ0},
                                             {"BesselJ1", BesselJ1},
                                             {"BesselY0", BesselY0},
                                             {"BesselY1", BesselY1},
                                             {"BesselI0", BesselI0},
                                             {"BesselI1", BesselI1},
                                             {"BesselK0", BesselK0},
                                             {"BesselK1", BesselK1},
                                             {"Floor", Floor},
                                             {"Ceil", Ceil}};
  const std::pair<const char*, Two> two[] = {{"GammaP", GammaP}, {"GammaQ", GammaQ}, {"BetaFunction", BetaFunction},
                                             {"MaxOf", MaxOf},   {"MinOf", MinOf},   {"Magnitude", Magnitude}};
  const std::pair<const char*, Order> order[] = {
      {"BesselJn", BesselJn}, {"BesselYn", BesselYn}, {"BesselIn", BesselIn}, {"BesselKn", BesselKn}};
  using V = std::vector<double>;
  Prober probe;
  for (const double a : kArguments) {
    for (const auto& r : one) probe([&] { return V{r.second(a)}; }, [&] { return Args(r.first, a); });
    probe(
        [&] {
          const AiryResult r = Airy(a);
          return V{r.ai, r.bi, r.dai, r.dbi};
        },
        [&] { return Args("Airy", a); });
    for (const double b : kArguments) {
      probe([&] { return V{Power(a, b)}; }, [&] { return Args("Power", a, b); });
      for (const auto& r : two) probe([&] { return V{r.second(a, b)}; }, [&] { return Args(r.first, a, b); });
      probe(
          [&] {
            const BesselJYResult r = BesselJY(a, b);
            return V{r.j, r.y, r.dj, r.dy};
          },
          [&] { return Args("BesselJY", a, b); });
      probe(
          [&] {
            const BesselIKResult r = BesselIK(a, b);
            return V{r.i, r.k, r.di, r.dk};
          },
          [&] { return Args("BesselIK", a, b); });
      for (const double x : {-0.5, 0.0, 1e-310, 0.3, 0.5, 0.999, 1.0, 2.0}) {
        probe([&] { return V{IncompleteBeta(a, b, x)}; }, [&] { return Args("IncompleteBeta", a, b, x); });
      }
    }
  }
  for (const std::int32_t n : kOrders) {
    for (const double x : kArguments) {
      for (const auto& r : order) probe([&] { return V{r.second(n, x)}; }, [&] { return Args(r.first, n, x); });
      probe(
          [&] {
            const SphericalBesselResult r = SphericalBessel(n, x);
            return V{r.sj, r.sy, r.dsj, r.dsy};
          },
          [&] { return Args("SphericalBessel", n, x); });
      for (const std::int32_t m : kOrders) {
        probe([&] { return V{LegendreP(n, m, x)}; }, [&] { return Args("LegendreP", n, m, x); });
      }
    }
  }
  for (const double p : {-1.0, 0.0, 0.5, 0.975, 1.0, 2.0}) {
    for (const std::int32_t n : {-5, 0, 1, 10, 1000000000}) {
      probe([&] { return V{StudentTCritical(p, n)}; }, [&] { return Args("StudentTCritical", p, n); });
    }
  }
  // Both outcomes occur: the sweep reaches the failure paths and past them.
  EXPECT_GT(probe.finite, 1000);
  EXPECT_GT(probe.failed, 1000);
}
