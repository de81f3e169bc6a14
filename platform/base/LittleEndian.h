// Numbers in bytes of little-endian order.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace vantorel {

// REQUIRES: the number lies within `bytes`.
inline std::uint32_t Get16(std::string_view bytes, std::int32_t offset) {
  const auto at = static_cast<std::size_t>(offset);
  return static_cast<std::uint8_t>(bytes[at]) | std::uint32_t{static_cast<std::uint8_t>(bytes[at + 1])} << 8U;
}
inline std::uint32_t Get32(std::string_view bytes, std::int32_t offset) {
  return Get16(bytes, offset) | Get16(bytes, offset + 2) << 16U;
}

// The low 16 bits.
inline std::string LittleEndian16(std::uint32_t value) {
  return {static_cast<char>(value & 0xFFU), static_cast<char>(value >> 8U & 0xFFU)};
}
inline std::string LittleEndian32(std::uint32_t value) {
  return LittleEndian16(value & 0xFFFFU) + LittleEndian16(value >> 16U);
}

}  // namespace vantorel
