// A file opened for reading as text.
#pragma once

#include "platform/files/BinaryStream.h"

namespace vantorel {

class TextInputStream : public Object {
 public:
  explicit TextInputStream(Ref<BinaryStream> stream);
  // The whole rest of the file, with the given label (nil: none).
  String ReadAll(const Ref<TextEncoding>& encoding = nil);
  void Close();

 private:
  Ref<BinaryStream> stream_;
};

}  // namespace vantorel
