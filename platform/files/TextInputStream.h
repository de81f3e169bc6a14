// A file opened for reading as text.
#pragma once

#include <string>
#include <utility>

#include "platform/files/BinaryStream.h"

namespace vantorel {

class TextInputStream : public Object {
 public:
  explicit TextInputStream(Ref<BinaryStream> stream) : stream_(std::move(stream)) {}

  // The whole rest of the file, with the given label (nil: none).
  String ReadAll(const Ref<TextEncoding>& encoding = nil) {
    std::string bytes;
    if (!stream_->AtEOF()) bytes.resize(stream_->Length() - stream_->Position());
    bytes.resize(stream_->ReadInto(bytes.data(), bytes.size()));
    return String::Adopt(std::move(bytes), encoding);
  }

  void Close() { stream_->Close(); }

 private:
  Ref<BinaryStream> stream_;
};

}  // namespace vantorel
