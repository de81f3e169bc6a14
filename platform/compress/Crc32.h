// The CRC-32 of Zip and gzip (RFC 1952, section 8).
#pragma once

#include <cstdint>
#include <string_view>

#include "platform/text/String.h"

namespace vantorel {

// The sum of bytes continued from `crc`, which is 0 before the first bytes.
std::int32_t Crc32OfBytes(std::string_view bytes, std::int32_t crc);
inline std::int32_t Crc32(const String& bytes, std::int32_t crc) {
  return Crc32OfBytes(bytes.view(), crc);
}

}  // namespace vantorel
