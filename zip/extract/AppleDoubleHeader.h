// Where the fields of a companion's AppleDouble header lie in the one shape that is read: two entries, Finder
// info first, resource fork second.
#pragma once

#include <cstdint>

#include "platform/files/AppleDouble.h"

namespace vantorel::AppleDoubleHeader {

namespace Layout = AppleDouble;

inline constexpr std::int32_t kMagic = Layout::Header::kMagic;
inline constexpr std::int32_t kVersion = Layout::Header::kVersion;
inline constexpr std::int32_t kEntryCount = Layout::Header::kCount;
inline constexpr std::int32_t kFinderInfoId = Layout::Header::kSize + Layout::Entry::kId;
inline constexpr std::int32_t kFinderInfoOffset = Layout::Header::kSize + Layout::Entry::kOffset;
inline constexpr std::int32_t kFinderInfoLength = Layout::Header::kSize + Layout::Entry::kLength;
inline constexpr std::int32_t kResourceId = kFinderInfoId + Layout::Entry::kSize;
inline constexpr std::int32_t kResourceOffset = kFinderInfoOffset + Layout::Entry::kSize;
inline constexpr std::int32_t kResourceLength = kFinderInfoLength + Layout::Entry::kSize;

inline constexpr std::int32_t kMagicValue = Layout::kMagicNumber;
inline constexpr std::int32_t kVersionValue = Layout::kVersion2;
inline constexpr std::int32_t kEntryCountValue = 2;
inline constexpr std::int32_t kFinderInfoIdValue = Layout::kFinderInfoId;
inline constexpr std::int32_t kResourceIdValue = Layout::kResourceForkId;

// Within the Finder info.
inline constexpr std::int32_t kShortestFinderInfo = Layout::Finder::kSize;
inline constexpr std::int32_t kBasicInfoSize = 16;  // type, creator, flags, location, folder
inline constexpr std::int32_t kScriptInInfo = Layout::Finder::kScript;
inline constexpr std::int32_t kExtendedFlagsInInfo = Layout::Finder::kExtendedFlags;

// What is looked at: the header with its two entry descriptors, and one Finder info.
inline constexpr std::int32_t kSize =
    Layout::Header::kSize + kEntryCountValue * std::int32_t{Layout::Entry::kSize} + kShortestFinderInfo;
static_assert(kSize == 82);

}  // namespace vantorel::AppleDoubleHeader
