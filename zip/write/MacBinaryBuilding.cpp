// The MacBinary header that goes in front of a member whose resource fork and Finder attributes travel with
// it.
#include <optional>

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

// What the file system holds of the item's Finder attributes, if it holds any.
std::optional<FinderInfo> CatalogInfo(const FolderItem& item) {
  const FinderInfo info = item.GetFinderInfo();
  if (info.IsEmpty()) return std::nullopt;
  return info;
}

void SetAttributes(MemoryBlock& header, const FolderItem& item, const std::optional<FinderInfo>& catalog) {
  header.SetByte(MacBinaryHeader::kProtected, item.Locked() ? 1 : 0);
  if (!catalog) {
    header.SetByte(MacBinaryHeader::kFinderFlagsHigh, item.Visible() ? 0 : kInvisibleFlag);
    return;
  }
  header.SetByte(MacBinaryHeader::kFinderFlagsHigh, (catalog->flags >> 8) & kStorableFlags);
  header.SetByte(MacBinaryHeader::kFinderFlagsLow, catalog->flags & 0xFF);
}

}  // namespace

Ref<MemoryBlock> ZipArchive::z_makeMBHdr(std::int32_t dataLength, std::int32_t rsrcLength, const String& name,
                                         const String& type, const String& creator, const Ref<Date>& created,
                                         const Ref<Date>& modified, const Ref<FolderItem>& item) {
  if (name.empty()) throw RuntimeException("a MacBinary header needs a name");
  String stored_name = name;
  std::optional<FinderInfo> catalog;
  auto header = New<MemoryBlock>(MacBinaryHeader::kSize);
  header->SetLittleEndian(false);
  if (item) {
    catalog = CatalogInfo(*item);
    // The item's own name is stored as the file system spells it, and the script belongs to that name only.
    if (SameText(name, item->Name())) {
      stored_name = item->Name();
      if (catalog) header->SetByte(MacBinaryHeader::kScript, catalog->script);
    }
    SetAttributes(*header, *item, catalog);
  }

  header->SetPString(MacBinaryHeader::kName, LeftB(stored_name, MacBinaryHeader::kLongestName));
  header->SetStringValue(MacBinaryHeader::kType, kCodeSize, type);
  header->SetStringValue(MacBinaryHeader::kCreator, kCodeSize, creator);
  if (created) header->SetLong(MacBinaryHeader::kCreated, z_dblToLong(created->TotalSeconds()));
  if (modified) header->SetLong(MacBinaryHeader::kModified, z_dblToLong(modified->TotalSeconds()));
  header->SetLong(MacBinaryHeader::kDataLength, dataLength);
  header->SetLong(MacBinaryHeader::kResourceLength, rsrcLength);
  header->SetLong(MacBinaryHeader::kSignature, MacBinaryHeader::kSignatureValue);
  header->SetByte(MacBinaryHeader::kWriterVersion, MacBinaryHeader::kVersion3);
  header->SetByte(MacBinaryHeader::kMinimumVersion, MacBinaryHeader::kVersion2);
  header->SetShort(MacBinaryHeader::kCrc, Crc16_MemoryBlock(header, 0, MacBinaryHeader::kCrc, 0));
  return header;
}

Ref<MemoryBlock> ZipArchive::MakeMacBinaryHeader(const Ref<FolderItem>& item) {
  return MakeMacBinaryHeader(item, ToSInt32(item->Length()), item->ResourceForkLength(), item->Name());
}

Ref<MemoryBlock> ZipArchive::MakeMacBinaryHeader(const Ref<FolderItem>& item, std::int32_t dataLength,
                                                 std::int32_t rsrcLength, const String& name) {
  return z_makeMBHdr(dataLength, rsrcLength, name, item->MacType(), item->MacCreator(), item->CreationDate(),
                     item->ModificationDate(), item);
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
