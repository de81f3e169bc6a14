// Little-endian numbers in records that lie in strings.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/base/ByteOrder.h"

namespace vantorel {

// REQUIRES: the number lies within `bytes`.
inline std::uint32_t Get16(std::string_view bytes, std::int32_t offset) {
  return Load16(bytes.data() + offset, ByteOrder::kLittle);
}
inline std::uint32_t Get32(std::string_view bytes, std::int32_t offset) {
  return Load32(bytes.data() + offset, ByteOrder::kLittle);
}
inline std::uint64_t Get64(std::string_view bytes, std::int32_t offset) {
  return std::uint64_t{Get32(bytes, offset + 4)} << 32U | Get32(bytes, offset);
}

// The low 16 bits.
inline std::string LittleEndian16(std::uint32_t value) {
  return {static_cast<char>(value & 0xFFU), static_cast<char>(value >> 8U & 0xFFU)};
}
inline std::string LittleEndian32(std::uint32_t value) {
  return LittleEndian16(value) + LittleEndian16(value >> 16U);
}

}  // namespace vantorel
