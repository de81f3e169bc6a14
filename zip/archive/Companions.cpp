// The folding of AppleDouble companions, which Apple's tools store as members of their own, into the entries
// that they belong to.
#include <algorithm>
#include <functional>
#include <string>
#include <typeinfo>
#include <utility>
#include <variant>
#include <vector>

#include "platform/run/BackgroundTask.h"
#include "platform/text/CaseFolding.h"
#include "platform/text/TextFunctions.h"
#include "zip/archive/CarriedName.h"
#include "zip/archive/NameIndex.h"
#include "zip/archive/ZipArchiveData.h"
#include "zip/archive/ZipEntry.h"

namespace vantorel {

namespace {

constexpr std::string_view kMacosxFolder = "__MACOSX/";
constexpr std::string_view kMark = "._";

// Only a member whose whole central extra field is one Unix type-1 record is ever taken for a companion.
bool MayBeCompanion(const Ref<ZipEntry>& entry) {
  return entry->z_hasDittoName && entry->ExtraFieldInCentralDir()->IsUnixType1Only();
}

// Where the last mark stands that begins a component; npos if none does.
std::size_t FindMark(std::string_view name) {
  const std::size_t slash = name.rfind("/._");
  if (slash != std::string_view::npos) return slash + 1;
  return name.starts_with(kMark) ? 0 : std::string_view::npos;
}

// Gives out the entry of a name, at most once; nil if there is none.
using TakeEntry = std::function<Ref<ZipEntry>(const String& name)>;

class Folding {
 public:
  explicit Folding(TakeEntry take_entry) : take_entry_(std::move(take_entry)) {}

  // Whether the entry is to leave the list: as a companion, now held by its main entry, or as a folder of the
  // __MACOSX tree.
  bool Folds(const Ref<ZipEntry>& entry) {
    if (!MayBeCompanion(entry)) return false;
    const String stored = entry->z_origEncodedName();
    std::string_view name = stored.view();
    if (EqualIgnoringCase(name.substr(0, kMacosxFolder.size()), kMacosxFolder)) {
      name.remove_prefix(kMacosxFolder.size());
      if (name.empty() || name.ends_with('/')) return true;
    }
    // The second of two with one name never finds what the first took or did not find.
    if (IsCarriedOver(stored, last_asked_)) return false;
    last_asked_ = stored;
    return JoinsMain(entry, name);
  }

  bool FoundCompanions() const { return found_companions_; }

 private:
  bool JoinsMain(const Ref<ZipEntry>& companion, std::string_view name) {
    const std::size_t mark = FindMark(name);
    if (mark == std::string_view::npos) return false;
    std::string base(name);
    const Ref<ZipEntry> main = take_entry_(String::Adopt(base.erase(mark, kMark.size()), nil));
    if (!main) return false;
    main->z_setAppleDoubleEntry(companion);
    found_companions_ = true;
    return true;
  }

  TakeEntry take_entry_;
  String last_asked_;
  bool found_companions_ = false;
};

// Runs over the list from its end and drops together what is to leave it: until then it may yet be asked for
// by its name.
bool Fold(std::vector<Ref<ZipEntry>>& entries, TakeEntry take_entry) {
  Folding folding(std::move(take_entry));
  std::vector<bool> folded(entries.size());
  for (std::size_t i = entries.size() - 1; i >= 1; --i) {
    folded[i] = folding.Folds(entries[i]);
    RuntimeBackgroundTask();
  }
  std::size_t kept = 1;
  for (std::size_t i = 1; i < entries.size(); ++i) {
    if (!folded[i]) std::swap(entries[kept++], entries[i]);
  }
  entries.resize(kept);
  return folding.FoundCompanions();
}

}  // namespace

void ZipArchiveData::checkDirectory(const Ref<Dictionary>& index) {
  const auto take = [&index](const String& name) -> Ref<ZipEntry> {
    const String key = EncodeBase64(name, 76);
    if (!index->HasKey(key)) return nil;
    Ref<ZipEntry> entry = Cast<ZipEntry>(std::get<Ref<Object>>(index->Value(key)));
    index->Remove(key);
    return entry;
  };
  if (Fold(entries_1, take)) dittoFormat = true;
}

void ZipArchiveData::CheckNewEntries(std::size_t first) {
  // Only a class of its own can look at the dictionary, which takes longer to make than all the reading.
  if (typeid(*this) != typeid(ZipArchiveData)) {
    const Ref<Dictionary> index = New<Dictionary>();
    for (std::size_t i = first; i < entries_1.size(); ++i) {
      const String& name = entries_1[i]->zipEncName;
      const bool folder = name.view().ends_with('/');
      index->SetValue(EncodeBase64(name.Slice(0, name.size() - (folder ? 1 : 0)), 76),
                      Ref<Object>(entries_1[i]));
    }
    checkDirectory(index);
    return;
  }
  if (std::none_of(entries_1.begin() + 1, entries_1.end(), MayBeCompanion)) return;
  NameIndex index(entries_1, first);
  if (Fold(entries_1, [&index](const String& name) { return index.Take(name.view()); })) dittoFormat = true;
}

}  // namespace vantorel
