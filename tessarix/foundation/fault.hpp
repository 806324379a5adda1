// Run-time faults: the failures of an arithmetic step or of a conversion that
// the library raises internally. A fault never reaches a host as such: a public
// operation's handler turns it into error 10001 ("General Error: " + its
// description), the model evaluator turns it into a failed evaluation, and the
// solution driver turns it into a failed run.
#pragma once

#include <cstdint>
#include <exception>
#include <string>

namespace tessarix::detail {

enum class FaultKind : std::uint8_t {
  Overflow,             // "Overflow": a result too large, or a conversion out of range
  DivisionByZero,       // "Division by zero": a finite non-zero number divided by zero
  InvalidCall,          // "Invalid procedure call or argument": a domain error, 0/0, NaN
  SubscriptOutOfRange,  // "Subscript out of range"
  TypeMismatch,         // "Type mismatch"
  Other,                // a description of its own (an exception from a host's handler)
};

const char* FaultDescription(FaultKind kind) noexcept;

class RuntimeFault : public std::exception {
 public:
  explicit RuntimeFault(FaultKind kind) : kind_(kind), description_(FaultDescription(kind)) {}
  explicit RuntimeFault(std::string description) : kind_(FaultKind::Other), description_(std::move(description)) {}

  FaultKind Kind() const noexcept { return kind_; }
  const std::string& Description() const noexcept { return description_; }
  const char* what() const noexcept override { return description_.c_str(); }

 private:
  FaultKind kind_;
  std::string description_;
};

[[noreturn]] void RaiseFault(FaultKind kind);

// The description that a handler reports for the exception in flight: the
// description of a library Error or fault, what() of any other std::exception.
// Call only inside a catch block.
std::string CurrentFailureDescription();

// Runs a host's callback; whatever it throws becomes a run-time fault with the
// exception's what() ("Unknown error in an event handler" for other types).
template <class Callback>
[[gnu::always_inline]] inline void InvokeHostHandler(Callback&& callback) {
  try {
    callback();
  } catch (const std::exception& e) {
    throw RuntimeFault(std::string(e.what()));
  } catch (...) {
    throw RuntimeFault(std::string("Unknown error in an event handler"));
  }
}

}  // namespace tessarix::detail
