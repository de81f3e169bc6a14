// Names between their stored and their readable form, and the look-up by stored name.
#include "platform/run/BackgroundTask.h"
#include "platform/text/TextFunctions.h"
#include "zip/archive/ZipArchiveData.h"
#include "zip/archive/ZipEntry.h"

namespace vantorel {

namespace {

constexpr std::int32_t kDosLatinUSBase = 1024;

}  // namespace

String ZipArchiveData::cleanName(const String& name) {
  return ReplaceAll(ReplaceAll(name, "/", "-"), "\\", "-");
}

String ZipArchiveData::encodeForZip(const String& text) {
  String labelled = Encoding(text) ? text : DefineEncoding(text, Encodings::SystemDefault());
  // On its way to DOS Latin US a text always passes through Windows ANSI, so that what Windows cannot write
  // is replaced the same way there.
  if (archiveEncoding->base() == kDosLatinUSBase) {
    labelled = ConvertEncoding(labelled, Encodings::WindowsANSI());
  }
  return ConvertEncoding(labelled, archiveEncoding);
}

String ZipArchiveData::decodeFromZip(const String& bytes) {
  return DefineEncoding(bytes, archiveEncoding);
}

std::int32_t ZipArchiveData::lastInStr(const String& text, const String& pattern) {
  std::int32_t last = 0;
  for (std::int32_t at = InStr(text, pattern); at > 0; at = InStr(at + 1, text, pattern)) {
    last = at;
    RuntimeBackgroundTask();
  }
  return last;
}

std::int32_t ZipArchiveData::lookup(const String& storedName, std::int32_t start) {
  if (start < 0) RaiseOutOfBoundsException();
  for (auto i = static_cast<std::size_t>(start); i < entries_1.size(); ++i) {
    if (SameText(storedName, entries_1[i]->z_origEncodedName())) return static_cast<std::int32_t>(i);
    RuntimeBackgroundTask();
  }
  return 0;
}

}  // namespace vantorel
