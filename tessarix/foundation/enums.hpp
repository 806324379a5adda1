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

// The iteration of a regression object (SetSolverMethod).
enum SolverMethodEnum : std::int32_t {
  // Levenberg-Marquardt with Marquardt's multiplicative damping of the normal
  // equations: the library's classic iteration and the default.
  tsxSolverMarquardt = 0,
  // Trust-region Levenberg-Marquardt on a pivoted QR factorisation of the
  // weighted Jacobian, with scaling by the Jacobian's column norms (the
  // design of MINPACK's lmder). Ends at the best point found.
  tsxSolverTrustRegion = 1,
};

// How the last run of a regression object ended (ConvergenceReason).
enum ConvergenceReasonEnum : std::int32_t {
  // The merit function fell by less than RegressionTolerance (in percent),
  // or reached 0.
  tsxConvergedReduction = 0,
  // The relative change of the parameters fell below the step tolerance
  // (trust-region method).
  tsxConvergedStep = 1,
  // The residuals are orthogonal to every column of the Jacobian to within
  // the gradient tolerance (trust-region method; also a model without fitted
  // parameters).
  tsxConvergedGradient = 2,
  // MaxIterations was reached, or the host's IterationComplete handler asked
  // the run to stop, before a convergence test was met.
  tsxIterationLimit = 3,
  // No further progress: the merit function was unchanged for more than
  // MaxUnchangedIterations steps (Marquardt), or no step could reduce it or
  // be evaluated any more (trust region).
  tsxStalled = 4,
  // The run failed (IsSolved is false; LastSolveError says why).
  tsxFailed = 5,
  // No run since the model was defined or the fit was cleared.
  tsxNotRun = 6,
};

}  // namespace tessarix
