// A file opened for writing text.
#pragma once

#include <utility>

#include "platform/files/BinaryStream.h"

namespace vantorel {

class TextOutputStream : public Object {
 public:
  explicit TextOutputStream(Ref<BinaryStream> stream) : stream_(std::move(stream)) {}

  // Writes the bytes of `text` as they stand, with no line end.
  void Write(const String& text) { stream_->Write(text); }

  void Close() { stream_->Close(); }

 private:
  Ref<BinaryStream> stream_;
};

}  // namespace vantorel
