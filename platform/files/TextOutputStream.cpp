#include "platform/files/TextOutputStream.h"

#include <utility>

namespace vantorel {

TextOutputStream::TextOutputStream(Ref<BinaryStream> stream) : stream_(std::move(stream)) {}

void TextOutputStream::Write(const String& text) {
  stream_->Write(text);
}

void TextOutputStream::Close() {
  stream_->Close();
}

}  // namespace vantorel
