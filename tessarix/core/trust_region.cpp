// The trust-region Levenberg-Marquardt iteration (see trust_region.hpp): the
// passes over the data, the steps, the radius, and the honest end at the best
// point found.
#include "tessarix/core/internal/trust_region.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>
#include <utility>

#include "tessarix/core/internal/trust_region_algebra.hpp"
#include "tessarix/foundation/fault.hpp"
#include "tessarix/numerics/extrapolated_derivative.hpp"
#include "tessarix/numerics/internal_failure.hpp"
#include "tessarix/numerics/linear_algebra.hpp"
#include "tessarix/platform/checked.hpp"
#include "tessarix/platform/number_text.hpp"

namespace tessarix::detail {

namespace {

constexpr double kEpsilon = std::numeric_limits<double>::epsilon();
// A trial point is taken when it achieves at least this fraction of the
// reduction that the linear model predicts.
constexpr double kAcceptRatio = 1e-4;
// Below this ratio the radius shrinks; above kExpandRatio (or with a
// Gauss-Newton step) it grows to twice the step.
constexpr double kShrinkRatio = 0.25;
constexpr double kExpandRatio = 0.75;
// A step that cannot be computed or evaluated shrinks the radius to this
// fraction of the step's length.
constexpr double kFailedStepShrink = 0.1;

// Restores the plain numerical derivatives however the run ends.
class StepFloorScope {
 public:
  StepFloorScope(RunModel& model, std::vector<double> floors) : model_(model) {
    model_.SetDerivativeStepFloors(std::move(floors));
  }
  ~StepFloorScope() { model_.SetDerivativeStepFloors({}); }
  StepFloorScope(const StepFloorScope&) = delete;
  StepFloorScope& operator=(const StepFloorScope&) = delete;

 private:
  RunModel& model_;
};

// Where the iteration stands: a point with its model values and merit.
struct Point {
  Vector1 values;             // parameters, 1..parameter count
  std::vector<double> model;  // model values at the observations, 0..n-1
  double chisq = 0.0;
};

class TrustRegionRun {
 public:
  TrustRegionRun(RegressionCore& core, RunModel& model, std::int32_t n, Vector1& a, const std::vector<std::int32_t>& ia,
                 std::int32_t parameter_count)
      : core_(core), model_(model), n_(n), a_(a), ia_(ia), count_(parameter_count) {
    for (std::int32_t l = 1; l <= count_; ++l) {
      if (ia_[static_cast<std::size_t>(l)] != 0) fitted_.push_back(l);
    }
    nfit_ = static_cast<std::int32_t>(fitted_.size());
    root_weights_.resize(static_cast<std::size_t>(n_));
    for (std::int32_t i = 1; i <= n_; ++i) {
      // CheckedSqrt's tests inline; it is called only to raise its fault.
      const double w = core_.weights[static_cast<std::size_t>(i)];
      const double root = std::sqrt(w);
      root_weights_[static_cast<std::size_t>(i - 1)] = w >= 0.0 && std::isfinite(root) ? root : CheckedSqrt(w);
    }
  }

  TrustRegionOutcome Run(Matrix1& covar);

 private:
  double UncheckedMerit(const std::vector<double>& model) const;
  bool ValuePass(const Vector1& values, std::vector<double>& model, double& chisq, RowFailure& failure);
  bool DerivativePass(const Vector1& values, RowFailure& failure, bool with_values = false);
  bool LostColumn() const;
  void Factor();
  double ScaledParameterNorm(const Vector1& values) const;
  double GradientCosine() const;
  bool TakeStep(double& pnorm, double& prered, double& dirder);
  void EndLines(const TrustRegionOutcome& outcome, bool merit_zero);
  void Publish(Matrix1& covar);

