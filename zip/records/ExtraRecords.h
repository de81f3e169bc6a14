// The records in the extra fields of headers (PKWARE's APPNOTE 4.5) that mean something here: where their
// fields stand, from a record's first byte on. All numbers are little-endian but for those of the ZPIT
// record.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "platform/base/ByteOrder.h"

namespace vantorel {

// A record of any kind: header id and data size in 2 bytes each, then the data.
namespace ExtraRecord {
inline constexpr std::int32_t kId = 0;
inline constexpr std::int32_t kDataSize = 2;
inline constexpr std::int32_t kData = 4;

// The first whole record with this id in an extra field, from its id on; empty if there is none.
inline std::string_view Find(std::string_view extra, std::uint32_t id) {
  while (extra.size() >= kData) {
    const std::size_t size = std::size_t{kData} + Get16(extra, kDataSize);
    if (size > extra.size()) break;
    if (Get16(extra, kId) == id) return extra.substr(0, size);
    extra.remove_prefix(size);
  }
  return {};
}
}  // namespace ExtraRecord

// The ZPIT record: type and creator of a classic Mac file, in its longer form with the Mac file name. Type
// and creator follow the name's Pascal string, where there is one, else the magic.
namespace ZpitRecord {
inline constexpr std::int32_t kIdWithName = 0x2605;
inline constexpr std::int32_t kIdWithoutName = 0x2705;
inline constexpr std::int32_t kMagicValue = 0x5A504954;  // "ZPIT", big-endian
inline constexpr std::int32_t kMagic = 4;
inline constexpr std::int32_t kName = 8;      // Pascal string, with a name only
inline constexpr std::int32_t kType = 8;      // plus the length of the Pascal string
inline constexpr std::int32_t kCreator = 12;  // plus the length of the Pascal string
inline constexpr std::int32_t kSizeWithoutName = 16;
inline constexpr std::int32_t kMinDataWithName = 13;
inline constexpr std::int32_t kMinDataWithoutName = 12;
inline constexpr std::int32_t kMaxName = 255;
}  // namespace ZpitRecord

// The Unix type-1 record ("UX") in its central form. Times are seconds since 1 January 1970 UTC.
namespace UnixRecord {
inline constexpr std::int32_t kIdAndDataSize = 0x00085855;
inline constexpr std::int32_t kAccessTime = 4;
inline constexpr std::int32_t kModificationTime = 8;
inline constexpr std::int32_t kSize = 12;
}  // namespace UnixRecord

// The extended time stamp ("UT"): a byte of flags that tell which times follow, then those times, as in the
// Unix record. The time of the last change is the first of them.
namespace ExtendedTimestamp {
inline constexpr std::int32_t kId = 0x5455;
inline constexpr std::int32_t kHasModificationTime = 1;
inline constexpr std::int32_t kFlags = 4;
inline constexpr std::int32_t kModificationTime = 5;
inline constexpr std::int32_t kSize = 9;  // with that time alone
}  // namespace ExtendedTimestamp

// The Zip64 record (APPNOTE 4.5.3): in 8 bytes each, those of uncompressed size, compressed size and offset
// whose field in the header is all ones.
namespace Zip64Record {
inline constexpr std::int32_t kId = 1;
inline constexpr std::uint32_t kElsewhere = 0xFFFFFFFF;

// The fields' values in that order, as far as `extra` has them.
inline std::array<std::uint64_t, 3> Values(std::array<std::uint32_t, 3> fields, std::string_view extra) {
  std::array<std::uint64_t, 3> values{fields[0], fields[1], fields[2]};
  std::string_view record = ExtraRecord::Find(extra, kId);
  if (!record.empty()) record.remove_prefix(ExtraRecord::kData);
  for (std::uint64_t& value : values) {
    if (value != kElsewhere || record.size() < sizeof value) continue;
    value = Get64(record, 0);
    record.remove_prefix(sizeof value);
  }
  return values;
}
}  // namespace Zip64Record

// The Unicode Path record (APPNOTE 4.6.9): the name in UTF-8, valid for a header whose name has that CRC-32.
namespace UnicodePathRecord {
inline constexpr std::int32_t kId = 0x7075;
inline constexpr std::int32_t kVersion = 4;
inline constexpr std::int32_t kNameCrc = 5;
inline constexpr std::int32_t kName = 9;
}  // namespace UnicodePathRecord

// Times as NTFS keeps them (APPNOTE 4.5.5).
namespace NtfsTimes {
inline constexpr std::int32_t kId = 10;
}  // namespace NtfsTimes

// Owner and group in Info-ZIP's newer form ("ux").
namespace UnixOwnerRecord {
inline constexpr std::int32_t kId = 0x7875;
}  // namespace UnixOwnerRecord

}  // namespace vantorel
