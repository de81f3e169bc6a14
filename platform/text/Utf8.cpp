#include "platform/text/Utf8.h"

#include <algorithm>
#include <array>

namespace vantorel {

Utf8Character FirstUtf8Character(std::string_view text) {
  const auto byte = [&](std::size_t i) { return static_cast<std::uint8_t>(text[i]); };
  const std::uint8_t lead = byte(0);
  if (lead < 0x80) return {lead, 1};
  const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
  if (lead < 0xC2 || lead > 0xF4 || text.size() < length) return {};
  std::uint32_t code = lead & (0x7FU >> length);
  for (std::size_t i = 1; i < length; ++i) {
    if ((byte(i) & 0xC0U) != 0x80) return {};
    code = code << 6U | (byte(i) & 0x3FU);
  }
  constexpr std::array<std::uint32_t, 5> kLeast = {0, 0, 0x80, 0x800, 0x10000};
  const bool surrogate = code >= 0xD800 && code < 0xE000;
  if (code < kLeast[length] || surrogate || code > 0x10FFFF) return {};
  return {code, length};
}

std::string Utf8Bytes(std::uint32_t code) {
  if (code < 0x80) return {static_cast<char>(code)};
  const int more = code < 0x800 ? 1 : code < 0x10000 ? 2 : 3;  // bytes behind the first
  std::string bytes(1, static_cast<char>((0x780 >> more & 0xFF) | code >> (6 * more)));
  for (int left = more - 1; left >= 0; --left) bytes += static_cast<char>(0x80 | (code >> (6 * left) & 0x3F));
  return bytes;
}

bool IsAscii(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char c) { return (c & 0x80) == 0; });
}

std::size_t SoundUtf8(std::string_view text) {
  std::size_t at = 0;
  while (at < text.size()) {
    const std::size_t length = FirstUtf8Character(text.substr(at)).length;
    if (length == 0) break;
    at += length;
  }
  return at;
}

}  // namespace vantorel
