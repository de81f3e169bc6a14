#include "tools/forkzip/add/MemberWriter.h"

#include <algorithm>
#include <memory>

#include "platform/base/Arithmetic.h"
#include "platform/base/ByteOrder.h"
#include "platform/files/FolderItem.h"
#include "platform/text/TextFunctions.h"
#include "tools/forkzip/add/FilePacker.h"
#include "tools/forkzip/cli/Interruption.h"
#include "tools/forkzip/cli/Printable.h"
#include "tools/forkzip/cli/Progress.h"
#include "tools/forkzip/edit/MemberRecords.h"
#include "tools/forkzip/edit/Preflight.h"
#include "tools/forkzip/read/OpenArchive.h"
#include "zip/archive/ZipArchive.h"
#include "zip/extract/RsrcForkReader.h"
#include "zip/records/ExtraRecords.h"
#include "zip/records/ZipRecords.h"

namespace vantorel::forkzip {

namespace {

constexpr std::int32_t kDosFolder = 0x10;
constexpr const char* kNoMacData = "left out, its resource fork or Finder data cannot be read";

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

std::string_view LeafOf(std::string_view name) {
  return name.substr(name.rfind('/') + 1);
}

Ref<Date> TimeOf(const PlannedItem& item) {
  return Date::FromUnixTime(item.modified.tv_sec);
}

class MemberWriter {
 public:
  // The engine is given the file as an archive of its own, of no members so far, whose directory is to begin
  // at `begin`.
  MemberWriter(int file, std::uint32_t begin, const AddingOptions& options, Problems& problems)
      : archive_(NewArchive(options.encoding)), options_(options), problems_(problems) {
    archive_->d->zipStream = StreamOver(file, true);
    archive_->entriesRead = true;
    archive_->writeMode = true;
    archive_->startOfDirInArchive = ToSInt32(begin);
    archive_->PreserveUnixPermissions(!options.no_permissions);
    archive_->d->new_deflater = [this] { return packer_->NewDeflater(); };
  }

  // Returns the records of the members, and where the last one ends.
  RawDirectory Write(const AddPlan& plan) {
    const auto progress = New<Progress>(options_.ShowProgress(), plan.TotalSize());
    archive_->SetProgressMonitor(progress);
    std::vector<const PlannedItem*> plain;
    for (const PlannedItem& item : plan.Items()) {
      const bool has_data = item.kind == PlannedItem::Kind::kFile && item.size != 0;
      if (has_data && !MayHaveMacData(item) && WhyLeftOut(item, archive_).empty()) plain.push_back(&item);
    }
    packer_ = std::make_unique<FilePacker>(options_, std::move(plain));
    for (const PlannedItem& item : plan.Items()) {
      archive_->Mark();
      progress->Begin(item.name);
      AddItem(item, plan.HasSideFileOf(item));
      Interruption::Check();
      CheckArchive();
      progress->End(item.size);
    }
    archive_->d->zipStream->Flush();
    CheckArchive();
    return Records();
  }

 private:
  RawDirectory Records() const {
    RawDirectory made;
    for (std::int32_t i = 1; i <= archive_->EntryCount(); ++i) {
      const Ref<ZipEntry> entry = archive_->Entry(i);
      made.records.emplace_back(std::string(entry->z_Header()->View()) +
                                std::string(entry->z_origEncodedName().view()) +
                                std::string(entry->ExtraFieldInCentralDir()->AsData().view()));
    }
    made.start = End();
    return made;
  }

  // Whether there may be something to say of a file beyond its data.
  bool MayHaveMacData(const PlannedItem& item) const {
    return item.kind == PlannedItem::Kind::kFile &&
           (item.has_side_file || options_.mac_binary == MacBinary::kAlways);
  }

  void AddItem(const PlannedItem& item, bool side_file_is_member) {
    if (const std::string why = WhyLeftOut(item, archive_); !why.empty()) return TakeBack(item, why);
    // A side file that is a member itself says all there is to say.
    if (side_file_is_member || !MayHaveMacData(item)) return AddPlain(item, {});
    const Ref<FolderItem> file = GetFolderItem(String::Bytes(item.Source()));
    MacData mac;
    if (const std::int32_t error = item.has_side_file ? file->GetMacData(mac) : 0)
      return TakeBack(item, WithCause(kNoMacData, -error));
    return IsToBeWrapped(item, mac) ? AddWrapped(item, file, mac) : AddPlain(item, mac.finder);
  }

  // Folders have no forks and are never wrapped, though the engine would: other programs would see files.
  bool IsToBeWrapped(const PlannedItem& item, const MacData& mac) const {
    if (options_.mac_binary == MacBinary::kNever) return false;
    if (options_.mac_binary == MacBinary::kAlways && !LeafOf(item.name).starts_with("._")) return true;
    return item.has_side_file && mac.fork_length > 0;
  }

  // The data of an item without MacBinary; nil for a folder.
  Ref<FileSource> SourceOf(const PlannedItem& item) {
    if (item.kind == PlannedItem::Kind::kFolder) return nil;
    if (item.kind == PlannedItem::Kind::kLink) return New<LinkSource>(item.path);
    return packer_->SourceOf(item);
  }

