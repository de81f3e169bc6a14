// What bytes can be written to.
#pragma once

#include "platform/base/Object.h"
#include "platform/text/String.h"

namespace vantorel {

class Writeable : public virtual Object {
 public:
  // Takes the bytes of `text` for sending and returns at once.
  virtual void Write(const String& text) = 0;
};

}  // namespace vantorel
