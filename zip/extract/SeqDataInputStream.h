// Where the Zip engine takes the bytes of a member from: a data fork, a resource fork, a caller's own source.
// A stream is given its source at construction and does not touch it before Open. Single-threaded.
#pragma once

#include <cstdint>

#include "platform/base/Ref.h"
#include "platform/text/String.h"

namespace vantorel {

class SeqDataInputStream : public Object {
 public:
  // Up to `count` bytes; empty at the end and after an error. REQUIRES: the stream is open.
  virtual String Read(std::int32_t count) = 0;
  // Nothing more to read; also true while closed.
  virtual bool AtEOF() = 0;
  // An error is recorded.
  virtual bool HadError() = 0;
  // True if the stream is ready; does nothing on an open one.
  virtual bool Open() = 0;
  // Ends the reading; does nothing on a closed stream. Open may follow.
  virtual void Close() = 0;
  // The recorded error; 0 and an empty text if there is none.
  virtual void GetErrorDescription(std::int32_t& code, String& text) = 0;
  // Moves forward by `count` bytes. REQUIRES: the stream is open.
  virtual bool Skip(std::int32_t count) = 0;
  // Forgets the recorded error.
  virtual void ClearError() = 0;
};

}  // namespace vantorel
