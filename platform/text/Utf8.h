// UTF-8 (RFC 3629), byte by byte.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace vantorel {

struct Utf8Character {
  std::uint32_t code = 0;
  std::size_t length = 0;  // in bytes; 0 if the bytes are no character
};

// The character at the front of `text`, which is not empty.
Utf8Character FirstUtf8Character(std::string_view text);
// The bytes of a character.
std::string Utf8Bytes(std::uint32_t code);

bool IsAscii(std::string_view text);
// How many bytes of `text` are sound UTF-8, from the front: all of them if it is sound.
std::size_t SoundUtf8(std::string_view text);
inline bool IsUtf8(std::string_view text) {
  return SoundUtf8(text) == text.size();
}

}  // namespace vantorel
