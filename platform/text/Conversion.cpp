// The text functions that read, set and change a text's encoding. iconv does the work; its converters are
// kept, since opening one costs more than converting a name.
#include <iconv.h>

#include <array>
#include <cerrno>
#include <map>
#include <utility>

#include "platform/text/CharacterUnits.h"
#include "platform/text/TextFunctions.h"
#include "platform/text/Utf8.h"

namespace vantorel {
namespace {

class Converter {
 public:
  Converter(const TextEncoding& from, const TextEncoding& to)
      : handle_(iconv_open(to.IconvName().c_str(), from.IconvName().c_str())), from_units_(from.units()) {}
  Converter(const Converter&) = delete;
  Converter& operator=(const Converter&) = delete;
  ~Converter() {
    if (IsOpen()) iconv_close(handle_);
  }

  // Converts all of `bytes`; '?' takes the place of each character that cannot be.
  std::string Convert(std::string_view bytes) {
    if (IsOpen()) iconv(handle_, nullptr, nullptr, nullptr, nullptr);
    std::string out;
    while (!bytes.empty()) {
      if (ConvertRun(bytes, out)) break;
      out += '?';
      bytes.remove_prefix(BytesOfCharacters(bytes, from_units_, 1));
    }
    return out;
  }

 private:
  // iconv_open signals failure by -1, cast to the handle's type.
  bool IsOpen() const { return reinterpret_cast<std::intptr_t>(handle_) != -1; }

  // Converts up to the first character that cannot be, cuts what is done off `bytes` and appends the result
  // to `out`. True if that was all.
  bool ConvertRun(std::string_view& bytes, std::string& out) {
    if (!IsOpen()) return false;
    int error = E2BIG;
    while (error == E2BIG) {
      std::array<char, 1024> room;                     // of fixed size, as there may be a run for every byte
      char* source = const_cast<char*>(bytes.data());  // iconv only reads it
      char* target = room.data();
      std::size_t source_left = bytes.size();
      std::size_t target_left = room.size();
      const std::size_t result = iconv(handle_, &source, &source_left, &target, &target_left);
      error = result == static_cast<std::size_t>(-1) ? errno : 0;
      bytes.remove_prefix(bytes.size() - source_left);
      out.append(room.data(), room.size() - target_left);
    }
    return error == 0;
  }

  iconv_t handle_;
  TextEncoding::Units from_units_;
};

Converter& ConverterFor(const TextEncoding& from, const TextEncoding& to) {
  static std::map<std::pair<std::int32_t, std::int32_t>, Converter> converters;
  return converters.try_emplace({from.code(), to.code()}, from, to).first->second;
}

}  // namespace

String ConvertEncoding(const String& text, const Ref<TextEncoding>& encoding) {
  if (encoding == nil) return text;
  const Ref<TextEncoding> from = Encoding(text) ? Encoding(text) : Encodings::SystemDefault();
  if (from->Equals(encoding) || IsAscii(text.view())) return DefineEncoding(text, encoding);
  return String::Adopt(ConverterFor(*from, *encoding).Convert(text.view()), encoding);
}

}  // namespace vantorel
