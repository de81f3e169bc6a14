// Raw paths and the look-up of entries by them.
#include "platform/run/BackgroundTask.h"
#include "platform/text/TextFunctions.h"
#include "zip/archive/ZipArchive.h"

namespace vantorel {

namespace {

// Without a label, so that joined names keep their own.
const String& Separator() {
  static const String text = String::Bytes("/");
  return text;
}

}  // namespace

String ZipArchive::CleanName(const String& name) {
  String clean = d->cleanName(name);
  if (Encoding(name)->code() != Encoding(clean)->code()) {
    throw RuntimeException("a name lost its encoding while it was cleaned");
  }
  return clean;
}

bool ZipArchive::IsValidName(const String& name) {
  return SameText(d->cleanName(name), name);
}

String ZipArchive::z_pathToEncName(const String& rawPath) {
  if (rawPath.empty()) return d->encodeForZip("/");
  const bool leading_slash = rawPath.size() > 1 && rawPath.view().front() == '/';
  return d->encodeForZip(leading_slash ? rawPath.Slice(1) : rawPath);
}

std::int32_t ZipArchive::EntryIdxByRawPath(const String& rawPath, std::int32_t start) {
  const std::int32_t count = EntryCount();
  if (start < 1 || start > count + 1) RaiseOutOfBoundsException();
  return d->lookup(z_pathToEncName(rawPath), start);
}

std::vector<String> ZipArchive::AllEntriesAsRawPaths() {
  std::vector<String> paths;
  paths.reserve(d->entries_1.size() - 1);
  for (std::size_t i = 1; i < d->entries_1.size(); ++i) paths.push_back(d->entries_1[i]->RawPath());
  return paths;
}

String ZipArchive::RawPath(const std::vector<String>& components) {
  String result;
  for (const String& component : components) {
    result += Separator();
    result += d->cleanName(component);
    RuntimeBackgroundTask();
  }
  return MidB(result, 2);
}

String ZipArchive::RawPath(const Ref<FolderItem>& baseFolder, const Ref<FolderItem>& item) {
  if (!baseFolder->Directory()) return {};
  std::vector<String> names;
  for (Ref<FolderItem> f = item; !z_sameFolderItem(f, baseFolder);) {
    const Ref<FolderItem> parent = f->Parent();
    if (z_sameFolderItem(parent, f)) return {};  // the top, without having met the base
    names.push_back(f->Name());
    f = parent;
    RuntimeBackgroundTask();
  }
  return RawPath(std::vector<String>(names.rbegin(), names.rend()));
}

bool ZipArchive::z_sameFolderItem(const Ref<FolderItem>& a, const Ref<FolderItem>& b) {
  return a->MacVRefNum() == b->MacVRefNum() && a->MacDirID() == b->MacDirID() &&
         SameText(a->Name(), b->Name());
}

}  // namespace vantorel
