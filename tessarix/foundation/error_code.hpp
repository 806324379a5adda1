// The errors of the catalogue by name. Each value is the error's help
// context, so `static_cast<ErrorCode>(e.HelpContext())` names a caught Error,
// and the documentation writes "`ModelNotSolved` (10029)". The number of an
// error is 0x80040201 + (value - 10001); its text is the description below,
// except `GeneralError`, whose description continues with the failure's own.
#pragma once

#include <cstdint>

namespace tessarix {

// ORDER: the rows of the error catalogue.
enum class ErrorCode : std::int32_t {
  GeneralError = 10001,              // "General Error: "
  InvalidKeyOrIndex = 10002,         // "Invalid key or index"
  NameAlreadyInCollection = 10003,   // "The specified Name is already associated with an object in the DataCollection"
  SubscriptOutOfRange = 10004,       // "Subscript out of range"
  ArgumentExceedsArraySize = 10005,  // "Argument for rows or columns exceeds array size"
  NoObservationsInArray = 10006,     // "Array does not contain any observations"
  TooFewObservations = 10007,        // "Cannot calculate statistic, series has too few observations"
  StatisticMathError = 10008,        // "Mathematical error occurred calculating requested statistic"
  ObservationIndexOutOfBounds = 10009,  // "Observation index out of bounds"
  FileWriteError = 10010,               // "Error writing to file"
  FileReadError = 10011,                // "Error reading from file"
  // "The number of observations for included DataSeries objects must be equal to perform the requested operation"
  UnequalSeriesLengths = 10012,
  UnequalArrayDimensions = 10013,  // "The array dimensions must be equal to perform the requested operation"
  InvalidArrayDimensions = 10014,  // "Invalid array dimensions"
  ModelSyntax = 10015,             // "Model definition error, invalid model syntax"
  ModelCyclic = 10016,             // "Model definition error, cyclic expression in model was detected"
  // "Model definition error, a reference was made to a model sub-definition that was not defined"
  ModelUndefinedSubReference = 10017,
  ModelMissingSub = 10018,                  // "Model definition error, missing sub-definition"
  ModelNoIndependentVariables = 10019,      // "Model definition error, no independent variables detected in model"
  ModelIndependentVariableMissing = 10020,  // "Model definition error, at least one independent variable missing"
  ModelNoParameters = 10021,                // "Model definition error, no fitting parameters detected in model"
  InvalidPredefinedModelId = 10022,         // "Invalid ID for pre-defined model"
  ModelNotDefined = 10023,            // "The model has not yet been defined, or the current definition is invalid"
  MissingSeriesX = 10024,             // "Missing independent data series X"
  MissingIndependentSeries = 10025,   // "Missing independent data series"
  MissingSeriesY = 10026,             // "Missing dependent data series Y"
  InvalidPropertyValue = 10027,       // "Invalid property value"
  InvalidArgument = 10028,            // "Invalid argument"
  ModelNotSolved = 10029,             // "The model is not solved, the requested property is not available"
  ModelEvaluationError = 10030,       // "Error evaluating the model"
  DerivativeError = 10031,            // "Error calculating the derivative"
  ReadOnlyObject = 10032,             // "The referenced object is read only"
  LockedDuringSolution = 10033,       // "Requested method or property is locked and cannot be accessed during solution"
  NotValidForExternalModels = 10034,  // "Requested method or property is not valid for external models"
  TypeMismatch = 10035,               // "Type mismatch"
  UnsupportedTessaraVersion = 10036,  // "Version of Tessara specified in SaveTSF method is not supported"
  NoTemporaryFileName = 10037,        // "Could not obtain temporary file name/path from the system"
  CannotCreateTemporaryFile = 10038,  // "Could not create temporary file"
  SplineXOutOfRange = 10039,          // "X value is out of range of fitted spline"
  IntegralError = 10040,              // "Error calculating the integral"
  TooManyIndependentVariables =
      10041,                     // "The model you are exporting to Tessara has more than 20 independent variables"
  ExpectedVariantArray = 10042,  // "Expected variant array"
};

}  // namespace tessarix
