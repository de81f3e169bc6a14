#include "tools/forkzip/add/MemberWriter.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <utility>

#include "platform/base/Arithmetic.h"
#include "platform/base/Descriptor.h"
#include "platform/base/LittleEndian.h"
#include "platform/files/FolderItem.h"
#include "platform/text/TextFunctions.h"
#include "tools/forkzip/cli/Interruption.h"
#include "tools/forkzip/cli/Printable.h"
#include "tools/forkzip/edit/MemberRecords.h"
#include "tools/forkzip/edit/Preflight.h"
#include "tools/forkzip/read/OpenArchive.h"
#include "zip/extract/RsrcForkReader.h"
#include "zip/records/ExtraRecords.h"
#include "zip/records/ZipRecords.h"

namespace vantorel::forkzip {

namespace {

constexpr std::int32_t kDosFolder = 0x10;
constexpr const char* kNoMacData = "left out, its resource fork or Finder data cannot be read";
constexpr std::uint64_t kLargestMember = 0x7FFFFFFF;

// The extended time stamp with the time of the last change; the same in the local and the central header.
std::string TimestampRecord(const timespec& modified) {
  namespace Ut = ExtendedTimestamp;
  const bool fits = modified.tv_sec >= INT32_MIN && modified.tv_sec <= INT32_MAX;
  if (!fits) return {};
  return LittleEndian16(Ut::kId) + LittleEndian16(Ut::kSize - ExtraRecord::kData) +
         static_cast<char>(Ut::kHasModificationTime) +
         LittleEndian32(static_cast<std::uint32_t>(modified.tv_sec));
}

// Type and creator of a file, if it has any.
std::string TypeRecord(const Ref<ZipArchive>& archive, const FinderInfo& info) {
  if (info.TypeText().empty() && info.CreatorText().empty()) return {};
  return std::string(archive->MakeZipExtraField(info.TypeText(), info.CreatorText(), "")->AsData().view());
}

String NameOf(const PlannedItem& item) {
  return DefineEncoding(String::Bytes(item.name), Encodings::UTF8());
}

Ref<Date> TimeOf(const PlannedItem& item) {
  return Date::FromUnixTime(item.modified.tv_sec);
}

}  // namespace

// The engine is given the file as an archive of its own, of no members so far, whose directory is to begin at
// `begin`.
MemberWriter::MemberWriter(int file, std::uint32_t begin, const AddingOptions& options, FilePacker& packer,
                           Problems& problems)
    : archive_(NewArchive(options.encoding)), options_(options), packer_(packer), problems_(problems) {
  archive_->d->zipStream = StreamOver(file, true);
  archive_->entriesRead = true;
  archive_->writeMode = true;
  archive_->startOfDirInArchive = ToSInt32(begin);
  archive_->PreserveUnixPermissions(!options.no_permissions);
  archive_->d->new_deflater = [&packer] { return packer.NewDeflater(); };
}

void MemberWriter::Add(const AddPlan& plan, const Ref<Progress>& progress) {
  archive_->SetProgressMonitor(progress);
  std::vector<const PlannedItem*> plain;
  for (const PlannedItem& item : plan.Items()) {
    const bool has_data = item.kind == PlannedItem::Kind::kFile && item.size != 0;
    const bool has_mac_data = item.has_side_file || options_.mac_binary == MacBinary::kAlways;
    if (has_data && !has_mac_data && Refusal(item).empty()) plain.push_back(&item);
  }
  packer_.Expect(plain);
  for (const PlannedItem& item : plan.Items()) {
    archive_->Mark();
    progress->Begin(item.name);
    AddItem(item, plan.HasSideFileOf(item));
    Interruption::Check();
    CheckArchive();
    progress->End(item.size);
  }
}

std::string MemberWriter::Refusal(const PlannedItem& item) const {
  if (item.size > kLargestMember) return "left out, it is larger than 2 GiB";
  if (!Preflight::FitsAsName(item.name)) return "left out, its name is longer than 65535 bytes";
  if (!CanStore(archive_, item.name))
    return "left out, its name has letters that the archive's encoding lacks";
  return {};
}

bool MemberWriter::AddItem(const PlannedItem& item, bool side_file_is_member) {
  if (const std::string why = Refusal(item); !why.empty()) return TakeBack(item, why);
  if (item.kind == PlannedItem::Kind::kLink) return AddLink(item);
  // A side file that is a member itself says all there is to say.
  if (side_file_is_member) return AddPlain(item, {});
  Ref<FolderItem> file;
  if (item.kind == PlannedItem::Kind::kFile &&
      (item.has_side_file || options_.mac_binary == MacBinary::kAlways))
    file = GetFolderItem(String::Bytes(item.Source()));
  MacData mac;
  if (const std::int32_t error = file ? file->GetMacData(mac) : 0)
    return TakeBack(item, WithCause(kNoMacData, -error));
  return file && IsToBeWrapped(item, mac) ? AddWrapped(item, file, mac) : AddPlain(item, mac.finder);
}

// Folders have no forks and are never wrapped, though the engine would: other programs would see files.
bool MemberWriter::IsToBeWrapped(const PlannedItem& item, const MacData& mac) const {
  if (options_.mac_binary == MacBinary::kNever) return false;
  if (options_.mac_binary == MacBinary::kAlways && !IsSideFile(item.name)) return true;
  return item.has_side_file && mac.fork_length > 0;
}

bool MemberWriter::AddPlain(const PlannedItem& item, const FinderInfo& info) {
  const bool is_file = item.kind == PlannedItem::Kind::kFile;
  const auto source = is_file ? packer_.SourceOf(item) : Ref<FileSource>();
  const std::string extra = TypeRecord(archive_, info) + TimestampRecord(item.modified);
  const std::int32_t index =
      archive_->AddItemByStreams(source, ToSInt32(item.size), nil, 0, nil, NameOf(item),
                                 archive_->MakeZipExtraField(String::Bytes(extra)), TimeOf(item));
  return Settle(item, source, index);
}

bool MemberWriter::AddLink(const PlannedItem& item) {
  std::array<char, 4096> target{};
  const ssize_t length = readlink(item.path.c_str(), target.data(), target.size());
  if (length < 0) return TakeBack(item, WithCause("left out, cannot be read", errno));
  const std::string_view bytes(target.data(), static_cast<std::size_t>(length));
  const std::int32_t index = archive_->AddItemByStreams(
      New<TextSource>(String::Bytes(bytes)), ToSInt32(bytes.size()), nil, 0, nil, NameOf(item),
      archive_->MakeZipExtraField(String::Bytes(TimestampRecord(item.modified))), TimeOf(item));
  return Settle(item, nil, index);
}

// The engine adds files in MacBinary by itself too, but tells less of what goes wrong, and knows the file by
// no other name than its own.
bool MemberWriter::AddWrapped(const PlannedItem& item, const Ref<FolderItem>& file, const MacData& mac) {
  const auto source = New<FileSource>(item.Source(), item.size);
  const auto fork = mac.fork_length > 0 ? New<RsrcForkReader>(file) : Ref<RsrcForkReader>();
  const std::string leaf = item.name.substr(item.name.find_last_of('/') + 1);
  const Ref<MemoryBlock> header =
      archive_->MakeMacBinaryHeader(file, ToSInt32(item.size), mac.fork_length,
                                    DefineEncoding(String::Bytes(leaf), Encodings::UTF8()), mac.finder);
  const std::int32_t index = archive_->AddItemByStreams(
      source, ToSInt32(item.size), fork, mac.fork_length, header, NameOf(item),
      archive_->MakeZipExtraField(mac.finder.TypeText(), mac.finder.CreatorText(), file->Name()),
      TimeOf(item));
  if (fork && fork->errCode != 0) return TakeBack(item, WithCause(kNoMacData, -fork->errCode));
  return Settle(item, source, index);
}

bool MemberWriter::Settle(const PlannedItem& item, const Ref<FileSource>& source, std::int32_t index) {
  if (source && source->Error() != 0)
    return TakeBack(item, WithCause("left out, cannot be read", source->Error()));
  if (index <= 0) return TakeBack(item, Utf8(archive_->ErrorMessage()));
  if (source && item.size != 0 && !source->CameWhole())
    return TakeBack(item, "left out, it shrank while it was read");
  const Ref<ZipEntry> entry = archive_->Entry(index);
  SetAttributes(item, entry);
  MarkName(entry);
  return true;
}

bool MemberWriter::TakeBack(const PlannedItem& item, const std::string& why) {
  archive_->Rollback();
  if (!Interruption::Requested()) problems_.Add(ExitCode::kFileError, item.path, why);
  return false;
}

void MemberWriter::SetAttributes(const PlannedItem& item, const Ref<ZipEntry>& entry) const {
  const std::int32_t dos = item.kind == PlannedItem::Kind::kFolder ? kDosFolder : 0;
  if (options_.no_permissions) return entry->SetExternalFileAttributes(dos);
  entry->SetOSMadeBy(ZipHost::kUnix);
  entry->SetExternalFileAttributes(ToSInt32(item.mode << 16U) | dos);
}

std::vector<RawRecord> MemberWriter::Finish() {
  std::vector<RawRecord> records;
  for (std::int32_t i = 1; i <= archive_->EntryCount(); ++i) {
    const Ref<ZipEntry> entry = archive_->Entry(i);
    records.emplace_back(std::string(entry->z_Header()->View()) +
                         std::string(entry->z_origEncodedName().view()) +
                         std::string(entry->ExtraFieldInCentralDir()->AsData().view()));
  }
  archive_->d->zipStream->Flush();
  CheckArchive();
  return records;
}

void MemberWriter::CheckArchive() const {
  const Ref<BinaryStream>& stream = archive_->d->zipStream;
  CheckReadFault(*archive_->d);
  if (stream->WriteError()) {
    throw Failure(ExitCode::kFileError, WithCause("cannot be written", -stream->WriteErrorCode()));
  }
  Preflight::CheckSize(std::max<std::uint64_t>(stream->Position(), End()));
}

void MemberWriter::MarkName(const Ref<ZipEntry>& entry) const {
  const Ref<MemoryBlock> header = entry->z_Header();
  const auto flags = static_cast<std::uint32_t>(header->UShort(CentralHeader::kFlags));
  const std::uint32_t marked = FlagsForName(flags, entry->z_origEncodedName().view(), *archive_->d);
  if (marked == flags) return;
  header->SetUShort(CentralHeader::kFlags, ToSInt32(marked));
  const Ref<BinaryStream>& stream = archive_->d->zipStream;
  stream->SetPosition(ToPosition(header->Long(CentralHeader::kLocalHeaderOffset)) + LocalHeader::kFlags);
  stream->WriteShort(ToSInt32(marked));
}

}  // namespace vantorel::forkzip
