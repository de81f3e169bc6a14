// String: an immutable run of bytes with an optional encoding label. Copies share the bytes. The empty
// string and an unset one are the same thing. An unlabelled string is binary: its characters are its bytes.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

#include "platform/base/Ref.h"
#include "platform/text/TextEncoding.h"

namespace vantorel {

class String {
 public:
  String() = default;
  // A text of the program's own, labelled UTF-8.
  String(const char* literal);  // NOLINT(google-explicit-constructor): literals are texts
  String(std::nullptr_t) = delete;
  String(const String&) = default;
  String(String&& other) noexcept
      : buffer_(std::move(other.buffer_)),
        offset_(std::exchange(other.offset_, 0)),
        length_(std::exchange(other.length_, 0)),
        encoding_(std::move(other.encoding_)) {}
  String& operator=(const String&) = default;
  String& operator=(String&& other) noexcept;
  ~String() = default;

  // A copy of `bytes` without a label.
  static String Bytes(std::string_view bytes);
  // The bytes taken over without a copy, with the given label (nil: none).
  static String Adopt(std::string bytes, const Ref<TextEncoding>& encoding);

  // The bytes. Valid while this String lives unchanged, or another that shares its bytes.
  std::string_view view() const {
    return buffer_ ? std::string_view(buffer_->bytes.data() + offset_, length_) : std::string_view();
  }
  std::size_t size() const { return length_; }
  bool empty() const { return length_ == 0; }

  // Part of this string, sharing its bytes and keeping its label. An offset or count past the end is cut.
  String Slice(std::size_t offset, std::size_t count = static_cast<std::size_t>(-1)) const;

  // Concatenation. The label is the left side's, or the right side's where the left is empty or has none.
  // Appending to a string that shares its bytes with no other works in place.
  String& operator+=(const String& other);
  friend String operator+(String left, const String& right) {
    left += right;
    return left;
  }

  // Deliberately absent: say SameText (ignores case) or StrComp (bytes).
  friend bool operator==(const String&, const String&) = delete;

 private:
  friend Ref<TextEncoding> Encoding(const String& text);
  friend String DefineEncoding(const String& text, const Ref<TextEncoding>& encoding);

  struct Buffer : Object {
    explicit Buffer(std::string bytes_in) : bytes(std::move(bytes_in)) {}
    std::string bytes;
  };

  // Appends bytes from elsewhere to the buffer, which no other String shares.
  void AppendInPlace(std::string_view bytes);

  Ref<Buffer> buffer_;
  std::size_t offset_ = 0;
  std::size_t length_ = 0;
  Ref<TextEncoding> encoding_;
};

}  // namespace vantorel
