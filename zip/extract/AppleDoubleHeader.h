// Where the fields of a companion's AppleDouble header lie (AppleDouble version 2, RFC 1740), in the one
// shape that is read: Finder info first, resource fork second. Big-endian.
#pragma once

#include <cstdint>

namespace vantorel::AppleDoubleHeader {

// What is looked at: the header with its two entry descriptors, and one Finder info.
inline constexpr std::int32_t kSize = 82;

inline constexpr std::int32_t kMagic = 0;              // 4 bytes
inline constexpr std::int32_t kVersion = 4;            // 4 bytes
inline constexpr std::int32_t kEntryCount = 24;        // 2 bytes
inline constexpr std::int32_t kFinderInfoId = 26;      // 4 bytes
inline constexpr std::int32_t kFinderInfoOffset = 30;  // 4 bytes, position in the file
inline constexpr std::int32_t kFinderInfoLength = 34;  // 4 bytes
inline constexpr std::int32_t kResourceId = 38;        // 4 bytes
inline constexpr std::int32_t kResourceOffset = 42;    // 4 bytes, position in the file
inline constexpr std::int32_t kResourceLength = 46;    // 4 bytes

inline constexpr std::int32_t kMagicValue = 0x00051607;
inline constexpr std::int32_t kVersionValue = 0x00020000;
inline constexpr std::int32_t kEntryCountValue = 2;
inline constexpr std::int32_t kFinderInfoIdValue = 9;
inline constexpr std::int32_t kResourceIdValue = 2;

// Within the Finder info.
inline constexpr std::int32_t kShortestFinderInfo = 32;
inline constexpr std::int32_t kBasicInfoSize = 16;        // type, creator, flags, location, folder
inline constexpr std::int32_t kScriptInInfo = 24;         // 1 byte
inline constexpr std::int32_t kExtendedFlagsInInfo = 25;  // 1 byte

}  // namespace vantorel::AppleDoubleHeader
