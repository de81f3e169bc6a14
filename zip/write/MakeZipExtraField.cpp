// The one kind of extra-field record that the engine writes: type, creator and name of a classic Mac file.
#include "platform/text/TextFunctions.h"
#include "zip/archive/ZipArchive.h"
#include "zip/records/ExtraRecords.h"
#include "zip/write/ZipExtraField.h"

namespace vantorel {

namespace {

constexpr std::int32_t kUnicodeBase = 256;

// A name that is held as Unicode goes in in the archive's encoding, any other one byte for byte.
String StoredName(ZipArchiveData& d, const String& name) {
  if (name.empty()) return {};
  const Ref<TextEncoding> guess = GuessJapaneseEncoding(name);
  const String stored = guess && guess->base() == kUnicodeBase ? d.encodeForZip(name) : name;
  return LeftB(stored, ZpitRecord::kMaxName);
}

}  // namespace

Ref<ZipExtraField> ZipArchive::MakeZipExtraField(const Ref<FolderItem>& item) {
  return MakeZipExtraField(item, item->Name());
}

Ref<ZipExtraField> ZipArchive::MakeZipExtraField(const Ref<FolderItem>& item, const String& name) {
  if (name.empty() && item->Directory()) return nil;
  return MakeZipExtraField(item->MacType(), item->MacCreator(), name);
}

Ref<ZipExtraField> ZipArchive::MakeZipExtraField(const String& type, const String& creator,
                                                 const String& name) {
  const String stored = StoredName(*d, name);
  const std::int32_t name_size = stored.empty() ? 0 : LenB(stored) + 1;  // with its length byte
  const auto block = New<MemoryBlock>(ZpitRecord::kSizeWithoutName + name_size, ByteOrder::kLittle);
  block->SetUShort(ExtraRecord::kId, name_size != 0 ? ZpitRecord::kIdWithName : ZpitRecord::kIdWithoutName);
  block->SetUShort(ExtraRecord::kDataSize, block->Size() - ExtraRecord::kData);
  block->SetLittleEndian(false);
  block->SetLong(ZpitRecord::kMagic, ZpitRecord::kMagicValue);
  if (name_size != 0) block->SetPString(ZpitRecord::kName, stored);
  block->SetStringValue(name_size + ZpitRecord::kType, 4, type);
  block->SetStringValue(name_size + ZpitRecord::kCreator, 4, creator);
  return MakeZipExtraField(block->StringValue(0, block->Size()));
}

Ref<ZipExtraField> ZipArchive::MakeZipExtraField(const String& block) {
  return New<ZipExtraField>(d, block);
}

}  // namespace vantorel
