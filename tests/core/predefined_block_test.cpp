// The block evaluation of the pre-defined models against the checked
// evaluation point by point, over the whole of both catalogues: the same bits
// for every value and derivative, and for a block where a step fails, the same
// row and the same part (value or derivatives) that a pass row by row stops at.
#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cfenv>
#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "tessarix/core/internal/model_kinds.hpp"
#include "tessarix/core/nonlinear_regression.hpp"
#include "tessarix/models/model_catalogue.hpp"
#include "tessarix/models/multiple_catalogue.hpp"
#include "tessarix/models/predefined_formulas.hpp"
#include "tessarix/models/predefined_models.hpp"

namespace tessarix::detail {
namespace {

constexpr std::int32_t kRows = 600;  // more than two blocks

struct Pass {
  bool ok = true;
  RowFailure failure;
  std::vector<double> values;
  std::vector<double> derivatives;
};

// Rows 1..n in the engine's blocks, stopping at the first failure. `by_rows`
// runs the row-by-row routine of the seam instead of the kind's own block.
Pass RunPass(PointModel& kind, const PointTable& points, std::vector<double> parameters, std::int32_t p,
             bool with_derivatives, bool by_rows) {
  const std::int32_t n = points.Count();
  const std::int32_t stride = p + 1;
  const std::vector<std::int32_t> ia(static_cast<std::size_t>(stride), 1);
  Pass pass;
  pass.values.assign(static_cast<std::size_t>(n) + 1, 0.0);
  pass.derivatives.assign((static_cast<std::size_t>(n) + 1) * static_cast<std::size_t>(stride), 0.0);
  const std::int32_t block = kind.BlockRows();
  for (std::int32_t first = 1; first <= n && pass.ok; first += block) {
    const std::int32_t count = std::min(block, n - first + 1);
    double* values = pass.values.data() + first;
    double* derivatives = pass.derivatives.data() + static_cast<std::ptrdiff_t>(first) * stride;
    const std::int32_t* fit = with_derivatives ? ia.data() : nullptr;
    pass.ok = by_rows ? kind.PointModel::EvaluateRows(points, first, count, parameters.data(), fit, p, values,
                                                      derivatives, stride, pass.failure)
                      : kind.EvaluateRows(points, first, count, parameters.data(), fit, p, values, derivatives, stride,
                                          pass.failure);
  }
  return pass;
}

std::uint64_t Bits(double v) { return std::bit_cast<std::uint64_t>(v); }

// Compares the block pass with the pass row by row; true when it failed.
bool ExpectSamePass(PointModel& kind, const PointTable& points, const std::vector<double>& parameters, std::int32_t p,
                    const std::string& what) {
  bool failed = false;
  for (const bool with_derivatives : {true, false}) {
    const Pass block = RunPass(kind, points, parameters, p, with_derivatives, false);
    const Pass rows = RunPass(kind, points, parameters, p, with_derivatives, true);
    EXPECT_EQ(block.ok, rows.ok) << what;
    const std::int32_t complete = rows.ok ? points.Count() : rows.failure.row - 1;
    if (!rows.ok) {
      failed = true;
      EXPECT_EQ(block.failure.row, rows.failure.row) << what;
      EXPECT_EQ(block.failure.in_derivatives, rows.failure.in_derivatives) << what;
    }
    for (std::int32_t r = 1; r <= complete; ++r) {
      const auto ur = static_cast<std::size_t>(r);
      if (Bits(block.values[ur]) != Bits(rows.values[ur])) {
        ADD_FAILURE() << what << ": value at row " << r << " " << block.values[ur] << " vs " << rows.values[ur];
        return failed;
      }
      for (std::int32_t l = 1; with_derivatives && l <= p; ++l) {
        const std::size_t at = ur * static_cast<std::size_t>(p + 1) + static_cast<std::size_t>(l);
        if (Bits(block.derivatives[at]) != Bits(rows.derivatives[at])) {
          ADD_FAILURE() << what << ": d" << l << " at row " << r;
          return failed;
        }
      }
    }
  }
  return failed;
}

// Points and parameters of three sorts: tame ones (most models succeed
// everywhere), tame ones with a single wild point in a later block, and wild
// ones throughout (zeros, negatives, huge and tiny magnitudes, values that are
// not finite).
class Scenarios {
 public:
  explicit Scenarios(std::uint32_t seed) : random_(seed) {}

  double Tame() { return std::uniform_real_distribution<double>(0.2, 2.5)(random_); }
  double Wild() {
    static constexpr std::array<double, 16> kWild = {0.0,
                                                     -0.0,
                                                     1.0,
                                                     -1.0,
                                                     0.5,
                                                     -2.5,
                                                     3.0,
                                                     1e-310,
                                                     -1e-300,
                                                     1e300,
                                                     -1e300,
                                                     750.0,
                                                     -750.0,
                                                     1e154,
                                                     std::numeric_limits<double>::infinity(),
                                                     std::numeric_limits<double>::quiet_NaN()};
    return std::uniform_int_distribution<int>(0, 3)(random_) == 0
               ? Tame()
               : kWild[std::uniform_int_distribution<std::size_t>(0, kWild.size() - 1)(random_)];
  }

