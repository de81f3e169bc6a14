// Accessors over the header block, its times among them, the comment and the extra fields.
#include <ctime>

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

bool ZipEntry::CanExtract() {
  const std::int32_t method = CompressionMethod();
  const bool known_method = method == ZipMethod::kStored || method == ZipMethod::kDeflated;
  return known_method && !IsEncrypted() && !IsDirectory();
}

void ZipEntry::SetComment(const String& text) {
  sysEncComment = text;
  zipEncComment = d->encodeForZip(text);
  d->dirty = true;
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

Ref<Date> ZipEntry::Time() {
  const std::int32_t time = HeaderUShort(CentralHeader::kTime);
  const std::int32_t date = HeaderUShort(CentralHeader::kDate);
  if (time == 0 && date == 0) return nil;
  Ref<Date> result = New<Date>();
  result->SetDay(date & 31);
  result->SetMonth((date & 480) / 32);
  result->SetYear((date & 65024) / 512 + 1980);
  result->SetHour((time & 63488) / 2048);
  result->SetMinute((time & 2016) / 32);
  result->SetSecond((time & 31) * 2);
  return result;
}

std::int32_t ZipEntry::UTCOffsetInMinutes() {
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  localtime_r(&now, &local);
  return static_cast<std::int32_t>(local.tm_gmtoff / 60);
}

double ZipEntry::z_ulongToDouble(std::int32_t value) {
  return value < 0 ? value + maxIntPlus1 + maxIntPlus1 : value;
}

}  // namespace vantorel
