// Undoing what was appended, and the decision whether a walk goes on behind a failed item.
#include "zip/archive/ZipArchive.h"

namespace vantorel {

void ZipArchive::Mark() {
  markDirStart = startOfDirInArchive;
  markEntries = d->UpperBound();
  marked = true;
}

// Members are appended in file order, so dropping the entries and moving the end back undoes all: the bytes
// behind it are overwritten or cut off. The mark stays.
bool ZipArchive::Rollback() {
  if (!marked || markDirStart > startOfDirInArchive || markEntries > d->UpperBound()) {
    marked = false;
    return false;
  }
  startOfDirInArchive = markDirStart;
  d->entries_1.resize(static_cast<std::size_t>(markEntries) + 1);
  d->dirty = true;
  return true;
}

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

}  // namespace vantorel
