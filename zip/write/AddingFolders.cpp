// Turning the contents of a folder into members. Only files become members: a folder's own first, in the
// order of the file system, then those of its subfolders, depth first. Nothing keeps the archive itself out
// of the folder it is filled from: that is the caller's to see to.
#include <deque>
#include <vector>

#include "platform/base/Arithmetic.h"
#include "platform/run/BackgroundTask.h"
#include "platform/text/TextFunctions.h"
#include "zip/archive/ZipArchive.h"
#include "zip/write/AddResult.h"

namespace vantorel {

namespace {

constexpr double kLargestTotal = 2147483648.0;

struct FolderContents {
  std::vector<Ref<FolderItem>> files;
  std::deque<Ref<FolderItem>> folders;
};

enum class Kind { kFile, kFolder, kAlias };

Kind KindOf(const Ref<FolderItem>& item) {
  if (item->Alias()) return Kind::kAlias;
  return item->Directory() ? Kind::kFolder : Kind::kFile;
}

// The file that an alias leads to; nil if it leads to a folder or nowhere.
Ref<FolderItem> FileBehindAlias(const Ref<FolderItem>& folder, std::int32_t index) {
  Ref<FolderItem> target = folder->Item(index);
  if (!target || target->Alias() || target->Directory() || !target->Exists()) return nil;
  return target;
}

// Aliases are left out, or followed if they lead to files; never to folders, so that a walk ends.
FolderContents ContentsOf(const Ref<FolderItem>& folder, bool follow_aliases) {
  FolderContents contents;
  for (std::int32_t index = 1;; ++index) {
    const Ref<FolderItem> child = folder->TrueItem(index);
    if (!child) return contents;
    switch (KindOf(child)) {
      case Kind::kFile:
        contents.files.push_back(child);
        break;
      case Kind::kFolder:
        contents.folders.push_back(child);
        break;
      case Kind::kAlias:
        if (const auto target = follow_aliases ? FileBehindAlias(folder, index) : nil) {
          contents.files.push_back(target);
        }
        break;
    }
    RuntimeBackgroundTask();
  }
}

}  // namespace

bool ZipArchive::z_abort(const Ref<FolderItem>& item, std::int32_t code, const String& message,
                         bool canContinue) {
  errmsg = message;
  bool stop = true;
  if (const Ref<ZipProgressNotifier> monitor = d->monitor) {
    stop = false;
    monitor->ItemFailed(item, code, message, stop);
  }
  return !canContinue || stop;
}

bool ZipArchive::AddFolderContents(const Ref<FolderItem>& folder, const String& prefix, std::int32_t mode,
                                   bool followAliases) {
  if (!writeMode) {
    z_noWriteMsg();
    return false;
  }
  // An empty prefix becomes "/", which is dropped from the front of each name later.
  const String closed_prefix = ReplaceAll(prefix + "/", "//", "/");
  return z_addFolder(folder, closed_prefix, followAliases, mode, d->addUnixPerm, false) == 0;
}

std::int32_t ZipArchive::z_addFolder(const Ref<FolderItem>& folder, const String& prefix, bool followAliases,
                                     std::int32_t mode, bool unixPermissions, bool sizeOnly) {
  if (!folder) {
    errmsg = "no folder reference given";
    return AddResult::kWalkEnded;
  }
  FolderContents contents = ContentsOf(folder, followAliases);
  double total = 0;
  for (const Ref<FolderItem>& file : contents.files) {
    bool stop = false;
    if (const Ref<ZipProgressNotifier> monitor = d->monitor) monitor->ItemStarting(file, stop);
    if (stop) return AddResult::kWalkEnded;
    const String path = sizeOnly ? String() : prefix + d->cleanName(file->Name());
    const std::int32_t result = z_addItem(file, path, mode, unixPermissions, sizeOnly);
    if (result < 0 || (result == 0 && !sizeOnly)) {
      if (z_abort(file, result, errmsg, true)) return AddResult::kWalkEnded;
    } else if (sizeOnly) {
      total += result;
    }
    RuntimeBackgroundTask();
  }
  contents.files.clear();
  while (!contents.folders.empty()) {
    const Ref<FolderItem> subfolder = contents.folders.front();
    contents.folders.pop_front();
    const String path = sizeOnly ? String() : prefix + d->cleanName(subfolder->Name()) + "/";
    const std::int32_t result = z_addFolder(subfolder, path, followAliases, mode, unixPermissions, sizeOnly);
    if (result < 0) return result;
    if (sizeOnly) total += result;
    RuntimeBackgroundTask();
  }
  if (!sizeOnly) return 0;
  return total > kLargestTotal ? AddResult::kWalkEnded : RuntimeCvtReal64ToSInt32(total);
}

std::int32_t ZipArchive::CalcFolderSize(const Ref<FolderItem>& folder, bool followAliases,
                                        std::int32_t mode) {
  return z_addFolder(folder, "", followAliases, mode, false, true);
}

}  // namespace vantorel