  void Fill(PointTable& points, std::vector<double>& parameters, std::int32_t p, int sort) {
    // Sort 3: every parameter huge, so that any step on parameters alone
    // (a square of a parameter) overflows.
    for (std::int32_t l = 1; l <= p; ++l) {
      parameters[static_cast<std::size_t>(l)] = sort == 3 ? 1e300 : (sort == 2 ? Wild() : Tame());
    }
    for (std::int32_t r = 1; r <= points.Count(); ++r) {
      for (std::int32_t k = 1; k <= points.Width(); ++k) points.At(r, k) = sort == 2 ? Wild() : Tame();
    }
    if (sort == 1) {
      const std::int32_t row = std::uniform_int_distribution<std::int32_t>(300, points.Count())(random_);
      points.At(row, std::uniform_int_distribution<std::int32_t>(1, points.Width())(random_)) = Wild();
    }
  }

 private:
  std::mt19937 random_;
};

struct Tally {
  int passes = 0, failures = 0, fast_clean = 0, tame_clean = 0;
};

void CheckModel(PointModel& kind, std::int32_t p, std::int32_t width, std::uint32_t seed, const std::string& name,
                Tally& tally) {
  PointTable points;
  points.Allocate(kRows, width);
  std::vector<double> parameters(static_cast<std::size_t>(p) + 1, 0.0);
  Scenarios scenarios(seed);
  for (int sort = 0; sort < 4; ++sort) {
    for (int trial = 0; trial < 3; ++trial) {
      scenarios.Fill(points, parameters, p, sort);
      const bool failed = ExpectSamePass(kind, points, parameters, p,
                                         name + " sort " + std::to_string(sort) + "." + std::to_string(trial));
      ++tally.passes;
      tally.failures += failed ? 1 : 0;
      if (::testing::Test::HasFailure()) return;
    }
  }
}

TEST(PredefinedBlock, EveryOneVariableModelGivesTheBitsAndTheFailureOfThePointByPointPass) {
  Tally tally;
  for (std::int32_t id = kFirstInternalModelId; id <= kLastInternalModelId; ++id) {
    const InternalModelEntry* entry = FindInternalModel(id);
    ASSERT_NE(entry, nullptr);
    const std::int32_t p = ParameterCountOfCode(entry->evaluation_code);
    const std::unique_ptr<PointModel> kind = MakePredefinedKind(entry->evaluation_code, entry->estimate_term_count);
    ASSERT_GT(kind->BlockRows(), 1);
    CheckModel(*kind, p, 1, static_cast<std::uint32_t>(id), "ID " + std::to_string(id), tally);
    if (HasFailure()) return;
  }
  // Both outcomes were exercised, many times over.
  EXPECT_GT(tally.failures, 298);
  EXPECT_GT(tally.passes - tally.failures, 298);
}

TEST(PredefinedBlock, EveryModelOfSeveralVariablesGivesTheBitsAndTheFailureOfThePointByPointPass) {
  Tally tally;
  for (const PredefinedModelInfo& info : PredefinedMultipleModels()) {
    const InternalModelEntry* entry = FindMultipleInternalModel(info.ID);
    ASSERT_NE(entry, nullptr);
    const std::unique_ptr<PointModel> kind =
        MakeMultiplePredefinedKind(entry->evaluation_code, entry->estimate_term_count);
    CheckModel(*kind, info.NumParameters, info.NumIndependentVariables, static_cast<std::uint32_t>(info.ID),
               "multiple ID " + std::to_string(info.ID), tally);
    if (HasFailure()) return;
  }
  EXPECT_GT(tally.failures, 386);
  EXPECT_GT(tally.passes - tally.failures, 386);
}

// The block takes its fast way whenever no step fails (a block that always
// fell back would be correct and slow), and leaves the caller's flags as they
// were, whatever happened inside.
TEST(PredefinedBlock, CleanBlocksNeedNoReplayAndTheCallersFlagsStay) {
  std::vector<double> x(300), y(300), d(std::size_t{300} * 12);
  for (std::size_t i = 0; i < x.size(); ++i) x[i] = 0.3 + 0.004 * static_cast<double>(i);
  const std::array<double, 12> a = {0.0, 0.9, 0.1, 0.2, 0.3, 0.4, 0.5, 0.6, 0.7, 0.8, 0.9, 1.0};
  int clean = 0, models = 0;
  for (std::int32_t id = kFirstInternalModelId; id <= kLastInternalModelId; ++id) {
    const std::int32_t code = FindInternalModel(id)->evaluation_code;
    bool rows_ok = true;
    for (std::size_t i = 0; i < x.size() && rows_ok; ++i) {
      rows_ok = EvaluatePredefined(code, a.data(), x[i], y[i]) && PredefinedDerivatives(code, a.data(), x[i], d.data());
    }
    if (!rows_ok) continue;
    ++models;
    std::feclearexcept(FE_ALL_EXCEPT);
    std::feraiseexcept(FE_DIVBYZERO);
    clean += EvaluatePredefinedBlock(code, a.data(), x.data(), 300, y.data(), d.data(), 12) ? 1 : 0;
    EXPECT_TRUE(std::fetestexcept(FE_DIVBYZERO)) << "ID " << id;
    EXPECT_FALSE(std::fetestexcept(FE_OVERFLOW | FE_INVALID)) << "ID " << id;
  }
  EXPECT_GT(models, 250);
  EXPECT_EQ(clean, models);

  // A failing block reports it, and the flag it raised does not stay behind.
  std::feclearexcept(FE_ALL_EXCEPT);
  x[150] = 0.0;
  EXPECT_FALSE(EvaluatePredefinedBlock(FindInternalModel(17)->evaluation_code, a.data(), x.data(), 300, y.data(),
                                       d.data(), 12));  // a+b/x+c/x^2 at x = 0
  EXPECT_FALSE(std::fetestexcept(FE_OVERFLOW | FE_DIVBYZERO | FE_INVALID));

  // A host that traps the exceptions gets the checked way, which tests before
  // it divides: the failure, not a trap.
  const std::unique_ptr<PointModel> kind = MakePredefinedKind(FindInternalModel(16)->evaluation_code, 2);
  PointTable points;
  points.Allocate(300, 1);
  for (std::int32_t r = 1; r <= 300; ++r) points.At(r, 1) = x[static_cast<std::size_t>(r - 1)];
  std::vector<double> parameters(a.begin(), a.end());
  RowFailure failure;
  feenableexcept(FE_OVERFLOW | FE_DIVBYZERO | FE_INVALID);
  const bool ok = kind->EvaluateRows(points, 1, 256, parameters.data(), nullptr, 2, y.data(), d.data(), 12, failure);
  fedisableexcept(FE_OVERFLOW | FE_DIVBYZERO | FE_INVALID);
  EXPECT_FALSE(ok);
  EXPECT_EQ(failure.row, 151);
}

}  // namespace
}  // namespace tessarix::detail

