// The test for a second record of the same data.
#include "platform/base/Arithmetic.h"
#include "zip/archive/ZipArchiveData.h"
#include "zip/records/ZipRecords.h"

namespace vantorel {

bool ZipArchiveData::isFakeEntry(const Ref<MemoryBlock>& header, std::int32_t localFlags) {
  const std::int32_t flags = header->UShort(CentralHeader::kFlags);
  if ((flags & ZipFlags::kDataDescriptor) == 0) return false;
  if (localFlags == -1) {
    const std::int32_t local_header = header->Long(CentralHeader::kLocalHeaderOffset);
    zipStream->SetPosition(ToPosition(AddSInt32(local_header, LocalHeader::kFlags)));
    localFlags = zipStream->ReadShort();
  }
  // The local word is signed: one with its highest bit set matches nothing.
  return (flags & ~ZipFlags::kDataDescriptor) == localFlags;
}

}  // namespace vantorel
