// The nonlinear models of the one-variable catalogue with three parameters
// (IDs 51 to 56 and 62 to 69), written out: one row per model with its
// value, its analytic derivatives and its estimate rule (transformed value,
// terms, way back). The rules of form are those of model_row.hpp.
//
// Included by model_catalogue.cpp only.
#pragma once

#include <array>

#include "tessarix/models/internal/model_row.hpp"
#include "tessarix/numerics/power.hpp"

namespace tessarix::detail::written {

using enum Transform;
using enum Term;
using enum Recovery;

// ID, evaluation code, definition, description, parameters; value;
// derivatives; estimate rule.
inline constexpr std::array kThreeParameterModels = {
    Written(
        51, 37, "a*b^x*x^c", "Hoerl", 3,  //
        []<class N>(const double* p, N x) { return p[1] * Power(p[2], x) * Power(x, p[3]); },
        []<class N>(const double* p, N x, double* d) {
          const N a = p[1], b = p[2];
          const N bx = Power(b, x);
          const N xc = Power(x, p[3]);
          d[1] = (bx * xc).value();
          d[2] = (xc * (bx * (a / b * x))).value();
          d[3] = (a * bx * xc * log(x)).value();
        },
        {LogY, {One, X, LogX}, ExpAB}),
    Written(
        52, 38, "a*b^(1/x)*x^c", "Modified Hoerl", 3,  //
        []<class N>(const double* p, N x) { return p[1] * Power(p[2], 1.0 / x) * Power(x, p[3]); },
        []<class N>(const double* p, N x, double* d) {
          const N a = p[1], b = p[2];
          const N bx = Power(b, 1.0 / x);
          const N xc = Power(x, p[3]);
          d[1] = (bx * xc).value();
          d[2] = (xc * (bx * (a / (b * x)))).value();
          d[3] = (a * bx * xc * log(x)).value();
        },
        {LogY, {One, InverseX, LogX}, ExpAB}),
    Written(
        53, 30, "1/(a+b*x+c*x^2)", "Reciprocal Quadratic (Holliday)", 3,  //
        []<class N>(const double* p, N x) { return 1.0 / (p[1] + p[2] * x + p[3] * Power(x, 2.0)); },
        []<class N>(const double* p, N x, double* d) {
          const N x2 = Power(x, 2.0);
          const N y = 1.0 / (p[1] + p[2] * x + p[3] * x2);
          d[1] = (-(y * y)).value();
          d[2] = (-(x * y * y)).value();
          d[3] = (-(x2 * y * y)).value();
        },
        {InverseY, {One, X, X2}, AsTheyStand}),
    Written(
        54, 34, "exp(a+b/x+c*log(x))", "Vapor Pressure Model", 3,  //
        []<class N>(const double* p, N x) { return exp(p[1] + p[2] / x + p[3] * log(x)); },
        []<class N>(const double* p, N x, double* d) {
          const N l = log(x);
          const N e = exp(p[1] + p[2] / x + p[3] * l);
          d[1] = e.value();
          d[2] = (e / x).value();
          d[3] = (e * l).value();
        },
        {LogY, {One, InverseX, LogX}, AsTheyStand}),
    Written(
        55, 54, "a+b*x+c/x^2", "Heat Capacity Model", 3,  //
        []<class N>(const double* p, N x) { return p[1] + p[2] * x + p[3] / Power(x, 2.0); },
        []<class N>(const double* /*p*/, N x, double* d) {
          d[1] = 1.0;
          d[2] = x.value();
          d[3] = (1.0 / Power(x, 2.0)).value();
        },
        {Y, {One, X, InverseX2}, AsTheyStand}),
    Written(
        56, 31, "a/(1+b*x+c*x^2)", "", 3,  //
        []<class N>(const double* p, N x) { return p[1] / (1.0 + p[2] * x + p[3] * Power(x, 2.0)); },
        []<class N>(const double* p, N x, double* d) {
          const N a = p[1];
          const N x2 = Power(x, 2.0);
          const N y = 1.0 / (1.0 + p[2] * x + p[3] * x2);
          d[1] = y.value();
          d[2] = (-(a * x * y * y)).value();
          d[3] = (-(a * x2 * y * y)).value();
        },
        {InverseY, {One, X, X2}, ReciprocalA}),
    Written(
        62, 44, "x/(a+b*x-c*x^2)", "", 3,  //
        []<class N>(const double* p, N x) { return x / (p[1] + p[2] * x - p[3] * Power(x, 2.0)); },
        []<class N>(const double* p, N x, double* d) {
          const N u = p[1] + p[2] * x - p[3] * Power(x, 2.0);
          const N v = x / u;
          d[1] = (-(v / u)).value();
          d[2] = (-(v * v)).value();
          d[3] = (v * v * x).value();
        },
        {InverseY, {InverseX, One, MinusX}, AsTheyStand}),
    Written(
        63, 45, "a+b*cos(x)+c*sin(x)", "", 3,  //
        []<class N>(const double* p, N x) { return p[1] + p[2] * cos(x) + p[3] * sin(x); },
        []<class N>(const double* /*p*/, N x, double* d) {
          d[1] = 1.0;
          d[2] = cos(x).value();
          d[3] = sin(x).value();
        },
        {Y, {One, CosX, SinX}, AsTheyStand}),
    Written(
        64, 46, "exp(a+b*x+c*x^2)", "", 3,  //
        []<class N>(const double* p, N x) { return exp(p[1] + p[2] * x + p[3] * Power(x, 2.0)); },
        []<class N>(const double* p, N x, double* d) {
          const N x2 = Power(x, 2.0);
          const N e = exp(p[1] + p[2] * x + p[3] * x2);
          d[1] = e.value();
          d[2] = (x * e).value();
          d[3] = (x2 * e).value();
        },
        {LogY, {One, X, X2}, AsTheyStand}),
    // sqr is the square root, in the text and here alike.
    Written(
        65, 47, "x/(a+b*x+c*sqr(x))", "Gunary Model", 3,  //
        []<class N>(const double* p, N x) { return x / (p[1] + p[2] * x + p[3] * sqrt(x)); },
        []<class N>(const double* p, N x, double* d) {
          const N s = sqrt(x);
          const N u = p[1] + p[2] * x + p[3] * s;
          const N v = x / u;
          d[1] = (-(v / u)).value();
          d[2] = (-(v * v)).value();
          d[3] = (-(v * s / u)).value();
        },
        {InverseY, {InverseX, One, SqrtXOverX}, AsTheyStand}),
    Written(
        66, 48, "a*x^b*exp(-c*x)", "", 3,  //
        []<class N>(const double* p, N x) { return p[1] * Power(x, p[2]) * exp(-N(p[3]) * x); },
        []<class N>(const double* p, N x, double* d) {
          const N q = Power(x, p[2]) * exp(-N(p[3]) * x);
          const N v = p[1] * q;
          d[1] = q.value();
          d[2] = (v * log(x)).value();
          d[3] = (-(v * x)).value();
        },
        {LogY, {One, LogX, MinusX}, ExpA}),
    Written(
        67, 49, "x^a*exp(b-c*x)", "", 3,  //
        []<class N>(const double* p, N x) { return Power(x, p[1]) * exp(p[2] - p[3] * x); },
        []<class N>(const double* p, N x, double* d) {
          const N v = Power(x, p[1]) * exp(p[2] - p[3] * x);
          d[1] = (v * log(x)).value();
          d[2] = v.value();
          d[3] = (-(v * x)).value();
        },
        {LogY, {LogX, One, MinusX}, AsTheyStand}),
    Written(
        68, 50, "a*x^b*(1-x)^c", "Beta Distribution Model", 3,  //
        []<class N>(const double* p, N x) { return p[1] * Power(x, p[2]) * Power(1.0 - x, p[3]); },
        []<class N>(const double* p, N x, double* d) {
          const N q = Power(x, p[2]) * Power(1.0 - x, p[3]);
          const N v = p[1] * q;
          d[1] = q.value();
          d[2] = (v * log(x)).value();
          d[3] = (v * log(1.0 - x)).value();
        },
        {LogY, {One, LogX, Log1MinusX}, ExpA}),
    // The Gaussian: the denominator 2*c^2 computed as c^2+c^2.
    Written(
        69, 51, "a*exp((-(x-b)^2)/(2*c^2))", "Gaussian (Normal) Distribution Model", 3,  //
        []<class N>(const double* p, N x) {
          const N c2 = Power(N(p[3]), 2.0);
          return p[1] * exp(-Power(x - p[2], 2.0) / (c2 + c2));
        },
        []<class N>(const double* p, N x, double* d) {
          const N a = p[1], c = p[3];
          const N c2 = Power(c, 2.0);
          const N dx = x - p[2];
          const N e = exp(-Power(dx, 2.0) / (c2 + c2));
          d[1] = e.value();
          d[2] = (dx * a * e / c2).value();
          d[3] = (Power(dx, 2.0) / Power(c, 3.0) * a * e).value();
        },
        {LogY, {One, X, X2}, Gaussian}),
};

}  // namespace tessarix::detail::written
