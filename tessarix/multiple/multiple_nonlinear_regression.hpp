// The path hosts include. The class is implemented beside
// NonlinearRegression, on the engine the two share.
#pragma once

#include "tessarix/core/multiple_nonlinear_regression.hpp"
