// The test for a second record of the same data, and the 16-bit shifts of the external attributes.
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

// The mode word goes to and from the high half of the attributes by its bytes, so that the sign plays no
// part.
std::int32_t ZipArchiveData::shiftRight16(std::int32_t value) {
  mb4->SetLong(0, value);
  return mb4->UShort(0);
}

std::int32_t ZipArchiveData::shiftLeft16(std::int32_t value) {
  mb4->SetShort(0, value);
  mb4->SetShort(2, 0);
  return mb4->Long(0);
}

}  // namespace vantorel
