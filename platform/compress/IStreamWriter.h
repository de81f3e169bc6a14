// What a ZStream that deflates pushes its output to.
#pragma once

#include <cstdint>

#include "platform/base/Object.h"
#include "platform/text/String.h"

namespace vantorel {

class IStreamWriter : public Object {
 public:
  // Takes all of `data`, in the order of the calls.
  virtual void Write(const String& data) = 0;
  // 0, or the code of the last fault.
  virtual std::int32_t LastError() = 0;
};

}  // namespace vantorel
