// The text functions that take a string apart by characters or bytes.
#include <algorithm>
#include <limits>

#include "platform/text/CharacterUnits.h"
#include "platform/text/TextFunctions.h"
#include "platform/text/Utf8.h"

namespace vantorel {
namespace {

std::int32_t AsLength(std::size_t count) {
  constexpr auto kLimit = static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max());
  return static_cast<std::int32_t>(std::min(count, kLimit));
}

std::size_t AsCount(std::int32_t count) {
  return static_cast<std::size_t>(std::max(count, 0));
}

// Characters or bytes before a position, which counts from 1.
std::size_t Before(std::int32_t position) {
  return AsCount(position) - (position > 0 ? 1 : 0);
}

std::size_t BytesBefore(const String& text, std::int32_t position) {
  return BytesOfCharacters(text.view(), UnitsOf(text), Before(position));
}

}  // namespace

std::int32_t Len(const String& text) {
  return AsLength(CharacterCount(text.view(), UnitsOf(text)));
}

String Left(const String& text, std::int32_t count) {
  return text.Slice(0, BytesOfCharacters(text.view(), UnitsOf(text), AsCount(count)));
}

String Right(const String& text, std::int32_t count) {
  const TextEncoding::Units units = UnitsOf(text);
  const std::size_t all = CharacterCount(text.view(), units);
  return text.Slice(BytesOfCharacters(text.view(), units, all - std::min(all, AsCount(count))));
}

String Mid(const String& text, std::int32_t start) {
  return text.Slice(BytesBefore(text, start));
}

String Mid(const String& text, std::int32_t start, std::int32_t count) {
  return Left(Mid(text, start), count);
}

std::int32_t LenB(const String& text) {
  return AsLength(text.size());
}

String LeftB(const String& text, std::int32_t count) {
  return text.Slice(0, AsCount(count));
}

String MidB(const String& text, std::int32_t start) {
  return text.Slice(Before(start));
}

String MidB(const String& text, std::int32_t start, std::int32_t count) {
  return text.Slice(Before(start), AsCount(count));
}

String LTrim(const String& text) {
  const std::size_t first = text.view().find_first_not_of(" \t\n\v\f\r");
  return text.Slice(std::min(first, text.size()));
}

std::int32_t Asc(const String& text) {
  if (text.empty()) return 0;
  const String first = Left(text, 1);
  if (UnitsOf(text) == TextEncoding::Units::kUtf8) {
    const Utf8Character character = FirstUtf8Character(first.view());
    const bool sound = character.length == first.size();
    return sound ? static_cast<std::int32_t>(character.code) : static_cast<unsigned char>(first.view()[0]);
  }
  std::int32_t code = 0;
  for (const char c : first.view()) code = code << 8 | static_cast<unsigned char>(c);
  return code;
}

String Chr(std::int32_t code) {
  constexpr std::int32_t kLastCodePoint = 0x10FFFF;
  return String::Adopt(Utf8Bytes(static_cast<std::uint32_t>(std::clamp(code, 0, kLastCodePoint))),
                       Encodings::UTF8());
}

}  // namespace vantorel
