// Helpers shared by the test programs.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "tessarix/foundation/error.hpp"
#include "tessarix/platform/separators.hpp"

// Asserts that `statement` raises tessarix::Error with the given help context
// and description.
#define EXPECT_TSX_ERROR(statement, help_context, description)                     \
  do {                                                                             \
    try {                                                                          \
      statement;                                                                   \
      ADD_FAILURE() << "expected error " << (help_context) << " from " #statement; \
    } catch (const tessarix::Error& tsx_error_) {                                  \
      EXPECT_EQ(tsx_error_.HelpContext(), (help_context));                         \
      EXPECT_EQ(tsx_error_.Description(), std::string(description));               \
      EXPECT_EQ(tsx_error_.Source(), "Tessarix");                                  \
    }                                                                              \
  } while (false)

// Asserts only the help context.
#define EXPECT_TSX_CODE(statement, help_context)                                       \
  do {                                                                                 \
    try {                                                                              \
      statement;                                                                       \
      ADD_FAILURE() << "expected error " << (help_context) << " from " #statement;     \
    } catch (const tessarix::Error& tsx_error_) {                                      \
      EXPECT_EQ(tsx_error_.HelpContext(), (help_context)) << tsx_error_.Description(); \
    }                                                                                  \
  } while (false)

namespace tessarix::test {

// Sets the separators for the lifetime of the object and restores the
// previous ones afterwards.
class ScopedSeparators {
 public:
  explicit ScopedSeparators(const SystemSeparators& s) : saved_(CurrentSeparators()) { SetSystemSeparators(s); }
  ~ScopedSeparators() { SetSystemSeparators(saved_); }
  ScopedSeparators(const ScopedSeparators&) = delete;
  ScopedSeparators& operator=(const ScopedSeparators&) = delete;

 private:
  SystemSeparators saved_;
};

inline SystemSeparators EnglishSeparators() { return {".", ",", ",", "/", ":"}; }
// A continental European locale: decimal comma, list separator ";".
inline SystemSeparators DecimalCommaSeparators() { return {",", ";", ".", ".", ":"}; }

}  // namespace tessarix::test
