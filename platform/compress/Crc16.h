// The CRC-16 of MacBinary II headers: polynomial 0x1021 (CCITT), most significant bit first.
#pragma once

#include <cstdint>

#include "platform/base/Ref.h"
#include "platform/files/MemoryBlock.h"

namespace vantorel {

// The sum of `length` bytes of the block from `offset` on, continued from `crc` (0 before the first bytes),
// as a signed 16-bit value: sums of 0x8000 and above are negative. Bytes outside the block raise
// OutOfBoundsException.
std::int32_t Crc16_MemoryBlock(const Ref<MemoryBlock>& bytes, std::int32_t offset, std::int32_t length,
                               std::int32_t crc);

}  // namespace vantorel
