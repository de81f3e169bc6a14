// The frame of a gzip member (RFC 1952, section 2.3): a header of 10 bytes where no optional field is
// announced, and a trailer of CRC-32 and length, both little-endian.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "platform/base/ByteOrder.h"

namespace vantorel {

inline constexpr std::size_t kGzipHeaderLength = 10;
inline constexpr std::size_t kGzipTrailerLength = 8;
// Deflate data, no optional field, no time, nothing said of the system.
inline constexpr std::string_view kPlainGzipHeader("\x1F\x8B\x08\0\0\0\0\0\0\xFF", kGzipHeaderLength);

// True for a member of which at least header and trailer can be there and whose header has no optional
// fields.
inline bool HasPlainGzipHeader(std::string_view member) {
  constexpr std::size_t kFlagsEnd = 4;  // the mark, the method, the flags
  return member.size() >= kGzipHeaderLength + kGzipTrailerLength &&
         member.starts_with(kPlainGzipHeader.substr(0, kFlagsEnd));
}

// The uncompressed size, modulo 2^32, that stands in the last four bytes of a member.
inline std::uint32_t SizeInGzipTrailer(std::string_view member) {
  return Get32(member.substr(member.size() - sizeof(std::uint32_t)), 0);
}

}  // namespace vantorel
