// Numbers in bytes of a stated order.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vantorel {

inline std::uint16_t Load16(const void* bytes, bool little_endian) {
  const auto* b = static_cast<const std::uint8_t*>(bytes);
  return static_cast<std::uint16_t>(little_endian ? b[0] | b[1] << 8 : b[0] << 8 | b[1]);
}

inline std::uint32_t Load32(const void* bytes, bool little_endian) {
  const auto* b = static_cast<const std::uint8_t*>(bytes);
  const std::uint32_t first = Load16(b, little_endian);
  const std::uint32_t second = Load16(b + 2, little_endian);
  return little_endian ? first | second << 16 : first << 16 | second;
}

inline void Store16(void* bytes, std::uint16_t value, bool little_endian) {
  auto* b = static_cast<std::uint8_t*>(bytes);
  const auto low = static_cast<std::uint8_t>(value);
  const auto high = static_cast<std::uint8_t>(value >> 8);
  b[0] = little_endian ? low : high;
  b[1] = little_endian ? high : low;
}

inline void Store32(void* bytes, std::uint32_t value, bool little_endian) {
  auto* b = static_cast<std::uint8_t*>(bytes);
  const auto low = static_cast<std::uint16_t>(value);
  const auto high = static_cast<std::uint16_t>(value >> 16);
  Store16(b, little_endian ? low : high, little_endian);
  Store16(b + 2, little_endian ? high : low, little_endian);
}

}  // namespace vantorel
