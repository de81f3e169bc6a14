// The guard around a whole operation of the archive that answers with a message instead of raising.
#pragma once

#include <new>
#include <utility>

#include "platform/base/Exceptions.h"

namespace vantorel {

// The result of `body`; if that raises a RuntimeException of any kind, or memory runs out anywhere, the
// result of `fault`. Other exceptions pass through.
template <typename Body, typename Fault>
auto WithRuntimeGuard(Body&& body, Fault&& fault) -> decltype(body()) {
  try {
    return std::forward<Body>(body)();
  } catch (const RuntimeException&) {
    return std::forward<Fault>(fault)();
  } catch (const std::bad_alloc&) {
    return std::forward<Fault>(fault)();
  }
}

}  // namespace vantorel
