// The Unix mode of files, and its way into the external attributes of an entry and out of them.
#include "zip/archive/ZipArchive.h"
#include "zip/archive/ZipArchiveData.h"

namespace vantorel {

std::int32_t ZipArchiveData::getUnixPermissionsFromFile(const Ref<MemoryBlock>& reference,
                                                        std::int32_t& mode) {
  std::uint16_t word = 0;
  const std::int32_t error = ItemOf(reference)->GetUnixMode(word);
  if (error == 0) mode = word;
  return error;
}

std::int32_t ZipArchiveData::updateUnixPermissions(const Ref<MemoryBlock>& reference, std::int32_t keepMask,
                                                   std::int32_t setBits) {
  std::int32_t mode = 0;
  // A mode of which nothing is kept need not be known.
  const std::int32_t error = keepMask == 0 ? 0 : getUnixPermissionsFromFile(reference, mode);
  if (error != 0) return error;
  return ItemOf(reference)->SetUnixMode(static_cast<std::uint16_t>(setBits | (keepMask & mode)));
}

bool ZipArchive::GetUnixPermissions(const Ref<FolderItem>& item, std::int32_t& mode) {
  const Ref<MemoryBlock> reference = d->makeFSRef(item);
  return reference && d->getUnixPermissionsFromFile(reference, mode) == 0;
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
