// The handler of a public operation: anything that goes wrong inside its body
// (a fault, an error of a nested operation, an exhausted allocator) reaches the
// caller as 10001 "General Error: " + the failure's own description.
//
// Guards run before the body, outside the handler, so that their catalogue
// errors reach the caller with their own numbers.
#pragma once

#include <string>
#include <utility>

#include "tessarix/foundation/error.hpp"
#include "tessarix/foundation/error_catalogue.hpp"
#include "tessarix/foundation/fault.hpp"

namespace tessarix::detail {

// Whether a catalogue error raised inside the body reaches the caller as it is
// (the model definition operations) or is wrapped like any other failure.
enum class LibraryErrors { Wrap, PassThrough };

// `undo(description)` runs first, with the failure's description, so that the
// operation can release what it holds (and a regression object can store
// "General Error: " + description as its last error text).
template <class Body, class Undo>
decltype(auto) RunUnderHandler(Body&& body, Undo&& undo, LibraryErrors library_errors = LibraryErrors::Wrap) {
  try {
    return std::forward<Body>(body)();
  } catch (const Error&) {
    if (library_errors == LibraryErrors::PassThrough) throw;
    const std::string description = CurrentFailureDescription();
    std::forward<Undo>(undo)(description);
    RaiseGeneralError(description);
  } catch (...) {
    const std::string description = CurrentFailureDescription();
    std::forward<Undo>(undo)(description);
    RaiseGeneralError(description);
  }
}

template <class Body>
decltype(auto) RunUnderHandler(Body&& body) {
  return RunUnderHandler(std::forward<Body>(body), [](const std::string&) {});
}

}  // namespace tessarix::detail
