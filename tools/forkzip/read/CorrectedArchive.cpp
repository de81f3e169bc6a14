#include "tools/forkzip/read/CorrectedArchive.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <string_view>

#include "platform/compress/Crc32.h"
#include "platform/files/FileCalls.h"
#include "platform/text/TextFunctions.h"
#include "platform/text/Utf8.h"
#include "tools/forkzip/cli/Printable.h"
#include "zip/records/ExtraRecords.h"
#include "zip/records/FormatError.h"
#include "zip/records/ZipRecords.h"

namespace vantorel::forkzip {

namespace {

constexpr std::uint32_t kDosFolder = 0x10;
constexpr std::uint64_t kFarthest = 0x7FFFFFFF;
constexpr std::uint32_t kDirectoryStart = sizeof LocalHeader::kMagic;
constexpr std::string_view kCompanionTree = "__MACOSX/";

// The name in a Unicode Path record that belongs to this name; empty if there is none.
std::string_view UnicodeName(std::string_view stored, std::string_view extra) {
  namespace Path = UnicodePathRecord;
  const std::string_view record = ExtraRecord::Find(extra, Path::kId);
  if (record.size() <= Path::kName || record[Path::kVersion] != 1) return {};
  const std::string_view name = record.substr(Path::kName);
  const auto crc = static_cast<std::uint32_t>(Crc32OfBytes(stored, 0));
  return crc == Get32(record, Path::kNameCrc) && IsUtf8(name) ? name : std::string_view();
}

bool IsMarkedUtf8(std::uint32_t flags) {
  return (flags & static_cast<std::uint32_t>(ZipFlags::kUtf8Name)) != 0;
}

bool IsFolderWithoutSlash(std::int32_t host, std::uint32_t attributes, std::uint32_t size,
                          std::string_view name) {
  constexpr std::int32_t kOs2 = 6, kNtfs = 10, kVfat = 14;
  const bool dos = host == ZipHost::kDos || host == kOs2 || host == kNtfs || host == kVfat;
  return dos && (attributes & kDosFolder) != 0 && size == 0 && !name.empty() && !name.ends_with('/');
}

// A companion as archivers on other systems keep it, which add times and owners of their own.
bool IsForeignCompanion(std::string_view name, std::string_view extra) {
  constexpr std::array<std::uint32_t, 3> kIds = {ExtendedTimestamp::kId, UnixOwnerRecord::kId,
                                                 NtfsTimes::kId};
  return name.starts_with(kCompanionTree) && std::any_of(kIds.begin(), kIds.end(), [&](std::uint32_t id) {
           return !ExtraRecord::Find(extra, id).empty();
         });
}

// At a glance: most members have no trait that calls for more.
bool IsPlain(const ZipEntry& entry, bool all_utf8) {
  if (entry.HeaderUShort(CentralHeader::kExtraLength) != 0) return false;
  const std::string_view name = entry.zipEncName.view();
  const auto attributes = static_cast<std::uint32_t>(entry.HeaderLong(CentralHeader::kExternalAttributes));
  return ((attributes & kDosFolder) == 0 || name.ends_with('/')) && (all_utf8 || IsAscii(name));
}

std::string CompanionExtra(std::string_view extra) {
  const std::string_view stamp = ExtraRecord::Find(extra, ExtendedTimestamp::kId);
  const bool has_time = stamp.size() >= ExtendedTimestamp::kSize;
  const std::string time = LittleEndian32(has_time ? Get32(stamp, ExtendedTimestamp::kModificationTime) : 0);
  return LittleEndian32(UnixRecord::kIdAndDataSize) + time + time;
}

// Puts one record after another right.
class Correction {
 public:
  // Patches go to `patches`.
  Correction(int file, const Ref<TextEncoding>& encoding, std::uint64_t shift, Patches& patches)
      : file_(file), encoding_(encoding), shift_(shift), patches_(patches) {
    struct stat status {};
    fstat(file, &status);
    length_ = static_cast<std::uint64_t>(status.st_size);
  }

  void Apply(RawRecord& record) {
    const std::array<std::uint64_t, 3> values =
        Zip64Record::Values({record.Size(), record.CompressedSize(), record.Offset()}, record.Extra());
    const std::uint64_t offset = values[2] + shift_;
    if (std::max(values[0], values[1]) <= kFarthest) {
      record.SetField32(CentralHeader::kUncompressedSize, static_cast<std::uint32_t>(values[0]));
      record.SetField32(CentralHeader::kCompressedSize, static_cast<std::uint32_t>(values[1]));
    }
    const bool in_reach = offset <= kFarthest && values[2] <= kFarthest;
    record.SetOffset(in_reach ? static_cast<std::uint32_t>(offset) : Zip64Record::kElsewhere);
    if (in_reach) PatchLocalSizes(offset);
    record.SetField16(CentralHeader::kVersionNeeded, kZipFormatVersion);
    const auto host = static_cast<std::int32_t>(record.Field16(CentralHeader::kVersionMadeBy) >> 8U);
    const bool folder = IsFolderWithoutSlash(host, record.Field32(CentralHeader::kExternalAttributes),
                                             record.Size(), record.Name());
    const bool companion = IsForeignCompanion(record.Name(), record.Extra());
    SetTexts(record);
    if (folder) record.SetName(std::string(record.Name()) + "/");
    if (companion) record.SetExtra(CompanionExtra(record.Extra()));
  }

