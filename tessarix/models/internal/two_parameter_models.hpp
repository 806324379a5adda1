// The nonlinear models of the one-variable catalogue with two parameters
// (IDs 33 to 50, 61 and 72 to 74), written out: one row per model with its
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
inline constexpr std::array kTwoParameterModels = {
    Written(
        33, 18, "log(a+b*x)", "", 2,  //
        []<class N>(const double* p, N x) { return log(p[1] + p[2] * x); },
        []<class N>(const double* p, N x, double* d) {
          const N u = p[1] + p[2] * x;
          d[1] = (1.0 / u).value();
          d[2] = (x / u).value();
        },
        {ExpY, {One, X}, AsTheyStand}),
    Written(
        34, 23, "a*x^b", "Power (Freundlich)", 2,  //
        []<class N>(const double* p, N x) { return p[1] * Power(x, p[2]); },
        []<class N>(const double* p, N x, double* d) {
          const N xb = Power(x, p[2]);
          d[1] = xb.value();
          d[2] = (p[1] * xb * log(x)).value();
        },
        {LogY, {One, LogX}, ExpA}),
    Written(
        35, 19, "a*b^x", "Modified Power", 2,  //
        []<class N>(const double* p, N x) { return p[1] * Power(p[2], x); },
        []<class N>(const double* p, N x, double* d) {
          const N a = p[1], b = p[2];
          const N bx = Power(b, x);
          d[1] = bx.value();
          d[2] = (bx * (a * x) / b).value();
        },
        {LogY, {One, X}, ExpAB}),
    Written(
        36, 20, "a*exp(b*x)", "Exponential", 2,  //
        []<class N>(const double* p, N x) { return p[1] * exp(p[2] * x); },
        []<class N>(const double* p, N x, double* d) {
          const N e = exp(p[2] * x);
          d[1] = e.value();
          d[2] = (p[1] * x * e).value();
        },
        {LogY, {One, X}, ExpA}),
    Written(
        37, 21, "a*exp(b/x)", "Modified Exponential", 2,  //
        []<class N>(const double* p, N x) { return p[1] * exp(p[2] / x); },
        []<class N>(const double* p, N x, double* d) {
          const N e = exp(p[2] / x);
          d[1] = e.value();
          d[2] = (p[1] * e / x).value();
        },
        {LogY, {One, InverseX}, ExpA}),
    Written(
        38, 22, "exp(a+b*x)", "", 2,  //
        []<class N>(const double* p, N x) { return exp(p[1] + p[2] * x); },
        []<class N>(const double* p, N x, double* d) {
          const N e = exp(p[1] + p[2] * x);
          d[1] = e.value();
          d[2] = (x * e).value();
        },
        {LogY, {One, X}, AsTheyStand}),
    Written(
        39, 24, "a*b*x/(1+b*x)", "Rectangular Hyperbola", 2,  //
        []<class N>(const double* p, N x) { return N(p[1]) * p[2] * x / (1.0 + p[2] * x); },
        []<class N>(const double* p, N x, double* d) {
          const N b = p[2];
          const N y = 1.0 / (1.0 + b * x);
          d[1] = (b * x * y).value();
          d[2] = (p[1] * x * y * y).value();
        },
        {InverseY, {One, InverseX}, Hyperbola}),
    Written(
        40, 25, "x/(a*x+b)", "", 2,  //
        []<class N>(const double* p, N x) { return x / (p[1] * x + p[2]); },
        []<class N>(const double* p, N x, double* d) {
          const N u = p[1] * x + p[2];
          const N v = x / u;
          d[1] = (-(v * v)).value();
          d[2] = (-(v / u)).value();
        },
        {InverseY, {One, InverseX}, AsTheyStand}),
    Written(
        41, 26, "1/(a+b*x)", "Reciprocal Model (Shinozaki & Kira)", 2,  //
        []<class N>(const double* p, N x) { return 1.0 / (p[1] + p[2] * x); },
        []<class N>(const double* p, N x, double* d) {
          const N y = 1.0 / (p[1] + p[2] * x);
          d[1] = (-(y * y)).value();
          d[2] = (-(x * y * y)).value();
        },
        {InverseY, {One, X}, AsTheyStand}),
    Written(
        42, 27, "a/(1+b*x)", "", 2,  //
        []<class N>(const double* p, N x) { return p[1] / (1.0 + p[2] * x); },
        []<class N>(const double* p, N x, double* d) {
          const N y = 1.0 / (1.0 + p[2] * x);
          d[1] = y.value();
          d[2] = (-(p[1] * x * y * y)).value();
        },
        {InverseY, {One, X}, ReciprocalA}),
    Written(
        43, 28, "a*(x-b)", "Reparameterization of First Order Polynomial", 2,  //
        []<class N>(const double* p, N x) { return p[1] * (x - p[2]); },
        []<class N>(const double* p, N x, double* d) {
          d[1] = (x - p[2]).value();
          d[2] = (-N(p[1])).value();
        },
        {Y, {X, MinusOne}, Slope}),
    Written(
        44, 29, "a*(1+x)^b", "", 2,  //
        []<class N>(const double* p, N x) { return p[1] * Power(1.0 + x, p[2]); },
        []<class N>(const double* p, N x, double* d) {
          const N q = Power(1.0 + x, p[2]);
          d[1] = q.value();
          d[2] = (p[1] * q * log(1.0 + x)).value();
        },
        {LogY, {One, LogXPlus1}, ExpA}),
    // The text of ID 11, another model: its own code, description and arithmetic.
    Written(
        45, 32, "a+b*log(x)", "Logarithm Model", 2,  //
        []<class N>(const double* p, N x) { return p[1] + p[2] * log(x); },
        []<class N>(const double* /*p*/, N x, double* d) {
          d[1] = 1.0;
          d[2] = log(x).value();
        },
        {Y, {One, LogX}, AsTheyStand}),
    Written(
        46, 33, "1/(a+b*log(x))", "Reciprocal Logarithm Model", 2,  //
        []<class N>(const double* p, N x) { return 1.0 / (p[1] + p[2] * log(x)); },
        []<class N>(const double* p, N x, double* d) {
          const N l = log(x);
          const N y = 1.0 / (p[1] + p[2] * l);
          d[1] = (-(y * y)).value();
          d[2] = (-(l * y * y)).value();
        },
        {InverseY, {One, LogX}, AsTheyStand}),
    Written(
        47, 35, "a*x^(b*x)", "Geometric Model", 2,  //
        []<class N>(const double* p, N x) { return p[1] * Power(x, p[2] * x); },
        []<class N>(const double* p, N x, double* d) {
          const N q = Power(x, p[2] * x);
          d[1] = q.value();
          d[2] = (p[1] * q * x * log(x)).value();
        },
        {LogY, {One, XLogX}, ExpA}),
    Written(
        48, 36, "a*x^(b/x)", "Modified Geometric Model", 2,  //
        []<class N>(const double* p, N x) { return p[1] * Power(x, p[2] / x); },
        []<class N>(const double* p, N x, double* d) {
          const N q = Power(x, p[2] / x);
          d[1] = q.value();
          d[2] = (p[1] * q * log(x) / x).value();
        },
        {LogY, {One, LogXOverX}, ExpA}),
    Written(
        49, 52, "a*x/(b+x)", "Saturation Growth Model", 2,  //
        []<class N>(const double* p, N x) { return p[1] * x / (p[2] + x); },
        []<class N>(const double* p, N x, double* d) {
          const N u = p[2] + x;
          d[1] = (x / u).value();
          d[2] = (-(p[1] * x / u / u)).value();
        },
        {InverseY, {One, InverseX}, ReciprocalA}),
    // The text of ID 16, another model, likewise.
    Written(
        50, 53, "a+b/x", "Hyperbolic Fit", 2,  //
        []<class N>(const double* p, N x) { return p[1] + p[2] / x; },
        []<class N>(const double* /*p*/, N x, double* d) {
          d[1] = 1.0;
          d[2] = (1.0 / x).value();
        },
        {Y, {One, InverseX}, AsTheyStand}),
    Written(
        61, 43, "a*cos(x)+b*sin(x)", "Two Parameter", 2,  //
        []<class N>(const double* p, N x) { return p[1] * cos(x) + p[2] * sin(x); },
        []<class N>(const double* /*p*/, N x, double* d) {
          d[1] = cos(x).value();
          d[2] = sin(x).value();
        },
        {Y, {CosX, SinX}, AsTheyStand}),
    Written(
        72, 57, "1-exp(-a*x^b)", "", 2,  //
        []<class N>(const double* p, N x) { return 1.0 - exp(-N(p[1]) * Power(x, p[2])); },
        []<class N>(const double* p, N x, double* d) {
          const N a = p[1];
          const N q = Power(x, p[2]);
          const N e = exp(-a * q);
          d[1] = (q * e).value();
          d[2] = (a * q * log(x) * e).value();
        },
        {LogMinusLog1MinusY, {One, LogX}, ExpA}),
    Written(
        73, 58, "1-exp(-a*b^x)", "", 2,  //
        []<class N>(const double* p, N x) { return 1.0 - exp(-N(p[1]) * Power(p[2], x)); },
        []<class N>(const double* p, N x, double* d) {
          const N a = p[1], b = p[2];
          const N bx = Power(b, x);
          d[1] = (bx * exp(-a * bx)).value();
          d[2] = (bx * a * exp(bx * (-a)) * x / b).value();
        },
        {LogMinusLog1MinusY, {One, X}, ExpAB}),
    // The inner exp may overflow on its own, though the value would be 0.
    Written(
        74, 59, "exp(-exp(a-b*x))", "", 2,  //
        []<class N>(const double* p, N x) { return exp(-exp(p[1] - p[2] * x)); },
        []<class N>(const double* p, N x, double* d) {
          const N g = exp(p[1] - p[2] * x);
          const N v = exp(-g);
          d[1] = (-(g * v)).value();
          d[2] = (x * g * v).value();
        },
        {LogMinusLogY, {One, MinusX}, AsTheyStand}),
};

}  // namespace tessarix::detail::written
