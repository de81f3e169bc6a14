#include "tools/forkzip/cli/Printable.h"

#include <algorithm>
#include <array>
#include <cstdio>

#include "platform/text/TextFunctions.h"

namespace vantorel::forkzip {

namespace {

struct Character {
  std::uint32_t code;
  std::size_t length;  // in bytes; 0 if the bytes are no character
};

// The UTF-8 character at the front of `text`, which is not empty.
Character FirstCharacter(std::string_view text) {
  const auto byte = [&](std::size_t i) { return static_cast<std::uint8_t>(text[i]); };
  const std::uint8_t lead = byte(0);
  if (lead < 0x80) return {lead, 1};
  const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
  if (lead < 0xC2 || lead > 0xF4 || text.size() < length) return {0, 0};
  std::uint32_t code = lead & (0x7FU >> length);
  for (std::size_t i = 1; i < length; ++i) {
    if ((byte(i) & 0xC0U) != 0x80) return {0, 0};
    code = code << 6U | (byte(i) & 0x3FU);
  }
  constexpr std::array<std::uint32_t, 5> kLeast = {0, 0, 0x80, 0x800, 0x10000};
  const bool surrogate = code >= 0xD800 && code < 0xE000;
  if (code < kLeast[length] || surrogate || code > 0x10FFFF) return {0, 0};
  return {code, length};
}

bool MayBeShown(std::uint32_t code) {
  const bool control = code < 0x20 || (code >= 0x7F && code < 0xA0);
  const bool direction = (code >= 0x202A && code <= 0x202E) || (code >= 0x2066 && code <= 0x2069);
  const bool line_end = code == 0x2028 || code == 0x2029;
  return !control && !direction && !line_end;
}

}  // namespace

std::string Printable(std::string_view text) {
  std::string shown;
  shown.reserve(text.size());
  while (!text.empty()) {
    const Character character = FirstCharacter(text);
    const std::size_t length = character.length == 0 ? 1 : character.length;
    if (character.length != 0 && MayBeShown(character.code)) {
      shown += text.substr(0, length);
    } else {
      for (const char c : text.substr(0, length)) {
        std::array<char, 5> escape{};
        std::snprintf(escape.data(), escape.size(), "\\x%02X",
                      static_cast<unsigned>(static_cast<std::uint8_t>(c)));
        shown += escape.data();
      }
    }
    text.remove_prefix(length);
  }
  return shown;
}

bool IsAscii(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char c) { return static_cast<std::uint8_t>(c) < 0x80; });
}

bool IsUtf8(std::string_view text) {
  while (!text.empty()) {
    const Character character = FirstCharacter(text);
    if (character.length == 0) return false;
    text.remove_prefix(character.length);
  }
  return true;
}

bool IsInUtf8(const String& text) {
  const Ref<TextEncoding> label = Encoding(text);
  return !label || label->Equals(Encodings::UTF8());
}

std::string Utf8(const String& text) {
  return std::string((IsInUtf8(text) ? text : ConvertEncoding(text, Encodings::UTF8())).view());
}

std::string Count(unsigned long long number, std::string_view singular) {
  return std::to_string(number) + " " + std::string(singular) + (number == 1 ? "" : "s");
}

std::string HumanSize(unsigned long long bytes) {
  if (bytes < 1024) return Count(bytes, "byte");
  constexpr std::array<const char*, 4> kUnits = {"KiB", "MiB", "GiB", "TiB"};
  auto value = static_cast<double>(bytes) / 1024;
  std::size_t unit = 0;
  for (; value >= 1000 && unit + 1 < kUnits.size(); ++unit) value /= 1024;
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), "%.1f %s", value, kUnits.at(unit));
  return text.data();
}

}  // namespace vantorel::forkzip
