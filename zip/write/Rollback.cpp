// Undoing what was appended.
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

}  // namespace vantorel
