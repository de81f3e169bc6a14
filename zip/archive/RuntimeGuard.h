// The guard around a whole operation of the archive that answers with a message instead of raising.
#pragma once

#include <new>
#include <utility>

#include "platform/base/Exceptions.h"
#include "platform/text/String.h"

namespace vantorel {

// The result of `body`; if that raises a RuntimeException of any kind, or memory runs out anywhere, `fault`,
// with `message` in `errmsg`. Other exceptions pass through.
template <typename Result, typename Body>
Result WithRuntimeGuard(String& errmsg, const char* message, Result fault, Body&& body) {
  try {
    return std::forward<Body>(body)();
  } catch (const RuntimeException&) {
    errmsg = message;
  } catch (const std::bad_alloc&) {
    errmsg = message;
  }
  return fault;
}

}  // namespace vantorel
