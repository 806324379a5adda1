// The nonlinear models of the one-variable catalogue (IDs 26 to 74, codes 11
// to 59), written out: one struct per evaluation code with the value and the
// analytic derivatives.
//
// Each value is its definition text read as algebra, operator by operator, so
// it computes what the model language computes for the text; every power goes
// through the power routine and nothing is guarded. The derivatives are the
// exact partial derivatives of the same formula. Where a parameter is the base
// of a power the derivative keeps it in a denominator, as the power rule gives
// it after factoring the value, so such a derivative fails at a zero base
// parameter although the value may exist. Elsewhere the squares of
// denominators are formed from the reciprocal (y*y rather than 1/u^2) so that
// a large denominator does not overflow where the derivative itself is small.
//
// Included by the dispatch only.
#pragma once

#include "tessarix/numerics/power.hpp"
#include "tessarix/platform/checked.hpp"

namespace tessarix::detail::nonlinear {

// ---- one parameter --------------------------------------------------------

struct Code11 {  // ID 27: 1/(1+a*x)
  static Num Value(const double* p, Num x) { return 1.0 / (1.0 + p[1] * x); }
  static void Derivatives(const double* p, Num x, double* d) {
    const Num y = 1.0 / (1.0 + p[1] * x);
    d[1] = (-x * y * y).value();
  }
};

struct Code12 {  // ID 28: exp(x-a)
  static Num Value(const double* p, Num x) { return exp(x - p[1]); }
  static void Derivatives(const double* p, Num x, double* d) { d[1] = (-exp(x - p[1])).value(); }
};

struct Code13 {  // ID 26: log(x-a)
  static Num Value(const double* p, Num x) { return log(x - p[1]); }
  static void Derivatives(const double* p, Num x, double* d) { d[1] = (-1.0 / (x - p[1])).value(); }
};

struct Code14 {  // ID 31: 1/(x+a)
  static Num Value(const double* p, Num x) { return 1.0 / (x + p[1]); }
  static void Derivatives(const double* p, Num x, double* d) {
    const Num y = 1.0 / (x + p[1]);
    d[1] = (-(y * y)).value();
  }
};

struct Code15 {  // ID 29: x^a
  static Num Value(const double* p, Num x) { return Power(x, p[1]); }
  static void Derivatives(const double* p, Num x, double* d) { d[1] = (Power(x, p[1]) * log(x)).value(); }
};

struct Code16 {  // ID 30: a^(1/x)
  static Num Value(const double* p, Num x) { return Power(p[1], 1.0 / x); }
  static void Derivatives(const double* p, Num x, double* d) {
    const Num a = p[1];
    d[1] = (Power(a, 1.0 / x) / (a * x)).value();
  }
};

struct Code17 {  // ID 32: 1-1/(x^a)
  static Num Value(const double* p, Num x) { return 1.0 - 1.0 / Power(x, p[1]); }
  static void Derivatives(const double* p, Num x, double* d) { d[1] = (log(x) * Power(x, -Num(p[1]))).value(); }
};

// ---- two parameters -------------------------------------------------------

struct Code18 {  // ID 33: log(a+b*x)
  static Num Value(const double* p, Num x) { return log(p[1] + p[2] * x); }
  static void Derivatives(const double* p, Num x, double* d) {
    const Num u = p[1] + p[2] * x;
    d[1] = (1.0 / u).value();
    d[2] = (x / u).value();
  }
};

struct Code19 {  // ID 35: a*b^x
  static Num Value(const double* p, Num x) { return p[1] * Power(p[2], x); }
  static void Derivatives(const double* p, Num x, double* d) {
    const Num a = p[1], b = p[2];
    const Num bx = Power(b, x);
    d[1] = bx.value();
    d[2] = (bx * (a * x) / b).value();
  }
};

struct Code20 {  // ID 36: a*exp(b*x)
  static Num Value(const double* p, Num x) { return p[1] * exp(p[2] * x); }
  static void Derivatives(const double* p, Num x, double* d) {
    const Num e = exp(p[2] * x);
    d[1] = e.value();
    d[2] = (p[1] * x * e).value();
  }
};

struct Code21 {  // ID 37: a*exp(b/x)
  static Num Value(const double* p, Num x) { return p[1] * exp(p[2] / x); }
  static void Derivatives(const double* p, Num x, double* d) {
    const Num e = exp(p[2] / x);
    d[1] = e.value();
    d[2] = (p[1] * e / x).value();
  }
};

struct Code22 {  // ID 38: exp(a+b*x)
  static Num Value(const double* p, Num x) { return exp(p[1] + p[2] * x); }
  static void Derivatives(const double* p, Num x, double* d) {
    const Num e = exp(p[1] + p[2] * x);
    d[1] = e.value();
    d[2] = (x * e).value();
  }
};

struct Code23 {  // ID 34: a*x^b
  static Num Value(const double* p, Num x) { return p[1] * Power(x, p[2]); }
  static void Derivatives(const double* p, Num x, double* d) {
    const Num xb = Power(x, p[2]);
    d[1] = xb.value();
    d[2] = (p[1] * xb * log(x)).value();
  }
};

struct Code24 {  // ID 39: a*b*x/(1+b*x)
  static Num Value(const double* p, Num x) { return Num(p[1]) * p[2] * x / (1.0 + p[2] * x); }
  static void Derivatives(const double* p, Num x, double* d) {
    const Num b = p[2];
    const Num y = 1.0 / (1.0 + b * x);
    d[1] = (b * x * y).value();
    d[2] = (p[1] * x * y * y).value();
  }
};

struct Code25 {  // ID 40: x/(a*x+b)
  static Num Value(const double* p, Num x) { return x / (p[1] * x + p[2]); }
  static void Derivatives(const double* p, Num x, double* d) {
    const Num u = p[1] * x + p[2];
    const Num v = x / u;
    d[1] = (-(v * v)).value();
    d[2] = (-(v / u)).value();
  }
};

struct Code26 {  // ID 41: 1/(a+b*x)
  static Num Value(const double* p, Num x) { return 1.0 / (p[1] + p[2] * x); }
  static void Derivatives(const double* p, Num x, double* d) {
    const Num y = 1.0 / (p[1] + p[2] * x);
    d[1] = (-(y * y)).value();
    d[2] = (-(x * y * y)).value();
  }
};

struct Code27 {  // ID 42: a/(1+b*x)
  static Num Value(const double* p, Num x) { return p[1] / (1.0 + p[2] * x); }
  static void Derivatives(const double* p, Num x, double* d) {
    const Num y = 1.0 / (1.0 + p[2] * x);
    d[1] = y.value();
    d[2] = (-(p[1] * x * y * y)).value();
  }
};

struct Code28 {  // ID 43: a*(x-b)
  static Num Value(const double* p, Num x) { return p[1] * (x - p[2]); }
  static void Derivatives(const double* p, Num x, double* d) {
    d[1] = (x - p[2]).value();
    d[2] = (-Num(p[1])).value();
  }
};

struct Code29 {  // ID 44: a*(1+x)^b
  static Num Value(const double* p, Num x) { return p[1] * Power(1.0 + x, p[2]); }
  static void Derivatives(const double* p, Num x, double* d) {
    const Num q = Power(1.0 + x, p[2]);
    d[1] = q.value();
    d[2] = (p[1] * q * log(1.0 + x)).value();
  }
};

struct Code32 {  // ID 45: a+b*log(x), the same text as ID 11 by its own code
  static Num Value(const double* p, Num x) { return p[1] + p[2] * log(x); }
  static void Derivatives(const double* /*p*/, Num x, double* d) {
    d[1] = 1.0;
    d[2] = log(x).value();
  }
};

struct Code33 {  // ID 46: 1/(a+b*log(x))
  static Num Value(const double* p, Num x) { return 1.0 / (p[1] + p[2] * log(x)); }
  static void Derivatives(const double* p, Num x, double* d) {
    const Num l = log(x);
    const Num y = 1.0 / (p[1] + p[2] * l);
    d[1] = (-(y * y)).value();
    d[2] = (-(l * y * y)).value();
  }
};

struct Code35 {  // ID 47: a*x^(b*x)
  static Num Value(const double* p, Num x) { return p[1] * Power(x, p[2] * x); }
  static void Derivatives(const double* p, Num x, double* d) {
    const Num q = Power(x, p[2] * x);
    d[1] = q.value();
    d[2] = (p[1] * q * x * log(x)).value();
  }
};

struct Code36 {  // ID 48: a*x^(b/x)
  static Num Value(const double* p, Num x) { return p[1] * Power(x, p[2] / x); }
  static void Derivatives(const double* p, Num x, double* d) {
    const Num q = Power(x, p[2] / x);
    d[1] = q.value();
    d[2] = (p[1] * q * log(x) / x).value();
  }
};

struct Code39 {  // ID 57: cos(x+a); one derivative though its estimator has two terms
  static Num Value(const double* p, Num x) { return cos(x + p[1]); }
  static void Derivatives(const double* p, Num x, double* d) { d[1] = (-sin(p[1] + x)).value(); }
};

struct Code40 {  // ID 58: sin(x+a); likewise
  static Num Value(const double* p, Num x) { return sin(x + p[1]); }
  static void Derivatives(const double* p, Num x, double* d) { d[1] = cos(p[1] + x).value(); }
};

struct Code41 {  // ID 59: 1-exp(-a*x^2)
  static Num Value(const double* p, Num x) { return 1.0 - exp(-Num(p[1]) * Power(x, 2.0)); }
  static void Derivatives(const double* p, Num x, double* d) {
    const Num x2 = Power(x, 2.0);
    d[1] = (x2 * exp(-Num(p[1]) * x2)).value();
  }
};

struct Code42 {  // ID 60: exp(-a*x^2)
  static Num Value(const double* p, Num x) { return exp(-Num(p[1]) * Power(x, 2.0)); }
  static void Derivatives(const double* p, Num x, double* d) {
    const Num x2 = Power(x, 2.0);
    d[1] = (-(x2 * exp(-Num(p[1]) * x2))).value();
  }
};

struct Code43 {  // ID 61: a*cos(x)+b*sin(x)
  static Num Value(const double* p, Num x) { return p[1] * cos(x) + p[2] * sin(x); }
  static void Derivatives(const double* /*p*/, Num x, double* d) {
    d[1] = cos(x).value();
    d[2] = sin(x).value();
  }
};

struct Code52 {  // ID 49: a*x/(b+x)
  static Num Value(const double* p, Num x) { return p[1] * x / (p[2] + x); }
  static void Derivatives(const double* p, Num x, double* d) {
    const Num u = p[2] + x;
    d[1] = (x / u).value();
    d[2] = (-(p[1] * x / u / u)).value();
  }
};

struct Code53 {  // ID 50: a+b/x, the same text as ID 16 by its own code
  static Num Value(const double* p, Num x) { return p[1] + p[2] / x; }
  static void Derivatives(const double* /*p*/, Num x, double* d) {
    d[1] = 1.0;
    d[2] = (1.0 / x).value();
  }
};

struct Code55 {  // ID 70: 1-exp(-x^a)
  static Num Value(const double* p, Num x) { return 1.0 - exp(-Power(x, p[1])); }
  static void Derivatives(const double* p, Num x, double* d) {
    const Num q = Power(x, p[1]);
    d[1] = (exp(-q) * q * log(x)).value();
  }
};

struct Code56 {  // ID 71: exp(-x^a)
  static Num Value(const double* p, Num x) { return exp(-Power(x, p[1])); }
  static void Derivatives(const double* p, Num x, double* d) {
    const Num q = Power(x, p[1]);
    d[1] = (-(exp(-q) * q * log(x))).value();
  }
};

struct Code57 {  // ID 72: 1-exp(-a*x^b)
  static Num Value(const double* p, Num x) { return 1.0 - exp(-Num(p[1]) * Power(x, p[2])); }
  static void Derivatives(const double* p, Num x, double* d) {
    const Num a = p[1];
    const Num q = Power(x, p[2]);
    const Num e = exp(-a * q);
    d[1] = (q * e).value();
    d[2] = (a * q * log(x) * e).value();
  }
};

struct Code58 {  // ID 73: 1-exp(-a*b^x)
  static Num Value(const double* p, Num x) { return 1.0 - exp(-Num(p[1]) * Power(p[2], x)); }
  static void Derivatives(const double* p, Num x, double* d) {
    const Num a = p[1], b = p[2];
    const Num bx = Power(b, x);
    d[1] = (bx * exp(-a * bx)).value();
    d[2] = (bx * a * exp(bx * (-a)) * x / b).value();
  }
};

struct Code59 {  // ID 74: exp(-exp(a-b*x)); the inner exp may overflow on its own
  static Num Value(const double* p, Num x) { return exp(-exp(p[1] - p[2] * x)); }
  static void Derivatives(const double* p, Num x, double* d) {
    const Num g = exp(p[1] - p[2] * x);
    const Num v = exp(-g);
    d[1] = (-(g * v)).value();
    d[2] = (x * g * v).value();
  }
};

// ---- three parameters -----------------------------------------------------

struct Code30 {  // ID 53: 1/(a+b*x+c*x^2)
  static Num Value(const double* p, Num x) { return 1.0 / (p[1] + p[2] * x + p[3] * Power(x, 2.0)); }
  static void Derivatives(const double* p, Num x, double* d) {
    const Num x2 = Power(x, 2.0);
    const Num y = 1.0 / (p[1] + p[2] * x + p[3] * x2);
    d[1] = (-(y * y)).value();
    d[2] = (-(x * y * y)).value();
    d[3] = (-(x2 * y * y)).value();
  }
};

struct Code31 {  // ID 56: a/(1+b*x+c*x^2)
  static Num Value(const double* p, Num x) { return p[1] / (1.0 + p[2] * x + p[3] * Power(x, 2.0)); }
  static void Derivatives(const double* p, Num x, double* d) {
    const Num a = p[1];
    const Num x2 = Power(x, 2.0);
    const Num y = 1.0 / (1.0 + p[2] * x + p[3] * x2);
    d[1] = y.value();
    d[2] = (-(a * x * y * y)).value();
    d[3] = (-(a * x2 * y * y)).value();
  }
};

struct Code34 {  // ID 54: exp(a+b/x+c*log(x))
  static Num Value(const double* p, Num x) { return exp(p[1] + p[2] / x + p[3] * log(x)); }
  static void Derivatives(const double* p, Num x, double* d) {
    const Num l = log(x);
    const Num e = exp(p[1] + p[2] / x + p[3] * l);
    d[1] = e.value();
    d[2] = (e / x).value();
    d[3] = (e * l).value();
  }
};

struct Code37 {  // ID 51: a*b^x*x^c
  static Num Value(const double* p, Num x) { return p[1] * Power(p[2], x) * Power(x, p[3]); }
  static void Derivatives(const double* p, Num x, double* d) {
    const Num a = p[1], b = p[2];
    const Num bx = Power(b, x);
    const Num xc = Power(x, p[3]);
    d[1] = (bx * xc).value();
    d[2] = (xc * (bx * (a / b * x))).value();
    d[3] = (a * bx * xc * log(x)).value();
  }
};

struct Code38 {  // ID 52: a*b^(1/x)*x^c
  static Num Value(const double* p, Num x) { return p[1] * Power(p[2], 1.0 / x) * Power(x, p[3]); }
  static void Derivatives(const double* p, Num x, double* d) {
    const Num a = p[1], b = p[2];
    const Num bx = Power(b, 1.0 / x);
    const Num xc = Power(x, p[3]);
    d[1] = (bx * xc).value();
    d[2] = (xc * (bx * (a / (b * x)))).value();
    d[3] = (a * bx * xc * log(x)).value();
  }
};

struct Code44 {  // ID 62: x/(a+b*x-c*x^2)
  static Num Value(const double* p, Num x) { return x / (p[1] + p[2] * x - p[3] * Power(x, 2.0)); }
  static void Derivatives(const double* p, Num x, double* d) {
    const Num u = p[1] + p[2] * x - p[3] * Power(x, 2.0);
    const Num v = x / u;
    d[1] = (-(v / u)).value();
    d[2] = (-(v * v)).value();
    d[3] = (v * v * x).value();
  }
};

struct Code45 {  // ID 63: a+b*cos(x)+c*sin(x)
  static Num Value(const double* p, Num x) { return p[1] + p[2] * cos(x) + p[3] * sin(x); }
  static void Derivatives(const double* /*p*/, Num x, double* d) {
    d[1] = 1.0;
    d[2] = cos(x).value();
    d[3] = sin(x).value();
  }
};

struct Code46 {  // ID 64: exp(a+b*x+c*x^2)
  static Num Value(const double* p, Num x) { return exp(p[1] + p[2] * x + p[3] * Power(x, 2.0)); }
  static void Derivatives(const double* p, Num x, double* d) {
    const Num x2 = Power(x, 2.0);
    const Num e = exp(p[1] + p[2] * x + p[3] * x2);
    d[1] = e.value();
    d[2] = (x * e).value();
    d[3] = (x2 * e).value();
  }
};

struct Code47 {  // ID 65: x/(a+b*x+c*sqr(x)), sqr being the square root
  static Num Value(const double* p, Num x) { return x / (p[1] + p[2] * x + p[3] * sqrt(x)); }
  static void Derivatives(const double* p, Num x, double* d) {
    const Num s = sqrt(x);
    const Num u = p[1] + p[2] * x + p[3] * s;
    const Num v = x / u;
    d[1] = (-(v / u)).value();
    d[2] = (-(v * v)).value();
    d[3] = (-(v * s / u)).value();
  }
};

struct Code48 {  // ID 66: a*x^b*exp(-c*x)
  static Num Value(const double* p, Num x) { return p[1] * Power(x, p[2]) * exp(-Num(p[3]) * x); }
  static void Derivatives(const double* p, Num x, double* d) {
    const Num q = Power(x, p[2]) * exp(-Num(p[3]) * x);
    const Num v = p[1] * q;
    d[1] = q.value();
    d[2] = (v * log(x)).value();
    d[3] = (-(v * x)).value();
  }
};

struct Code49 {  // ID 67: x^a*exp(b-c*x)
  static Num Value(const double* p, Num x) { return Power(x, p[1]) * exp(p[2] - p[3] * x); }
  static void Derivatives(const double* p, Num x, double* d) {
    const Num v = Power(x, p[1]) * exp(p[2] - p[3] * x);
    d[1] = (v * log(x)).value();
    d[2] = v.value();
    d[3] = (-(v * x)).value();
  }
};

struct Code50 {  // ID 68: a*x^b*(1-x)^c
  static Num Value(const double* p, Num x) { return p[1] * Power(x, p[2]) * Power(1.0 - x, p[3]); }
  static void Derivatives(const double* p, Num x, double* d) {
    const Num q = Power(x, p[2]) * Power(1.0 - x, p[3]);
    const Num v = p[1] * q;
    d[1] = q.value();
    d[2] = (v * log(x)).value();
    d[3] = (v * log(1.0 - x)).value();
  }
};

struct Code51 {  // ID 69: a*exp((-(x-b)^2)/(2*c^2)), the denominator as c^2+c^2
  static Num Value(const double* p, Num x) {
    const Num c2 = Power(p[3], 2.0);
    return p[1] * exp(-Power(x - p[2], 2.0) / (c2 + c2));
  }
  static void Derivatives(const double* p, Num x, double* d) {
    const Num a = p[1], c = p[3];
    const Num c2 = Power(c, 2.0);
    const Num dx = x - p[2];
    const Num e = exp(-Power(dx, 2.0) / (c2 + c2));
    d[1] = e.value();
    d[2] = (dx * a * e / c2).value();
    d[3] = (Power(dx, 2.0) / Power(c, 3.0) * a * e).value();
  }
};

struct Code54 {  // ID 55: a+b*x+c/x^2
  static Num Value(const double* p, Num x) { return p[1] + p[2] * x + p[3] / Power(x, 2.0); }
  static void Derivatives(const double* /*p*/, Num x, double* d) {
    d[1] = 1.0;
    d[2] = x.value();
    d[3] = (1.0 / Power(x, 2.0)).value();
  }
};

}  // namespace tessarix::detail::nonlinear
