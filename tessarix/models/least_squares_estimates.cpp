#include "tessarix/models/least_squares_estimates.hpp"

#include <array>

#include "tessarix/models/internal/estimate_rules.hpp"
#include "tessarix/models/internal/model_row.hpp"
#include "tessarix/numerics/internal_failure.hpp"
#include "tessarix/numerics/singular_value.hpp"
#include "tessarix/platform/checked.hpp"

namespace tessarix::detail {
namespace {

// The most terms any estimator has: the tenth order polynomial.
constexpr std::int32_t kMaxEstimateTerms = 11;

}  // namespace

bool LinearizeObservations(std::int32_t evaluation_code, std::int32_t term_count, const double* x, const double* y,
                           Vector1& t, std::int32_t n, std::int32_t& m) {
  m = term_count;
  if (m < 1 || m > kMaxEstimateTerms) {
    return false;
  }
  // A code of no model has nothing to transform: y as it stands.
  const ModelRow* row = RowOfCode(evaluation_code);
  const Transform transform = row == nullptr ? Transform::Y : row->estimate.transform;
  t = MakeVector1(n);
  return SucceedsWithoutFault([&] {
    for (std::int32_t i = 1; i <= n; ++i) {
      t[static_cast<std::size_t>(i)] = TransformObservation(transform, Num(Checked(x[i])), Num(Checked(y[i]))).value();
    }
  });
}

bool EstimateBasis(std::int32_t evaluation_code, double x, double* terms) {
  const ModelRow* row = RowOfCode(evaluation_code);
  if (row == nullptr) {
    return false;
  }
  return SucceedsWithoutFault([&] { EstimateBasisTerms(*row, Num(Checked(x)), terms); });
}

bool SolveEstimateSystem(std::int32_t evaluation_code, std::int32_t m, const double* x, const Vector1& t,
                         const double* w, std::int32_t n, Vector1& c) {
  if (m < 1 || m > kMaxEstimateTerms) {
    return false;
  }
  Matrix1 a(n, m);
  Vector1 r = MakeVector1(n);
  std::array<double, kMaxEstimateTerms + 1> basis{};
  for (std::int32_t i = 1; i <= n; ++i) {
    if (!EstimateBasis(evaluation_code, x[i], basis.data())) {
      return false;
    }
    const auto row = static_cast<std::size_t>(i);
    const bool ok = SucceedsWithoutFault([&] {
      // The weights as they stand: the transform of y is not corrected for.
      const Num s = sqrt(Num(w[i]));
      for (std::int32_t j = 1; j <= m; ++j) {
        a(i, j) = (s * basis[static_cast<std::size_t>(j)]).value();
      }
      r[row] = (s * t[row]).value();
    });
    if (!ok) {
      return false;
    }
  }
  Vector1 singular_values = MakeVector1(m);
  Matrix1 v(m, m);
  c = MakeVector1(m);
  return SucceedsWithoutFault([&] {
    SingularValueDecomposition(a, n, m, singular_values, v);
    SingularValueBackSubstitution(a, singular_values, v, n, m, r, c);
  });
}

bool RecoverEstimateParameters(std::int32_t evaluation_code, Vector1& c) {
  const ModelRow* row = RowOfCode(evaluation_code);
  if (row == nullptr) {
    return true;  // nothing to turn back
  }
  return SucceedsWithoutFault([&] { RecoverParameters(*row, c.data()); });
}

bool ObtainLeastSquaresEstimates(std::int32_t evaluation_code, std::int32_t term_count, const double* x,
                                 const double* y, const double* w, std::int32_t n, std::span<double> estimates) {
  Vector1 t;
  std::int32_t m = 0;
  if (!LinearizeObservations(evaluation_code, term_count, x, y, t, n, m)) {
    return false;
  }
  Vector1 c;
  if (!SolveEstimateSystem(evaluation_code, m, x, t, w, n, c) || !RecoverEstimateParameters(evaluation_code, c)) {
    return false;
  }
  // The coefficients go to the parameters by position. A model with more terms
  // than parameters (the two trigonometric ones) keeps what was written before
  // the missing parameter and fails there.
  for (std::int32_t j = 1; j <= m; ++j) {
    if (static_cast<std::size_t>(j) > estimates.size()) {
      return false;
    }
    estimates[static_cast<std::size_t>(j - 1)] = c[static_cast<std::size_t>(j)];
  }
  return true;
}

}  // namespace tessarix::detail
