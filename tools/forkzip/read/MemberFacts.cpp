#include "tools/forkzip/read/MemberFacts.h"

#include <algorithm>
#include <array>
#include <map>
#include <nlohmann/json.hpp>

#include "platform/base/ByteOrder.h"
#include "tools/forkzip/cli/Printable.h"
#include "tools/forkzip/cli/Problems.h"
#include "zip/records/ExtraRecords.h"
#include "zip/records/ZipRecords.h"

namespace vantorel::forkzip {

namespace {

constexpr std::uint32_t kTypeMask = 0170000;
constexpr std::uint32_t kFolderType = 0040000;
constexpr std::uint32_t kLinkType = 0120000;

std::optional<std::time_t> TimestampIn(std::string_view block) {
  namespace Ut = ExtendedTimestamp;
  const std::string_view record = ExtraRecord::Find(block, Ut::kId);
  if (record.size() < Ut::kSize || (record[Ut::kFlags] & Ut::kHasModificationTime) == 0) return std::nullopt;
  return static_cast<std::int32_t>(Get32(record, Ut::kModificationTime));
}

// Uncompressed and compressed. Those that pass 32 bits stand in the extra field.
std::array<std::uint64_t, 3> SizesOf(const Ref<ZipEntry>& entry) {
  const auto size = static_cast<std::uint32_t>(entry->Size());
  const auto compressed_size = static_cast<std::uint32_t>(entry->CompressedSize());
  if (std::max(size, compressed_size) != Zip64Record::kElsewhere) return {size, compressed_size, 0};
  return Zip64Record::Values({size, compressed_size, 0}, entry->ExtraBytes().view());
}

// The name of a compression method, and a program that knows it.
std::string AboutMethod(std::int32_t method) {
  static const std::map<std::int32_t, std::string> methods = {
      {1, "Shrink; unzip"}, {6, "Implode; unzip"}, {9, "Deflate64; 7zz"},
      {12, "bzip2; 7zz"},   {14, "LZMA; 7zz"},     {93, "Zstandard; bsdtar"},
      {95, "XZ; 7zz"},      {98, "PPMd; 7zz"},     {ZipMethod::kAes, "AES; 7zz"}};
  const auto known = methods.find(method);
  return known == methods.end() ? "" : ", " + known->second + " unpacks it";
}

// What keeps the data of a member from being had; empty if nothing does.
std::string Obstacle(const Ref<ZipEntry>& entry) {
  const std::int32_t method = entry->CompressionMethod();
  if (entry->IsEncrypted()) {
    constexpr std::uint32_t kStrongly = 1U << 6U;
    if ((entry->HeaderUShort(CentralHeader::kFlags) & kStrongly) != 0) {
      return "Unsupported format (strong encryption)";
    }
    return method == ZipMethod::kAes
               ? "Unsupported format (encrypted by AES); 7zz unpacks it with its password"
               : "Unsupported format (encrypted); unzip unpacks it with its password";
  }
  if (method != ZipMethod::kStored && method != ZipMethod::kDeflated) {
    return "Unsupported compression method (" + std::to_string(method) + ")" + AboutMethod(method);
  }
  constexpr std::uint64_t kMost = 0x7FFFFFFF;
  if (std::max(SizeOf(entry), CompressedSizeOf(entry)) > kMost) {
    return "it holds " + HumanSize(SizeOf(entry)) +
           ", and forkzip unpacks members below 2 GiB; unzip and 7zz unpack it";
  }
  if (static_cast<std::uint32_t>(entry->HeaderLong(CentralHeader::kLocalHeaderOffset)) > kMost) {
    return "it lies beyond the first 2 GiB of the archive, which is all that forkzip reads; unzip and 7zz "
           "unpack it";
  }
  return {};
}

nlohmann::ordered_json OrNull(const std::string& text) {
  return text.empty() ? nlohmann::ordered_json() : nlohmann::ordered_json(text);
}

}  // namespace

std::uint64_t SizeOf(const Ref<ZipEntry>& entry) {
  return SizesOf(entry)[0];
}

std::uint64_t CompressedSizeOf(const Ref<ZipEntry>& entry) {
  return SizesOf(entry)[1];
}

std::string WhyNotUnpacked(const Ref<ZipEntry>& entry) {
  return entry->IsDirectory() ? "" : Obstacle(entry);
}

void RefuseIfNotUnpacked(const Ref<ZipEntry>& entry) {
  if (const std::string why = Obstacle(entry); !why.empty()) throw Failure(ExitCode::kBadArchive, why);
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

std::optional<std::time_t> LatestTimeOf(const Ref<ZipEntry>& entry) {
  const auto time = TimeOf(entry);
  return time && !TimestampIn(entry->ExtraBytes().view()) ? *time + 1 : time;
}

std::string TimeText(const Ref<ZipEntry>& entry, char between) {
  const Ref<Date> date = entry->Time();
  if (!date) return {};
  date->SetTotalSeconds(date->TotalSeconds());  // 11:59:62, which a header may state, is 12:00:02
  return Formatted("%04d-%02d-%02d%c%02d:%02d:%02d", date->Year(), date->Month(), date->Day(), between,
                   date->Hour(), date->Minute(), date->Second());
}

std::string CrcText(const Ref<ZipEntry>& entry) {
  return Formatted("%08x", CrcOf(entry));
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

nlohmann::ordered_json MemberAsJson(const Ref<ZipEntry>& entry, std::int32_t index) {
  const auto mode = ModeOf(entry);
  return {{"index", index},
          {"name", Utf8(entry->RawPath())},
          {"folder", entry->IsDirectory()},
          {"method", entry->CompressionMethod()},
          {"size", SizeOf(entry)},
          {"compressedSize", CompressedSizeOf(entry)},
          {"crc32", CrcText(entry)},
          {"time", OrNull(TimeText(entry))},
          {"encrypted", entry->IsEncrypted()},
          {"mode", OrNull(mode ? Formatted("%o", *mode) : "")},
          {"comment", Utf8(entry->Comment())},
          {"hasCompanion", static_cast<bool>(entry->appleDoubleEntry)},
          {"notUnpacked", OrNull(WhyNotUnpacked(entry))}};
}

std::string JsonText(const nlohmann::ordered_json& value, int indent) {
  return value.dump(indent, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
}

}  // namespace vantorel::forkzip
