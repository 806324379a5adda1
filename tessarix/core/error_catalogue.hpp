// The error catalogue: every error a public operation can raise, and the one
// place that raises them.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "tessarix/core/error.hpp"

namespace tessarix::detail {

// Catalogue entries by help context. ORDER: kErrorCatalogue below.
enum class ErrorId : std::int32_t {
  GeneralError = 10001,
  InvalidKeyOrIndex = 10002,
  NameAlreadyInCollection = 10003,
  SubscriptOutOfRange = 10004,
  ArgumentExceedsArraySize = 10005,
  NoObservationsInArray = 10006,
  TooFewObservations = 10007,
  StatisticMathError = 10008,
  ObservationIndexOutOfBounds = 10009,
  FileWriteError = 10010,
  FileReadError = 10011,
  UnequalSeriesLengths = 10012,
  UnequalArrayDimensions = 10013,
  InvalidArrayDimensions = 10014,
  ModelSyntax = 10015,
  ModelCyclic = 10016,
  ModelUndefinedSubReference = 10017,
  ModelMissingSub = 10018,
  ModelNoIndependentVariables = 10019,
  ModelIndependentVariableMissing = 10020,
  ModelNoParameters = 10021,
  InvalidPredefinedModelId = 10022,
  ModelNotDefined = 10023,
  MissingSeriesX = 10024,
  MissingIndependentSeries = 10025,
  MissingSeriesY = 10026,
  InvalidPropertyValue = 10027,
  InvalidArgument = 10028,
  ModelNotSolved = 10029,
  ModelEvaluationError = 10030,
  DerivativeError = 10031,
  ReadOnlyObject = 10032,
  LockedDuringSolution = 10033,
  NotValidForExternalModels = 10034,
  TypeMismatch = 10035,
  UnsupportedTessaraVersion = 10036,
  NoTemporaryFileName = 10037,
  CannotCreateTemporaryFile = 10038,
  SplineXOutOfRange = 10039,
  IntegralError = 10040,
  TooManyIndependentVariables = 10041,
  ExpectedVariantArray = 10042,
};

struct CatalogueEntry {
  std::int32_t help_context;
  std::uint32_t number;
  std::string_view description;
};

inline constexpr std::int32_t kFirstHelpContext = 10001;
inline constexpr std::uint32_t kFirstErrorNumber = 0x80040201u;
inline constexpr std::string_view kErrorSource = "Tessarix";
inline constexpr std::string_view kGeneralErrorPrefix = "General Error: ";

extern const std::array<CatalogueEntry, 42> kErrorCatalogue;

// The catalogue row of an id.
const CatalogueEntry& CatalogueEntryFor(ErrorId id);
// The catalogue text of an id (for 10001 only the prefix "General Error: ").
std::string ErrorMessage(ErrorId id);

// The one way of raising a catalogue error.
[[noreturn]] void RaiseLibraryError(ErrorId id);
// The wrapped form: 10001 with "General Error: " followed by `description`.
[[noreturn]] void RaiseGeneralError(std::string_view description);

struct ErrorFactory {
  static Error Make(ErrorId id, std::string description);
};

}  // namespace tessarix::detail
