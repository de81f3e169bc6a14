// Accessors and constants.
#include "platform/text/TextFunctions.h"
#include "zip/archive/ZipArchive.h"

namespace vantorel {

namespace {

void RequireOpen(bool entries_read) {
  if (!entries_read) throw RuntimeException("the archive is not open");
}

}  // namespace

bool ZipArchive::IsOpen() {
  return static_cast<bool>(d->zipStream);
}

bool ZipArchive::IsWritable() {
  return d->zipStream && writeMode;
}

String ZipArchive::ErrorMessage() {
  return errmsg;
}

String ZipArchive::Comment() {
  return comment_;
}

bool ZipArchive::SetComment(const String& text) {
  if (!writeMode) {
    z_noWriteMsg();
    return false;
  }
  comment_ = text;
  d->dirty = true;
  return true;
}

void ZipArchive::z_noWriteMsg() {
  errmsg = "Archive was opened read-only";
}

std::int32_t ZipArchive::EntryCount() {
  RequireOpen(entriesRead);
  return d->UpperBound();
}

Ref<ZipEntry> ZipArchive::Entry(std::int32_t index) {
  RequireOpen(entriesRead);
  if (index < 1 || index > d->UpperBound()) RaiseOutOfBoundsException();
  return d->entries_1[static_cast<std::size_t>(index)];
}

void ZipArchive::SetProgressMonitor(const Ref<ZipProgressNotifier>& monitor) {
  d->monitor = monitor;
}

Ref<ZipProgressNotifier> ZipArchive::ProgressMonitor() {
  return d->monitor;
}

void ZipArchive::SetDefaultOSMadeBy(std::int32_t value) {
  d->defaultOSMadeBy = value;
}

std::int32_t ZipArchive::DefaultOSMadeBy() {
  return d->defaultOSMadeBy;
}

void ZipArchive::PreserveUnixPermissions(bool flag) {
  d->addUnixPerm = flag;
}

bool ZipArchive::PreservingUnixPermissions() {
  return d->addUnixPerm;
}

bool ZipArchive::UsesAppleDittoFormat() {
  return d->dittoFormat;
}

double ZipArchive::Version() {
  return 1.3;
}

std::int32_t ZipArchive::MacBinaryNever() {
  return 0;
}

std::int32_t ZipArchive::MacBinarySmart() {
  return 1;
}

std::int32_t ZipArchive::MacBinaryAlways() {
  return 2;
}

Ref<TextEncoding> ZipArchive::EncodedAsUnicode() {
  return Encodings::UTF8();
}

Ref<TextEncoding> ZipArchive::EncodedAsWinLatin1() {
  return GetTextEncoding(1280, 0, 0);
}

Ref<TextEncoding> ZipArchive::EncodedAsDOSLatinUS() {
  return GetTextEncoding(1024, 0, 0);
}

Ref<TextEncoding> ZipArchive::EncodedAsMacDefault() {
  Ref<TextEncoding> system = GetFontTextEncoding("System");
  return system ? system : Encodings::MacRoman();
}

}  // namespace vantorel
