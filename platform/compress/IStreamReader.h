// What a ZStream that inflates pulls its input from.
#pragma once

#include <cstdint>

#include "platform/base/Object.h"
#include "platform/text/String.h"

namespace vantorel {

class IStreamReader : public Object {
 public:
  // The next bytes, at most `count`. Fewer may come at any time; none means that there are no more.
  virtual String Read(std::int32_t count) = 0;
  // 0, or the code of the last fault.
  virtual std::int32_t LastError() = 0;
};

}  // namespace vantorel
