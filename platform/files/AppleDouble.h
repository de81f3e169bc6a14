// The AppleDouble format, version 2 (RFC 1740): a table of entries with the attributes of a file whose data
// fork lies elsewhere. All numbers are big-endian.
#pragma once

#include <cstdint>

namespace vantorel::AppleDouble {

constexpr std::uint32_t kMagicNumber = 0x00051607;
constexpr std::uint32_t kVersion2 = 0x00020000;

// Offsets in the header, which the table follows.
namespace Header {
constexpr std::uint32_t kMagic = 0;    // 4 bytes
constexpr std::uint32_t kVersion = 4;  // 4 bytes
// 8: a filler of 16 bytes
constexpr std::uint32_t kCount = 24;  // 2 bytes: entries in the table
constexpr std::uint32_t kSize = 26;
}  // namespace Header

// Offsets in one entry of the table.
namespace Entry {
constexpr std::uint32_t kId = 0;      // 4 bytes
constexpr std::uint32_t kOffset = 4;  // 4 bytes: of its data, from the start of the file
constexpr std::uint32_t kLength = 8;  // 4 bytes: of its data
constexpr std::uint32_t kSize = 12;
}  // namespace Entry

constexpr std::uint32_t kResourceForkId = 2;
constexpr std::uint32_t kFinderInfoId = 9;

// Offsets in the data of the Finder info entry: FInfo and FXInfo. More may follow.
namespace Finder {
constexpr std::uint32_t kType = 0;            // 4 bytes
constexpr std::uint32_t kCreator = 4;         // 4 bytes
constexpr std::uint32_t kFlags = 8;           // 2 bytes
constexpr std::uint32_t kLocationV = 10;      // 2 bytes
constexpr std::uint32_t kLocationH = 12;      // 2 bytes
constexpr std::uint32_t kFolder = 14;         // 2 bytes
constexpr std::uint32_t kScript = 24;         // 1 byte
constexpr std::uint32_t kExtendedFlags = 25;  // 1 byte
constexpr std::uint32_t kSize = 32;
}  // namespace Finder

}  // namespace vantorel::AppleDouble
