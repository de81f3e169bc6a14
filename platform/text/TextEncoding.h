// A text encoding as a label on a String. nil means no encoding: the text is bytes.
#pragma once

#include <cstdint>
#include <string>

#include "platform/base/Ref.h"

namespace vantorel {

// Made only by GetTextEncoding and Encodings, one object per code, so that labels are cheap to compare. All
// encodings here hold ASCII characters as their ASCII bytes.
class TextEncoding : public Object {
 public:
  // How the bytes of a text fall into characters.
  enum class Units {
    kOneByte,
    kUtf8,
    kShiftJis,    // two bytes after a lead byte of 81-9F or E0-FC
    kEucJp,       // two bytes after a lead byte of 8E or A1-FE, three after 8F
    kDoubleByte,  // two bytes after a lead byte of 81-FE
  };

  // The numeric codes of the Mac OS text encoding converter.
  std::int32_t base() const { return base_; }
  std::int32_t code() const { return code_; }
  bool Equals(const Ref<TextEncoding>& other) const { return other && other->code_ == code_; }

  Units units() const { return units_; }
  // The encoding of a complete code; nil for one that this system does not know.
  static Ref<TextEncoding> Find(std::int32_t code);

  // The name under which iconv knows it.
  const std::string& IconvName() const { return iconv_name_; }

 private:
  template <typename T, typename... Args>
  friend Ref<T> New(Args&&... args);
  TextEncoding(std::int32_t base, std::int32_t code, Units units, std::string iconv_name);

  std::int32_t base_;
  std::int32_t code_;
  Units units_;
  std::string iconv_name_;
};

// The encoding of a base, variant and format; nil for one that this system does not know. Bases below 128 are
// the Mac scripts; base 256 is the Unicode group, which is held as UTF-8 here (format 2, or 0 for the
// default).
Ref<TextEncoding> GetTextEncoding(std::int32_t base, std::int32_t variant, std::int32_t format);
// The encoding of a named font. Here only "System" has one: the classic system font's, Mac Roman.
Ref<TextEncoding> GetFontTextEncoding(const std::string& font);

namespace Encodings {
Ref<TextEncoding> UTF8();
Ref<TextEncoding> WindowsANSI();
Ref<TextEncoding> MacRoman();
// UTF-8 here.
Ref<TextEncoding> SystemDefault();
}  // namespace Encodings

}  // namespace vantorel
