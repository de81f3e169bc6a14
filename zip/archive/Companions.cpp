// The folding of AppleDouble companions, which Apple's tools store as members of their own, into the entries
// that they belong to.
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "platform/run/BackgroundTask.h"
#include "platform/text/CaseFolding.h"
#include "platform/text/TextFunctions.h"
#include "zip/archive/NameIndex.h"
#include "zip/archive/ZipArchiveData.h"
#include "zip/archive/ZipEntry.h"

namespace vantorel {

namespace {

constexpr std::string_view kMacosxFolder = "__MACOSX/";
constexpr std::string_view kMark = "._";

// Only a member whose whole central extra field is one Unix type-1 record is ever taken for a companion.
bool MayBeCompanion(const Ref<ZipEntry>& entry) {
  return entry->ExtraFieldInCentralDir()->IsUnixType1Only() && entry->z_hasDittoName;
}

// Where the last mark stands that begins a component; npos if none does.
std::size_t FindMark(std::string_view name) {
  const std::size_t slash = name.rfind("/._");
  if (slash != std::string_view::npos) return slash + 1;
  return name.starts_with(kMark) ? 0 : std::string_view::npos;
}

}  // namespace

void ZipArchiveData::checkDirectory(const Ref<Dictionary>& index) {
  FoldCompanions([&index](const String& name) -> Ref<ZipEntry> {
    const String key = EncodeBase64(name, 76);
    if (!index->HasKey(key)) return nil;
    Ref<ZipEntry> entry = Cast<ZipEntry>(std::get<Ref<Object>>(index->Value(key)));
    index->Remove(key);
    return entry;
  });
}

void ZipArchiveData::FoldCompanions() {
  NameIndex index(entries_1);
  FoldCompanions([&index](const String& name) { return index.Take(name.view()); });
}

void ZipArchiveData::FoldCompanions(const TakeEntry& take_entry) {
  // The list stays as it is during the walk: an entry that leaves it may yet be asked for by its name.
  std::vector<bool> folded(entries_1.size());
  for (std::size_t i = entries_1.size() - 1; i >= 1; --i) {
    folded[i] = IsFolded(entries_1[i], take_entry);
    RuntimeBackgroundTask();
  }
  std::size_t kept = 1;
  for (std::size_t i = 1; i < entries_1.size(); ++i) {
    if (!folded[i]) std::swap(entries_1[kept++], entries_1[i]);
  }
  entries_1.resize(kept);
}

bool ZipArchiveData::IsFolded(const Ref<ZipEntry>& entry, const TakeEntry& take_entry) {
  if (!MayBeCompanion(entry)) return false;
  const String stored = entry->z_origEncodedName();
  std::string_view name = stored.view();
  if (EqualIgnoringCase(name.substr(0, kMacosxFolder.size()), kMacosxFolder)) {
    name.remove_prefix(kMacosxFolder.size());
    if (name.empty() || name.ends_with('/')) return true;
  }
  const std::size_t mark = FindMark(name);
  if (mark == std::string_view::npos) return false;
  std::string base(name);
  const Ref<ZipEntry> main = take_entry(String::Adopt(base.erase(mark, kMark.size()), nil));
  if (!main) return false;
  main->z_setAppleDoubleEntry(entry);
  dittoFormat = true;
  return true;
}

}  // namespace vantorel
