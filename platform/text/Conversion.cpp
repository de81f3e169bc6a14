// The text functions that read, set and change a text's encoding. iconv does the work; its converters are
// kept, since opening one costs more than converting a name.
#include <iconv.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <map>
#include <span>
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

// Where iconv's tables differ from the published ones.
struct Correction {
  char byte;
  std::string_view character;
};
constexpr Correction kMacRoman[] = {{'\xC6', "\u2206"}};
constexpr Correction kMacIcelandic[] = {
    {'\xA0', "\u00DD"}, {'\xC6', "\u2206"}, {'\xD0', "\u2013"}, {'\xD1', "\u2014"},
    {'\xD7', "\u25CA"}, {'\xDB', "\u20AC"}, {'\xDC', "\u00D0"}, {'\xDD', "\u00F0"},
    {'\xE0', "\u00FD"}, {'\xF6', "\u02C6"}, {'\xF7', "\u02DC"},
};
constexpr Correction kMacCyrillic[] = {{'\xFF', "\u20AC"}};

std::span<const Correction> CorrectionsOf(const TextEncoding& encoding) {
  switch (encoding.code()) {
    case 0:
      return kMacRoman;
    case 7:
      return kMacCyrillic;
    case 37:
      return kMacIcelandic;
    default:
      return {};
  }
}

// The correction whose `member` that is; nullptr if there is none.
template <typename T>
const Correction* Find(std::span<const Correction> corrections, T Correction::*member, const auto& value) {
  const auto found = std::ranges::find(corrections, value, member);
  return found == corrections.end() ? nullptr : &*found;
}

// From an encoding to UTF-8.
std::string Decode(std::string_view bytes, const TextEncoding& from) {
  if (from.units() == TextEncoding::Units::kUtf8) return std::string(bytes);
  Converter& converter = ConverterFor(from, *Encodings::UTF8());
  const std::span<const Correction> corrections = CorrectionsOf(from);
  if (corrections.empty()) return converter.Convert(bytes);
  std::string text;  // an encoding with corrections has one byte to a character
  for (const char& byte : bytes) {
    const Correction* correction = Find(corrections, &Correction::byte, byte);
    text += correction != nullptr ? correction->character : converter.Convert({&byte, 1});
  }
  return text;
}

// The other way.
std::string Encode(std::string_view text, const TextEncoding& to) {
  Converter& converter = ConverterFor(*Encodings::UTF8(), to);
  const std::span<const Correction> corrections = CorrectionsOf(to);
  if (corrections.empty()) return converter.Convert(text);
  std::string bytes;
  while (!text.empty()) {
    const std::string_view character = text.substr(0, BytesOfCharacters(text, TextEncoding::Units::kUtf8, 1));
    text.remove_prefix(character.size());
    if (const Correction* correction = Find(corrections, &Correction::character, character)) {
      bytes += correction->byte;
    } else {
      const std::string converted = converter.Convert(character);
      bytes += Find(corrections, &Correction::byte, converted[0]) == nullptr ? converted : "?";
    }
  }
  return bytes;
}

}  // namespace

String ConvertEncoding(const String& text, const Ref<TextEncoding>& encoding) {
  if (encoding == nil) return text;
  const Ref<TextEncoding> from = Encoding(text) ? Encoding(text) : Encodings::SystemDefault();
  if (from->Equals(encoding) || IsAscii(text.view())) return DefineEncoding(text, encoding);
  const std::string in_utf8 = Decode(text.view(), *from);
  const bool is_there = encoding->units() == TextEncoding::Units::kUtf8;
  return String::Adopt(is_there ? in_utf8 : Encode(in_utf8, *encoding), encoding);
}

}  // namespace vantorel