 private:
  // A local header whose sizes are in a Zip64 record gets them where the engine looks.
  void PatchLocalSizes(std::uint64_t offset) {
    if (offset + LocalHeader::kSize > length_) return;
    const std::string header = ReadAt(file_, offset, LocalHeader::kSize);
    const std::uint32_t size = Get32(header, LocalHeader::kUncompressedSize);
    const std::uint32_t compressed_size = Get32(header, LocalHeader::kCompressedSize);
    if (std::max(size, compressed_size) != Zip64Record::kElsewhere) return;
    const std::uint64_t extra_at = offset + LocalHeader::kSize + Get16(header, LocalHeader::kNameLength);
    const std::uint32_t extra_length = Get16(header, LocalHeader::kExtraLength);
    if (extra_at + extra_length > length_) return;
    const auto values =
        Zip64Record::Values({size, compressed_size, 0}, ReadAt(file_, extra_at, extra_length));
    if (std::max(values[0], values[1]) > kFarthest) return;
    patches_[offset + LocalHeader::kCompressedSize] = LittleEndian32(static_cast<std::uint32_t>(values[1])) +
                                                      LittleEndian32(static_cast<std::uint32_t>(values[0]));
  }

  // Names and comments that fit no more stay as they are.
  void SetTexts(RawRecord& record) const {
    constexpr std::size_t kLongest = 65535;
    std::string name(UnicodeName(record.Name(), record.Extra()));
    if (name.empty()) name = AsUtf8(record.Name(), IsMarkedUtf8(record.Flags()));
    const std::string comment = AsUtf8(record.Comment(), IsMarkedUtf8(record.Flags()));
    if (comment.size() <= kLongest) record.SetComment(comment);
    if (name.size() < kLongest) record.SetName(name);
  }

  std::string AsUtf8(std::string_view text, bool is_utf8) const {
    if (is_utf8 || encoding_->Equals(Encodings::UTF8())) return std::string(text);
    return std::string(
        ConvertEncoding(DefineEncoding(String::Bytes(text), encoding_), Encodings::UTF8()).view());
  }

  int file_;
  const Ref<TextEncoding>& encoding_;
  std::uint64_t shift_;
  std::uint64_t length_ = 0;
  Patches& patches_;
};

}  // namespace

bool CorrectedArchive::IsNeeded(const Ref<ZipArchive>& archive) {
  // The count may be in a Zip64 record.
  if (archive->centralDirCorrupted || HasForeignCompanions(archive)) return true;
  const std::vector<Ref<ZipEntry>>& entries = archive->d->entries_1;
  const auto is_misread = [](const Ref<ZipEntry>& entry) { return CorrectedName(*entry).has_value(); };
  if (std::any_of(entries.begin() + 1, entries.end(), is_misread)) return true;
  BinaryStream& stream = *archive->d->zipStream;
  stream.SetPosition(LocalHeader::kVersionNeeded);
  return entries.size() > 1 && stream.ReadShort() > kZipFormatVersion;
}

CorrectedArchive CorrectedArchive::Make(int file, const Ref<TextEncoding>& encoding) {
  FoundDirectory found = FoundDirectory::Find(file);
  if (found.records.empty()) throw FormatError("the directory is empty");
  CorrectedArchive corrected;
  corrected.count_is_wrong = found.announced < found.records.size();
  Correction correction(file, encoding, found.shift, corrected.patches);
  for (RawRecord& record : found.records) correction.Apply(record);
  const RawDirectory directory = {std::move(found.records), std::move(found.comment), kDirectoryStart};
  corrected.directory = directory.Bytes();
  return corrected;
}

bool CorrectedArchive::HasForeignCompanions(const Ref<ZipArchive>& archive) {
  const std::vector<Ref<ZipEntry>>& entries = archive->d->entries_1;
  return std::any_of(entries.begin() + 1, entries.end(), [](const Ref<ZipEntry>& entry) {
    const std::string_view name = entry->zipEncName.view();
    return name.starts_with(kCompanionTree) && IsForeignCompanion(name, entry->ExtraBytes().view());
  });
}

CorrectedArchive CorrectedArchive::WithCompanions(RawDirectory directory) {
  for (RawRecord& record : directory.records) {
    if (!IsForeignCompanion(record.Name(), record.Extra())) continue;
    record.SetExtra(CompanionExtra(record.Extra()));
  }
  directory.start = kDirectoryStart;
  return {.directory = directory.Bytes()};
}

std::optional<std::string> CorrectedName(ZipEntry& entry) {
  const bool all_utf8 = entry.d->archiveEncoding->Equals(Encodings::UTF8());
  if (IsPlain(entry, all_utf8)) return std::nullopt;
  const String extra = entry.ExtraBytes();
  const std::string_view encoded = entry.zipEncName.view();
  const std::string_view unicode_name = UnicodeName(encoded, extra.view());
  const bool marked = !all_utf8 && IsMarkedUtf8(entry.HeaderUShort(CentralHeader::kFlags));
  const auto attributes = static_cast<std::uint32_t>(entry.ExternalFileAttributes());
  const bool folder =
      IsFolderWithoutSlash(entry.OSMadeBy(), attributes, static_cast<std::uint32_t>(entry.Size()), encoded);
  if (unicode_name.empty() && !marked && !folder) return std::nullopt;  // as nearly all are
  const std::string stored = Utf8(entry.RawPath());
  std::string name(unicode_name);
  if (name.empty()) name = marked ? std::string(encoded) : stored;
  if (folder) name += '/';
  if (name == stored) return std::nullopt;
  return name;
}

std::string ListedName(ZipEntry& entry) {
  const std::optional<std::string> corrected = CorrectedName(entry);
  return corrected ? *corrected : Utf8(entry.RawPath());
}

}  // namespace vantorel::forkzip
