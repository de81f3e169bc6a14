#include "platform/files/TextInputStream.h"

#include <string>
#include <utility>

namespace vantorel {

TextInputStream::TextInputStream(Ref<BinaryStream> stream) : stream_(std::move(stream)) {}

String TextInputStream::ReadAll(const Ref<TextEncoding>& encoding) {
  std::string bytes;
  if (!stream_->AtEOF()) bytes.resize(stream_->Length() - stream_->Position());
  bytes.resize(stream_->ReadInto(bytes.data(), bytes.size()));
  return String::Adopt(std::move(bytes), encoding);
}

void TextInputStream::Close() {
  stream_->Close();
}

}  // namespace vantorel
