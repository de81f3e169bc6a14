// What bytes can be read from.
#pragma once

#include <cstdint>

#include "platform/base/Object.h"
#include "platform/text/String.h"

namespace vantorel {

class Readable : public virtual Object {
 public:
  // Removes and returns up to `count` bytes, labelled with `encoding` (nil: none).
  virtual String Read(std::int32_t count, const Ref<TextEncoding>& encoding) = 0;
};

}  // namespace vantorel
