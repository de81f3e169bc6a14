// The CRC-16 of MacBinary II headers: polynomial 0x1021 (CCITT), most significant bit first.
#pragma once

#include <cstdint>

#include "platform/base/Ref.h"
#include "platform/files/MemoryBlock.h"

namespace vantorel {

// The sum of `length` bytes of the block from `offset` on, continued from `crc` (0 before the first bytes),
// as a signed 16-bit value: sums of 0x8000 and above are negative. Bytes outside the block raise
// OutOfBoundsException.
inline std::int32_t Crc16_MemoryBlock(const Ref<MemoryBlock>& bytes, std::int32_t offset, std::int32_t length,
                                      std::int32_t crc) {
  constexpr std::uint32_t kPolynomial = 0x1021;
  if (offset < 0 || length < 0 || offset > bytes->Size() - length) RaiseOutOfBoundsException();
  auto sum = static_cast<std::uint32_t>(crc);
  // Bit by bit: a header is all that is ever summed.
  for (const char c :
       bytes->View().substr(static_cast<std::size_t>(offset), static_cast<std::size_t>(length))) {
    sum ^= std::uint32_t{static_cast<std::uint8_t>(c)} << 8U;
    for (int bit = 0; bit < 8; ++bit) sum = (sum & 0x8000U) != 0 ? (sum << 1U) ^ kPolynomial : sum << 1U;
  }
  return static_cast<std::int16_t>(sum);
}

}  // namespace vantorel
