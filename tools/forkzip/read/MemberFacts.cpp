#include "tools/forkzip/read/MemberFacts.h"

#include <array>
#include <cstdio>

#include "zip/records/ZipRecords.h"

namespace vantorel::forkzip {

namespace {

constexpr std::uint32_t kTypeMask = 0170000;
constexpr std::uint32_t kFolderType = 0040000;
constexpr std::uint32_t kLinkType = 0120000;
constexpr std::int32_t kHostDarwin = 19;

// The extended time stamp ("UT"): a byte that tells which times follow, then the time of the last change.
constexpr std::int32_t kTimestampId = 0x5455;
constexpr std::int32_t kTimestampWithModification = 5;

std::uint32_t LittleEndian(std::string_view bytes, std::size_t offset, std::size_t count) {
  std::uint32_t value = 0;
  for (std::size_t i = count; i > 0; --i)
    value = value << 8U | static_cast<std::uint8_t>(bytes[offset + i - 1]);
  return value;
}

std::optional<std::time_t> ExtendedTimestamp(std::string_view block) {
  while (block.size() >= ExtraRecord::kData) {
    const std::uint32_t id = LittleEndian(block, ExtraRecord::kId, 2);
    const std::uint32_t size = LittleEndian(block, ExtraRecord::kDataSize, 2);
    block.remove_prefix(ExtraRecord::kData);
    if (size > block.size()) break;
    if (id == kTimestampId && size >= kTimestampWithModification && (block[0] & 1) != 0) {
      return static_cast<std::int32_t>(LittleEndian(block, 1, 4));
    }
    block.remove_prefix(size);
  }
  return std::nullopt;
}

}  // namespace

std::uint32_t SizeOf(const Ref<ZipEntry>& entry) {
  return static_cast<std::uint32_t>(entry->Size());
}

std::uint32_t CompressedSizeOf(const Ref<ZipEntry>& entry) {
  return static_cast<std::uint32_t>(entry->CompressedSize());
}

std::uint32_t CrcOf(const Ref<ZipEntry>& entry) {
  return static_cast<std::uint32_t>(entry->header->Long(CentralHeader::kCrc));
}

std::optional<std::uint32_t> ModeOf(const Ref<ZipEntry>& entry) {
  const std::int32_t host = entry->OSMadeBy();
  const bool has_modes =
      host == ZipHost::kDos || host == ZipHost::kUnix || host == ZipHost::kMacintosh || host == kHostDarwin;
  const std::uint32_t mode = static_cast<std::uint32_t>(entry->ExternalFileAttributes()) >> 16U;
  if (!has_modes || mode == 0) return std::nullopt;
  return mode;
}

bool IsSymbolicLink(const Ref<ZipEntry>& entry) {
  return (ModeOf(entry).value_or(0) & kTypeMask) == kLinkType && !entry->IsDirectory();
}

std::optional<std::time_t> TimeOf(const Ref<ZipEntry>& entry) {
  if (const auto exact = ExtendedTimestamp(entry->extra->AsData().view())) return exact;
  const Ref<Date> date = entry->Time();
  if (!date) return std::nullopt;
  return date->UnixTime();
}

std::string TimeText(const Ref<ZipEntry>& entry, char between) {
  const Ref<Date> date = entry->Time();
  if (!date) return {};
  std::array<char, 80> text{};
  std::snprintf(text.data(), text.size(), "%04d-%02d-%02d%c%02d:%02d:%02d", date->Year(), date->Month(),
                date->Day(), between, date->Hour(), date->Minute(), date->Second());
  return text.data();
}

std::string CrcText(const Ref<ZipEntry>& entry) {
  std::array<char, 12> text{};
  std::snprintf(text.data(), text.size(), "%08x", CrcOf(entry));
  return text.data();
}

std::string ModeText(std::uint32_t mode) {
  const std::uint32_t type = mode & kTypeMask;
  std::string text(1, type == kFolderType ? 'd' : type == kLinkType ? 'l' : '-');
  for (std::uint32_t bit = 0400, i = 0; bit != 0; bit >>= 1U, ++i)
    text += (mode & bit) != 0 ? "rwx"[i % 3] : '-';
  return text;
}

std::string MethodText(const Ref<ZipEntry>& entry) {
  const std::int32_t method = entry->CompressionMethod();
  if (method == ZipMethod::kStored) return "stored";
  if (method == ZipMethod::kDeflated) return "deflated";
  return std::to_string(method);
}

}  // namespace vantorel::forkzip
