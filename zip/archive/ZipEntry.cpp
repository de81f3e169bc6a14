#include "zip/archive/ZipEntry.h"

#include "zip/records/ZipRecords.h"

namespace vantorel {

namespace {

Ref<MemoryBlock> NewLittleEndianBlock(std::int32_t size) {
  Ref<MemoryBlock> block = NewMemoryBlock(size);
  if (!block) RaiseOutOfMemoryException();
  block->SetLittleEndian(true);
  return block;
}

// The header of a gzip member (RFC 1952): deflate, no flags, no time, made on a Macintosh.
Ref<MemoryBlock> GzipHeader() {
  Ref<MemoryBlock> block = NewLittleEndianBlock(10);
  block->SetByte(0, 31);
  block->SetByte(1, 139);
  block->SetByte(2, 8);
  block->SetByte(3, 0);
  block->SetLong(4, 0);
  block->SetByte(8, 0);
  block->SetByte(9, 7);
  return block;
}

}  // namespace

ZipEntry::ZipEntry(const Ref<ZipArchiveData>& data, const Ref<MemoryBlock>& header_block, const String& name,
                   const Ref<ZipExtraField>& extra_field, const String& comment)
    : zipEncName(name), header(header_block), extra(extra_field), d(data), zipEncComment(comment) {
  sysEncName = d->decodeFromZip(zipEncName);
  sysEncComment = d->decodeFromZip(zipEncComment);
  if (!extra) {
    extra = New<ZipExtraField>(d, "");
    extra->Lock();
  }
  ZipEntry::z_checkRawPath();
  ZipEntry::z_setup();
}

ZipEntry::~ZipEntry() = default;

void ZipEntry::z_setup() {
  runningOnClassic = false;  // of all the systems this program runs on none is that old
  static const Ref<MemoryBlock> shared_prefix = GzipHeader();
  zlib_prefix = shared_prefix;
  if (!header) header = NewLittleEndianBlock(CentralHeader::kSize);
}

void ZipEntry::z_setAppleDoubleEntry(const Ref<ZipEntry>& companion) {
  appleDoubleEntry = companion;
  companion->thisIsTheAppleDoubleEntry = true;
}

}  // namespace vantorel
