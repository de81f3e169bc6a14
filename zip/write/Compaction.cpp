// Closing the holes that dropped members left in an archive file, in place: the surviving members move toward
// the start, in the order of their offsets, and their central headers learn the new offsets.
#include <algorithm>
#include <string>

#include "platform/base/Arithmetic.h"
#include "platform/run/BackgroundTask.h"
#include "zip/archive/RuntimeGuard.h"
#include "zip/archive/ZipArchive.h"
#include "zip/records/ZipRecords.h"

namespace vantorel {

namespace {

constexpr const char* kMismatch = "File Headers mismatch (archive appears to be severely corrupted)";

// One object per Compact.
class Compaction {
 public:
  explicit Compaction(ZipArchive& archive) : archive_(archive) {}

  // False with a message in the archive's errmsg. What was handled before the failure has moved, the rest has
  // not, and every entry points at its data. The caller empties the working lists.
  bool Run();

 private:
  void CollectMembers();
  bool MoveMember(std::int32_t offset, const Ref<MemoryBlock>& central);
  bool ReadLocalHeader(std::int32_t offset);
  void TakeSizesFrom(const Ref<MemoryBlock>& central);
  bool HeadersAgree(const Ref<MemoryBlock>& central, std::int32_t local_flags) const;
  bool Fail(const char* message);

