// The public enumerations, with the values that hosts store and pass.
#pragma once

#include <cstdint>

namespace tessarix {

enum General : std::int32_t { tsxLast = -1 };

enum TransformTypeEnum : std::int32_t {
  tsxTransformSquare = 0,
  tsxTransformSquareRoot = 1,
  tsxTransformNaturalLog = 2,
  tsxTransformInvert = 3,
  tsxTransformInvertSquare = 4,
  tsxTransformInvertSquareRoot = 5,
  tsxTransformInvertNaturalLog = 6,
};

enum SortTypeEnum : std::int32_t { tsxSortAscending = 0, tsxSortDescending = 1 };

enum LogicalTypeEnum : std::int32_t {
  tsxLogicalLessThan = 0,
  tsxLogicalLessThanOrEqualTo = 1,
  tsxLogicalEqualTo = 2,
  tsxLogicalGreaterThan = 3,
  tsxLogicalGreaterThanOrEqualTo = 4,
};

enum ModelTypeEnum : std::int32_t { tsxModelUser = 0, tsxModelInternal = 1, tsxModelExternal = 2 };

enum InputLocaleEnum : std::int32_t { tsxLocaleEnglish = 0, tsxLocaleLocal = 1 };

enum EstimateTypeEnum : std::int32_t { tsxEstimateConstant = 0, tsxEstimateAdjust = 1 };

enum DelimiterTypeEnum : std::int32_t {
  tsxDelimiterComma = 0,
  tsxDelimiterTab = 1,
  tsxDelimiterSpace = 2,
  tsxDelimiterSemicolon = 3,
};

enum SearchTypeEnum : std::int32_t { tsxMinimum = 0, tsxMaximum = 1, tsxValue = 2 };

}  // namespace tessarix
