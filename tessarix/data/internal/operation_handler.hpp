// The handler of the data objects' operations that read caller arrays: a
// "Subscript out of range" fault (an array without dimensions, a Name array
// too short, an element index past the bounds) reaches the caller as the
// catalogue error the operation names for it; any other failure as 10001.
#pragma once

#include "tessarix/foundation/error_catalogue.hpp"
#include "tessarix/foundation/fault.hpp"

namespace tessarix::detail {

template <class Body>
decltype(auto) RunWithSubscriptError(ErrorCode subscript_error, Body&& body) {
  try {
    return body();
  } catch (const RuntimeFault& fault) {
    if (fault.Kind() == FaultKind::SubscriptOutOfRange) RaiseLibraryError(subscript_error);
    RaiseGeneralError(fault.Description());
  } catch (...) {
    RaiseGeneralError(CurrentFailureDescription());
  }
}

}  // namespace tessarix::detail
