// What a solved fit says beyond its statistics: the information criteria,
// which weigh the residuals against the number of parameters, and the
// correlations of the parameters, which tell how well the data separate them.
#include <cmath>
#include <cstdint>

#include "tessarix/core/internal/fit_bands.hpp"
#include "tessarix/core/internal/regression_engine.hpp"
#include "tessarix/core/regression_object.hpp"
#include "tessarix/foundation/error_handler.hpp"
#include "tessarix/foundation/fault.hpp"
#include "tessarix/platform/checked.hpp"

namespace tessarix {

namespace {

using detail::Num;

// The library's PI, as everywhere else.
constexpr double kPi = 3.14159265358979;

struct Likelihood {
  Num minus_two_log_l;  // -2 ln L
  Num k;                // fitted parameters + 1 for the variance
  Num n;                // observations
};

Likelihood LikelihoodOf(const detail::RegressionEngine& e) {
  const detail::RegressionCore& core = e.core;
  const Num n = static_cast<double>(core.num_observations);
  // The run's own count of fitted parameters, whichever method ran; SSENorm 0
  // (a perfect fit) makes the logarithm fail, and with it the criterion.
  const Num k = static_cast<double>(core.statistics.fitted_count) + 1.0;
  const Num minus_two_log_l = n * (log(Num(2.0 * kPi)) + log(Num(core.statistics.sse_norm) / n) + 1.0);
  return {minus_two_log_l, k, n};
}

template <class Formula>
double Criterion(const detail::RegressionEngine& e, Formula&& formula) {
  e.GuardQuery();
  return detail::RunUnderHandler([&] { return formula(LikelihoodOf(e)).value(); });
}

}  // namespace

double RegressionObject::AIC() const {
  return Criterion(*engine_, [](const Likelihood& l) { return l.minus_two_log_l + 2.0 * l.k; });
}

double RegressionObject::AICc() const {
  return Criterion(*engine_, [](const Likelihood& l) {
    const Num room = l.n - l.k - 1.0;
    // The correction has no meaning without an observation to spare.
    if (!(room > 0.0)) detail::RaiseFault(detail::FaultKind::InvalidCall);
    return l.minus_two_log_l + 2.0 * l.k + 2.0 * l.k * (l.k + 1.0) / room;
  });
}

double RegressionObject::BIC() const {
  return Criterion(*engine_, [](const Likelihood& l) { return l.minus_two_log_l + l.k * log(l.n); });
}

Matrix RegressionObject::CorrelationMatrix() const {
  engine_->GuardQuery();
  return detail::RunUnderHandler([&] {
    const std::vector<double> c = detail::FitCovariance(*engine_);
    const std::int32_t count = engine_->core.Parameters().Count();
    const auto at = [&](std::int32_t i, std::int32_t j) { return c[static_cast<std::size_t>(i * count + j)]; };
    Matrix r(count, count);
    for (std::int32_t i = 0; i < count; ++i) {
      for (std::int32_t j = 0; j < count; ++j) {
        const double cii = at(i, i), cjj = at(j, j);
        // A constant parameter's row of C is zero: no correlation to tell.
        if (cii == 0.0 || cjj == 0.0) continue;
        if (i == j) {
          r(i, j) = 1.0;
          continue;
        }
        const Num value = Num(at(i, j)) / (sqrt(abs(Num(cii))) * sqrt(abs(Num(cjj))));
        // Rounding can carry a perfect correlation a hair past 1.
        r(i, j) = value > 1.0 ? 1.0 : (value < -1.0 ? -1.0 : value.value());
      }
    }
    return r;
  });
}

}  // namespace tessarix
