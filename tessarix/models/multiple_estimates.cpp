// Least-squares starting values for the pre-defined models with several
// variables. Every model of the catalogue is linear in its coefficients after
// at most a logarithm of y: the power models in log(x1), log(x2) or the
// variables themselves, the polynomials in their own terms, the linear forms
// in the variables (and 1). With error-free data the chain gives the
// parameters back exactly, except for ID 1302, whose estimate is taken from
// log(y) while its arithmetic is the plain sum.
#include <array>
#include <cstddef>
#include <vector>

#include "tessarix/foundation/fault.hpp"
#include "tessarix/models/internal/multiple_row.hpp"
#include "tessarix/models/multiple_catalogue.hpp"
#include "tessarix/numerics/internal_failure.hpp"
#include "tessarix/numerics/one_based.hpp"
#include "tessarix/numerics/singular_value.hpp"
#include "tessarix/platform/checked.hpp"

namespace tessarix::detail {
namespace {

// The terms of the row's linear problem at one point into b[1..m], each at
// the place of its parameter in the parameter array.
void EstimateBasis(const MultipleRow& row, std::span<const double> x, double* b) {
  const std::int32_t n = row.parameter_count;
  switch (row.formula) {
    case Formula::PowerX1X2:  // log(y) = log(a) + b*log(x1) + c*log(x2)
      b[1] = 1.0;
      b[2] = log(Num(x[0])).value();
      b[3] = log(Num(x[1])).value();
      return;
    case Formula::ExponentX1PowerX2:  // log(y) = log(a) + log(b)*x1 + c*log(x2)
      b[1] = 1.0;
      b[2] = Checked(x[0]);
      b[3] = log(Num(x[1])).value();
      return;
    case Formula::PowerX1ExponentX2:  // log(y) = log(a) + b*log(x1) + log(c)*x2
      b[1] = 1.0;
      b[2] = log(Num(x[0])).value();
      b[3] = Checked(x[1]);
      return;
    case Formula::Polynomial:
    case Formula::LinearSum:
    case Formula::LinearSumPlusConstant: {
      // Linear in the parameters: the derivatives are the terms.
      std::vector<double> none(static_cast<std::size_t>(n) + 1, 0.0);
      if (!MultiplePredefinedDerivatives(row.entry.evaluation_code, none.data(), x, b)) {
        RaiseFault(FaultKind::InvalidCall);
      }
      return;
    }
    case Formula::ExpLinearSum:  // log(y) = the sum with a constant
      for (std::int32_t i = 1; i < n; ++i)
        b[row.slot[static_cast<std::size_t>(i)]] = Checked(x[static_cast<std::size_t>(i - 1)]);
      b[row.slot[static_cast<std::size_t>(n)]] = 1.0;
      return;
  }
}

void RecoverParameters(const MultipleRow& row, Vector1& c) {
  switch (row.formula) {
    case Formula::PowerX1X2:
      c[1] = exp(Num(c[1])).value();
      return;
    case Formula::ExponentX1PowerX2:
      c[1] = exp(Num(c[1])).value();
      c[2] = exp(Num(c[2])).value();
      return;
    case Formula::PowerX1ExponentX2:
      c[1] = exp(Num(c[1])).value();
      c[3] = exp(Num(c[3])).value();
      return;
    default:
      return;  // the coefficients are the parameters
  }
}

}  // namespace

bool ObtainMultipleLeastSquaresEstimates(std::int32_t evaluation_code, std::int32_t term_count, const double* points,
                                         std::int32_t width, const double* y, const double* w, std::int32_t n,
                                         std::span<double> estimates) {
  const MultipleRow* row = MultipleRowOfCode(evaluation_code);
  if (row == nullptr || term_count != row->parameter_count || width < row->variable_count || n < 1 ||
      estimates.size() < static_cast<std::size_t>(term_count)) {
    return false;
  }
  const std::int32_t m = term_count;
  const auto point = [&](std::int32_t i) {
    return std::span<const double>(points + static_cast<std::size_t>(i) * static_cast<std::size_t>(width),
                                   static_cast<std::size_t>(width));
  };
  Matrix1 a(n, m);
  Vector1 r = MakeVector1(n);
  std::vector<double> basis(static_cast<std::size_t>(m) + 1, 0.0);
  Vector1 c = MakeVector1(m);
  const bool ok = SucceedsWithoutFault([&] {
    // The transform of every observation first, then the weighted rows.
    for (std::int32_t i = 1; i <= n; ++i) {
      const Num yi = Checked(y[i]);
      r[static_cast<std::size_t>(i)] = (row->log_transform ? log(yi) : yi).value();
    }
    for (std::int32_t i = 1; i <= n; ++i) {
      EstimateBasis(*row, point(i), basis.data());
      // The weights as they stand: the transform of y is not corrected for.
      const Num s = sqrt(Num(w[i]));
      for (std::int32_t j = 1; j <= m; ++j) a(i, j) = (s * basis[static_cast<std::size_t>(j)]).value();
      r[static_cast<std::size_t>(i)] = (s * r[static_cast<std::size_t>(i)]).value();
    }
    Vector1 singular_values = MakeVector1(m);
    Matrix1 v(m, m);
    SingularValueDecomposition(a, n, m, singular_values, v);
    SingularValueBackSubstitution(a, singular_values, v, n, m, r, c);
    RecoverParameters(*row, c);
  });
  if (!ok) return false;
  for (std::int32_t j = 1; j <= m; ++j) estimates[static_cast<std::size_t>(j - 1)] = c[static_cast<std::size_t>(j)];
  return true;
}

}  // namespace tessarix::detail
