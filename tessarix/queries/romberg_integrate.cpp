#include "tessarix/queries/romberg_integrate.hpp"

namespace tessarix::detail {

void PolynomialExtrapolate(const double* xa, const double* ya, std::int32_t n, double x, double& y, double& dy) {
  // The tableau of differences; n is at most the Romberg's five points here,
  // but any n up to this size works.
  constexpr std::int32_t kMaxPoints = 16;
  if (n < 1 || n > kMaxPoints) RaiseInternalFailure();
  std::array<Num, kMaxPoints + 1> c{};
  std::array<Num, kMaxPoints + 1> d{};
  std::int32_t ns = 1;
  Num dif = abs(Num(x) - xa[1]);
  for (std::int32_t i = 1; i <= n; ++i) {
    const Num dift = abs(Num(x) - xa[i]);
    if (dift < dif) {
      ns = i;
      dif = dift;
    }
    c[static_cast<std::size_t>(i)] = ya[i];
    d[static_cast<std::size_t>(i)] = ya[i];
  }
  Num result = ya[ns];
  --ns;
  Num correction = 0.0;
  for (std::int32_t m = 1; m < n; ++m) {
    for (std::int32_t i = 1; i <= n - m; ++i) {
      const auto ui = static_cast<std::size_t>(i);
      const Num ho = Num(xa[i]) - x;
      const Num hp = Num(xa[i + m]) - x;
      const Num w = c[ui + 1] - d[ui];
      Num den = ho - hp;
      if (den.value() == 0.0) RaiseInternalFailure();
      den = w / den;
      d[ui] = hp * den;
      c[ui] = ho * den;
    }
    if (2 * ns < n - m) {
      correction = c[static_cast<std::size_t>(ns) + 1];
    } else {
      correction = d[static_cast<std::size_t>(ns)];
      --ns;
    }
    result += correction;
  }
  y = result.value();
  dy = correction.value();
}

}  // namespace tessarix::detail
