#include "tessarix/foundation/error_catalogue.hpp"

#include <gtest/gtest.h>

#include <stdexcept>

#include "support/test_helpers.hpp"
#include "tessarix/foundation/error_handler.hpp"
#include "tessarix/foundation/global_constants.hpp"
#include "tessarix/platform/checked.hpp"
#include "tessarix/version.hpp"

using namespace tessarix;
using namespace tessarix::detail;

TEST(ErrorCatalogue, NumbersAndHelpContextsRunInStep) {
  ASSERT_EQ(kErrorCatalogue.size(), 42u);
  for (std::size_t i = 0; i < kErrorCatalogue.size(); ++i) {
    const CatalogueEntry& e = kErrorCatalogue[i];
    EXPECT_EQ(e.help_context, 10001 + static_cast<std::int32_t>(i));
    EXPECT_EQ(e.number, 0x80040201u + static_cast<std::uint32_t>(e.help_context - 10001));
    EXPECT_FALSE(e.description.empty());
  }
  EXPECT_EQ(CatalogueEntryFor(ErrorCode::ExpectedVariantArray).number, 0x8004022Au);
}

TEST(ErrorCatalogue, EveryEntryRaisesWithItsFields) {
  for (const CatalogueEntry& e : kErrorCatalogue) {
    if (e.help_context == 10001) continue;
    try {
      RaiseLibraryError(static_cast<ErrorCode>(e.help_context));
      FAIL() << "no raise";
    } catch (const Error& err) {
      EXPECT_EQ(err.Number(), e.number);
      EXPECT_EQ(err.HelpContext(), e.help_context);
      EXPECT_EQ(err.Source(), "Tessarix");
      EXPECT_EQ(err.Description(), e.description);
      EXPECT_STREQ(err.what(), err.Description().c_str());
    }
  }
  EXPECT_TSX_ERROR(RaiseLibraryError(ErrorCode::ModelNotDefined), 10023,
                   "The model has not yet been defined, or the current definition is invalid");
  EXPECT_TSX_ERROR(RaiseLibraryError(ErrorCode::TooManyIndependentVariables), 10041,
                   "The model you are exporting to Tessara has more than 20 independent variables");
}

TEST(ErrorHandler, WrapsEveryFailureAsGeneralError) {
  std::string undone;
  auto record = [&](const std::string& d) { undone = d; };
  EXPECT_TSX_ERROR(RunUnderHandler([] { RaiseFault(FaultKind::DivisionByZero); }, record), 10001,
                   "General Error: Division by zero");
  EXPECT_EQ(undone, "Division by zero");
  EXPECT_TSX_ERROR(RunUnderHandler([] { return Num(1e300) * 1e300; }), 10001, "General Error: Overflow");
  EXPECT_TSX_ERROR(RunUnderHandler([]() -> int { throw std::runtime_error("disk on fire"); }), 10001,
                   "General Error: disk on fire");
  // A catalogue error inside the handler is a failure like any other.
  EXPECT_TSX_ERROR(RunUnderHandler([] { RaiseLibraryError(ErrorCode::InvalidKeyOrIndex); }), 10001,
                   "General Error: Invalid key or index");
  EXPECT_EQ(RunUnderHandler([] { return 7; }), 7);
  // The definition operations let their own catalogue errors through.
  EXPECT_TSX_CODE(RunUnderHandler([] { RaiseLibraryError(ErrorCode::ModelMissingSub); }, [](const std::string&) {},
                                  LibraryErrors::PassThrough),
                  10018);
  EXPECT_TSX_ERROR(
      RunUnderHandler([] { RaiseFault(FaultKind::Overflow); }, [](const std::string&) {}, LibraryErrors::PassThrough),
      10001, "General Error: Overflow");
}

TEST(ErrorHandler, HostHandlerExceptionsBecomeFaults) {
  try {
    InvokeHostHandler([] { throw std::logic_error("bad host"); });
    FAIL();
  } catch (const RuntimeFault& f) {
    EXPECT_EQ(f.Description(), "bad host");
  }
  try {
    InvokeHostHandler([] { throw 42; });
    FAIL();
  } catch (const RuntimeFault& f) {
    EXPECT_EQ(f.Description(), "Unknown error in an event handler");
  }
}

TEST(GlobalConstants, VersionComesFromTheBuild) {
  EXPECT_EQ(GlobalConstants::tsxMajorVersion(), 2);
  EXPECT_EQ(GlobalConstants::tsxMinorVersion(), 0);
  EXPECT_EQ(GlobalConstants::tsxRevision(), 43);
  EXPECT_EQ(std::string(TESSARIX_VERSION_STRING), "2.0.43");
  EXPECT_FALSE(GlobalConstants::tsxCopyright().empty());
}
