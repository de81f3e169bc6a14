#include "zip/archive/ZipEntry.h"

#include <string_view>

#include "platform/base/Arithmetic.h"
#include "zip/records/ZipRecords.h"

namespace vantorel {

namespace {

// The header of a gzip member (RFC 1952): deflate, no flags, no time, made on a Macintosh.
constexpr std::string_view kGzipHeader("\x1F\x8B\x08\0\0\0\0\0\0\x07", 10);

}  // namespace

ZipEntry::ZipEntry(const Ref<ZipArchiveData>& data, const Ref<MemoryBlock>& header_block, const String& name,
                   const Ref<ZipExtraField>& extra_field, const String& comment)
    : ZipEntry(data, String(), name, comment) {
  header = header_block;
  extra = extra_field;
}

ZipEntry::ZipEntry(const Ref<ZipArchiveData>& data, const String& record, const String& name,
                   const String& comment)
    : zipEncName(name), d(data), zipEncComment(comment), record_(record) {
  sysEncName = d->decodeFromZip(zipEncName);
  sysEncComment = d->decodeFromZip(zipEncComment);
  ZipEntry::z_checkRawPath();
  ZipEntry::z_setup();
}

ZipEntry::~ZipEntry() = default;

// Of all the systems that this program runs on none is that old.
void ZipEntry::z_setup() {
  runningOnClassic = false;
}

Ref<MemoryBlock> ZipEntry::MakeHeader() const {
  auto block = New<MemoryBlock>(CentralHeader::kSize, ByteOrder::kLittle);
  block->SetStringValue(0, CentralHeader::kSize, record_);
  return block;
}

// Goes by the record, whatever has become of the header.
String ZipEntry::ExtraBytes() const {
  if (extra.Made()) return extra->AsData();
  if (record_.empty()) return {};
  return record_.Slice(CentralHeader::kSize + Get16(record_.view(), CentralHeader::kNameLength),
                       Get16(record_.view(), CentralHeader::kExtraLength));
}

Ref<ZipExtraField> ZipEntry::MakeExtra() const {
  Ref<ZipExtraField> field = New<ZipExtraField>(d, ExtraBytes());
  field->Lock();
  return field;
}

Ref<MemoryBlock> ZipEntry::MakeZlibPrefix() const {
  auto block = New<MemoryBlock>(static_cast<std::int32_t>(kGzipHeader.size()), ByteOrder::kLittle);
  block->SetStringValue(0, block->Size(), String::Bytes(kGzipHeader));
  return block;
}

String ZipEntry::ZlibPrefix() const {
  static const String untouched = String::Bytes(kGzipHeader);
  const Ref<MemoryBlock>& block = zlib_prefix.Made();
  return block ? block->StringValue(0, block->Size()) : untouched;
}

std::uint16_t ZipEntry::HeaderUShort(std::int32_t offset) const {
  if (record_.empty() || header.Made()) return header->UShort(offset);
  return static_cast<std::uint16_t>(Get16(record_.view(), offset));
}

std::int32_t ZipEntry::HeaderLong(std::int32_t offset) const {
  if (record_.empty() || header.Made()) return header->Long(offset);
  return ToSInt32(Get32(record_.view(), offset));
}

void ZipEntry::z_setAppleDoubleEntry(const Ref<ZipEntry>& companion) {
  appleDoubleEntry = companion;
  companion->thisIsTheAppleDoubleEntry = true;
}

}  // namespace vantorel
