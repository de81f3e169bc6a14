#include "zip/archive/ZipArchiveData.h"

#include "platform/base/Arithmetic.h"
#include "zip/archive/ZipEntry.h"
#include "zip/records/ZipRecords.h"

namespace vantorel {

namespace {

constexpr std::int32_t kDosLatinUS = 1024;

}  // namespace

ZipArchiveData::ZipArchiveData() : entries_1(1) {
  dosLatinUS = GetTextEncoding(kDosLatinUS, 0, 0);
  filenameEncoding = ZipArchiveData::findFileNameEncoding();
  ZipArchiveData::setArchiveEncoding(Encodings::UTF8());
  mb4 = New<MemoryBlock>(4, ByteOrder::kBig);
}

ZipArchiveData::~ZipArchiveData() = default;

void ZipArchiveData::setArchiveEncoding(const Ref<TextEncoding>& encoding) {
  archiveEncoding = encoding ? encoding : filenameEncoding;
}

Ref<TextEncoding> ZipArchiveData::findFileNameEncoding() {
  return Encodings::UTF8();
}

bool ZipArchiveData::isFakeEntry(const Ref<MemoryBlock>& header, std::int32_t localFlags) {
  const std::int32_t flags = header->UShort(CentralHeader::kFlags);
  if ((flags & ZipFlags::kDataDescriptor) == 0) return false;
  if (localFlags == -1) {
    const std::int32_t local_header = header->Long(CentralHeader::kLocalHeaderOffset);
    // One of 2^31 and above stays beyond the file.
    const std::int32_t flags_at =
        local_header < 0 ? local_header : AddSInt32(local_header, LocalHeader::kFlags);
    zipStream->SetPosition(ToPosition(flags_at));
    localFlags = zipStream->ReadShort();
  }
  // The local word is signed: one with its highest bit set matches nothing.
  return (flags & ~ZipFlags::kDataDescriptor) == localFlags;
}

}  // namespace vantorel
