// The MacBinary header that goes in front of a member whose resource fork and Finder attributes travel with
// it.
#include "platform/base/Arithmetic.h"
#include "platform/compress/Crc16.h"
#include "platform/text/TextFunctions.h"
#include "zip/archive/ZipArchive.h"
#include "zip/extract/MacBinaryHeader.h"

namespace vantorel {

namespace {

constexpr std::int32_t kCodeSize = 4;          // a type or creator
constexpr std::int32_t kInvisibleFlag = 0x40;  // in the high byte of the Finder flags
constexpr std::int32_t kStorableFlags = 0xFE;  // without the flag that an item lies on the desktop

// What the file system holds of the item's Finder attributes; nothing set if it holds or tells none.
FinderInfo CatalogInfo(const FolderItem& item) {
  MacData data;
  item.GetMacData(data);
  return data.finder;
}

void SetAttributes(MemoryBlock& header, const FolderItem& item, const FinderInfo& catalog) {
  header.SetByte(MacBinaryHeader::kProtected, item.Locked() ? 1 : 0);
  if (catalog.IsEmpty()) {
    header.SetByte(MacBinaryHeader::kFinderFlagsHigh, item.Visible() ? 0 : kInvisibleFlag);
    return;
  }
  header.SetByte(MacBinaryHeader::kFinderFlagsHigh, (catalog.flags >> 8) & kStorableFlags);
  header.SetByte(MacBinaryHeader::kFinderFlagsLow, catalog.flags & 0xFF);
}

void SetName(MemoryBlock& header, const String& name) {
  header.SetPString(MacBinaryHeader::kName, LeftB(name, MacBinaryHeader::kLongestName));
}

// What a header made without an item lacks.
void AddItemFields(MemoryBlock& header, const FolderItem& item, const String& name,
                   const FinderInfo& catalog) {
  // The item's own name is stored as the file system spells it, and the script belongs to that name only.
  if (SameText(name, item.Name())) {
    SetName(header, item.Name());
    header.SetByte(MacBinaryHeader::kScript, catalog.script);
  }
  SetAttributes(header, item, catalog);
}

void SetSum(const Ref<MemoryBlock>& header) {
  header->SetShort(MacBinaryHeader::kCrc, Crc16_MemoryBlock(header, 0, MacBinaryHeader::kCrc, 0));
}

}  // namespace

Ref<MemoryBlock> ZipArchive::z_makeMBHdr(std::int32_t dataLength, std::int32_t rsrcLength, const String& name,
                                         const String& type, const String& creator, const Ref<Date>& created,
                                         const Ref<Date>& modified, const Ref<FolderItem>& item) {
  if (name.empty()) throw RuntimeException("a MacBinary header needs a name");
  auto header = New<MemoryBlock>(MacBinaryHeader::kSize, ByteOrder::kBig);
  SetName(*header, name);
  header->SetStringValue(MacBinaryHeader::kType, kCodeSize, type);
  header->SetStringValue(MacBinaryHeader::kCreator, kCodeSize, creator);
  if (created) header->SetLong(MacBinaryHeader::kCreated, z_dblToLong(created->TotalSeconds()));
  if (modified) header->SetLong(MacBinaryHeader::kModified, z_dblToLong(modified->TotalSeconds()));
  header->SetLong(MacBinaryHeader::kDataLength, dataLength);
  header->SetLong(MacBinaryHeader::kResourceLength, rsrcLength);
  header->SetLong(MacBinaryHeader::kSignature, MacBinaryHeader::kSignatureValue);
  header->SetByte(MacBinaryHeader::kWriterVersion, MacBinaryHeader::kVersion3);
  header->SetByte(MacBinaryHeader::kMinimumVersion, MacBinaryHeader::kVersion2);
  if (item) AddItemFields(*header, *item, name, CatalogInfo(*item));
  SetSum(header);
  return header;
}

Ref<MemoryBlock> ZipArchive::MakeMacBinaryHeader(const Ref<FolderItem>& item) {
  return MakeMacBinaryHeader(item, ToSInt32(item->Length()), item->ResourceForkLength(), item->Name());
}

Ref<MemoryBlock> ZipArchive::MakeMacBinaryHeader(const Ref<FolderItem>& item, std::int32_t dataLength,
                                                 std::int32_t rsrcLength, const String& name) {
  const FinderInfo catalog = CatalogInfo(*item);
  return z_makeMBHdr(dataLength, rsrcLength, name, catalog.TypeText(), catalog.CreatorText(),
                     item->CreationDate(), item->ModificationDate(), item);
}

Ref<MemoryBlock> ZipArchive::MakeMacBinaryHeader(const Ref<FolderItem>& item, std::int32_t dataLength,
                                                 std::int32_t rsrcLength, const String& name,
                                                 const FinderInfo& catalog) {
  Ref<MemoryBlock> header =
      z_makeMBHdr(dataLength, rsrcLength, name, catalog.TypeText(), catalog.CreatorText(),
                  item->CreationDate(), item->ModificationDate(), nil);
  AddItemFields(*header, *item, name, catalog);
  SetSum(header);
  return header;
}

Ref<MemoryBlock> ZipArchive::MakeMacBinaryHeader(std::int32_t dataLength, std::int32_t rsrcLength,
                                                 const String& name, const String& type,
                                                 const String& creator, const Ref<Date>& created,
                                                 const Ref<Date>& modified) {
  return z_makeMBHdr(dataLength, rsrcLength, name, type, creator, created, modified, nil);
}

std::int32_t ZipArchive::z_dblToLong(double value) {
  if (value < maxIntPlus1) return RuntimeCvtReal64ToSInt32(value);
  return RuntimeCvtReal64ToSInt32(value - maxIntPlus1 - maxIntPlus1);
}

}  // namespace vantorel
