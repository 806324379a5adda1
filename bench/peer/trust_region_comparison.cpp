// The two iteration methods beside MINPACK's lmder (cminpack), counting
// passes over the data.
//
// 1. The NIST StRD nonlinear problems (26 of one predictor, Nelson with two
//    on the multi-variable class),
//    from both certified starts: the smallest log relative error of the
//    parameters and the passes of each fit for
//      - Marquardt on the text model (each pass gives values and derivatives),
//      - the trust region on the text model (numerical derivatives),
//      - the trust region on the same model as an external model with exact
//        derivatives (forward-mode automatic differentiation),
//      - lmder with the same exact derivatives, ftol 0, xtol 1e-12, gtol 0.
//    Passes are written values+derivatives: for lmder nfev+njev, for the
//    trust region the log's count. Neither counts the pass of the statistics
//    after a Tessarix fit.
// 2. a*exp(b*x)+c at 1e6 observations, external with the host's
//    derivatives, per point, one thread: iterations, passes and the median
//    time of three fits per method.
#include <cminpack.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include "support/nist_problem.hpp"
#include "support/nist_text_models.hpp"
#include "tessarix/core/nonlinear_regression.hpp"
#include "tessarix/multiple/multiple_nonlinear_regression.hpp"

namespace {

using tessarix::test::LogRelativeError;
using tessarix::test::NistProblem;
using Vec = std::vector<double>;

// ---- forward-mode derivatives for the exact Jacobians -------------------------------
constexpr int kMaxParameters = 9;
struct Dual {
  double v = 0.0;
  std::array<double, kMaxParameters> d{};
  Dual() = default;
  Dual(double value) : v(value) {}  // NOLINT(google-explicit-constructor)
};
Dual operator+(Dual a, const Dual& b) {
  a.v += b.v;
  for (int k = 0; k < kMaxParameters; ++k) a.d[k] += b.d[k];
  return a;
}
Dual operator-(Dual a, const Dual& b) {
  a.v -= b.v;
  for (int k = 0; k < kMaxParameters; ++k) a.d[k] -= b.d[k];
  return a;
}
Dual operator-(Dual a) {
  a.v = -a.v;
  for (double& d : a.d) d = -d;
  return a;
}
Dual operator*(const Dual& a, const Dual& b) {
  Dual r(a.v * b.v);
  for (int k = 0; k < kMaxParameters; ++k) r.d[k] = a.d[k] * b.v + a.v * b.d[k];
  return r;
}
Dual operator/(const Dual& a, const Dual& b) {
  Dual r(a.v / b.v);
  for (int k = 0; k < kMaxParameters; ++k) r.d[k] = (a.d[k] - r.v * b.d[k]) / b.v;
  return r;
}
Dual Chain(const Dual& a, double value, double slope) {
  Dual r(value);
  for (int k = 0; k < kMaxParameters; ++k) r.d[k] = slope * a.d[k];
  return r;
}
Dual exp(const Dual& a) { return Chain(a, std::exp(a.v), std::exp(a.v)); }
Dual log(const Dual& a) { return Chain(a, std::log(a.v), 1.0 / a.v); }
Dual sin(const Dual& a) { return Chain(a, std::sin(a.v), std::cos(a.v)); }
Dual cos(const Dual& a) { return Chain(a, std::cos(a.v), -std::sin(a.v)); }
Dual atan(const Dual& a) { return Chain(a, std::atan(a.v), 1.0 / (1.0 + a.v * a.v)); }
Dual pow(const Dual& a, double p) { return Chain(a, std::pow(a.v, p), p * std::pow(a.v, p - 1.0)); }
Dual pow(const Dual& a, const Dual& p) { return exp(p * log(a)); }
using std::atan;
using std::cos;
using std::exp;
using std::log;
using std::pow;
using std::sin;

constexpr double kPi = 3.14159265358979;  // the model language's pi

// The NIST models, written once for values and for derivatives.
template <class T>
T NistModel(const std::string& name, const T* b, double x, double x2) {
  if (name == "Misra1a" || name == "BoxBOD") return b[0] * (1.0 - exp(-b[1] * x));
  if (name == "Chwirut1" || name == "Chwirut2") return exp(-b[0] * x) / (b[1] + b[2] * x);
  if (name.rfind("Lanczos", 0) == 0) return b[0] * exp(-b[1] * x) + b[2] * exp(-b[3] * x) + b[4] * exp(-b[5] * x);
  if (name.rfind("Gauss", 0) == 0) {
    const T u = (x - b[3]) / b[4], w = (x - b[6]) / b[7];
    return b[0] * exp(-b[1] * x) + b[2] * exp(-(u * u)) + b[5] * exp(-(w * w));
  }
  if (name == "DanWood") return b[0] * pow(T(x), b[1]);
  if (name == "Misra1b") return b[0] * (1.0 - pow(1.0 + b[1] * x / 2.0, -2.0));
  if (name == "Kirby2") return (b[0] + b[1] * x + b[2] * (x * x)) / (1.0 + b[3] * x + b[4] * (x * x));
  if (name == "Hahn1" || name == "Thurber") {
    return (b[0] + b[1] * x + b[2] * (x * x) + b[3] * (x * x * x)) /
           (1.0 + b[4] * x + b[5] * (x * x) + b[6] * (x * x * x));
  }
  if (name == "MGH17") return b[0] + b[1] * exp(-x * b[3]) + b[2] * exp(-x * b[4]);
  if (name == "Misra1c") return b[0] * (1.0 - pow(1.0 + 2.0 * b[1] * x, -0.5));
  if (name == "Misra1d") return b[0] * b[1] * x / (1.0 + b[1] * x);
  if (name == "Roszman1") return b[0] - b[1] * x - atan(b[2] / (x - b[3])) / kPi;
  if (name == "ENSO") {
    const double t = 2.0 * kPi * x;
    return b[0] + b[1] * std::cos(t / 12.0) + b[2] * std::sin(t / 12.0) + b[4] * cos(t / b[3]) + b[5] * sin(t / b[3]) +
           b[7] * cos(t / b[6]) + b[8] * sin(t / b[6]);
  }
  if (name == "MGH09") return b[0] * (x * x + x * b[1]) / (x * x + x * b[2] + b[3]);
  if (name == "Rat42") return b[0] / (1.0 + exp(b[1] - b[2] * x));
  if (name == "MGH10") return b[0] * exp(b[1] / (x + b[2]));
  if (name == "Eckerle4") {
    const T u = (x - b[2]) / b[1];
    return (b[0] / b[1]) * exp(-0.5 * (u * u));
  }
  if (name == "Rat43") return b[0] / pow(1.0 + exp(b[1] - b[2] * x), 1.0 / b[3]);
  if (name == "Bennett5") return b[0] * pow(b[1] + x, -1.0 / b[2]);
  return b[0] - b[1] * x * exp(-b[2] * x2);  // Nelson, log(y)
}

struct Problem {
  std::string name;
  NistProblem data;
  Vec y;  // log(y) for Nelson
  const char* text = nullptr;
};

struct Outcome {
  double lre = 0.0;     // 0 when not solved
  double se_lre = 0.0;  // of the standard errors; not for lmder
  long values = 0, derivatives = 0;
  std::string end;
};

double WorstLre(const Vec& b, const NistProblem& data) {
  double worst = 11.0;
  for (std::size_t j = 0; j < b.size(); ++j) worst = std::min(worst, LogRelativeError(b[j], data.certified[j]));
  return worst;
}

Outcome FromRun(const tessarix::RegressionObject& reg, const NistProblem& data, long marquardt_passes) {
  Outcome out;
  static const char* const kEnds[] = {"reduction", "step", "gradient", "limit", "stalled", "failed", "-"};
  out.end = kEnds[reg.ConvergenceReason()];
  if (marquardt_passes > 0) {
    out.derivatives = marquardt_passes;
  } else {
    const std::string log = reg.SolutionLog();
    const auto at = log.find("Passes over the data: ");
    if (at != std::string::npos)
      std::sscanf(log.c_str() + at + 22, "%ld for values, %ld", &out.values, &out.derivatives);
  }
  if (!reg.IsSolved() || data.certified.empty()) return out;
  Vec b;
  for (const auto& p : *reg.RegressionParameters()) b.push_back(p->Value());
  out.lre = WorstLre(b, data);
  out.se_lre = 11.0;
  std::int32_t j = 1;
  for (double certified : data.certified_sd) {
    out.se_lre =
        std::min(out.se_lre, LogRelativeError(reg.RegressionParameters()->Item(j++)->StandardError(), certified));
  }
  return out;
}

void Prepare(tessarix::RegressionObject& reg, tessarix::SolverMethodEnum method, const Vec& start, long& events) {
  reg.SetSolverMethod(method);
  reg.SetMaxIterations(1000);
  for (std::size_t j = 0; j < start.size(); ++j) {
    reg.RegressionParameters()->Item(static_cast<std::int32_t>(j + 1))->SetInitialEstimate(start[j]);
  }
  events = 0;
}

Outcome FitTessarix(const Problem& p, const Vec& start, tessarix::SolverMethodEnum method, bool exact) {
  long events = 0;
  const std::size_t n = start.size();
  std::vector<std::string> names;
  for (std::size_t j = 0; j < n; ++j) {
    // Appended, not concatenated: g++ 12 warns wrongly about a literal + to_string.
    std::string name(1, 'b');
    name += std::to_string(j + 1);
    names.push_back(name);
  }
  if (p.name == "Nelson") {
    tessarix::MultipleNonlinearRegression reg;
    reg.Events.EvaluateExternal = [&](Vec& b, Vec& v, double& y, bool& ok) {
      y = NistModel<double>(p.name, b.data(), v[0], v[1]);
      ok = std::isfinite(y);
    };
    reg.Events.DerivativeExternal = [&](Vec& b, Vec& v, Vec& d, bool& ok) {
      std::vector<Dual> bd(b.begin(), b.end());
      for (std::size_t j = 0; j < n; ++j) bd[j].d[j] = 1.0;
      const Dual r = NistModel<Dual>(p.name, bd.data(), v[0], v[1]);
      for (std::size_t j = 0; j < n; ++j) d[j] = r.d[j];
      ok = true;
    };
    if (exact) {
      reg.DefineExternalModel(2, names, true);
    } else {
      reg.DefineUserModel(p.text);
    }
    Prepare(reg, method, start, events);
    reg.Events.IterationComplete = [&](std::int32_t, double, bool&) { ++events; };
    tessarix::Matrix x(static_cast<std::int32_t>(p.y.size()), 2);
    for (std::int32_t i = 0; i < x.Rows(); ++i) {
      x(i, 0) = p.data.x[static_cast<std::size_t>(i)];
      x(i, 1) = p.data.x2[static_cast<std::size_t>(i)];
    }
    reg.Fit(x, p.y);
    return FromRun(reg, p.data, method == tessarix::tsxSolverMarquardt ? events + 1 : 0);
  }
  tessarix::NonlinearRegression reg;
  if (exact) {
    reg.Events.EvaluateExternal = [&](Vec& b, double x, double& y, bool& ok) {
      y = NistModel<double>(p.name, b.data(), x, 0.0);
      ok = std::isfinite(y);
    };
    reg.Events.DerivativeExternal = [&](Vec& b, double x, Vec& d, bool& ok) {
      std::vector<Dual> bd(b.begin(), b.end());
      for (std::size_t j = 0; j < n; ++j) bd[j].d[j] = 1.0;
      const Dual r = NistModel<Dual>(p.name, bd.data(), x, 0.0);
      for (std::size_t j = 0; j < n; ++j) d[j] = r.d[j];
      ok = std::isfinite(r.v);
    };
    reg.DefineExternalModel(names, true);
  } else {
    reg.DefineUserModel(p.text);
  }
  Prepare(reg, method, start, events);
  reg.Events.IterationComplete = [&](std::int32_t, double, bool&) { ++events; };
  reg.Fit(p.data.x, p.y);
  return FromRun(reg, p.data, method == tessarix::tsxSolverMarquardt ? events + 1 : 0);
}

struct LmderContext {
  const Problem* problem;
  int n;
};

int LmderNist(void* context, int m, int n, const double* b, double* fvec, double* fjac, int ldfjac, int iflag) {
  const LmderContext& c = *static_cast<const LmderContext*>(context);
  const Problem& p = *c.problem;
  std::vector<Dual> bd(b, b + n);
  for (int j = 0; j < n; ++j) bd[static_cast<std::size_t>(j)].d[static_cast<std::size_t>(j)] = 1.0;
  for (int i = 0; i < m; ++i) {
    const auto ui = static_cast<std::size_t>(i);
    const double x2 = p.data.x2.empty() ? 0.0 : p.data.x2[ui];
    if (iflag == 1) {
      fvec[i] = NistModel<double>(p.name, b, p.data.x[ui], x2) - p.y[ui];
      // MINPACK knows no failed evaluation: a huge residual makes lmder
      // reject the step, as a failed evaluation is rejected here.
      if (!std::isfinite(fvec[i])) fvec[i] = 1e100;
    } else {
      const Dual r = NistModel<Dual>(p.name, bd.data(), p.data.x[ui], x2);
      for (int j = 0; j < n; ++j) fjac[i + j * ldfjac] = r.d[static_cast<std::size_t>(j)];
    }
  }
  return 0;
}

Outcome FitLmder(const Problem& p, const Vec& start) {
  const int n = static_cast<int>(start.size());
  const int m = static_cast<int>(p.y.size());
  Vec b = start, fvec(static_cast<std::size_t>(m)), fjac(static_cast<std::size_t>(m) * static_cast<std::size_t>(n)),
      diag(static_cast<std::size_t>(n)), qtf(static_cast<std::size_t>(n)), wa1(static_cast<std::size_t>(n)),
      wa2(static_cast<std::size_t>(n)), wa3(static_cast<std::size_t>(n)), wa4(static_cast<std::size_t>(m));
  std::vector<int> ipvt(static_cast<std::size_t>(n));
  int nfev = 0, njev = 0;
  LmderContext context{&p, n};
  const int info =
      lmder(LmderNist, &context, m, n, b.data(), fvec.data(), fjac.data(), m, 0.0, 1e-12, 0.0, 1001, diag.data(), 1,
            100.0, 0, &nfev, &njev, ipvt.data(), qtf.data(), wa1.data(), wa2.data(), wa3.data(), wa4.data());
  Outcome out;
  out.values = nfev;
  out.derivatives = njev;
  char end[16];
  std::snprintf(end, sizeof end, "i%d", info);
  out.end = end;
  bool finite = true;
  for (double v : b) finite = finite && std::isfinite(v);
  out.lre = info >= 1 && info <= 8 && finite ? WorstLre(b, p.data) : 0.0;
  return out;
}

void NistTable() {
  std::vector<Problem> problems;
  for (const auto& text : tessarix::test::kNistTextModels) {
    Problem p{text.name, tessarix::test::ReadNistProblem(text.name), {}, text.model};
    p.y = p.data.y;
    problems.push_back(p);
  }
  Problem nelson{"Nelson", tessarix::test::ReadNistProblem("Nelson"), {}, "b1-b2*x1*exp(-b3*x2)"};
  for (double v : nelson.data.y) nelson.y.push_back(std::log(v));
  problems.push_back(nelson);

  std::printf("%-9s %2s | %-23s | %-23s | %-23s | %-18s\n", "problem", "st", "Marquardt, text", "trust, text",
              "trust, exact", "lmder, exact");
  const char* const kColumns[] = {"marquardt text", "trust text", "trust exact", "lmder exact"};
  int found[4] = {0, 0, 0, 0};
  int se_found[4] = {0, 0, 0, 0};                 // standard errors to 4 digits where the parameters are found
  double se_least[4] = {11.0, 11.0, 11.0, 11.0};  // the smallest standard error LRE there
  long passes[4] = {0, 0, 0, 0};
  for (const Problem& p : problems) {
    for (std::size_t start = 0; start < 2; ++start) {
      const Vec& s = p.data.starts[start];
      Outcome o[4];
      o[0] = FitTessarix(p, s, tessarix::tsxSolverMarquardt, false);
      o[1] = FitTessarix(p, s, tessarix::tsxSolverTrustRegion, false);
      o[2] = FitTessarix(p, s, tessarix::tsxSolverTrustRegion, true);
      o[3] = FitLmder(p, s);
      std::printf("%-9s %2zu", p.name.c_str(), start + 1);
      for (int k = 0; k < 4; ++k) {
        if (o[k].lre >= 6.0) {
          ++found[k];
          se_found[k] += o[k].se_lre >= 4.0;
          se_least[k] = std::min(se_least[k], o[k].se_lre);
        }
        passes[k] += o[k].values + o[k].derivatives;
        char cell[64];
        if (k < 3) {
          std::snprintf(cell, sizeof cell, "%4.1f %4.1f %4ld+%-4ld %s", o[k].lre, o[k].se_lre, o[k].values,
                        o[k].derivatives, o[k].end.substr(0, 4).c_str());
          std::printf(" | %-23s", cell);
        } else {
          std::snprintf(cell, sizeof cell, "%4.1f %4ld+%-4ld %s", o[k].lre, o[k].values, o[k].derivatives,
                        o[k].end.substr(0, 4).c_str());
          std::printf(" | %-18s", cell);
        }
      }
      std::printf("\n");
    }
  }
  for (int k = 0; k < 4; ++k) {
    std::printf("%-15s parameters to 6 digits in %2d cases, %6ld passes in all", kColumns[k], found[k], passes[k]);
    if (k < 3) {
      std::printf("; there standard errors to 4 digits in %2d, the smallest LRE %.1f", se_found[k], se_least[k]);
    }
    std::printf("\n");
  }
  std::printf(
      "(Cells: LRE of the parameters, of the standard errors (not for lmder), passes values+derivatives, end.\n"
      " Marquardt: every pass gives values and derivatives.\n"
      " lmder's ends: i1 reduction, i2 step, i3 both, i4 gradient, i5 limit, i6-i8 tolerances too small;\n"
      " where the model is not finite its residuals are taken as 1e100.)\n\n");
  std::fflush(stdout);
}

// ---- a*exp(b*x)+c at 1e6 observations -----------------------------------------------------
constexpr int kObservations = 1'000'000;

struct Large {
  Vec x, y;
};

int LmderLarge(void* context, int m, int, const double* a, double* fvec, double* fjac, int ldfjac, int iflag) {
  const Large& d = *static_cast<const Large*>(context);
  for (int i = 0; i < m; ++i) {
    const double x = d.x[static_cast<std::size_t>(i)];
    const double e = std::exp(a[1] * x);
    if (iflag == 1) {
      fvec[i] = a[0] * e + a[2] - d.y[static_cast<std::size_t>(i)];
    } else {
      fjac[i] = e;
      fjac[i + ldfjac] = a[0] * x * e;
      fjac[i + 2 * ldfjac] = 1.0;
    }
  }
  return 0;
}

double Median(std::vector<double> v) {
  std::sort(v.begin(), v.end());
  return v[v.size() / 2];
}

void LargeExponential() {
  Large d;
  d.x.resize(kObservations);
  d.y.resize(kObservations);
  for (int i = 0; i < kObservations; ++i) {
    const double x = 2.0 * i / kObservations;
    d.x[static_cast<std::size_t>(i)] = x;
    d.y[static_cast<std::size_t>(i)] = 3.0 * std::exp(-1.3 * x) + 0.5 + 0.01 * std::sin(12345.0 * i);
  }
  std::printf("%-34s %10s %6s %12s %9s\n", "a*exp(b*x)+c, 1e6 points, 1 thread", "median ms", "iter", "passes v+d",
              "a");
  for (int method = 0; method < 5; ++method) {
    std::vector<double> times;
    long iterations = 0, values = 0, derivatives = 0;
    double a = 0.0;
    for (int round = 0; round < 3; ++round) {
      const auto t0 = std::chrono::steady_clock::now();
      if (method != 2) {
        tessarix::NonlinearRegression reg;
        if (method < 2) {
          reg.Events.EvaluateExternal = [](Vec& p, double x, double& v, bool& ok) {
            v = p[0] * std::exp(p[1] * x) + p[2];
            ok = true;
          };
          reg.Events.DerivativeExternal = [](Vec& p, double x, Vec& dv, bool& ok) {
            const double e = std::exp(p[1] * x);
            dv[0] = e;
            dv[1] = p[0] * x * e;
            dv[2] = 1.0;
            ok = true;
          };
        } else {
          reg.Events.EvaluateExternalBlock = [](std::span<const double> p, std::span<const double> x,
                                                std::span<double> v, bool& ok) {
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
        }
        reg.DefineExternalModel(std::vector<std::string>{"a", "b", "c"}, true);
        const bool marquardt = method == 0 || method == 3;
        reg.SetSolverMethod(marquardt ? tessarix::tsxSolverMarquardt : tessarix::tsxSolverTrustRegion);
        reg.RegressionParameters()->Item(2)->SetInitialEstimate(-1.0);
        reg.RegressionParameters()->Item(3)->SetInitialEstimate(0.0);
        long events = 0;
        reg.Events.IterationComplete = [&](std::int32_t, double, bool&) { ++events; };
        reg.Fit(d.x, d.y);
        times.push_back(std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count());
        const Outcome o = FromRun(reg, NistProblem{}, marquardt ? events + 1 : 0);
        iterations = reg.NumIterations();
        values = o.values;
        derivatives = o.derivatives;
        a = reg.RegressionParameters()->Item(1)->Value();
      } else {
        Vec p = {1.0, -1.0, 0.0}, fvec(kObservations), fjac(3 * static_cast<std::size_t>(kObservations)), diag(3),
            qtf(3), wa1(3), wa2(3), wa3(3), wa4(kObservations);
        std::vector<int> ipvt(3);
        int nfev = 0, njev = 0;
        lmder(LmderLarge, &d, kObservations, 3, p.data(), fvec.data(), fjac.data(), kObservations, 0.0, 1e-12, 0.0,
              1000, diag.data(), 1, 100.0, 0, &nfev, &njev, ipvt.data(), qtf.data(), wa1.data(), wa2.data(), wa3.data(),
              wa4.data());
        times.push_back(std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count());
        iterations = njev;
        values = nfev;
        derivatives = njev;
        a = p[0];
      }
    }
    const char* const kNames[] = {"Marquardt", "trust region", "lmder", "Marquardt, block events",
                                  "trust region, block events"};
    char passes[32];
    std::snprintf(passes, sizeof passes, "%ld+%ld", values, derivatives);
    std::printf("%-34s %10.1f %6ld %12s %9.6f\n", kNames[method], 1e3 * Median(times), iterations, passes, a);
  }
  std::printf(
      "(Marquardt: iterations are trial steps, each one pass with derivatives, plus the first;\n"
      " trust region: trial steps; lmder: Jacobians. Tessarix times include the statistics pass.)\n");
}

}  // namespace

int main() {
  NistTable();
  LargeExponential();
  return 0;
}
