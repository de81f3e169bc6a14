// Numbers in bytes of a stated order.
#pragma once

#include <cstdint>

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

}  // namespace vantorel
