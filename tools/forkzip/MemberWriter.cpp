#include "tools/forkzip/MemberWriter.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>

#include "platform/base/Arithmetic.h"
#include "platform/files/FolderItem.h"
#include "platform/text/TextFunctions.h"
#include "tools/forkzip/FileSource.h"
#include "tools/forkzip/Interruption.h"
#include "tools/forkzip/LittleEndian.h"
#include "tools/forkzip/Preflight.h"
#include "tools/forkzip/Printable.h"
#include "zip/archive/ZipRecords.h"

namespace vantorel::forkzip {

namespace {

constexpr std::uint32_t kUtf8Flag = 1U << 11U;
constexpr std::int32_t kDosFolder = 0x10;
constexpr std::uint64_t kLargestMember = 0x7FFFFFFF;

// The extended time stamp with the time of the last change; the same in the local and the central header.
std::string TimestampRecord(const timespec& modified) {
  constexpr std::uint32_t kId = 0x5455;
  constexpr std::uint32_t kSize = 5;
  const bool fits = modified.tv_sec >= INT32_MIN && modified.tv_sec <= INT32_MAX;
  if (!fits) return {};
  return LittleEndian16(kId) + LittleEndian16(kSize) + '\x01' +
         LittleEndian32(static_cast<std::uint32_t>(modified.tv_sec));
}

// Type and creator, if the file has any.
std::string TypeRecord(const Ref<ZipArchive>& archive, const PlannedItem& item) {
  if (item.kind != PlannedItem::Kind::kFile || !item.has_side_file) return {};
  const auto file = GetFolderItem(String::Bytes(item.path));
  if (file->MacType().empty() && file->MacCreator().empty()) return {};
  return std::string(archive->MakeZipExtraField(file, "")->AsData().view());
}

std::string LinkTargetOf(const std::string& path) {
  std::array<char, 4096> target{};
  const ssize_t length = readlink(path.c_str(), target.data(), target.size());
  return std::string(target.data(), static_cast<std::size_t>(std::max<ssize_t>(length, 0)));
}

}  // namespace

MemberWriter::MemberWriter(const Ref<ZipArchive>& archive, const AddOptions& options, Problems& problems)
    : archive_(archive), options_(options), problems_(problems) {
  archive_->PreserveUnixPermissions(options_.keep_permissions);
}

void MemberWriter::Add(const AddPlan& plan, const Ref<Progress>& progress) {
  for (const PlannedItem& item : plan.Items()) {
    archive_->Mark();
    progress->Begin(item.name);
    AddItem(item);
    Interruption::Check();
    CheckArchive();
    progress->End(item.size);
  }
}

bool MemberWriter::AddItem(const PlannedItem& item) {
  if (item.size > kLargestMember) return TakeBack(item, "left out, it is larger than 2 GiB");
  if (!Preflight::FitsAsName(item.name))
    return TakeBack(item, "left out, its name is longer than 65535 bytes");
  if (item.kind == PlannedItem::Kind::kLink) return AddLink(item);
  const bool may_have_fork = item.kind == PlannedItem::Kind::kFile && item.has_side_file;
  const bool wrap = options_.mac_binary == archive_->MacBinaryAlways() ||
                    (options_.mac_binary == archive_->MacBinarySmart() && may_have_fork &&
                     GetFolderItem(String::Bytes(item.path))->ResourceForkLength() > 0);
  return wrap ? AddWrapped(item) : AddPlain(item);
}

bool MemberWriter::AddPlain(const PlannedItem& item) {
  const bool is_file = item.kind == PlannedItem::Kind::kFile;
  const auto source = is_file ? New<FileSource>(item.path, item.size) : Ref<FileSource>();
  const std::string extra = TypeRecord(archive_, item) + TimestampRecord(item.modified);
  const std::int32_t index = archive_->AddItemByStreams(
      source, ToSInt32(item.size), nil, 0, nil, DefineEncoding(String::Bytes(item.name), Encodings::UTF8()),
      archive_->MakeZipExtraField(String::Bytes(extra)), Date::FromUnixTime(item.modified.tv_sec));
  if (source && source->Error() != 0)
    return TakeBack(item, WithCause("left out, cannot be read", source->Error()));
  if (index <= 0) return TakeBack(item, Utf8(archive_->ErrorMessage()));
  if (source && item.size != 0 && !source->CameWhole())
    return TakeBack(item, "left out, it shrank while it was read");
  Finish(item, index);
  return true;
}

bool MemberWriter::AddLink(const PlannedItem& item) {
  const std::string target = LinkTargetOf(item.path);
  const std::int32_t index =
      archive_->AddItemByStreams(New<TextSource>(String::Bytes(target)), ToSInt32(target.size()), nil, 0, nil,
                                 DefineEncoding(String::Bytes(item.name), Encodings::UTF8()),
                                 archive_->MakeZipExtraField(String::Bytes(TimestampRecord(item.modified))),
                                 Date::FromUnixTime(item.modified.tv_sec));
  if (index <= 0) return TakeBack(item, Utf8(archive_->ErrorMessage()));
  Finish(item, index);
  return true;
}

// MacBinary is the engine's own affair; it records the size that it finds, so a file that shrinks shows
// afterwards.
bool MemberWriter::AddWrapped(const PlannedItem& item) {
  const auto file = GetFolderItem(String::Bytes(item.path));
  const std::int32_t index = archive_->AddItemWithRawPath(
      file, DefineEncoding(String::Bytes(item.name), Encodings::UTF8()), options_.mac_binary);
  if (index <= 0) return TakeBack(item, Utf8(archive_->ErrorMessage()));
  if (item.kind == PlannedItem::Kind::kFile && file->Length() < item.size) {
    return TakeBack(item, "left out, it shrank while it was read");
  }
  Finish(item, index);
  return true;
}

bool MemberWriter::TakeBack(const PlannedItem& item, const std::string& why) {
  archive_->Rollback();
  if (!Interruption::Requested()) problems_.Add(ExitCode::kFileError, item.path, why);
  return false;
}

void MemberWriter::Finish(const PlannedItem& item, std::int32_t index) {
  const Ref<ZipEntry> entry = archive_->Entry(index);
  const std::int32_t dos = item.kind == PlannedItem::Kind::kFolder ? kDosFolder : 0;
  if (options_.keep_permissions) {
    entry->SetOSMadeBy(ZipHost::kUnix);
    entry->SetExternalFileAttributes(ToSInt32(item.mode << 16U) | dos);
  } else {
    entry->SetExternalFileAttributes(dos);
  }
  MarkNameAsUtf8(archive_, entry);
}

void MemberWriter::CheckArchive() const {
  const Ref<BinaryStream>& stream = archive_->d->zipStream;
  if (stream->WriteError()) throw Failure(ExitCode::kFileError, "cannot be written; is the disk full?");
  Preflight::CheckSize(
      std::max<std::uint64_t>(stream->Position(), static_cast<std::uint32_t>(archive_->startOfDirInArchive)));
}

void MarkNameAsUtf8(const Ref<ZipArchive>& archive, const Ref<ZipEntry>& entry) {
  const std::string name(entry->z_origEncodedName().view());
  if (IsAscii(name) || !IsUtf8(name)) return;
  const Ref<MemoryBlock> header = entry->z_Header();
  const std::int32_t flags = header->UShort(CentralHeader::kFlags) | static_cast<std::int32_t>(kUtf8Flag);
  header->SetUShort(CentralHeader::kFlags, flags);
  const Ref<BinaryStream>& stream = archive->d->zipStream;
  stream->SetPosition(ToPosition(header->Long(CentralHeader::kLocalHeaderOffset)) + LocalHeader::kFlags);
  stream->WriteShort(flags);
}

}  // namespace vantorel::forkzip