  void AddPlain(const PlannedItem& item, const FinderInfo& info) {
    const Ref<FileSource> source = SourceOf(item);
    const std::uint64_t size = source ? source->Left() : 0;
    const std::string extra = TypeRecord(archive_, info) + TimestampRecord(item.modified);
    const std::int32_t index =
        archive_->AddItemByStreams(source, ToSInt32(size), nil, 0, nil, NameOf(item),
                                   archive_->MakeZipExtraField(String::Bytes(extra)), TimeOf(item));
    Settle(item, source, index);
  }

  // The engine adds files in MacBinary by itself too, but tells less of what goes wrong, and knows the file
  // by no other name than its own.
  void AddWrapped(const PlannedItem& item, const Ref<FolderItem>& file, const MacData& mac) {
    const auto source = New<FileSource>(item.Source());
    if (!source->Open()) return Settle(item, source, 0);
    const auto size = ToSInt32(source->Size());
    const auto fork = mac.fork_length > 0 ? New<RsrcForkReader>(file) : Ref<RsrcForkReader>();
    const Ref<MemoryBlock> header = archive_->MakeMacBinaryHeader(
        file, size, mac.fork_length, DefineEncoding(String::Bytes(LeafOf(item.name)), Encodings::UTF8()),
        mac.finder);
    const std::int32_t index = archive_->AddItemByStreams(
        source, size, fork, mac.fork_length, header, NameOf(item),
        archive_->MakeZipExtraField(mac.finder.TypeText(), mac.finder.CreatorText(), file->Name()),
        TimeOf(item));
    if (fork && fork->errCode != 0) return TakeBack(item, WithCause(kNoMacData, -fork->errCode));
    return Settle(item, source, index);
  }

  // Sees to what the engine answered to an addition from `source`, nil for a folder.
  void Settle(const PlannedItem& item, const Ref<FileSource>& source, std::int32_t index) {
    if (source) source->Close();
    if (source && source->Error() != 0)
      return TakeBack(item, WithCause("left out, cannot be read", source->Error()));
    if (index <= 0) return TakeBack(item, Utf8(archive_->ErrorMessage()));
    if (source && source->Left() != 0) return TakeBack(item, "left out, it shrank while it was read");
    const Ref<ZipEntry> entry = archive_->Entry(index);
    SetAttributes(item, entry);
    MarkName(entry);
    if (source && source->Grew()) {
      problems_.Add(ExitCode::kFileError, item.path,
                    "it holds more than the " + Count(source->Size(), "byte") +
                        " that were its size when it was opened; only those are stored");
    }
  }

  // Takes back what came of an item, which is then a problem.
  void TakeBack(const PlannedItem& item, const std::string& why) {
    archive_->Rollback();
    if (!Interruption::Requested()) problems_.Add(ExitCode::kFileError, item.path, why);
  }

  void SetAttributes(const PlannedItem& item, const Ref<ZipEntry>& entry) const {
    const std::int32_t dos = item.kind == PlannedItem::Kind::kFolder ? kDosFolder : 0;
    if (options_.no_permissions) return entry->SetExternalFileAttributes(dos);
    entry->SetOSMadeBy(ZipHost::kUnix);
    entry->SetExternalFileAttributes(ToSInt32(item.mode << 16U) | dos);
  }

  void CheckArchive() const {
    const Ref<BinaryStream>& stream = archive_->d->zipStream;
    CheckReadFault(*archive_->d);
    if (stream->WriteError()) {
      throw SystemFailure("cannot be written", -stream->WriteErrorCode());
    }
    Preflight::CheckSize(std::max<std::uint64_t>(stream->Position(), End()));
  }

  // Marks the name of a member that was just added as UTF-8, if it is and not plain ASCII, in its local
  // header and in its record in memory.
  void MarkName(const Ref<ZipEntry>& entry) const {
    const Ref<MemoryBlock> header = entry->z_Header();
    const auto flags = static_cast<std::uint32_t>(header->UShort(CentralHeader::kFlags));
    const std::uint32_t marked = FlagsForName(flags, entry->z_origEncodedName().view(), *archive_->d);
    if (marked == flags) return;
    header->SetUShort(CentralHeader::kFlags, ToSInt32(marked));
    const Ref<BinaryStream>& stream = archive_->d->zipStream;
    stream->SetPosition(ToPosition(header->Long(CentralHeader::kLocalHeaderOffset)) + LocalHeader::kFlags);
    stream->WriteShort(ToSInt32(marked));
  }

  std::uint32_t End() const { return static_cast<std::uint32_t>(archive_->startOfDirInArchive); }

  Ref<ZipArchive> archive_;  // of the new members alone
  const AddingOptions& options_;
  Problems& problems_;
  std::unique_ptr<FilePacker> packer_;
};

}  // namespace

RawDirectory WriteMembers(int file, std::uint32_t begin, const AddPlan& plan, const AddingOptions& options,
                          Problems& problems) {
  return MemberWriter(file, begin, options, problems).Write(plan);
}

}  // namespace vantorel::forkzip
