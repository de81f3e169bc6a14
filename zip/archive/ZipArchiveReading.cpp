// The reader of the end record and of the central directory. The order of the checks is part of its contract.
#include <algorithm>
#include <string_view>
#include <typeinfo>

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
  const auto record = New<MemoryBlock>(EndRecord::kSize, ByteOrder::kLittle);
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

bool ZipArchive::CheckRecord(std::string_view record) {
  if (Get32(record, CentralHeader::kSignature) != CentralHeader::kMagic) {
    return Fail("Central Directory is corrupted");
  }
  if (Get16(record, CentralHeader::kVersionNeeded) > kZipFormatVersion) {
    return Fail(
        "Archive was written in a newer format than what this software supports (it supports up to v2.0 "
        "archives)");
  }
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
  const bool own_fields = typeid(*this) != typeid(ZipArchive);  // which may make extra fields of its own
  // A record with an empty field takes over the one of the record before: name and comment live outside the
  // loop.
  String name;
  String comment;
  do {
    const String record = window.ReadRecord();
    if (!CheckRecord(record.view())) return false;
    const std::uint32_t name_length = Get16(record.view(), CentralHeader::kNameLength);
    const std::uint32_t extra_length = Get16(record.view(), CentralHeader::kExtraLength);
    const std::uint32_t comment_length = Get16(record.view(), CentralHeader::kCommentLength);
    const std::uint32_t extra_offset = CentralHeader::kSize + name_length;
    if (name_length > 0) name = record.Slice(CentralHeader::kSize, name_length);
    if (comment_length > 0) comment = record.Slice(extra_offset + extra_length, comment_length);

    const Ref<ZipEntry> entry = New<ZipEntry>(d, record, name, comment);
    if (own_fields) {
      entry->extra = MakeZipExtraField(record.Slice(extra_offset, extra_length));
      entry->extra->Lock();
    }
    d->entries_1.push_back(entry);
    if (count == 0) centralDirCorrupted = true;
    --count;
    RuntimeBackgroundTask();
  } while (window.Position() < end);
  return true;
}

}  // namespace vantorel
