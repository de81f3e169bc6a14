// What bytes can be written to. An interface only: the object is held as what it is.
#pragma once

#include "platform/text/String.h"

namespace vantorel {

class Writeable {
 public:
  // Takes the bytes of `text` for sending and returns at once.
  virtual void Write(const String& text) = 0;

 protected:
  ~Writeable() = default;
};

}  // namespace vantorel
