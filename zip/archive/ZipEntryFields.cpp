// Accessors over the header block, the comment and the extra fields.
#include "platform/base/Arithmetic.h"
#include "platform/text/TextFunctions.h"
#include "zip/archive/ZipEntry.h"
#include "zip/records/ZipRecords.h"

namespace vantorel {

namespace {

constexpr std::int32_t kTextFileBit = 1;

}  // namespace

std::int32_t ZipEntry::CompressedSize() {
  return HeaderLong(CentralHeader::kCompressedSize);
}

std::int32_t ZipEntry::Size() {
  return HeaderLong(CentralHeader::kUncompressedSize);
}

std::int32_t ZipEntry::CompressionMethod() {
  return HeaderUShort(CentralHeader::kMethod);
}

std::int32_t ZipEntry::OSMadeBy() {
  return HeaderUShort(CentralHeader::kVersionMadeBy) >> 8;
}

void ZipEntry::SetOSMadeBy(std::int32_t value) {
  header->SetByte(CentralHeader::kOSMadeBy, value);
}

std::int32_t ZipEntry::ExternalFileAttributes() {
  return HeaderLong(CentralHeader::kExternalAttributes);
}

void ZipEntry::SetExternalFileAttributes(std::int32_t value) {
  header->SetLong(CentralHeader::kExternalAttributes, value);
}

bool ZipEntry::IsEncrypted() {
  return (HeaderUShort(CentralHeader::kFlags) & ZipFlags::kEncrypted) != 0;
}

bool ZipEntry::IsTextFile() {
  return (HeaderUShort(CentralHeader::kInternalAttributes) & kTextFileBit) != 0;
}

void ZipEntry::SetTextFileFlag(bool flag) {
  const std::int32_t others = HeaderUShort(CentralHeader::kInternalAttributes) & ~kTextFileBit;
  header->SetUShort(CentralHeader::kInternalAttributes, flag ? others | kTextFileBit : others);
}

Ref<MemoryBlock> ZipEntry::z_Header() {
  return header;
}

bool ZipEntry::IsDirectory() {
  return isFolder;
}

bool ZipEntry::CanExtract() {
  const std::int32_t method = CompressionMethod();
  const bool known_method = method == ZipMethod::kStored || method == ZipMethod::kDeflated;
  return known_method && !IsEncrypted() && !IsDirectory();
}

String ZipEntry::ErrorMessage() {
  return errmsg;
}

String ZipEntry::Comment() {
  return sysEncComment;
}

void ZipEntry::SetComment(const String& text) {
  sysEncComment = text;
  zipEncComment = d->encodeForZip(text);
  d->dirty = true;
}

void ZipEntry::EnableMacBinary1Detection(bool flag) {
  supportMB1 = flag;
}

void ZipEntry::EnableFileLocking(bool flag) {
  lockFiles = flag;
}

Ref<ZipExtraField> ZipEntry::ExtraFieldInCentralDir() {
  if (!extra->IsLocked()) throw RuntimeException("the extra field of an archive's member is not locked");
  return extra;
}

void ZipEntry::SetExtraFieldInCentralDir(const Ref<ZipExtraField>& field) {
  extra = field ? field : New<ZipExtraField>(d, "");
  extra->Lock();
  header->SetUShort(CentralHeader::kExtraLength, LenB(extra->AsData()));
  d->dirty = true;
}

Ref<ZipExtraField> ZipEntry::ExtraField() {
  if (!d->zipStream) {
    errmsg = "Archive is closed";
    return nil;
  }
  BinaryStream& stream = *d->zipStream;
  const std::uint64_t before = stream.Position();
  const std::uint64_t local_header = ToPosition(HeaderLong(CentralHeader::kLocalHeaderOffset));
  stream.SetPosition(local_header);
  if (stream.ReadLong() != LocalHeader::kMagic) {
    stream.SetPosition(before);
    errmsg = "Invalid Local File Header signature (archive appears to be severely corrupted)";
    return nil;
  }
  stream.SetPosition(local_header + LocalHeader::kNameLength);
  const auto name_length = static_cast<std::uint16_t>(stream.ReadShort());
  const auto extra_length = static_cast<std::uint16_t>(stream.ReadShort());
  stream.SetPosition(stream.Position() + name_length);
  Ref<ZipExtraField> field = New<ZipExtraField>(d, stream.Read(extra_length));
  field->Lock();
  stream.SetPosition(before);
  return field;
}

}  // namespace vantorel
