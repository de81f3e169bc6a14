// What bytes can be read from. An interface only: the object is held as what it is.
#pragma once

#include <cstdint>

#include "platform/text/String.h"

namespace vantorel {

class Readable {
 public:
  // Removes and returns up to `count` bytes, labelled with `encoding` (nil: none).
  virtual String Read(std::int32_t count, const Ref<TextEncoding>& encoding) = 0;

 protected:
  ~Readable() = default;
};

}  // namespace vantorel
