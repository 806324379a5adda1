// Every routine over awkward arguments: each call either returns finite
// values or fails with the internal failure or a run-time fault. No NaN or
// infinity comes out, nothing else is thrown, and every call ends.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <exception>
#include <initializer_list>
#include <ostream>
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

struct Outcome {
  int finite = 0;
  int failed = 0;
};

struct Call {
  Call(const char* routine, double x = 0, double y = 0, double z = 0) : name(routine), a(x), b(y), c(z) {}
  const char* name;
  double a, b, c;
};
std::ostream& operator<<(std::ostream& os, const Call& call) {
  return os << call.name << "(" << call.a << ", " << call.b << ", " << call.c << ")";
}

// Runs f, which returns the values it computed; records the outcome and
// flags anything but finite values or the two failure types.
template <class F>
void Probe(Outcome& outcome, const Call& call, F&& f) {
  try {
    for (const double v : f()) {
      if (!std::isfinite(v)) {
        ADD_FAILURE() << call << " returned " << v;
      }
    }
    ++outcome.finite;
  } catch (const InternalFailure&) {
    ++outcome.failed;
  } catch (const RuntimeFault&) {
    ++outcome.failed;
  } catch (const std::exception& e) {
    ADD_FAILURE() << call << " threw " << e.what();
  }
}

}  // namespace

TEST(NumericsRobustness, OneArgumentRoutines) {
  using One = double (*)(double);
  const std::vector<std::pair<const char*, One>> routines = {{"GammaLn", GammaLn},
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
  Outcome outcome;
  for (const auto& [name, routine] : routines) {
    const auto f = routine;  // a plain copy: lambdas cannot capture bindings in C++20
    for (const double x : kArguments) {
      Probe(outcome, Call(name, x), [&] { return std::vector<double>{f(x)}; });
    }
  }
  for (const double x : kArguments) {
    Probe(outcome, Call("Airy", x), [&] {
      const AiryResult r = Airy(x);
      return std::vector<double>{r.ai, r.bi, r.dai, r.dbi};
    });
  }
  EXPECT_GT(outcome.finite, 0);
  EXPECT_GT(outcome.failed, 0);
}

TEST(NumericsRobustness, TwoAndThreeArgumentRoutines) {
  using Two = double (*)(double, double);
  const std::vector<std::pair<const char*, Two>> routines = {
      {"GammaP", GammaP}, {"GammaQ", GammaQ}, {"BetaFunction", BetaFunction},
      {"MaxOf", MaxOf},   {"MinOf", MinOf},   {"Magnitude", Magnitude}};
  Outcome outcome;
  for (const double a : kArguments) {
    for (const double b : kArguments) {
      Probe(outcome, Call("Power", a, b), [&] { return std::vector<double>{Power(a, b)}; });
      for (const auto& [name, routine] : routines) {
        const auto f = routine;  // a plain copy: lambdas cannot capture bindings in C++20
        Probe(outcome, Call(name, a, b), [&] { return std::vector<double>{f(a, b)}; });
      }
      Probe(outcome, Call("BesselJY", a, b), [&] {
        const BesselJYResult r = BesselJY(a, b);
        return std::vector<double>{r.j, r.y, r.dj, r.dy};
      });
      Probe(outcome, Call("BesselIK", a, b), [&] {
        const BesselIKResult r = BesselIK(a, b);
        return std::vector<double>{r.i, r.k, r.di, r.dk};
      });
      for (const double x : {-0.5, 0.0, 1e-310, 0.3, 0.5, 0.999, 1.0, 2.0}) {
        Probe(outcome, Call("IncompleteBeta", a, b, x), [&] { return std::vector<double>{IncompleteBeta(a, b, x)}; });
      }
    }
  }
  for (const double p : {-1.0, 0.0, 0.5, 0.975, 1.0, 2.0}) {
    for (const std::int32_t n : {-5, 0, 1, 10, 1000000000}) {
      Probe(outcome, Call("StudentTCritical", p, n), [&] { return std::vector<double>{StudentTCritical(p, n)}; });
    }
  }
  EXPECT_GT(outcome.finite, 0);
  EXPECT_GT(outcome.failed, 0);
}

TEST(NumericsRobustness, IntegerOrderRoutines) {
  using Order = double (*)(std::int32_t, double);
  const std::vector<std::pair<const char*, Order>> routines = {
      {"BesselJn", BesselJn}, {"BesselYn", BesselYn}, {"BesselIn", BesselIn}, {"BesselKn", BesselKn}};
  Outcome outcome;
  for (const std::int32_t n : kOrders) {
    for (const double x : kArguments) {
      for (const auto& [name, routine] : routines) {
        const auto f = routine;  // a plain copy: lambdas cannot capture bindings in C++20
        Probe(outcome, Call(name, n, x), [&] { return std::vector<double>{f(n, x)}; });
      }
      Probe(outcome, Call("SphericalBessel", n, x), [&] {
        const SphericalBesselResult r = SphericalBessel(n, x);
        return std::vector<double>{r.sj, r.sy, r.dsj, r.dsy};
      });
      for (const std::int32_t m : kOrders) {
        Probe(outcome, Call("LegendreP", n, m, x), [&] { return std::vector<double>{LegendreP(n, m, x)}; });
      }
    }
  }
  EXPECT_GT(outcome.finite, 0);
  EXPECT_GT(outcome.failed, 0);
}
