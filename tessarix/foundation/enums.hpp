// The public enumerations, with the values that hosts store and pass.
//
// Each is an unscoped enum of 32-bit values, so hosts write the tsx names
// unqualified and may store the numbers. A member that takes one checks it:
// a value outside the list (passed with static_cast) raises the error that
// the member documents, for most of them InvalidArgument (10028).
#pragma once

#include <cstdint>

namespace tessarix {

// Constants that are no choice of their own.
enum General : std::int32_t {
  // "The last observation": the default of DataSeries::RemoveObservation.
  tsxLast = -1
};

// The transformation that DataSeries::Transform applies to every value of a
// series, all or nothing: a value outside the function's domain leaves the
// series as it was.
enum TransformTypeEnum : std::int32_t {
  tsxTransformSquare = 0,            // x^2
  tsxTransformSquareRoot = 1,        // sqrt(x); fails for x < 0
  tsxTransformNaturalLog = 2,        // ln(x); fails for x <= 0
  tsxTransformInvert = 3,            // 1 / x; fails for x = 0
  tsxTransformInvertSquare = 4,      // 1 / x^2; fails for x = 0
  tsxTransformInvertSquareRoot = 5,  // 1 / sqrt(x); fails for x <= 0
  tsxTransformInvertNaturalLog = 6,  // 1 / ln(x); fails for x <= 0 and x = 1
};

// The direction of DataSeries::Sort, DataCollection::Sort and
// DataCollection::SortOnSeries.
enum SortTypeEnum : std::int32_t {
  tsxSortAscending = 0,  // smallest first (the default)
  tsxSortDescending = 1  // largest first
};

// The comparison "value <op> Value" that selects the observations that
// DataSeries::Prune, DataCollection::Prune and DataCollection::PruneOnSeries
// remove. Comparisons are exact: tsxLogicalLessThan keeps a value equal to
// Value.
enum LogicalTypeEnum : std::int32_t {
  tsxLogicalLessThan = 0,
  tsxLogicalLessThanOrEqualTo = 1,
  tsxLogicalEqualTo = 2,
  tsxLogicalGreaterThan = 3,
  tsxLogicalGreaterThanOrEqualTo = 4,
};

// The kind of model a regression object holds, as ModelType() reports it.
enum ModelTypeEnum : std::int32_t {
  tsxModelUser = 0,      // text in the model language (DefineUserModel, DefineUserModelSub)
  tsxModelInternal = 1,  // a pre-defined model of the catalogue (DefineInternalModel)
  tsxModelExternal = 2   // evaluated by the host through events (DefineExternalModel)
};

// The form in which DefineUserModel and DefineUserModelSub read model text.
enum InputLocaleEnum : std::int32_t {
  tsxLocaleEnglish = 0,  // "." decimal point and "," between arguments, whatever the system (the default)
  tsxLocaleLocal =
      1  // the user's decimal and list separators (CurrentSeparators()), e.g. "max(a;1,5)" under a decimal comma
};

// Whether a parameter is fitted: RegressionParameter::InitialEstimateType.
enum EstimateTypeEnum : std::int32_t {
  tsxEstimateConstant = 0,  // held at its initial estimate throughout the fit
  tsxEstimateAdjust = 1     // fitted, starting from its initial estimate (the default)
};

// The character between the fields of a line in the text import of
// DataCollection (ImportSeriesFromFile, ImportNamedSeriesFromFile). Each
// occurrence separates two fields: two in a row make an empty field.
enum DelimiterTypeEnum : std::int32_t {
  tsxDelimiterComma = 0,  // "," (the default)
  tsxDelimiterTab = 1,
  tsxDelimiterSpace = 2,  // one blank
  tsxDelimiterSemicolon = 3,
};

// What DataSeries::GetObservationIndex looks for; the index found is the
// first one in the series.
enum SearchTypeEnum : std::int32_t {
  tsxMinimum = 0,  // the smallest value
  tsxMaximum = 1,  // the largest value
  tsxValue = 2     // a value exactly equal to SearchValue (-1 when there is none)
};

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

// Extension: how a regression object differentiates a model in the model
// language by its parameters (SetDerivativeMethod).
enum DerivativeMethodEnum : std::int32_t {
  // Ridders' extrapolated central differences of the whole model: the
  // library's classic method and the default.
  tsxDerivativeNumerical = 0,
  // Forward-mode differentiation of the compiled model, word by word.
  tsxDerivativeExact = 1,
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
