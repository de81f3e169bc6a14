// String: an immutable run of bytes with an optional encoding label. Copies share the bytes, and so do copies
// under another label. The empty string and an unset one are the same thing. An unlabelled string is binary:
// its characters are its bytes. A string of 4 GiB or more raises OutOfMemoryException.
#pragma once

#include <cstddef>
#include <cstdint>
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
        length_(std::exchange(other.length_, 0)) {}
  String& operator=(const String&) = default;
  String& operator=(String&& other) noexcept;
  ~String() = default;

  // A copy of `bytes` without a label.
  static String Bytes(std::string_view bytes);
  // The bytes taken over without a copy, with the given label (nil: none).
  static String Adopt(std::string bytes, const Ref<TextEncoding>& encoding);

  // The bytes. Valid while this String lives unchanged, or another that shares its bytes.
  std::string_view view() const {
    return buffer_ ? std::string_view(buffer_->begin + offset_, length_) : std::string_view();
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

  // Bytes and their label. The bytes are the buffer's own, or those of another under another label.
  class Buffer : public Object {
   public:
    Buffer(std::string bytes_in, const Ref<TextEncoding>& encoding_in);
    Buffer(const Ref<Buffer>& owner_in, const Ref<TextEncoding>& encoding_in);
    ~Buffer() override;

    // These bytes under a label. Strings that are relabelled one by one, as the names of a directory are,
    // share what comes of it.
    Ref<Buffer> Labelled(const Ref<TextEncoding>& label);
    // Whether bytes may be appended: they are this buffer's own, and only one String refers to them.
    bool MayGrow() const { return !owner && !IsShared(); }

    const char* begin;
    std::string bytes;  // empty if there is an owner
    Ref<TextEncoding> encoding;
    Ref<Buffer> owner;

   private:
    Buffer* relabelled_ = nullptr;  // of an owner: the last one made of it, while that lives
  };

  explicit String(Ref<Buffer> buffer, std::size_t offset, std::size_t length)
      : buffer_(std::move(buffer)),
        offset_(static_cast<std::uint32_t>(offset)),
        length_(static_cast<std::uint32_t>(length)) {}
  const Ref<TextEncoding>& Label() const;
  // Appends bytes from elsewhere to the buffer, which may grow.
  void AppendInPlace(std::string_view bytes);

  Ref<Buffer> buffer_;  // nil only if there are neither bytes nor a label
  std::uint32_t offset_ = 0;
  std::uint32_t length_ = 0;
};

}  // namespace vantorel
