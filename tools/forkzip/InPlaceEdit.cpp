#include "tools/forkzip/InPlaceEdit.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "platform/base/Arithmetic.h"
#include "tools/forkzip/ArchiveCopy.h"
#include "tools/forkzip/OpenArchive.h"
#include "tools/forkzip/Preflight.h"
#include "tools/forkzip/Problems.h"

namespace vantorel::forkzip {

InPlaceEdit::InPlaceEdit(const std::string& path, const std::string& encoding) {
  file_ = OpenRegularFile(path, O_RDWR);
  LockAgainstOtherRuns(file_.Get());
  PrepareForManyMembers(file_.Get());
  // Opening writes nothing, and the engine tells best why something is no archive.
  archive_ = OpenForWriting(path, encoding);
  before_ = RawDirectory::Read(file_.Get());
  Preflight::CheckDirectory(file_.Get(), before_);
  Preflight::CheckNothingVanishes(before_, archive_->EntryCount());
  KeepNamesAndComments();
}

// The engine lets a record without a comment or a name take over the one before it; written back, that would
// last.
void InPlaceEdit::KeepNamesAndComments() {
  for (std::size_t i = 0; i < before_.records.size(); ++i) {
    const Ref<ZipEntry>& entry = archive_->d->entries_1[i + 1];
    entry->zipEncName = String::Bytes(before_.records[i].Name());
    entry->zipEncComment = String::Bytes(before_.records[i].Comment());
  }
}

void InPlaceEdit::Finish() {
  CloseWritten(archive_);
  if (fsync(file_.Get()) != 0) throw Failure(ExitCode::kFileError, WithCause("cannot be written", errno));
}

void InPlaceEdit::Undo() {
  archive_->d->entries_1.resize(before_.records.size() + 1);
  archive_->startOfDirInArchive = ToSInt32(before_.start);
  Finish();
}

}  // namespace vantorel::forkzip
