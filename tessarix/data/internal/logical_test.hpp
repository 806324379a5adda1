// The five comparisons of pruning.
#pragma once

#include "tessarix/foundation/enums.hpp"

namespace tessarix::detail {

inline bool IsLogicalOperator(LogicalTypeEnum op) noexcept {
  return op >= tsxLogicalLessThan && op <= tsxLogicalGreaterThanOrEqualTo;
}

// "v <op> value", exact comparison of Doubles; `op` must be valid.
inline bool LogicalTestHolds(double v, LogicalTypeEnum op, double value) noexcept {
  switch (op) {
    case tsxLogicalLessThan:
      return v < value;
    case tsxLogicalLessThanOrEqualTo:
      return v <= value;
    case tsxLogicalEqualTo:
      return v == value;
    case tsxLogicalGreaterThan:
      return v > value;
    case tsxLogicalGreaterThanOrEqualTo:
      return v >= value;
  }
  return false;
}

}  // namespace tessarix::detail
