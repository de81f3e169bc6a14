// The reader of the end record and of the central directory. The order of the checks is part of its contract.
#include <algorithm>
#include <string_view>

#include "platform/base/Arithmetic.h"
#include "platform/run/BackgroundTask.h"
#include "platform/text/TextFunctions.h"
#include "zip/archive/DirectoryWindow.h"
#include "zip/archive/ZipArchive.h"
#include "zip/records/ZipRecords.h"

namespace vantorel {

namespace {

constexpr std::string_view kEndSignature = "PK\5\6";
constexpr auto kSignatureSize = static_cast<std::int32_t>(kEndSignature.size());

// Bytes before the last possible place of an end record that are searched for one: its comment and a little
// more.
constexpr std::int64_t kEndSearchRange = 65560;

Ref<MemoryBlock> HeaderBlock(const String& bytes) {
  Ref<MemoryBlock> header = New<MemoryBlock>(CentralHeader::kSize);
  header->SetLittleEndian(true);
  header->SetStringValue(0, CentralHeader::kSize, bytes);
  return header;
}

}  // namespace

void ZipArchive::z_readDirectory() {
  std::int32_t count = 0;
  std::int32_t size = 0;
  const std::size_t first = d->entries_1.size();
  if (!CheckFirstRecord() || !FindEndRecord() || !ReadEndRecord(count, size) || !ReadRecords(count, size))
    return;
  d->CheckNewEntries(first);
  entriesRead = true;
}

bool ZipArchive::CheckFirstRecord() {
  d->zipStream->SetPosition(0);
  if (d->zipStream->ReadLong() == LocalHeader::kMagic) return true;
  return Fail("File does not appear to by a Zip file ('PK' header missing)");
}

// The match nearest the end of the file counts, whether or not its comment reaches to the end.
bool ZipArchive::FindEndRecord() {
  const std::int32_t last = ToSInt32(d->zipStream->Length() - EndRecord::kSize);
  const auto first = static_cast<std::int32_t>(std::max<std::int64_t>(0, last - kEndSearchRange));
  if (last >= first) {
    d->zipStream->SetPosition(ToPosition(first));
    const String tail = d->zipStream->Read(last - first + kSignatureSize);
    RuntimeBackgroundTask();
    const std::size_t at = tail.view().rfind(kEndSignature);
    if (at != std::string_view::npos) {
      d->zipStream->SetPosition(ToPosition(first) + at + kEndSignature.size());
      return true;
    }
  }
  return Fail("Central Directory not found; probably a damaged Zip file");
}

bool ZipArchive::ReadEndRecord(std::int32_t& count, std::int32_t& size) {
  const Ref<MemoryBlock> record = NewMemoryBlock(EndRecord::kSize);
  if (!record) RaiseOutOfMemoryException();
  record->SetLittleEndian(true);
  constexpr std::int32_t kRest = EndRecord::kSize - kSignatureSize;
  record->SetStringValue(kSignatureSize, kRest, d->zipStream->Read(kRest));
  // Before anything is checked, so that an archive that is refused can still tell its comment.
  const std::int32_t comment_length = record->UShort(EndRecord::kCommentLength);
  if (comment_length > 0) comment_ = d->zipStream->Read(comment_length);

  if (record->UShort(EndRecord::kDiskNumber) != 0 || record->UShort(EndRecord::kDirectoryDisk) != 0 ||
      record->UShort(EndRecord::kEntriesOnDisk) != record->UShort(EndRecord::kEntriesTotal)) {
    return Fail("This is part of a multi-segment archive, which is not supported by the ZipArchive class");
  }
  startOfDirInArchive = record->Long(EndRecord::kDirectoryOffset);
  count = record->UShort(EndRecord::kEntriesOnDisk);
  size = record->Long(EndRecord::kDirectorySize);
  if (size < count * CentralHeader::kSize) return Fail("Central Directory is corrupted.");
  return true;
}

// The records are bounded by the directory's size alone, not by their announced count.
bool ZipArchive::ReadRecords(std::int32_t count, std::int32_t size) {
  if (count == 0 && size <= 0) return true;
  d->zipStream->SetPosition(ToPosition(startOfDirInArchive));
  const std::uint64_t end = d->zipStream->Position() + static_cast<std::uint64_t>(size);
  if (!NewMemoryBlock(std::int64_t{4} * size)) {
    return Fail("There is not enough memory available to read the archive directory");
  }

  d->entries_1.reserve(d->entries_1.size() + static_cast<std::size_t>(count));
  DirectoryWindow window(*d->zipStream, end);
  const Ref<ZipExtraField> no_extra = MakeZipExtraField("");
  // A record with an empty field takes over the one of the record before: name and comment live outside the
  // loop.
  String name;
  String comment;
  do {
    const Ref<MemoryBlock> header = HeaderBlock(window.Read(CentralHeader::kSize));
    if (header->Long(CentralHeader::kSignature) != CentralHeader::kMagic) {
      return Fail("Central Directory is corrupted");
    }
    if (header->UShort(CentralHeader::kVersionNeeded) > kZipFormatVersion) {
      return Fail(
          "Archive was written in a newer format than what this software supports (it supports up to v2.0 "
          "archives)");
    }
    const std::int32_t name_length = header->UShort(CentralHeader::kNameLength);
    if (name_length > 0) name = window.Read(name_length);
    const std::int32_t extra_length = header->UShort(CentralHeader::kExtraLength);
    const Ref<ZipExtraField> extra =
        extra_length > 0 ? MakeZipExtraField(window.Read(extra_length)) : no_extra;
    extra->Lock();
    const std::int32_t comment_length = header->UShort(CentralHeader::kCommentLength);
    if (comment_length > 0) comment = window.Read(comment_length);

    d->entries_1.push_back(New<ZipEntry>(d, header, name, extra, comment));
    if (count == 0) centralDirCorrupted = true;
    --count;
    RuntimeBackgroundTask();
  } while (window.Position() < end);
  return true;
}

}  // namespace vantorel
