// The words that rest on the special functions of the numerics module.
#include "tessarix/language/internal/function_table.hpp"
#include "tessarix/platform/fault.hpp"

namespace tessarix::detail {

double SpecialFunction1(std::int16_t, double) { RaiseFault(FaultKind::InvalidCall); }
double SpecialFunction2(std::int16_t, double, double) { RaiseFault(FaultKind::InvalidCall); }
double SpecialFunction3(std::int16_t, double, double, double) { RaiseFault(FaultKind::InvalidCall); }

}  // namespace tessarix::detail
