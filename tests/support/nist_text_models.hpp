// The NIST StRD nonlinear regression problems of one predictor written in the
// model language, with the parameter names b1, b2, ... of the NIST files.
// Nelson, the one problem with two predictors, is not among them.
#pragma once

namespace tessarix::test {

struct NistTextModel {
  const char* name;
  const char* model;
};

inline constexpr NistTextModel kNistTextModels[] = {
    {"Misra1a", "b1*(1-exp(-b2*x))"},
    {"Chwirut2", "exp(-b1*x)/(b2+b3*x)"},
    {"Chwirut1", "exp(-b1*x)/(b2+b3*x)"},
    {"Lanczos3", "b1*exp(-b2*x)+b3*exp(-b4*x)+b5*exp(-b6*x)"},
    {"Gauss1", "b1*exp(-b2*x)+b3*exp(-(x-b4)^2/b5^2)+b6*exp(-(x-b7)^2/b8^2)"},
    {"Gauss2", "b1*exp(-b2*x)+b3*exp(-(x-b4)^2/b5^2)+b6*exp(-(x-b7)^2/b8^2)"},
    {"DanWood", "b1*x^b2"},
    {"Misra1b", "b1*(1-(1+b2*x/2)^(-2))"},
    {"Kirby2", "(b1+b2*x+b3*x^2)/(1+b4*x+b5*x^2)"},
    {"Hahn1", "(b1+b2*x+b3*x^2+b4*x^3)/(1+b5*x+b6*x^2+b7*x^3)"},
    {"MGH17", "b1+b2*exp(-x*b4)+b3*exp(-x*b5)"},
    {"Lanczos1", "b1*exp(-b2*x)+b3*exp(-b4*x)+b5*exp(-b6*x)"},
    {"Lanczos2", "b1*exp(-b2*x)+b3*exp(-b4*x)+b5*exp(-b6*x)"},
    {"Gauss3", "b1*exp(-b2*x)+b3*exp(-(x-b4)^2/b5^2)+b6*exp(-(x-b7)^2/b8^2)"},
    {"Misra1c", "b1*(1-(1+2*b2*x)^(-.5))"},
    {"Misra1d", "b1*b2*x*((1+b2*x)^(-1))"},
    {"Roszman1", "b1-b2*x-arctan(b3/(x-b4))/pi"},
    {"ENSO",
     "b1+b2*cos(2*pi*x/12)+b3*sin(2*pi*x/12)+b5*cos(2*pi*x/b4)+b6*sin(2*pi*x/b4)+b8*cos(2*pi*x/b7)+b9*sin(2*pi*x/b7)"},
    {"MGH09", "b1*(x^2+x*b2)/(x^2+x*b3+b4)"},
    {"Thurber", "(b1+b2*x+b3*x^2+b4*x^3)/(1+b5*x+b6*x^2+b7*x^3)"},
    {"BoxBOD", "b1*(1-exp(-b2*x))"},
    {"Rat42", "b1/(1+exp(b2-b3*x))"},
    {"MGH10", "b1*exp(b2/(x+b3))"},
    {"Eckerle4", "(b1/b2)*exp(-0.5*((x-b3)/b2)^2)"},
    {"Rat43", "b1/((1+exp(b2-b3*x))^(1/b4))"},
    {"Bennett5", "b1*(b2+x)^(-1/b3)"},
};

}  // namespace tessarix::test
