#include "tessarix/numerics/bessel_real_order.hpp"

#include <array>
#include <cmath>

#include "tessarix/numerics/internal_failure.hpp"
#include "tessarix/numerics/power.hpp"
#include "tessarix/platform/checked.hpp"

namespace tessarix::detail {
namespace {

constexpr double kPrecision = 1e-16;
constexpr double kTiny = 1e-30;
constexpr int kIterationLimit = 10000;
// Below this x Temme's series, above it Steed's second continued fraction.
constexpr double kSwitchX = 2.0;
constexpr double kPi = 3.14159265358979;

Num Sinh(Num x) { return Num(Checked(std::sinh(x.value()))); }
Num Cosh(Num x) { return Num(Checked(std::cosh(x.value()))); }
Num Square(Num x) { return Power(x, 2.0); }

// |a| with the sign of b, b = 0 counting as positive.
Num TransferSign(Num a, Num b) { return b >= 0.0 ? abs(a) : -abs(a); }

// The number of recurrence steps between nu and the small order xmu, the
// integer part of value and at least 0: a 16-bit counter.
std::int32_t RecurrenceSteps(double value) {
  const double steps = std::floor(value);
  if (steps > 32767.0) {
    RaiseFault(FaultKind::Overflow);
  }
  return steps < 0.0 ? 0 : static_cast<std::int32_t>(steps);
}

// sin(v)/v, taken as its limit 1 for |v| below the precision.
Num SinOver(Num v) { return abs(v) < kPrecision ? Num(1.0) : sin(v) / v; }

}  // namespace

double ChebyshevValue(double a, double b, std::span<const double> c, std::int32_t count, double x) {
  if (count < 1 || c.size() < static_cast<std::size_t>(count) + 1) {
    RaiseFault(FaultKind::SubscriptOutOfRange);
  }
  const Num na = a;
  const Num nb = b;
  const Num nx = x;
  if ((nx - na) * (nx - nb) > 0.0) {
    RaiseInternalFailure(500);
  }
  const Num y = (2.0 * nx - na - nb) / (nb - na);
  const Num y2 = 2.0 * y;
  Num d = 0.0;
  Num dd = 0.0;
  for (std::int32_t j = count; j >= 2; --j) {
    const Num saved = d;
    d = y2 * d - dd + c[static_cast<std::size_t>(j)];
    dd = saved;
  }
  return (y * d - dd + 0.5 * c[1]).value();
}

GammaTerms GammaSeriesTerms(double x) {
  // One-based tables: element 0 is not read.
  static constexpr std::array<double, 8> kC1 = {
      0.0,          -1.14202268037117, 0.00651651126707, 0.000308709017308, -3.470626964e-06,
      6.943764e-09, 3.678e-11,         -1.36e-13};
  static constexpr std::array<double, 9> kC2 = {0.0,
                                                1.84374058730091,
                                                -0.076852840844786,
                                                0.001271927136655,
                                                -4.971736704e-06,
                                                -3.312612e-08,
                                                2.4231e-10,
                                                -1.7e-13,
                                                -1e-15};
  const Num nx = x;
  const double xx = (8.0 * Square(nx) - 1.0).value();
  GammaTerms t;
  t.gam1 = ChebyshevValue(-1.0, 1.0, kC1, 7, xx);
  t.gam2 = ChebyshevValue(-1.0, 1.0, kC2, 8, xx);
  t.gampl = (Num(t.gam2) - nx * t.gam1).value();
  t.gammi = (Num(t.gam2) + nx * t.gam1).value();
  return t;
}

BesselJYResult BesselJY(double x_in, double nu_in) {
  if (x_in <= 0.0 || nu_in < 0.0) {
    RaiseInternalFailure(5000);
  }
  const Num x = x_in;
  const Num nu = nu_in;
  // Below the switch point recur down to |xmu| <= 1/2; above it only as far
  // as needed for xmu < x, where CF2 converges.
  const std::int32_t nl =
      x_in < kSwitchX ? RecurrenceSteps((nu + 0.5).value()) : RecurrenceSteps((nu - x + 1.5).value());
  const Num xmu = nu - static_cast<double>(nl);
  const Num xmu2 = Square(xmu);
  const Num xi = 1.0 / x;
  const Num xi2 = 2.0 * xi;
  const Num w = xi2 / kPi;

  // CF1: J'/J at order nu by the modified Lentz method; isign tracks the sign
  // of the denominators, and so of J.
  int isign = 1;
  Num h = nu * xi;
  if (h < kTiny) {
    h = kTiny;
  }
  Num b = xi2 * nu;
  Num d = 0.0;
  Num c = h;
  int i = 1;
  for (; i <= kIterationLimit; ++i) {
    b = b + xi2;
    d = b - d;
    if (abs(d) < kTiny) {
      d = kTiny;
    }
    c = b - 1.0 / c;
    if (abs(c) < kTiny) {
      c = kTiny;
    }
    d = 1.0 / d;
    const Num del = c * d;
    h = del * h;
    if (d < 0.0) {
      isign = -isign;
    }
    if (abs(del - 1.0) < kPrecision) {
      break;
    }
  }
  if (i > kIterationLimit) {
    RaiseInternalFailure(5000);
  }

  // Downward recurrence from nu to xmu, with an arbitrary start.
  Num rjl = static_cast<double>(isign) * kTiny;
  Num rjpl = h * rjl;
  const Num rjl1 = rjl;
  const Num rjp1 = rjpl;
  Num fact = nu * xi;
  for (std::int32_t l = nl; l >= 1; --l) {
    const Num rjtemp = fact * rjl + rjpl;
    fact = fact - xi;
    rjpl = fact * rjtemp - rjl;
    rjl = rjtemp;
  }
  if (rjl == 0.0) {
    rjl = kPrecision;
  }
  const Num f = rjpl / rjl;

  Num rjmu;
  Num rymu;
  Num rymup;
  Num ry1;
  if (x_in < kSwitchX) {
    // Temme's series for Y at order xmu.
    const Num x2 = x / 2.0;
    const Num pimu = kPi * xmu;
    fact = abs(pimu) < kPrecision ? Num(1.0) : pimu / sin(pimu);
    d = -log(x2);
    Num e = xmu * d;
    const Num fact2 = abs(e) < kPrecision ? Num(1.0) : Sinh(e) / e;
    const GammaTerms g = GammaSeriesTerms(xmu.value());
    Num ff = 2.0 / Num(kPi) * fact * (g.gam1 * Cosh(e) + g.gam2 * fact2 * d);
    e = exp(e);
    Num p = e / (g.gampl * Num(kPi));
    Num q = 1.0 / (e * kPi * g.gammi);
    const Num pimu2 = pimu / 2.0;
    const Num fact3 = SinOver(pimu2);
    const Num r = kPi * pimu2 * fact3 * fact3;
    c = 1.0;
    d = -Square(x2);
    Num sum = ff + r * q;
    Num sum1 = p;
    i = 1;
    for (; i <= kIterationLimit; ++i) {
      const Num ni = static_cast<double>(i);
      ff = (ni * ff + p + q) / (Square(ni) - xmu2);
      c = c * d / ni;
      p = p / (ni - xmu);
      q = q / (ni + xmu);
      const Num del = c * (ff + r * q);
      sum = sum + del;
      const Num del1 = c * p - ni * del;
      sum1 = sum1 + del1;
      if (abs(del) < (1.0 + abs(sum)) * kPrecision) {
        break;
      }
    }
    if (i > kIterationLimit) {
      RaiseInternalFailure(5000);
    }
    rymu = -sum;
    ry1 = -sum1 * xi2;
    rymup = xmu * xi * rymu - ry1;
    rjmu = w / (rymup - f * rymu);
  } else {
    // CF2: p + iq by Steed's method, in complex arithmetic written out.
    Num a = 0.25 - xmu2;
    Num p = -0.5 * xi;
    Num q = 1.0;
    const Num br = 2.0 * x;
    Num bi = 2.0;
    fact = a * xi / (Square(p) + Square(q));
    Num cr = br + q * fact;
    Num ci = bi + p * fact;
    Num den = Square(br) + Square(bi);
    Num dr = br / den;
    Num di = -bi / den;
    Num dlr = cr * dr - ci * di;
    Num dli = cr * di + ci * dr;
    Num temp = p * dlr - q * dli;
    q = p * dli + q * dlr;
    p = temp;
    i = 2;
    for (; i <= kIterationLimit; ++i) {
      a = a + 2.0 * static_cast<double>(i - 1);
      bi = bi + 2.0;
      dr = a * dr + br;
      di = a * di + bi;
      if (abs(dr) + abs(di) < kTiny) {
        dr = kTiny;
      }
      fact = a / (Square(cr) + Square(ci));
      cr = br + cr * fact;
      ci = bi - ci * fact;
      if (abs(cr) + abs(ci) < kTiny) {
        cr = kTiny;
      }
      den = Square(dr) + Square(di);
      dr = dr / den;
      di = -di / den;
      dlr = cr * dr - ci * di;
      dli = cr * di + ci * dr;
      temp = p * dlr - q * dli;
      q = p * dli + q * dlr;
      p = temp;
      if (abs(dlr - 1.0) + abs(dli) < kPrecision) {
        break;
      }
    }
    if (i > kIterationLimit) {
      RaiseInternalFailure(5000);
    }
    const Num gam = (p - f) / q;
    rjmu = TransferSign(sqrt(w / ((p - f) * gam + q)), rjl);
    rymu = rjmu * gam;
    rymup = rymu * (p + q / gam);
    ry1 = xmu * xi * rymu - rymup;
  }

  fact = rjmu / rjl;
  BesselJYResult out;
  out.j = (rjl1 * fact).value();
  out.dj = (rjp1 * fact).value();
  // Upward recurrence for Y, which is stable.
  for (std::int32_t k = 1; k <= nl; ++k) {
    const Num rytemp = (xmu + static_cast<double>(k)) * xi2 * ry1 - rymu;
    rymu = ry1;
    ry1 = rytemp;
  }
  out.y = rymu.value();
  out.dy = (nu * xi * rymu - ry1).value();
  return out;
}

BesselIKResult BesselIK(double x_in, double nu_in) {
  if (x_in <= 0.0 || nu_in < 0.0) {
    RaiseInternalFailure(5000);
  }
  const Num x = x_in;
  const Num nu = nu_in;
  const std::int32_t nl = RecurrenceSteps((nu + 0.5).value());
  const Num xmu = nu - static_cast<double>(nl);
  const Num xmu2 = Square(xmu);
  const Num xi = 1.0 / x;
  const Num xi2 = 2.0 * xi;

  // CF1: I'/I at order nu.
  Num h = nu * xi;
  if (h < kTiny) {
    h = kTiny;
  }
  Num b = xi2 * nu;
  Num d = 0.0;
  Num c = h;
  int i = 1;
  for (; i <= kIterationLimit; ++i) {
    b = b + xi2;
    d = 1.0 / (b + d);
    c = b + 1.0 / c;
    const Num del = c * d;
    h = del * h;
    if (abs(del - 1.0) < kPrecision) {
      break;
    }
  }
  if (i > kIterationLimit) {
    RaiseInternalFailure(5000);
  }

  Num ril = kTiny;
  Num ripl = h * ril;
  const Num ril1 = ril;
  const Num rip1 = ripl;
  Num fact = nu * xi;
  for (std::int32_t l = nl; l >= 1; --l) {
    const Num ritemp = fact * ril + ripl;
    fact = fact - xi;
    ripl = fact * ritemp + ril;
    ril = ritemp;
  }
  const Num f = ripl / ril;

  Num rkmu;
  Num rk1;
  if (x_in < kSwitchX) {
    // Temme's series for K at order xmu.
    const Num x2 = x / 2.0;
    const Num pimu = kPi * xmu;
    fact = abs(pimu) < kPrecision ? Num(1.0) : pimu / sin(pimu);
    d = -log(x2);
    Num e = xmu * d;
    const Num fact2 = abs(e) < kPrecision ? Num(1.0) : Sinh(e) / e;
    const GammaTerms g = GammaSeriesTerms(xmu.value());
    Num ff = fact * (g.gam1 * Cosh(e) + g.gam2 * fact2 * d);
    Num sum = ff;
    e = exp(e);
    Num p = 0.5 * e / g.gampl;
    Num q = 0.5 / (e * g.gammi);
    c = 1.0;
    d = Square(x2);
    Num sum1 = p;
    i = 1;
    for (; i <= kIterationLimit; ++i) {
      const Num ni = static_cast<double>(i);
      ff = (ni * ff + p + q) / (Square(ni) - xmu2);
      c = c * d / ni;
      p = p / (ni - xmu);
      q = q / (ni + xmu);
      const Num del = c * ff;
      sum = sum + del;
      const Num del1 = c * (p - ni * ff);
      sum1 = sum1 + del1;
      if (abs(del) < (1.0 + abs(sum)) * kPrecision) {
        break;
      }
    }
    if (i > kIterationLimit) {
      RaiseInternalFailure(5000);
    }
    rkmu = sum;
    rk1 = sum1 * xi2;
  } else {
    // Steed's CF2 with Temme's normalisation.
    b = 2.0 * (1.0 + x);
    d = 1.0 / b;
    h = d;
    Num delh = d;
    Num q1 = 0.0;
    Num q2 = 1.0;
    const Num a1 = 0.25 - xmu2;
    Num q = a1;
    c = a1;
    Num a = -a1;
    Num s = 1.0 + q * delh;
    i = 2;
    for (; i <= kIterationLimit; ++i) {
      const Num ni = static_cast<double>(i);
      a = a - 2.0 * static_cast<double>(i - 1);
      c = -a * c / ni;
      const Num qnew = (q1 - b * q2) / a;
      q1 = q2;
      q2 = qnew;
      q = q + c * qnew;
      b = b + 2.0;
      d = 1.0 / (b + a * d);
      delh = (b * d - 1.0) * delh;
      h = h + delh;
      const Num dels = q * delh;
      s = s + dels;
      if (abs(dels / s) < kPrecision) {
        break;
      }
    }
    if (i > kIterationLimit) {
      RaiseInternalFailure(5000);
    }
    h = a1 * h;
    rkmu = sqrt(kPi / (2.0 * x)) * exp(-x) / s;
    rk1 = rkmu * (xmu + x + 0.5 - h) * xi;
  }

  const Num rkmup = xmu * xi * rkmu - rk1;
  const Num rimu = xi / (f * rkmu - rkmup);
  BesselIKResult out;
  out.i = (rimu * ril1 / ril).value();
  out.di = (rimu * rip1 / ril).value();
  for (std::int32_t k = 1; k <= nl; ++k) {
    const Num rktemp = (xmu + static_cast<double>(k)) * xi2 * rk1 + rkmu;
    rkmu = rk1;
    rk1 = rktemp;
  }
  out.k = rkmu.value();
  out.dk = (nu * xi * rkmu - rk1).value();
  return out;
}

}  // namespace tessarix::detail
