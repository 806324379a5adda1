// The nonlinear models of the one-variable catalogue with one parameter
// (IDs 26 to 32, 57 to 60, 70 and 71), written out: one row per model with its
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
inline constexpr std::array kOneParameterModels = {
    Written(
        26, 13, "log(x-a)", "", 1,  //
        []<class N>(const double* p, N x) { return log(x - p[1]); },
        []<class N>(const double* p, N x, double* d) { d[1] = (-1.0 / (x - p[1])).value(); },
        {ExpYMinusX, {MinusOne}, AsTheyStand}),
    Written(
        27, 11, "1/(1+a*x)", "", 1,  //
        []<class N>(const double* p, N x) { return 1.0 / (1.0 + p[1] * x); },
        []<class N>(const double* p, N x, double* d) {
          const N y = 1.0 / (1.0 + p[1] * x);
          d[1] = (-x * y * y).value();
        },
        {InverseYMinus1, {X}, AsTheyStand}),
    Written(
        28, 12, "exp(x-a)", "", 1,  //
        []<class N>(const double* p, N x) { return exp(x - p[1]); },
        []<class N>(const double* p, N x, double* d) { d[1] = (-exp(x - p[1])).value(); },
        {LogYMinusX, {MinusOne}, AsTheyStand}),
    Written(
        29, 15, "x^a", "", 1,  //
        []<class N>(const double* p, N x) { return Power(x, p[1]); },
        []<class N>(const double* p, N x, double* d) { d[1] = (Power(x, p[1]) * log(x)).value(); },
        {LogY, {LogX}, AsTheyStand}),
    Written(
        30, 16, "a^(1/x)", "Root Model", 1,  //
        []<class N>(const double* p, N x) { return Power(p[1], 1.0 / x); },
        []<class N>(const double* p, N x, double* d) {
          const N a = p[1];
          d[1] = (Power(a, 1.0 / x) / (a * x)).value();
        },
        {LogY, {InverseX}, ExpA}),
    Written(
        31, 14, "1/(x+a)", "", 1,  //
        []<class N>(const double* p, N x) { return 1.0 / (x + p[1]); },
        []<class N>(const double* p, N x, double* d) {
          const N y = 1.0 / (x + p[1]);
          d[1] = (-(y * y)).value();
        },
        {InverseYMinusX, {One}, AsTheyStand}),
    Written(
        32, 17, "1-1/(x^a)", "", 1,  //
        []<class N>(const double* p, N x) { return 1.0 - 1.0 / Power(x, p[1]); },
        []<class N>(const double* p, N x, double* d) { d[1] = (log(x) * Power(x, -N(p[1]))).value(); },
        {LogInverse1MinusY, {LogX}, AsTheyStand}),
    // The trigonometric pair: one parameter and one derivative, but two estimator
    // terms (1 and x); the coefficient of x has no parameter to go to.
    Written(
        57, 39, "cos(x+a)", "Trigonometric", 1,  //
        []<class N>(const double* p, N x) { return cos(x + p[1]); },
        []<class N>(const double* p, N x, double* d) { d[1] = (-sin(p[1] + x)).value(); },  //
        {ArcCosY, {One, X}, AsTheyStand}),
    Written(
        58, 40, "sin(x+a)", "Trigonometric II", 1,  //
        []<class N>(const double* p, N x) { return sin(x + p[1]); },
        []<class N>(const double* p, N x, double* d) { d[1] = cos(p[1] + x).value(); },  //
        {ArcSinY, {One, X}, AsTheyStand}),
    Written(
        59, 41, "1-exp(-a*x^2)", "", 1,  //
        []<class N>(const double* p, N x) { return 1.0 - exp(-N(p[1]) * Power(x, 2.0)); },
        []<class N>(const double* p, N x, double* d) {
          const N x2 = Power(x, 2.0);
          d[1] = (x2 * exp(-N(p[1]) * x2)).value();
        },
        {Log1MinusY, {MinusX2}, AsTheyStand}),
    Written(
        60, 42, "exp(-a*x^2)", "", 1,  //
        []<class N>(const double* p, N x) { return exp(-N(p[1]) * Power(x, 2.0)); },
        []<class N>(const double* p, N x, double* d) {
          const N x2 = Power(x, 2.0);
          d[1] = (-(x2 * exp(-N(p[1]) * x2))).value();
        },
        {LogY, {MinusX2}, AsTheyStand}),
    Written(
        70, 55, "1-exp(-x^a)", "", 1,  //
        []<class N>(const double* p, N x) { return 1.0 - exp(-Power(x, p[1])); },
        []<class N>(const double* p, N x, double* d) {
          const N q = Power(x, p[1]);
          d[1] = (exp(-q) * q * log(x)).value();
        },
        {LogMinusLog1MinusY, {LogX}, AsTheyStand}),
    Written(
        71, 56, "exp(-x^a)", "", 1,  //
        []<class N>(const double* p, N x) { return exp(-Power(x, p[1])); },
        []<class N>(const double* p, N x, double* d) {
          const N q = Power(x, p[1]);
          d[1] = (-(exp(-q) * q * log(x))).value();
        },
        {LogMinusLogY, {LogX}, AsTheyStand}),
};

}  // namespace tessarix::detail::written
