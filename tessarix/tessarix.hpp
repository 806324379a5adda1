// Umbrella header: everything a host needs.
#pragma once

#include "tessarix/core/enums.hpp"
#include "tessarix/core/error.hpp"
#include "tessarix/core/events.hpp"
#include "tessarix/core/global_constants.hpp"
#include "tessarix/core/nonlinear_regression.hpp"
#include "tessarix/core/regression_parameters.hpp"
#include "tessarix/data/data_collection.hpp"
#include "tessarix/data/data_series.hpp"
#include "tessarix/foundation/error_code.hpp"
#include "tessarix/language/model_definition.hpp"
#include "tessarix/models/predefined_models.hpp"
#include "tessarix/platform/matrix.hpp"
#include "tessarix/platform/separators.hpp"
#include "tessarix/platform/variant.hpp"
#include "tessarix/spline/cubic_information.hpp"
#include "tessarix/spline/cubic_spline.hpp"
