// Where the fields of a MacBinary header lie (MacBinary II; the signature of MacBinary III). Big-endian. The
// same 128-byte block is the one form in which Finder metadata moves between reading, extraction and writing:
// what comes from an AppleDouble header is mapped onto it. In an archive the header is followed by the data
// fork and the resource fork, each filled up to a multiple of 128 bytes.
#pragma once

#include <cstdint>

#include "platform/base/Arithmetic.h"

namespace vantorel::MacBinaryHeader {

inline constexpr std::int32_t kSize = 128;
inline constexpr std::int32_t kForkAlignment = 128;

inline constexpr std::int32_t kOldVersion = 0;        // 1 byte, 0
inline constexpr std::int32_t kName = 1;              // length byte and up to 63 bytes
inline constexpr std::int32_t kType = 65;             // 4 bytes
inline constexpr std::int32_t kCreator = 69;          // 4 bytes
inline constexpr std::int32_t kFinderFlagsHigh = 73;  // 1 byte
inline constexpr std::int32_t kZero74 = 74;           // 1 byte, 0
inline constexpr std::int32_t kProtected = 81;        // 1 byte, not 0 if the file is locked
inline constexpr std::int32_t kZero82 = 82;           // 1 byte, 0
inline constexpr std::int32_t kDataLength = 83;       // 4 bytes
inline constexpr std::int32_t kResourceLength = 87;   // 4 bytes
inline constexpr std::int32_t kCreated = 91;          // 4 bytes, seconds since 1904 in local time
inline constexpr std::int32_t kModified = 95;         // 4 bytes, likewise
inline constexpr std::int32_t kFinderFlagsLow = 101;  // 1 byte
inline constexpr std::int32_t kSignature = 102;       // 4 bytes, from MacBinary III on
inline constexpr std::int32_t kScript = 106;          // 1 byte; bit 7: the low 7 bits are valid
inline constexpr std::int32_t kExtendedFlags = 107;   // 1 byte
inline constexpr std::int32_t kWriterVersion = 122;   // 1 byte
inline constexpr std::int32_t kMinimumVersion = 123;  // 1 byte
inline constexpr std::int32_t kCrc = 124;             // 2 bytes, CRC-16 of what lies before it
inline constexpr std::int32_t kZero126 = 126;         // 2 bytes, 0

inline constexpr std::int32_t kSignatureValue = 0x6D42494E;  // "mBIN"
inline constexpr std::int32_t kLongestName = 63;
inline constexpr std::int32_t kLongestNameOfLevel1 = 31;
inline constexpr std::int32_t kVersion2 = 129;  // of MacBinary II, as it stands at 122 and 123
inline constexpr std::int32_t kVersion3 = 130;  // of MacBinary III

// A fork's length with its filling. Wraps around beyond 2^31 - 1.
constexpr std::int32_t ForkLength(std::int32_t length) {
  return AddSInt32(length, kForkAlignment - 1) & ~(kForkAlignment - 1);
}
// The header and both forks.
constexpr std::int32_t TotalLength(std::int32_t data_length, std::int32_t rsrc_length) {
  return AddSInt32(kSize, AddSInt32(ForkLength(data_length), ForkLength(rsrc_length)));
}

}  // namespace vantorel::MacBinaryHeader