namespace tessarix {
namespace {

// a*exp(b*x) two ways: the pre-defined model (blocks of rows, summed without
// a test per step), and the same arithmetic from the host's per-point events
// (one row at a time, through the checked sums). Fits agree to the bit, and a
// merit that overflows ends both runs alike.
struct ExpFit {
  bool solved = false;
  std::vector<double> values;
  double sse = 0.0;
  std::string error, log_tail;
  bool operator==(const ExpFit&) const = default;
};

ExpFit FitExponential(bool predefined, const std::vector<double>& x, const std::vector<double>& y, double b) {
  NonlinearRegression r;
  if (predefined) {
    r.DefineInternalModel(36);
  } else {
    r.Events.EvaluateExternal = [](std::vector<double>& p, double xv, double& v, bool& ok) {
      v = p[0] * std::exp(p[1] * xv);
      ok = true;
    };
    r.Events.DerivativeExternal = [](std::vector<double>& p, double xv, std::vector<double>& d, bool& ok) {
      const double e = std::exp(p[1] * xv);
      d[0] = e;
      d[1] = p[0] * xv * e;
      ok = true;
    };
    r.DefineExternalModel(std::vector<std::string>{"a", "b"}, true);
  }
  r.RegressionParameters()->Item(1)->SetInitialEstimate(1.0);
  r.RegressionParameters()->Item(2)->SetInitialEstimate(b);
  r.Fit(x, y);
  ExpFit fit;
  fit.solved = r.IsSolved();
  if (fit.solved) {
    for (const auto& p : *r.RegressionParameters()) fit.values.push_back(p->Value());
    fit.sse = r.SSE();
  }
  fit.error = r.LastSolveError();
  const std::string& log = r.SolutionLog();
  fit.log_tail = log.substr(std::min(log.size(), log.find("Beginning non-linear iterations")));
  return fit;
}

TEST(PredefinedBlock, SumsWithoutTestsFitAndFailAsTheCheckedSums) {
  std::vector<double> x(1000), y(1000);
  for (std::size_t i = 0; i < x.size(); ++i) {
    x[i] = 0.7 * static_cast<double>(i);
    y[i] = 3.0 * std::exp(-0.01 * x[i]) + 0.05 * std::sin(7.0 * static_cast<double>(i));
  }
  const ExpFit good = FitExponential(true, x, y, -0.005);
  EXPECT_TRUE(good.solved) << good.log_tail;
  EXPECT_EQ(good, FitExponential(false, x, y, -0.005));
  // exp(700) is finite, its square in the merit is not.
  const ExpFit overflow = FitExponential(true, x, y, 1.0);
  EXPECT_FALSE(overflow.solved);
  EXPECT_NE(overflow.log_tail.find("Solution failed"), std::string::npos) << overflow.log_tail;
  EXPECT_EQ(overflow, FitExponential(false, x, y, 1.0));
}

}  // namespace
}  // namespace tessarix
