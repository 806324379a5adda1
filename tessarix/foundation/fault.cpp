#include "tessarix/foundation/fault.hpp"

#include <new>

#include "tessarix/foundation/error.hpp"

namespace tessarix::detail {

const char* FaultDescription(FaultKind kind) noexcept {
  switch (kind) {
    case FaultKind::Overflow:
      return "Overflow";
    case FaultKind::DivisionByZero:
      return "Division by zero";
    case FaultKind::InvalidCall:
      return "Invalid procedure call or argument";
    case FaultKind::SubscriptOutOfRange:
      return "Subscript out of range";
    case FaultKind::TypeMismatch:
      return "Type mismatch";
    case FaultKind::Other:
      break;
  }
  return "Unknown error";
}

void RaiseFault(FaultKind kind) { throw RuntimeFault(kind); }

std::string CurrentFailureDescription() {
  try {
    throw;
  } catch (const Error& e) {
    return e.Description();
  } catch (const RuntimeFault& e) {
    return e.Description();
  } catch (const std::bad_alloc&) {
    return "Out of memory";
  } catch (const std::exception& e) {
    return e.what();
  } catch (...) {
    return "Unknown error";
  }
}

}  // namespace tessarix::detail
