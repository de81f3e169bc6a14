#include "platform/text/String.h"

#include <algorithm>

namespace vantorel {

String::String(const char* literal) {
  *this = Adopt(literal, Encodings::UTF8());
}

String& String::operator=(String&& other) noexcept {
  String taken(std::move(other));
  std::swap(buffer_, taken.buffer_);
  std::swap(offset_, taken.offset_);
  std::swap(length_, taken.length_);
  std::swap(encoding_, taken.encoding_);
  return *this;
}

String String::Bytes(std::string_view bytes) {
  return Adopt(std::string(bytes), nil);
}

String String::Adopt(std::string bytes, const Ref<TextEncoding>& encoding) {
  String text;
  text.encoding_ = encoding;
  text.length_ = bytes.size();
  if (!bytes.empty()) text.buffer_ = New<Buffer>(std::move(bytes));
  return text;
}

String String::Slice(std::size_t offset, std::size_t count) const {
  String part;
  part.encoding_ = encoding_;
  if (offset >= length_ || count == 0) return part;
  part.buffer_ = buffer_;
  part.offset_ = offset_ + offset;
  part.length_ = std::min(count, length_ - offset);
  return part;
}

String& String::operator+=(const String& other) {
  if (other.empty()) {
    if (!encoding_) encoding_ = other.encoding_;
    return *this;
  }
  if (empty()) return *this = other;
  if (!encoding_) encoding_ = other.encoding_;
  if (!buffer_->IsShared() && &other != this) {
    AppendInPlace(other.view());
    return *this;
  }
  std::string joined;
  joined.reserve(length_ + other.length_);
  joined.append(view()).append(other.view());
  buffer_ = New<Buffer>(std::move(joined));
  offset_ = 0;
  length_ += other.length_;
  return *this;
}

void String::AppendInPlace(std::string_view bytes) {
  std::string& all = buffer_->bytes;
  // What lies before or behind this string in its buffer is of no more use to anyone. The front is dropped
  // only once it outweighs the rest, so that a queue that is eaten from the front stays cheap and small.
  if (offset_ > length_) {
    all.erase(0, offset_);
    offset_ = 0;
  }
  all.resize(offset_ + length_);
  all.append(bytes);
  length_ += bytes.size();
}

}  // namespace vantorel