  RegressionCore& core_;
  RunModel& model_;
  std::int32_t n_;
  Vector1& a_;
  const std::vector<std::int32_t>& ia_;
  std::int32_t count_;
  std::vector<std::int32_t> fitted_;  // the parameter index of each fitted column
  std::int32_t nfit_ = 0;
  std::vector<double> root_weights_;

  Point best_;
  Point previous_;  // the best point before the last accepted step
  Point trial_;
  RowFoldingQR folding_;                 // the Jacobian of the point last differentiated
  std::vector<double> gathered_values_;  // the rows of a fold, for models of short blocks
  std::vector<double> gathered_derivatives_;
  PivotedQR qr_;
  SquareColumns r_;
  std::vector<double> qtf_;
  std::vector<double> diag_;
  std::vector<double> step_;
  double fnorm_ = 0.0;
  double delta_ = 0.0;
  double par_ = 0.0;
  double xnorm_ = 0.0;
  std::int64_t value_passes_ = 0;
  std::int64_t derivative_passes_ = 0;
  std::int32_t given_up_ = 0;  // accepted points left for lack of usable derivatives
};

double TrustRegionRun::UncheckedMerit(const std::vector<double>& model) const {
  const double* const y = core_.y.data() + 1;
  const double* const weights = core_.weights.data() + 1;
  double sum = 0.0;
  for (std::int32_t i = 0; i < n_; ++i) {
    const auto ui = static_cast<std::size_t>(i);
    const double dy = y[ui] - model[ui];
    sum = sum + dy * dy * weights[ui];
  }
  return sum;
}

bool TrustRegionRun::ValuePass(const Vector1& values, std::vector<double>& model, double& chisq, RowFailure& failure) {
  for (std::int32_t l = 1; l <= count_; ++l) {
    core_.parameter_values[static_cast<std::size_t>(l)] = values[static_cast<std::size_t>(l)];
  }
  ++value_passes_;
  model.resize(static_cast<std::size_t>(n_));
  const std::int32_t block = model_.BlockRows();
  for (std::int32_t first = 1; first <= n_; first += block) {
    const std::int32_t rows = std::min(block, n_ - first + 1);
    if (!model_.EvaluateRows(first, rows, nullptr, model.data() + (first - 1), nullptr, 0, failure)) return false;
  }
  // The merit as the Marquardt pass sums it, first without a test per step:
  // a step that fails leaves the sum not finite, and nothing else does. The
  // checked loop then raises the fault at its step, the caller's to handle.
  chisq = UncheckedMerit(model);
  if (std::isfinite(chisq)) return true;
  double sum = 0.0;
  for (std::int32_t i = 1; i <= n_; ++i) {
    const auto ui = static_cast<std::size_t>(i);
    const double dy = Checked(core_.y[ui] - model[ui - 1]);
    sum = Checked(sum + Checked(Checked(dy * dy) * core_.weights[ui]));
  }
  chisq = sum;
  return true;
}

// The Jacobian at the best point, weighted, folded row by row into its
// triangular factor together with the weighted residuals there. The rows go
// in without a test per step; a block where a step fails is added again
// from there through the checked loop, which raises the fault at its step.
// With `with_values` the model's values there become best_.model first;
// without, best_.model holds them already (from the trial evaluation that
// accepted the point, at the same parameters, so to the same bits) and the
// model is asked for its derivatives only.
bool TrustRegionRun::DerivativePass(const Vector1& values, RowFailure& failure, bool with_values) {
  for (std::int32_t l = 1; l <= count_; ++l) {
    core_.parameter_values[static_cast<std::size_t>(l)] = values[static_cast<std::size_t>(l)];
  }
  ++derivative_passes_;
  folding_.Reset(nfit_);
  if (with_values) best_.model.resize(static_cast<std::size_t>(n_));
  std::vector<double> row(static_cast<std::size_t>(nfit_));
  MarquardtState& state = core_.marquardt;
  const std::int32_t block = model_.BlockRows();
  const std::int32_t stride = state.block_stride;
  // Models that hand over fewer rows than a fold at once (one by one, say)
  // fill a fold's rows before they are added, which spares the unchecked
  // loop its start-up cost per row.
  std::int32_t span = block;
  double* row_values = state.block_values.data();
  double* derivatives = state.block_derivatives.data();
  if (block < RowFoldingQR::kFoldRows) {
    span = RowFoldingQR::kFoldRows / block * block;
    gathered_values_.resize(static_cast<std::size_t>(span));
    gathered_derivatives_.resize(static_cast<std::size_t>(span) * static_cast<std::size_t>(stride));
    row_values = gathered_values_.data();
    derivatives = gathered_derivatives_.data();
  }
  for (std::int32_t first = 1; first <= n_; first += span) {
    const std::int32_t rows = std::min(span, n_ - first + 1);
    for (std::int32_t done = 0; done < rows; done += block) {
      if (!model_.EvaluateRows(first + done, std::min(block, rows - done), ia_.data(),
                               with_values ? row_values + done : nullptr,
                               derivatives + static_cast<std::ptrdiff_t>(done) * stride, stride, failure)) {
        return false;
      }
    }
    const auto at = static_cast<std::size_t>(first - 1);
    if (with_values) std::copy_n(row_values, rows, best_.model.begin() + static_cast<std::ptrdiff_t>(at));
    const std::int32_t added =
        folding_.AddRowsUnchecked(rows, root_weights_.data() + at, derivatives, stride, fitted_.data(),
                                  best_.model.data() + at, core_.y.data() + at + 1);
    for (std::int32_t r = added; r < rows; ++r) {
      const auto i = static_cast<std::size_t>(first - 1 + r);
      const double w = root_weights_[i];
      const double* const dyda = derivatives + static_cast<std::ptrdiff_t>(r) * stride;
      for (std::int32_t k = 0; k < nfit_; ++k) {
        row[static_cast<std::size_t>(k)] = Checked(w * dyda[fitted_[static_cast<std::size_t>(k)]]);
      }
      folding_.AddRow(row.data(), Checked(w * Checked(best_.model[i] - core_.y[i + 1])));
    }
  }
  folding_.Finish();
  return true;
}

// Whether the Jacobian just computed has a column of zeros for a parameter
// whose column at the factored point was not zero.
bool TrustRegionRun::LostColumn() const {
  for (std::int32_t k = 0; k < nfit_; ++k) {
    if (qr_.column_norms[static_cast<std::size_t>(k)] != 0.0 && !folding_.ColumnUsed(k)) return true;
  }
  return false;
}

// The pivoted factorisation of the Jacobian at the best point, from its
// triangular factor, and Q^T of the weighted residuals.
void TrustRegionRun::Factor() {
  const SquareColumns& r0 = folding_.R0();
  std::vector<double> square(static_cast<std::size_t>(nfit_) * static_cast<std::size_t>(nfit_));
  for (std::int32_t j = 0; j < nfit_; ++j) {
    for (std::int32_t i = 0; i < nfit_; ++i) square[static_cast<std::size_t>(j * nfit_ + i)] = r0(i, j);
  }
  FactorPivotedQR(nfit_, nfit_, square.data(), qr_);
  ExtractR(nfit_, nfit_, square.data(), qr_, r_);
  qtf_ = folding_.Qtb();
  ApplyQTranspose(nfit_, nfit_, square.data(), qtf_.data());
}

double TrustRegionRun::ScaledParameterNorm(const Vector1& values) const {
  std::vector<double> scaled(static_cast<std::size_t>(nfit_));
  for (std::int32_t k = 0; k < nfit_; ++k) {
    const auto uk = static_cast<std::size_t>(k);
    scaled[uk] = Checked(diag_[uk] * values[static_cast<std::size_t>(fitted_[uk])]);
  }
  return EuclideanNorm(scaled.data(), nfit_);
}

// The largest cosine of the angle between the residuals and a column of the
// Jacobian: 0 at a stationary point.
double TrustRegionRun::GradientCosine() const {
  if (fnorm_ == 0.0) return 0.0;
  double largest = 0.0;
  for (std::int32_t j = 0; j < nfit_; ++j) {
    const double norm = qr_.column_norms[static_cast<std::size_t>(qr_.pivot[static_cast<std::size_t>(j)])];
    if (norm == 0.0) continue;
    double sum = 0.0;
    for (std::int32_t i = 0; i <= j; ++i) sum = Checked(sum + r_(i, j) * (qtf_[static_cast<std::size_t>(i)] / fnorm_));
    largest = std::max(largest, std::fabs(sum / norm));
  }
  return largest;
}

// The step for the present radius into trial_ with its scaled length, and
// the reduction the linear model predicts for it (relative to the merit) and
// the directional derivative. False when it cannot be computed.
bool TrustRegionRun::TakeStep(double& pnorm, double& prered, double& dirder) {
  try {
    SquareColumns r = r_;
    LevenbergParameter(r, qr_, diag_, qtf_, delta_, par_, step_);
    std::vector<double> scaled(static_cast<std::size_t>(nfit_));
    trial_.values = best_.values;
    for (std::int32_t k = 0; k < nfit_; ++k) {
      const auto uk = static_cast<std::size_t>(k);
      step_[uk] = -step_[uk];
      const auto l = static_cast<std::size_t>(fitted_[uk]);
      trial_.values[l] = Checked(best_.values[l] + step_[uk]);
      scaled[uk] = Checked(diag_[uk] * step_[uk]);
    }
    pnorm = EuclideanNorm(scaled.data(), nfit_);
    // |R P^T p|: the reduction of the linear model along the step.
    std::vector<double> rp(static_cast<std::size_t>(nfit_), 0.0);
    for (std::int32_t j = 0; j < nfit_; ++j) {
      const double pj = step_[static_cast<std::size_t>(qr_.pivot[static_cast<std::size_t>(j)])];
      for (std::int32_t i = 0; i <= j; ++i)
        rp[static_cast<std::size_t>(i)] = Checked(rp[static_cast<std::size_t>(i)] + r_(i, j) * pj);
    }
    const double t1 = EuclideanNorm(rp.data(), nfit_) / fnorm_;
    const double t2 = Checked(std::sqrt(par_) * pnorm) / fnorm_;
    prered = Checked(t1 * t1 + t2 * t2 / 0.5);
    dirder = -Checked(t1 * t1 + t2 * t2);
    return true;
  } catch (const RuntimeFault&) {
    return false;
  }
}

TrustRegionOutcome TrustRegionRun::Run(Matrix1& covar) {
  TrustRegionOutcome out;
  // The limit of the Marquardt method holds here too, which also bounds the
  // square matrices of the step.
  if (nfit_ > kMaxFittedParameters) RaiseFault(FaultKind::SubscriptOutOfRange);
  // The numerical derivatives' first step is at least 3.684e-6 times the
  // parameter's typical size: its initial estimate's magnitude, or 1.
  std::vector<double> floors(static_cast<std::size_t>(count_) + 1, 0.0);
  for (std::int32_t l = 1; l <= count_; ++l) {
    const double start = a_[static_cast<std::size_t>(l)];
    floors[static_cast<std::size_t>(l)] = kDerivativeStepFactor * (start != 0.0 ? std::fabs(start) : 1.0);
  }
  const StepFloorScope floor_scope(model_, std::move(floors));

  best_.values = a_;
  RowFailure failure;
  // The first point's values come with its derivatives, in one pass. Where
  // that pass fails, the values are evaluated on their own first, so that a
  // failure of the values is the one told, and at its observation.
  bool first_pass = false;
  try {
    first_pass = DerivativePass(best_.values, failure, true);
  } catch (const RuntimeFault&) {
    first_pass = false;  // a step of the fold overflowed: told again below
  }
  if (first_pass) {
    best_.chisq = UncheckedMerit(best_.model);
    first_pass = std::isfinite(best_.chisq);
  }
  if (!first_pass && !ValuePass(best_.values, best_.model, best_.chisq, failure)) {
    core_.last_error = "Error evaluating the function at X = " + model_.PointText(failure.row) + std::string(kLineEnd);
    RaiseInternalFailure();
  }
  if (!first_pass && !DerivativePass(best_.values, failure)) {
    core_.last_error =
        "Error taking parameter derivatives at X = " + model_.PointText(failure.row) + std::string(kLineEnd);
    RaiseInternalFailure();
  }
  fnorm_ = std::sqrt(best_.chisq);
  Factor();
  diag_.resize(static_cast<std::size_t>(nfit_));
  for (std::int32_t k = 0; k < nfit_; ++k) {
    const double norm = qr_.column_norms[static_cast<std::size_t>(k)];
    diag_[static_cast<std::size_t>(k)] = norm != 0.0 ? norm : 1.0;
  }
  xnorm_ = ScaledParameterNorm(best_.values);
  delta_ = xnorm_ != 0.0 ? Checked(kTrustInitialRadiusFactor * xnorm_) : kTrustInitialRadiusFactor;

  const double xtol = core_.regression_tolerance / 100.0;
  // The merit is a sum over the observations, whose rounding moves it by
  // about sqrt(n) units in its last place: an actual reduction below that
  // cannot be seen. (The predicted reduction carries no such noise.)
  const double merit_rounding = kEpsilon * std::max(1.0, std::sqrt(static_cast<double>(n_)));
  bool factored = true;        // the Jacobian of best_ is factored
  bool newly_factored = true;  // ... and its gradient not yet tested
  bool accepted_any = false;
  // A trial that could not be evaluated, or a point given up, since the best
  // point was last factored: a radius that then collapses is a stall.
  bool failed_since_best = false;
  double last_pnorm = 0.0;  // the scaled length of the last accepted step
  ConvergenceReasonEnum reason = tsxNotRun;
  if (best_.chisq == 0.0) reason = tsxConvergedReduction;
  if (nfit_ == 0) reason = tsxConvergedGradient;

  while (reason == tsxNotRun) {
    if (!factored) {
      if (DerivativePass(best_.values, failure) && !LostColumn()) {
        Factor();
        newly_factored = true;
        failed_since_best = false;
      } else {
        // No derivatives at the new point, or a parameter that no longer
        // acts on the model there (a saturated exponential, say): back to
        // the point before it, whose factorisation is still at hand, with a
        // smaller radius.
        std::swap(best_, previous_);
        ++given_up_;
        fnorm_ = std::sqrt(best_.chisq);
        xnorm_ = ScaledParameterNorm(best_.values);
        delta_ = kFailedStepShrink * std::min(delta_, last_pnorm);
        failed_since_best = true;
      }
      factored = true;
    }
    if (newly_factored) {
      newly_factored = false;
      if (GradientCosine() <= kTrustGradientTolerance) {
        reason = tsxConvergedGradient;
        break;
      }
      for (std::int32_t k = 0; k < nfit_; ++k) {
        const auto uk = static_cast<std::size_t>(k);
        diag_[uk] = std::max(diag_[uk], qr_.column_norms[uk]);
      }
    }
    bool abort = false;
    for (;;) {
      ++out.iterations;
      double pnorm = delta_;
      double prered = 0.0;
      double dirder = 0.0;
      double actred = -1.0;
      double ratio = 0.0;
      double shrink = kFailedStepShrink;  // the radius's factor after a rejected trial
      bool evaluated = false;
      const bool gauss_newton_before = par_ == 0.0;
      const bool stepped = TakeStep(pnorm, prered, dirder);
      if (stepped) {
        if (!accepted_any) delta_ = std::min(delta_, pnorm);
        try {
          evaluated = ValuePass(trial_.values, trial_.model, trial_.chisq, failure);
        } catch (const RuntimeFault&) {
          evaluated = false;  // the merit overflows there
        }
      }
      if (evaluated) {
        try {
          const double fnorm1 = std::sqrt(trial_.chisq);
          if (0.1 * fnorm1 < fnorm_) {
            const double q = fnorm1 / fnorm_;
            actred = 1.0 - q * q;
          }
          ratio = prered != 0.0 ? actred / prered : 0.0;
          if (ratio <= kShrinkRatio) {
            shrink = actred >= 0.0 ? 0.5 : CheckedDiv(0.5 * dirder, Checked(dirder + 0.5 * actred));
            if (0.1 * fnorm1 >= fnorm_ || shrink < 0.1) shrink = 0.1;
            delta_ = Checked(shrink * std::min(delta_, pnorm / 0.1));
            par_ = CheckedDiv(par_, shrink);
          } else if (par_ == 0.0 || ratio >= kExpandRatio) {
            delta_ = Checked(pnorm / 0.5);
            par_ = 0.5 * par_;
          }
        } catch (const RuntimeFault&) {
          evaluated = false;
        }
      }
      if (!evaluated) {
        // As a trial whose merit grew tenfold or more: the radius shrinks to
        // a tenth of itself, or to the length of the step just tried when
        // that is shorter, and the Levenberg-Marquardt parameter grows to
        // match, so that the next step starts from a parameter of the right
        // size for the radius (it is only a starting guess, kept finite).
        delta_ = std::min(kFailedStepShrink * delta_, pnorm);
        par_ = std::min(par_ / kFailedStepShrink, std::numeric_limits<double>::max());
        shrink = kFailedStepShrink;
        ratio = 0.0;
      }
      const bool accepted = evaluated && ratio >= kAcceptRatio;
      if (!accepted && stepped && gauss_newton_before && pnorm > 0.0) {
        // A rejected Gauss-Newton step is the step again for every radius
        // it still fits in: the trial would be repeated exactly, rejected
        // again with the same ratio, and the radius shrunk by the same
        // factor. Those trials are skipped, not evaluated; the radius and the
        // parameter (still 0) end as they would after them.
        while (GaussNewtonFits(pnorm, delta_)) {
          if (!accepted_any) delta_ = std::min(delta_, pnorm);
          delta_ *= shrink;
        }
      }
      if (accepted) {
        std::swap(previous_, best_);
        std::swap(best_, trial_);
        fnorm_ = std::sqrt(best_.chisq);
        xnorm_ = ScaledParameterNorm(best_.values);
        factored = false;
        accepted_any = true;
        last_pnorm = pnorm;
        out.unchanged = 0;
      } else {
        ++out.unchanged;
      }
      if (!evaluated) failed_since_best = true;
      model_.IterationComplete(out.iterations, best_.chisq, abort);

      // The tests in MINPACK's order. The merit's reductions are tested at
      // the precision of a Double, the actual one allowing for the rounding
      // of the merit's sum; RegressionTolerance bounds the relative change of
      // the scaled parameters.
      const bool settled_merit =
          evaluated && std::fabs(actred) <= merit_rounding && prered <= kEpsilon && 0.5 * ratio <= 1.0;
      if (best_.chisq == 0.0 || settled_merit) {
        reason = tsxConvergedReduction;
      } else if (delta_ <= std::max(xtol, kEpsilon) * xnorm_) {
        reason = failed_since_best ? tsxStalled : tsxConvergedStep;
      } else if (abort) {
        reason = tsxIterationLimit;
        out.aborted = true;
      } else if (out.iterations >= core_.max_iterations) {
        reason = tsxIterationLimit;
      }
      if (reason != tsxNotRun || accepted) break;
    }
  }

  // The covariance needs the Jacobian at the point where the run ends.
  if (!factored) {
    if (DerivativePass(best_.values, failure) && !LostColumn()) {
      Factor();
    } else {
      // The run ends at the point before, which is no converged point.
      std::swap(best_, previous_);
      ++given_up_;
      reason = tsxStalled;
    }
  }
  out.reason = reason;
  out.chisq = best_.chisq;
  out.value_passes = value_passes_;
  out.derivative_passes = derivative_passes_;
  EndLines(out, best_.chisq == 0.0);
  Publish(covar);
  return out;
}

void TrustRegionRun::EndLines(const TrustRegionOutcome& outcome, bool merit_zero) {
  switch (outcome.reason) {
    case tsxConvergedReduction:
      core_.AppendLine(merit_zero ? "Solution converged: the merit function is 0"
                                  : "Solution converged: no step reduces the merit function beyond rounding");
      break;
    case tsxConvergedStep:
      core_.AppendLine("Solution converged: relative change of the parameters less than " +
                       NumberText(core_.regression_tolerance) + "%");
      break;
    case tsxConvergedGradient:
      core_.AppendLine(nfit_ == 0 ? std::string("Solution converged: no fitted parameters")
                                  : "Solution converged: residuals orthogonal to the Jacobian to within " +
                                        NumberText(kTrustGradientTolerance));
      break;
    case tsxIterationLimit:
      if (outcome.aborted) {
        core_.AppendLine("Solution process aborted");
      } else {
        core_.AppendLine("Reached iteration limit of " + IntegerText(core_.max_iterations));
      }
      core_.AppendLine("Solution stopped at the best point found");
      break;
    default:
      core_.AppendLine("Solution stalled: the model or its derivatives cannot be evaluated near the best point");
      break;
  }
  if (given_up_ > 0) {
    core_.AppendLine("Points given up for lack of usable derivatives (failed, or a parameter without effect): " +
                     IntegerText(given_up_));
  }
  core_.AppendLine("Passes over the data: " + IntegerText(outcome.value_passes) + " for values, " +
                   IntegerText(outcome.derivative_passes) + " for derivatives");
}

// The best point becomes the model's values, the result columns and `a`;
// the covariance comes from the factor of the Jacobian there.
void TrustRegionRun::Publish(Matrix1& covar) {
  for (std::int32_t l = 1; l <= count_; ++l) {
    const auto ul = static_cast<std::size_t>(l);
    a_[ul] = best_.values[ul];
    core_.parameter_values[ul] = best_.values[ul];
  }
  for (std::int32_t i = 1; i <= n_; ++i) {
    const auto ui = static_cast<std::size_t>(i);
    core_.predicted[ui] = best_.model[ui - 1];
    core_.residuals[ui] = Checked(core_.y[ui] - best_.model[ui - 1]);
  }
  SquareColumns inverse;
  bool formed = false;
  try {
    formed = InverseOfNormalMatrix(r_, qr_, inverse);
  } catch (const RuntimeFault&) {
    formed = false;
  }
  if (!formed) {
    core_.last_error =
        "Singular matrix at the best point: the data do not determine every parameter." + std::string(kLineEnd);
    RaiseInternalFailure();
  }
  covar.Fill(0.0);
  for (std::int32_t j = 0; j < nfit_; ++j) {
    for (std::int32_t k = 0; k < nfit_; ++k) covar(j + 1, k + 1) = inverse(j, k);
  }
  ExpandCovariance(covar, count_, ia_, nfit_);
}

}  // namespace

TrustRegionOutcome RunTrustRegion(RegressionCore& core, RunModel& model, std::int32_t n, Vector1& a,
                                  const std::vector<std::int32_t>& ia, std::int32_t parameter_count, Matrix1& covar) {
  TrustRegionRun run(core, model, n, a, ia, parameter_count);
  return run.Run(covar);
}

}  // namespace tessarix::detail
