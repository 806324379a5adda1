// The internal failure of the numerical routines and of the solution: a bare
// error number without text (5000 in general, 500 from ChebyshevValue, 100
// from the singular value decomposition). It leaves a computation at once and
// is always caught inside the library: the solution driver turns it into a
// failed run, the model evaluator into a failed evaluation. It never reaches a
// host as such.
#pragma once

#include <cstdint>
#include <exception>

#include "tessarix/foundation/fault.hpp"

namespace tessarix::detail {

class InternalFailure : public std::exception {
 public:
  explicit InternalFailure(std::int32_t code = 5000) noexcept : code_(code) {}
  std::int32_t Code() const noexcept { return code_; }
  // The platform's text for an error number that has no description.
  const char* what() const noexcept override { return "Application-defined or object-defined error"; }

 private:
  std::int32_t code_;
};

[[noreturn]] inline void RaiseInternalFailure(std::int32_t code = 5000) { throw InternalFailure(code); }

// Runs `step`; true when it ends normally, false when a run-time fault or an
// internal failure ends it. The boundary where a computation that may fail
// (a model value, its derivatives, an estimate) becomes a success flag.
template <class Step>
[[nodiscard]] bool SucceedsWithoutFault(Step&& step) {
  try {
    step();
    return true;
  } catch (const RuntimeFault&) {
    return false;
  } catch (const InternalFailure&) {
    return false;
  }
}

}  // namespace tessarix::detail
