// The folding of AppleDouble companions, which Apple's tools store as members of their own, into the entries
// that they belong to.
#include <algorithm>
#include <variant>

#include "platform/run/BackgroundTask.h"
#include "platform/text/TextFunctions.h"
#include "zip/archive/ZipArchiveData.h"
#include "zip/archive/ZipEntry.h"

namespace vantorel {

namespace {

// Only a member whose whole central extra field is one Unix type-1 record is ever taken for a companion.
bool MayBeCompanion(const Ref<ZipEntry>& entry) {
  return entry->ExtraFieldInCentralDir()->IsUnixType1Only() && entry->z_hasDittoName;
}

bool EndsInSlash(const String& name) {
  return name.view().ends_with('/');
}

String WithoutTrailingSlash(const String& name) {
  return EndsInSlash(name) ? name.Slice(0, name.size() - 1) : name;
}

// Names are stored bytes, and so are the literals joined to them: a label would make positions count
// characters.
const String& MacosxFolder() {
  static const String text = String::Bytes("__MACOSX/");
  return text;
}
const String& Slash() {
  static const String text = String::Bytes("/");
  return text;
}
const String& CompanionMark() {
  static const String text = String::Bytes("/._");
  return text;
}

}  // namespace

String ZipArchiveData::IndexKey(const String& name) {
  return EncodeBase64(name, 76);
}

void ZipArchiveData::checkDirectory(const Ref<Dictionary>& index) {
  // Entries that leave the list become nil first and are dropped together at the end.
  for (std::size_t i = entries_1.size() - 1; i >= 1; --i) {
    if (IsFolded(entries_1[i], index)) entries_1[i] = nil;
    RuntimeBackgroundTask();
  }
  const auto first = entries_1.begin() + 1;
  entries_1.erase(std::remove(first, entries_1.end(), nil), entries_1.end());
}

bool ZipArchiveData::IsFolded(const Ref<ZipEntry>& entry, const Ref<Dictionary>& index) {
  if (!MayBeCompanion(entry)) return false;
  String name = entry->z_origEncodedName();
  const bool in_macosx = SameText(Left(name, LenB(MacosxFolder())), MacosxFolder());
  if (in_macosx) {
    name = Mid(name, LenB(MacosxFolder()) + 1);
    if (name.empty() || EndsInSlash(name)) return true;
  }
  // The slash in front makes a mark at the very start of the name count as well.
  const std::int32_t at = lastInStr(Slash() + name, CompanionMark());
  if (at < 1) return false;
  const String base = Left(name, at - 1) + Mid(name, at + 2);
  const String key = IndexKey(base);
  if (!index->HasKey(key)) return false;
  const Ref<ZipEntry> main = Cast<ZipEntry>(std::get<Ref<Object>>(index->Value(key)));
  // The index ignores case and Base64 minds it: names with one key need not be the same.
  if (StrComp(WithoutTrailingSlash(main->z_origEncodedName()), base, 0) != 0) return false;

  index->Remove(key);
  main->z_setAppleDoubleEntry(entry);
  dittoFormat = true;
  return true;
}

}  // namespace vantorel
