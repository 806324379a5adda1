// Least-squares starting values for the pre-defined models with one variable:
// the vocabulary of the estimate rules (what each transform, term and way back
// computes; each row of the catalogue says which it uses) and the chain that
// runs them on the observations through the singular value decomposition.
// Every rule of the catalogue is exact: with error-free data the coefficients
// reproduce the parameters.
#include "tessarix/models/least_squares_estimates.hpp"

#include <array>

#include "tessarix/models/internal/model_row.hpp"
#include "tessarix/numerics/internal_failure.hpp"
#include "tessarix/numerics/power.hpp"
#include "tessarix/numerics/singular_value.hpp"
#include "tessarix/platform/checked.hpp"

namespace tessarix::detail {
namespace {

// The most terms any estimator has: the tenth order polynomial.
constexpr std::int32_t kMaxEstimateTerms = 11;

using enum Transform;
using enum Term;
using enum Recovery;

// One basis term at x.
Num TermValue(Term term, Num x) {
  switch (term) {
    case None:
    case Derivatives:
      break;
    case One:
      return 1.0;
    case MinusOne:
      return -1.0;
    case X:
      return x;
    case MinusX:
      return -x;
    case InverseX:
      return 1.0 / x;
    case LogX:
      return log(x);
    case LogXPlus1:
      return log(x + 1.0);
    case XLogX:
      return x * log(x);
    case LogXOverX:
      return log(x) / x;
    case X2:
      return Power(x, 2.0);
    case MinusX2:
      return -Power(x, 2.0);
    case InverseX2:
      return 1.0 / Power(x, 2.0);
    case CosX:
      return cos(x);
    case SinX:
      return sin(x);
    case SqrtXOverX:
      return sqrt(x) / x;
    case Log1MinusX:
      return log(1.0 - x);
  }
  RaiseFault(FaultKind::InvalidCall);  // a row that names fewer terms than asked for
}

// T for the observation (x, y).
Num TransformObservation(Transform transform, Num x, Num y) {
  switch (transform) {
    case Y:
      return y;
    case LogY:
      return log(y);
    case InverseY:
      return 1.0 / y;
    case InverseYMinus1:
      return 1.0 / y - 1.0;
    case InverseYMinusX:
      return 1.0 / y - x;
    case LogYMinusX:
      return log(y) - x;
    case ExpYMinusX:
      return exp(y) - x;
    case ExpY:
      return exp(y);
    case LogInverse1MinusY:
      return log(1.0 / (1.0 - y));
    case Log1MinusY:
      return log(1.0 - y);
    case LogMinusLogY:
      return log(-log(y));
    case LogMinusLog1MinusY:
      return log(-log(1.0 - y));
    case ArcCosY:
      return atan(-y / sqrt(1.0 - y * y)) + 2.0 * atan(Num(1.0));
    case ArcSinY:
      return atan(y / sqrt(1.0 - y * y));
  }
  return y;  // not reached: the switch names every transform
}

// The basis terms of the row at x into b[1..m], m its estimate term count.
void EstimateBasisTerms(const ModelRow& row, Num x, double* b) {
  const EstimateRule& rule = row.estimate;
  if (rule.terms[0] == Derivatives) {
    // A model linear in its parameters: its derivatives read no parameter.
    row.derivatives(row, nullptr, x, b);
    return;
  }
  for (std::size_t j = 0; j < rule.terms.size() && rule.terms[j] != None; ++j) {
    b[j + 1] = TermValue(rule.terms[j], x).value();
  }
}

// Coefficients c[1..m] into parameters, in place.
void RecoverParameters(const ModelRow& row, double* c) {
  switch (row.estimate.recovery) {
    case AsTheyStand:
      return;
    case ExpA:
      c[1] = exp(Num(c[1])).value();
      return;
    case ExpAB:
      c[1] = exp(Num(c[1])).value();
      c[2] = exp(Num(c[2])).value();
      return;
    case Hyperbola: {  // 1/y = 1/a + 1/(a*b) * 1/x
      const Num a = 1.0 / Num(c[1]);
      c[1] = a.value();
      c[2] = (1.0 / (a * c[2])).value();
      return;
    }
    case ReciprocalA: {  // 1/y = 1/a + (b/a)*T2 [+ (c/a)*T3]
      const Num a = 1.0 / Num(c[1]);
      c[1] = a.value();
      c[2] = (a * c[2]).value();
      if (row.entry.estimate_term_count == 3) c[3] = (a * c[3]).value();
      return;
    }
    case Slope: {  // a*(x-b) = a*x + (a*b)*(-1)
      const Num a = c[1];
      c[2] = (c[2] / a).value();
      return;
    }
    case Gaussian: {  // log(y) = c1 + c2*x + c3*x^2
      const Num gc = sqrt(-1.0 / (2.0 * Num(c[3])));
      const Num gc2 = Power(gc, 2.0);
      const Num gb = gc2 * c[2];
      const Num ga = exp(c[1] + Power(gb, 2.0) / (2.0 * gc2));
      c[1] = ga.value();
      c[2] = gb.value();
      c[3] = gc.value();
      return;
    }
  }
}

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
