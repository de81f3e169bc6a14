// Dropping and replacing entries, and undoing what was appended. The file is not touched; the bytes of a
// dropped member stay until Compact.
#include <utility>

#include "zip/archive/ZipArchive.h"

namespace vantorel {

namespace {

// The place of entry `index`. Raises for an index that is not there; then the mark is gone all the same.
std::size_t ClaimEntry(ZipArchive& archive, std::int32_t index) {
  if (!archive.entriesRead) throw RuntimeException("an entry of an archive whose directory is not read");
  if (index < 1) RaiseOutOfBoundsException();
  // A mark counts the members that were appended after it.
  archive.marked = false;
  archive.d->dirty = true;
  if (index > archive.d->UpperBound()) RaiseOutOfBoundsException();
  return static_cast<std::size_t>(index);
}

}  // namespace

bool ZipArchive::RemoveEntry(std::int32_t index) {
  if (!writeMode) {
    z_noWriteMsg();
    return false;
  }
  const std::size_t place = ClaimEntry(*this, index);
  d->entries_1.erase(d->entries_1.begin() + static_cast<std::ptrdiff_t>(place));
  return true;
}

Ref<ZipEntry> ZipArchive::ReplaceEntry(std::int32_t index, const Ref<ZipEntry>& newEntry) {
  if (!writeMode) {
    z_noWriteMsg();
    return nil;
  }
  return std::exchange(d->entries_1[ClaimEntry(*this, index)], newEntry);
}

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
