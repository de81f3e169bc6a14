// References to files as blocks of bytes. This system has no such references of its own: a reference is the
// item's path.
#include "platform/base/Arithmetic.h"
#include "platform/text/TextFunctions.h"
#include "zip/archive/ZipArchiveData.h"

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

Ref<MemoryBlock> NewBlock(std::int32_t size) {
  Ref<MemoryBlock> block = NewMemoryBlock(size);
  if (!block) RaiseOutOfMemoryException();
  return block;
}

}  // namespace

Ref<MemoryBlock> ZipArchiveData::makeFSRef(const Ref<FolderItem>& item) {
  return FSRefOfFolderItem(item);
}

// Whether there is such an item shows when the reference is used, at no cost of its own.
Ref<MemoryBlock> ZipArchiveData::FSRefOfFolderItem(const Ref<FolderItem>& item) {
  if (!item) return nil;
  const auto length = static_cast<std::int32_t>(item->Path().size());
  Ref<MemoryBlock> reference = NewBlock(length);
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
  Ref<MemoryBlock> spec = NewBlock(FileSpec::kSize);
  spec->SetShort(FileSpec::kVolume, item->MacVRefNum());
  spec->SetLong(FileSpec::kParent, item->MacDirID());
  spec->SetPString(FileSpec::kName, name);
  return spec;
}

Ref<MemoryBlock> ZipArchiveData::FSSpecOfFSRef(const Ref<MemoryBlock>& reference) {
  return FSSpecOfFolderItem(ItemOf(reference));
}

}  // namespace vantorel
