// References to files as blocks of bytes, and the Unix mode of what they refer to. This system has no such
// references of its own: a reference is the item's path.
#include "platform/base/Arithmetic.h"
#include "platform/text/TextFunctions.h"
#include "zip/archive/ZipArchive.h"

namespace vantorel {

namespace {

// The record that names a file by its folder.
namespace FileSpec {
constexpr std::int32_t kVolume = 0;
constexpr std::int32_t kParent = 2;
constexpr std::int32_t kName = 6;
constexpr std::int32_t kSize = 70;
constexpr std::int32_t kMaxName = 63;
}  // namespace FileSpec

}  // namespace

Ref<MemoryBlock> ZipArchiveData::makeFSRef(const Ref<FolderItem>& item) {
  return FSRefOfFolderItem(item);
}

// Whether there is such an item shows when the reference is used, at no cost of its own.
Ref<MemoryBlock> ZipArchiveData::FSRefOfFolderItem(const Ref<FolderItem>& item) {
  if (!item) return nil;
  const auto length = static_cast<std::int32_t>(item->Path().size());
  auto reference = New<MemoryBlock>(length);
  reference->SetStringValue(0, length, String::Bytes(item->Path()));
  return reference;
}

Ref<FolderItem> ZipArchiveData::ItemOf(const Ref<MemoryBlock>& reference) {
  return New<FolderItem>(std::string(reference->View()));
}

Ref<MemoryBlock> ZipArchiveData::FSSpecOfFolderItem(const Ref<FolderItem>& item) {
  if (!item || !item->Exists()) return nil;
  const String name = item->Name();
  if (LenB(name) > FileSpec::kMaxName) return nil;
  auto spec = New<MemoryBlock>(FileSpec::kSize);
  spec->SetShort(FileSpec::kVolume, item->MacVRefNum());
  spec->SetLong(FileSpec::kParent, item->MacDirID());
  spec->SetPString(FileSpec::kName, name);
  return spec;
}

Ref<MemoryBlock> ZipArchiveData::FSSpecOfFSRef(const Ref<MemoryBlock>& reference) {
  return FSSpecOfFolderItem(ItemOf(reference));
}

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
