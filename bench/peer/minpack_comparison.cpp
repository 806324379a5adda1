// Tessarix beside MINPACK's lmder (cminpack) on the two cases of the engine's
// speed goals, 1e6 observations each, both with analytic derivatives:
//   ID 36, the pre-defined a*exp(b*x), and an external a*exp(b*x)+c whose
//   host supplies values and derivatives per point (and per block).
// Each case runs with the default Marquardt method and with the trust region.
// Last, the host's per-point events alone, with no engine around them: the
// least a pass with those events can cost.
// The two run alternately in one process, five rounds; the medians are
// printed with the ratios. Tessarix's "pass" is one evaluation of the model
// over all observations: for Marquardt iterations + 2 per fit, each with
// derivatives but the last; for the trust region the log's passes for values
// and for derivatives. lmder's iteration is one Jacobian and its function
// evaluations.
#include <cminpack.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include "tessarix/core/nonlinear_regression.hpp"

namespace {

constexpr int kObservations = 1'000'000;
constexpr int kRounds = 5;

struct Data {
  std::vector<double> x, y;
  bool with_offset = false;
};

Data MakeData(bool with_offset) {
  Data d;
  d.with_offset = with_offset;
  d.x.resize(kObservations);
  d.y.resize(kObservations);
  for (int i = 0; i < kObservations; ++i) {
    const double x = 2.0 * i / kObservations;
    d.x[static_cast<std::size_t>(i)] = x;
    d.y[static_cast<std::size_t>(i)] =
        3.0 * std::exp(-1.3 * x) + (with_offset ? 0.5 : 0.0) + 0.01 * std::sin(12345.0 * i);
  }
  return d;
}

int LmderModel(void* p, int m, int n, const double* a, double* fvec, double* fjac, int ldfjac, int iflag) {
  const Data& d = *static_cast<const Data*>(p);
  for (int i = 0; i < m; ++i) {
    const double x = d.x[static_cast<std::size_t>(i)];
    const double e = std::exp(a[1] * x);
    if (iflag == 1) {
      fvec[i] = a[0] * e + (n == 3 ? a[2] : 0.0) - d.y[static_cast<std::size_t>(i)];
    } else {
      fjac[i] = e;
      fjac[i + ldfjac] = a[0] * x * e;
      if (n == 3) fjac[i + 2 * ldfjac] = 1.0;
    }
  }
  return 0;
}

// The host's per-point events of the external case.
void PointValueEvent(std::vector<double>& p, double x, double& v, bool& ok) {
  v = p[0] * std::exp(p[1] * x) + p[2];
  ok = true;
}
void PointDerivativeEvent(std::vector<double>& p, double x, std::vector<double>& dv, bool& ok) {
  const double e = std::exp(p[1] * x);
  dv[0] = e;
  dv[1] = p[0] * x * e;
  dv[2] = 1.0;
  ok = true;
}

// What a pass costs at least with per-point events: both events raised once
// per observation through std::function slots, as the library holds them,
// with nothing else done. The host's own share of a pass, whatever the engine.
double HostEventsAlone(const Data& d) {
  const std::function<void(std::vector<double>&, double, double&, bool&)> value = PointValueEvent;
  const std::function<void(std::vector<double>&, double, std::vector<double>&, bool&)> derivatives =
      PointDerivativeEvent;
  std::vector<double> p = {3.0, -1.3, 0.5}, dv(3), sink(d.x.size() * 4);
  std::vector<double> seconds;
  for (int round = 0; round < kRounds; ++round) {
    const auto t0 = std::chrono::steady_clock::now();
    for (std::size_t i = 0; i < d.x.size(); ++i) {
      bool ok = false;
      value(p, d.x[i], sink[4 * i], ok);
      derivatives(p, d.x[i], dv, ok);
      sink[4 * i + 1] = dv[0];
      sink[4 * i + 2] = dv[1];
      sink[4 * i + 3] = dv[2];
    }
    seconds.push_back(std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count());
  }
  std::sort(seconds.begin(), seconds.end());
  return seconds[seconds.size() / 2];
}

struct Run {
  double seconds = 0.0;
  int iterations = 0;  // Tessarix iterations, lmder Jacobians
  int passes = 0;      // Tessarix passes, lmder function evaluations
};

Run RunLmder(Data& d) {
  const int n = d.with_offset ? 3 : 2;
  const int m = kObservations;
  // The work arrays are made inside the timed span, as a Tessarix fit makes
  // its own: a fit's time includes its memory.
  const auto t0 = std::chrono::steady_clock::now();
  std::vector<double> a = {1.0, -1.0, 0.0};
  a.resize(static_cast<std::size_t>(n));
  std::vector<double> fvec(static_cast<std::size_t>(m)), fjac(static_cast<std::size_t>(m) * n), diag(n), qtf(n), wa1(n),
      wa2(n), wa3(n), wa4(static_cast<std::size_t>(m));
  std::vector<int> ipvt(static_cast<std::size_t>(n));
  int nfev = 0, njev = 0;
  lmder(LmderModel, &d, m, n, a.data(), fvec.data(), fjac.data(), m, 1e-10, 1e-10, 0.0, 1000, diag.data(), 1, 100.0, 0,
        &nfev, &njev, ipvt.data(), qtf.data(), wa1.data(), wa2.data(), wa3.data(), wa4.data());
  return {std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count(), njev, nfev};
}

Run RunTessarix(Data& d, bool block_events, std::int32_t threads, tessarix::SolverMethodEnum method) {
  tessarix::NonlinearRegression reg;
  reg.SetSolverMethod(method);
  if (d.with_offset) {
    if (block_events) {
      reg.Events.EvaluateExternalBlock = [](std::span<const double> p, std::span<const double> x, std::span<double> v,
                                            bool& ok) {
        for (std::size_t i = 0; i < x.size(); ++i) v[i] = p[0] * std::exp(p[1] * x[i]) + p[2];
        ok = true;
      };
      reg.Events.DerivativeExternalBlock = [](std::span<const double> p, std::span<const double> x,
                                              std::span<double> dv, bool& ok) {
        for (std::size_t i = 0; i < x.size(); ++i) {
          const double e = std::exp(p[1] * x[i]);
          dv[3 * i] = e;
          dv[3 * i + 1] = p[0] * x[i] * e;
          dv[3 * i + 2] = 1.0;
        }
        ok = true;
      };
    } else {
      reg.Events.EvaluateExternal = PointValueEvent;
      reg.Events.DerivativeExternal = PointDerivativeEvent;
    }
    reg.DefineExternalModel(std::vector<std::string>{"a", "b", "c"}, true);
    reg.SetThreadSafeEvents(true);
    reg.RegressionParameters()->Item(3)->SetInitialEstimate(0.0);
  } else {
    reg.DefineInternalModel(36);
  }
  reg.RegressionParameters()->Item(1)->SetInitialEstimate(1.0);
  reg.RegressionParameters()->Item(2)->SetInitialEstimate(-1.0);
  reg.SetThreads(threads);
  const auto t0 = std::chrono::steady_clock::now();
  reg.Fit(d.x, d.y);
  const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
  if (!reg.IsSolved()) std::printf("Tessarix fit failed: %s\n", reg.LastSolveError().c_str());
  Run run{seconds, reg.NumIterations(), reg.NumIterations() + 2};
  const std::string log = reg.SolutionLog();
  const auto at = log.find("Passes over the data: ");
  long values = 0, derivatives = 0;
  if (method == tessarix::tsxSolverTrustRegion && at != std::string::npos &&
      std::sscanf(log.c_str() + at + 22, "%ld for values, %ld", &values, &derivatives) == 2) {
    run.passes = static_cast<int>(values + derivatives);
  }
  return run;
}

double Median(std::vector<double> v) {
  std::sort(v.begin(), v.end());
  return v[v.size() / 2];
}

void Compare(const char* name, Data& d, const std::function<Run()>& tessarix) {
  std::vector<double> t_fit, t_pass, l_fit, l_iter;
  Run t, l;
  for (int round = 0; round < kRounds; ++round) {
    t = tessarix();
    l = RunLmder(d);
    t_fit.push_back(t.seconds);
    t_pass.push_back(t.seconds / t.passes);
    l_fit.push_back(l.seconds);
    l_iter.push_back(l.seconds / l.iterations);
  }
  std::printf("%-44s %9.1f %6.1f %4d | %9.1f %6.1f %3d/%-3d | %5.2fx %5.2fx\n", name, 1e3 * Median(t_fit),
              1e3 * Median(t_pass), t.iterations, 1e3 * Median(l_fit), 1e3 * Median(l_iter), l.iterations, l.passes,
              Median(l_iter) / Median(t_pass), Median(l_fit) / Median(t_fit));
}

}  // namespace

