// A file opened for writing text.
#pragma once

#include "platform/files/BinaryStream.h"

namespace vantorel {

class TextOutputStream : public Object {
 public:
  explicit TextOutputStream(Ref<BinaryStream> stream);
  // Writes the bytes of `text` as they stand, with no line end.
  void Write(const String& text);
  void Close();

 private:
  Ref<BinaryStream> stream_;
};

}  // namespace vantorel
