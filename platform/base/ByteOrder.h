// Numbers in bytes of a stated order.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace vantorel {

enum class ByteOrder : bool { kLittle, kBig };

inline std::uint16_t Load16(const void* bytes, ByteOrder order) {
  const auto* b = static_cast<const std::uint8_t*>(bytes);
  return static_cast<std::uint16_t>(order == ByteOrder::kLittle ? b[0] | b[1] << 8 : b[0] << 8 | b[1]);
}

inline std::uint32_t Load32(const void* bytes, ByteOrder order) {
  const auto* b = static_cast<const std::uint8_t*>(bytes);
  const std::uint32_t first = Load16(b, order);
  const std::uint32_t second = Load16(b + 2, order);
  return order == ByteOrder::kLittle ? first | second << 16 : first << 16 | second;
}

inline void Store16(void* bytes, std::uint16_t value, ByteOrder order) {
  auto* b = static_cast<std::uint8_t*>(bytes);
  const auto low = static_cast<std::uint8_t>(value);
  const auto high = static_cast<std::uint8_t>(value >> 8);
  b[0] = order == ByteOrder::kLittle ? low : high;
  b[1] = order == ByteOrder::kLittle ? high : low;
}

inline void Store32(void* bytes, std::uint32_t value, ByteOrder order) {
  auto* b = static_cast<std::uint8_t*>(bytes);
  const auto low = static_cast<std::uint16_t>(value);
  const auto high = static_cast<std::uint16_t>(value >> 16);
  Store16(b, order == ByteOrder::kLittle ? low : high, order);
  Store16(b + 2, order == ByteOrder::kLittle ? high : low, order);
}

// Little-endian numbers in records that lie in strings.
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
