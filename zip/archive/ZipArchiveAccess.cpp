// Accessors that do more than read or set a field.
#include "platform/text/TextFunctions.h"
#include "zip/archive/ZipArchive.h"

namespace vantorel {

std::int32_t ZipArchive::EntryCount() {
  if (!entriesRead) throw RuntimeException("the archive is not open");
  return d->UpperBound();
}

Ref<ZipEntry> ZipArchive::Entry(std::int32_t index) {
  if (index > EntryCount() || index < 1) RaiseOutOfBoundsException();
  return d->entries_1[static_cast<std::size_t>(index)];
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

Ref<TextEncoding> ZipArchive::EncodedAsMacDefault() {
  Ref<TextEncoding> system = GetFontTextEncoding("System");
  return system ? system : Encodings::MacRoman();
}

}  // namespace vantorel
