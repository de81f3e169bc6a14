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
  OpenForReading(path, encoding);  // says why if it is no archive
  file_ = Descriptor(open(path.c_str(), O_RDWR | O_CLOEXEC));
  if (!file_.IsOpen()) throw Failure(ExitCode::kFileError, WithCause("cannot be opened for writing", errno));
  LockAgainstOtherRuns(file_.Get());
  before_ = RawDirectory::Read(file_.Get());
  Preflight::CheckDirectory(file_.Get(), before_);
  archive_ = OpenForWriting(path, encoding);
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
