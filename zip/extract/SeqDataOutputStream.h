// Where the Zip engine puts the bytes of a member: a data fork, a resource fork, a caller's own sink. A
// stream is given its target at construction and does not touch it before Open. Single-threaded.
#pragma once

#include <cstdint>

#include "platform/base/Ref.h"
#include "platform/text/String.h"

namespace vantorel {

class SeqDataOutputStream : public Object {
 public:
  // Appends the bytes of `data`. False once an error is known. REQUIRES: the stream is open.
  virtual bool Write(const String& data) = 0;
  // True if the stream is ready, its target being empty now; does nothing on an open one.
  virtual bool Open() = 0;
  // True if all went well. On a stream that is closed, or was never opened, nothing happens.
  virtual bool Close() = 0;
  // The recorded error; 0 and an empty text if there is none.
  virtual void GetErrorDescription(std::int32_t& code, String& text) = 0;
  // Leaves a gap of `count` bytes. REQUIRES: the stream is open.
  virtual bool Skip(std::int32_t count) = 0;
  // Forgets the recorded error.
  virtual void ClearError() = 0;
  // True if all went well so far; forces nothing to disk. REQUIRES: the stream is open.
  virtual bool Flush() = 0;
};

}  // namespace vantorel
