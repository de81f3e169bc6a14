#include "tools/forkzip/read/MemberFacts.h"

#include <array>
#include <cstdio>

#include "platform/base/LittleEndian.h"
#include "zip/records/ExtraRecords.h"
#include "zip/records/ZipRecords.h"

namespace vantorel::forkzip {

namespace {

constexpr std::uint32_t kTypeMask = 0170000;
constexpr std::uint32_t kFolderType = 0040000;
constexpr std::uint32_t kLinkType = 0120000;

std::optional<std::time_t> TimestampIn(std::string_view block) {
  namespace Ut = ExtendedTimestamp;
  while (block.size() >= ExtraRecord::kData) {
    const std::size_t size = std::size_t{ExtraRecord::kData} + Get16(block, ExtraRecord::kDataSize);
    if (size > block.size()) break;
    if (Get16(block, ExtraRecord::kId) == Ut::kId && size >= Ut::kSize &&
        (block[Ut::kFlags] & Ut::kHasModificationTime) != 0) {
      return static_cast<std::int32_t>(Get32(block, Ut::kModificationTime));
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
  return static_cast<std::uint32_t>(entry->HeaderLong(CentralHeader::kCrc));
}

std::optional<std::uint32_t> ModeOf(const Ref<ZipEntry>& entry) {
  const std::int32_t host = entry->OSMadeBy();
  const bool has_modes = ZipHost::HasUnixMode(host) || host == ZipHost::kDarwin;
  const std::uint32_t mode = static_cast<std::uint32_t>(entry->ExternalFileAttributes()) >> 16U;
  if (!has_modes || mode == 0) return std::nullopt;
  return mode;
}

bool IsSymbolicLink(const Ref<ZipEntry>& entry) {
  return (ModeOf(entry).value_or(0) & kTypeMask) == kLinkType && !entry->IsDirectory();
}

std::optional<std::time_t> TimeOf(const Ref<ZipEntry>& entry) {
  if (const auto exact = TimestampIn(entry->ExtraBytes().view())) return exact;
  const Ref<Date> date = entry->Time();
  if (!date) return std::nullopt;
  return date->UnixTime();
}

std::string TimeText(const Ref<ZipEntry>& entry, char between) {
  const Ref<Date> date = entry->Time();
  if (!date) return {};
  date->SetTotalSeconds(date->TotalSeconds());  // 11:59:62, which a header may state, is 12:00:02
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
