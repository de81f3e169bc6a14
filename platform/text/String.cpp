#include "platform/text/String.h"

#include <algorithm>
#include <limits>

#include "platform/base/Exceptions.h"
#include "platform/text/TextFunctions.h"

namespace vantorel {

namespace {

constexpr std::size_t kLongest = std::numeric_limits<std::uint32_t>::max();

}  // namespace

String::Buffer::Buffer(std::string bytes_in, const Ref<TextEncoding>& encoding_in)
    : bytes(std::move(bytes_in)), encoding(encoding_in) {
  begin = bytes.data();
}

String::Buffer::Buffer(const Ref<Buffer>& owner_in, const Ref<TextEncoding>& encoding_in)
    : begin(owner_in->begin), encoding(encoding_in), owner(owner_in) {}

String::Buffer::~Buffer() {
  if (owner && owner->relabelled_ == this) owner->relabelled_ = nullptr;
}

Ref<String::Buffer> String::Buffer::Labelled(const Ref<TextEncoding>& label) {
  if (encoding == label) return Ref<Buffer>(this);
  if (owner) return owner->Labelled(label);
  if (relabelled_ != nullptr && relabelled_->encoding == label) return Ref<Buffer>(relabelled_);
  Ref<Buffer> made = New<Buffer>(Ref<Buffer>(this), label);
  relabelled_ = made.get();
  return made;
}

String::String(const char* literal) {
  *this = Adopt(literal, Encodings::UTF8());
}

String& String::operator=(String&& other) noexcept {
  String taken(std::move(other));
  std::swap(buffer_, taken.buffer_);
  std::swap(offset_, taken.offset_);
  std::swap(length_, taken.length_);
  return *this;
}

String String::Bytes(std::string_view bytes) {
  return Adopt(std::string(bytes), nil);
}

String String::Adopt(std::string bytes, const Ref<TextEncoding>& encoding) {
  const std::size_t length = bytes.size();
  if (length == 0) return DefineEncoding(String(), encoding);
  if (length > kLongest) RaiseOutOfMemoryException();
  return String(New<Buffer>(std::move(bytes), encoding), 0, length);
}

const Ref<TextEncoding>& String::Label() const {
  static const Ref<TextEncoding> none;
  return buffer_ ? buffer_->encoding : none;
}

Ref<TextEncoding> Encoding(const String& text) {
  return text.Label();
}

String DefineEncoding(const String& text, const Ref<TextEncoding>& encoding) {
  if (!text.empty()) return String(text.buffer_->Labelled(encoding), text.offset_, text.length_);
  if (!encoding) return {};
  static const Ref<String::Buffer> nothing = New<String::Buffer>(std::string(), nil);
  return String(nothing->Labelled(encoding), 0, 0);
}

String String::Slice(std::size_t offset, std::size_t count) const {
  if (offset >= length_ || count == 0) return DefineEncoding(String(), Label());
  return String(buffer_, offset_ + offset, std::min<std::size_t>(count, length_ - offset));
}

String& String::operator+=(const String& other) {
  const Ref<TextEncoding>& label = Label() ? Label() : other.Label();
  if (other.empty()) return *this = DefineEncoding(*this, label);
  if (empty()) return *this = DefineEncoding(other, label);
  if (other.length_ > kLongest - length_) RaiseOutOfMemoryException();
  if (buffer_->MayGrow() && &other != this) {
    if (!Label()) buffer_->encoding = label;
    AppendInPlace(other.view());
    return *this;
  }
  std::string joined;
  joined.reserve(std::size_t{length_} + other.length_);
  joined.append(view()).append(other.view());
  return *this = Adopt(std::move(joined), label);
}

void String::AppendInPlace(std::string_view bytes) {
  std::string& all = buffer_->bytes;
  // What lies before or behind this string in its buffer is of no more use to anyone. The front is dropped
  // only once it outweighs the rest, so that a queue that is eaten from the front stays cheap and small.
  if (offset_ > length_ || offset_ > kLongest - length_ - bytes.size()) {
    all.erase(0, offset_);
    offset_ = 0;
  }
  all.resize(std::size_t{offset_} + length_);
  all.append(bytes);
  buffer_->begin = all.data();
  length_ += static_cast<std::uint32_t>(bytes.size());
}

}  // namespace vantorel
