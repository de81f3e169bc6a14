// The records of a Zip file (PKWARE's APPNOTE, as of format version 2.0): where their fields stand. All
// numbers are little-endian; an offset counts from the record's first byte. The text fields (name, extra
// field, comment) follow the fixed part in the order of their lengths.
#pragma once

#include <cstdint>
#include <string_view>

#include "platform/base/ByteOrder.h"

namespace vantorel {

// In front of each member's data.
namespace LocalHeader {
inline constexpr std::int32_t kMagic = 0x04034B50;
inline constexpr std::int32_t kSize = 30;

inline constexpr std::int32_t kSignature = 0;
inline constexpr std::int32_t kVersionNeeded = 4;
inline constexpr std::int32_t kFlags = 6;
inline constexpr std::int32_t kMethod = 8;
inline constexpr std::int32_t kTime = 10;
inline constexpr std::int32_t kCrc = 14;
inline constexpr std::int32_t kCompressedSize = 18;
inline constexpr std::int32_t kUncompressedSize = 22;
inline constexpr std::int32_t kNameLength = 26;
inline constexpr std::int32_t kExtraLength = 28;
}  // namespace LocalHeader

// One per member in the central directory.
namespace CentralHeader {
inline constexpr std::int32_t kMagic = 0x02014B50;
inline constexpr std::int32_t kSize = 46;

inline constexpr std::int32_t kSignature = 0;
inline constexpr std::int32_t kVersionMadeBy = 4;  // 1 byte
inline constexpr std::int32_t kOSMadeBy = 5;       // 1 byte
inline constexpr std::int32_t kVersionNeeded = 6;
inline constexpr std::int32_t kFlags = 8;
inline constexpr std::int32_t kMethod = 10;
inline constexpr std::int32_t kTime = 12;
inline constexpr std::int32_t kDate = 14;
inline constexpr std::int32_t kCrc = 16;
inline constexpr std::int32_t kCompressedSize = 20;
inline constexpr std::int32_t kUncompressedSize = 24;
inline constexpr std::int32_t kNameLength = 28;
inline constexpr std::int32_t kExtraLength = 30;
inline constexpr std::int32_t kCommentLength = 32;
inline constexpr std::int32_t kInternalAttributes = 36;
inline constexpr std::int32_t kExternalAttributes = 38;
inline constexpr std::int32_t kLocalHeaderOffset = 42;

// The fields from kVersionNeeded up to kCrc stand in the same order in the local header.
inline constexpr std::int32_t kSharedSize = kCrc - kVersionNeeded;
}  // namespace CentralHeader

// The size of a whole record of the directory: fixed part, name, extra field and comment. REQUIRES: the fixed
// part lies within `record`.
inline std::uint32_t CentralRecordSize(std::string_view record) {
  return static_cast<std::uint32_t>(CentralHeader::kSize) + Get16(record, CentralHeader::kNameLength) +
         Get16(record, CentralHeader::kExtraLength) + Get16(record, CentralHeader::kCommentLength);
}

// Behind the central directory, at the end of the file but for the archive comment.
namespace EndRecord {
inline constexpr std::int32_t kMagic = 0x06054B50;
inline constexpr std::int32_t kSize = 22;

inline constexpr std::int32_t kDiskNumber = 4;
inline constexpr std::int32_t kDirectoryDisk = 6;
inline constexpr std::int32_t kEntriesOnDisk = 8;
inline constexpr std::int32_t kEntriesTotal = 10;
inline constexpr std::int32_t kDirectorySize = 12;
inline constexpr std::int32_t kDirectoryOffset = 16;
inline constexpr std::int32_t kCommentLength = 20;
}  // namespace EndRecord

// Behind the data of a member (APPNOTE 4.3.9): CRC-32 and both sizes, with or without a signature in front.
namespace DataDescriptor {
inline constexpr std::int32_t kMagic = 0x08074B50;
inline constexpr std::int32_t kSize = 12;
inline constexpr std::int32_t kSignedSize = 16;
}  // namespace DataDescriptor

// The Zip64 forms of the end record and its locator (APPNOTE 4.3.14 and 4.3.15) stand between the directory
// and the end record.
namespace Zip64EndRecord {
inline constexpr std::int32_t kMagic = 0x06064B50;
inline constexpr std::int32_t kSize = 56;  // less an extensible part

inline constexpr std::int32_t kSizeOfRest = 4;  // of what follows this field; 8 bytes, as the next two
inline constexpr std::int32_t kRest = 12;
inline constexpr std::int32_t kEntriesTotal = 32;
inline constexpr std::int32_t kDirectorySize = 40;
inline constexpr std::int32_t kDirectoryOffset = 48;
}  // namespace Zip64EndRecord
namespace Zip64Locator {
inline constexpr std::int32_t kMagic = 0x07064B50;
inline constexpr std::int32_t kSize = 20;

inline constexpr std::int32_t kRecordOffset = 8;
}  // namespace Zip64Locator

// Bits of the flag word, which central and local header both have.
namespace ZipFlags {
inline constexpr std::int32_t kEncrypted = 1 << 0;
// CRC and sizes stand in the central header and in a data descriptor, not in the local header. In a central
// header whose local header lacks it, this marks a fake duplicate.
inline constexpr std::int32_t kDataDescriptor = 1 << 3;
inline constexpr std::int32_t kUtf8Name = 1 << 11;
}  // namespace ZipFlags

namespace ZipMethod {
inline constexpr std::int32_t kStored = 0;
inline constexpr std::int32_t kDeflated = 8;
inline constexpr std::int32_t kAes = 99;
}  // namespace ZipMethod

// Values of CentralHeader::kOSMadeBy that matter.
namespace ZipHost {
inline constexpr std::int32_t kDos = 0;
inline constexpr std::int32_t kUnix = 3;
inline constexpr std::int32_t kMacintosh = 7;
inline constexpr std::int32_t kDarwin = 19;

// Those whose members may state a Unix mode in the high half of the external attributes, as far as the engine
// is concerned.
constexpr bool HasUnixMode(std::int32_t host) {
  return host == kDos || host == kUnix || host == kMacintosh;
}
}  // namespace ZipHost

// Format version 2.0: the version written, and the highest that can be read.
inline constexpr std::int32_t kZipFormatVersion = 20;

}  // namespace vantorel