  ZipArchive& archive_;
  Ref<MemoryBlock> local_ = New<MemoryBlock>(LocalHeader::kSize, ByteOrder::kLittle);  // the one at hand
  std::int32_t write_position_ = 0;    // where the member at hand goes
  std::int32_t member_length_ = 0;     // of the one that went there last
  std::int32_t previous_offset_ = -1;  // where that one came from
};

bool Compaction::Run() {
  CollectMembers();
  const auto count = static_cast<std::int32_t>(archive_.compactOffset.size());
  archive_.z_ArrayQuickSort(0, count - 1);
  archive_.marked = false;
  archive_.d->dirty = true;
  for (std::int32_t i = 0; i < count; ++i) {
    const std::int32_t offset = archive_.compactOffset[static_cast<std::size_t>(i)];
    const Ref<MemoryBlock> central = archive_.compactEntries[static_cast<std::size_t>(i)];
    // A fake duplicate: its data has just been dealt with.
    const bool shares_data = offset == previous_offset_;
    if (!shares_data && !MoveMember(offset, central)) return false;
    central->SetLong(CentralHeader::kLocalHeaderOffset, write_position_);
    RuntimeBackgroundTask();
  }
  archive_.startOfDirInArchive = AddSInt32(write_position_, member_length_);
  return true;
}

void Compaction::CollectMembers() {
  const auto& entries = archive_.d->entries_1;
  archive_.compactEntries.clear();
  archive_.compactOffset.clear();
  for (std::size_t i = 1; i < entries.size(); ++i) {
    archive_.compactEntries.push_back(entries[i]->z_Header());
    archive_.compactOffset.push_back(entries[i]->z_Header()->Long(CentralHeader::kLocalHeaderOffset));
    RuntimeBackgroundTask();
  }
}

// Moves the member at `offset` to behind the one before it.
bool Compaction::MoveMember(std::int32_t offset, const Ref<MemoryBlock>& central) {
  write_position_ = AddSInt32(write_position_, member_length_);
  if (!ReadLocalHeader(offset)) {
    return Fail("Invalid Local File Header signature (archive appears to be severely corrupted)");
  }
  const std::int32_t local_flags = local_->UShort(LocalHeader::kFlags);
  std::int32_t source = offset;
  if ((local_flags & ZipFlags::kDataDescriptor) != 0) {
    TakeSizesFrom(central);
    source = -1;  // has the header written anew; what follows it is lost
  }
  if (!HeadersAgree(central, local_flags)) return Fail(kMismatch);
  // The data descriptor, if there is one, is not counted and so is left behind.
  member_length_ = LocalHeader::kSize;
  for (const std::int32_t part :
       {local_->Long(LocalHeader::kCompressedSize), std::int32_t{local_->UShort(LocalHeader::kNameLength)},
        std::int32_t{local_->UShort(LocalHeader::kExtraLength)}}) {
    member_length_ = AddSInt32(member_length_, part);
  }
  // Members that overlap, or have no true length, cannot be moved without loss.
  if (offset < write_position_ || member_length_ < LocalHeader::kSize) return Fail(kMismatch);

  if (source != write_position_) {
    BinaryStream& stream = *archive_.d->zipStream;
    stream.SetPosition(ToPosition(write_position_));
    stream.WriteBytes(local_->View());
    archive_.z_copy(AddSInt32(source, LocalHeader::kSize), AddSInt32(write_position_, LocalHeader::kSize),
                    member_length_ - LocalHeader::kSize);
  }
  previous_offset_ = source;
  return true;
}

bool Compaction::ReadLocalHeader(std::int32_t offset) {
  BinaryStream& stream = *archive_.d->zipStream;
  stream.SetPosition(ToPosition(offset));
  local_->SetStringValue(0, LocalHeader::kSize, stream.Read(LocalHeader::kSize));
  return local_->Long(LocalHeader::kSignature) == LocalHeader::kMagic;
}

void Compaction::TakeSizesFrom(const Ref<MemoryBlock>& central) {
  local_->SetLong(LocalHeader::kCrc, central->Long(CentralHeader::kCrc));
  local_->SetLong(LocalHeader::kCompressedSize, central->Long(CentralHeader::kCompressedSize));
  local_->SetLong(LocalHeader::kUncompressedSize, central->Long(CentralHeader::kUncompressedSize));
  local_->SetUShort(LocalHeader::kFlags, local_->UShort(LocalHeader::kFlags) & ~ZipFlags::kDataDescriptor);
}

// Time and date play no part. `local_flags` are those that the file holds.
bool Compaction::HeadersAgree(const Ref<MemoryBlock>& central, std::int32_t local_flags) const {
  return local_->UShort(LocalHeader::kMethod) == central->UShort(CentralHeader::kMethod) &&
         local_->Long(LocalHeader::kCrc) == central->Long(CentralHeader::kCrc) &&
         local_->Long(LocalHeader::kCompressedSize) == central->Long(CentralHeader::kCompressedSize) &&
         local_->Long(LocalHeader::kUncompressedSize) == central->Long(CentralHeader::kUncompressedSize) &&
         (local_flags == central->UShort(CentralHeader::kFlags) ||
          archive_.d->isFakeEntry(central, static_cast<std::int16_t>(local_flags)));
}

bool Compaction::Fail(const char* message) {
  archive_.errmsg = message;
  return false;
}

}  // namespace

bool ZipArchive::Compact() {
  if (!writeMode) {
    z_noWriteMsg();
    return false;
  }
  const bool compacted = WithRuntimeGuard(errmsg, "Compact() encountered an unexpected error", false,
                                          [&] { return Compaction(*this).Run(); });
  compactEntries.clear();
  compactOffset.clear();
  return compacted;
}

// Front to back, which is right for a target below the source. What a short read lacks goes unnoticed.
void ZipArchive::z_copy(std::int32_t source, std::int32_t target, std::int32_t length) {
  if (source == target || length <= 0) return;
  BinaryStream& stream = *d->zipStream;
  std::string chunk(static_cast<std::size_t>(std::min(length, std::max(d->copyChunkSize, 1))), '\0');
  while (length > 0) {
    const auto wanted = std::min(length, static_cast<std::int32_t>(chunk.size()));
    stream.SetPosition(ToPosition(source));
    const std::size_t got = stream.ReadInto(chunk.data(), static_cast<std::size_t>(wanted));
    if (got == 0) return;  // behind the end of the file nothing more will come
    stream.SetPosition(ToPosition(target));
    stream.WriteBytes({chunk.data(), got});
    source = AddSInt32(source, wanted);
    target = AddSInt32(target, wanted);
    length -= wanted;
    RuntimeBackgroundTask();
  }
}

}  // namespace vantorel