int main() {
  Data exponential = MakeData(false);
  Data offset = MakeData(true);
  std::printf("%-44s %9s %6s %4s | %9s %6s %7s | %6s %6s\n", "case (1e6 observations)", "fit ms", "pass", "it",
              "lmder ms", "iter", "jac/fev", "pass", "fit");
  using tessarix::tsxSolverMarquardt;
  using tessarix::tsxSolverTrustRegion;
  for (const auto method : {tsxSolverMarquardt, tsxSolverTrustRegion}) {
    const std::string tag = method == tsxSolverMarquardt ? "" : "TR ";
    for (const std::int32_t threads : {1, 2}) {
      const auto label = [&](const char* body) {
        std::string text = tag;
        text += body;
        text += threads == 1 ? ", 1 thread" : ", 2 threads";
        return text;
      };
      Compare(label("ID 36 a*exp(b*x)").c_str(), exponential,
              [&] { return RunTessarix(exponential, false, threads, method); });
      Compare(label("ext. a*exp(b*x)+c, per point").c_str(), offset,
              [&] { return RunTessarix(offset, false, threads, method); });
      Compare(label("ext. a*exp(b*x)+c, block events").c_str(), offset,
              [&] { return RunTessarix(offset, true, threads, method); });
    }
  }
  const double floor = HostEventsAlone(offset);
  std::vector<double> lmder_iteration;
  for (int round = 0; round < kRounds; ++round) {
    const Run l = RunLmder(offset);
    lmder_iteration.push_back(l.seconds / l.iterations);
  }
  std::sort(lmder_iteration.begin(), lmder_iteration.end());
  const double iteration = lmder_iteration[lmder_iteration.size() / 2];
  std::printf("per-point events alone (no engine): %.1f ms per pass, lmder %.1f ms per iteration: at most %.2fx\n",
              1e3 * floor, 1e3 * iteration, iteration / floor);
  std::printf(
      "TR: the trust-region method. it: Tessarix iterations (trial steps for TR). ratios: lmder time per "
      "iteration / Tessarix time per pass, lmder fit / Tessarix fit\n");
  return 0;
}
