#include "tools/forkzip/edit/InPlaceEdit.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

#include "tools/forkzip/cli/Problems.h"
#include "tools/forkzip/edit/Draft.h"
#include "tools/forkzip/edit/Preflight.h"
#include "tools/forkzip/edit/RunLock.h"
#include "tools/forkzip/read/OpenArchive.h"
#include "zip/records/ZipRecords.h"

namespace vantorel::forkzip {

InPlaceEdit::InPlaceEdit(const std::string& path, const std::string& encoding) : file_(OpenLocked(path)) {
  RemoveStray(DraftOf(path));
  PrepareForManyMembers(file_.Get());
  // Opening writes nothing, and the engine tells best why something is no archive.
  archive_ = OpenForWriting(path, encoding);
  before_ = RawDirectory::Read(file_.Get());
  Preflight::CheckDirectory(file_.Get(), before_);
  Preflight::CheckNothingVanishes(before_, archive_->EntryCount());
  CheckSameArchive();
  KeepNamesAndComments();
}

// The engine opened the path for itself. Other runs of the tool keep off it, other programs need not.
void InPlaceEdit::CheckSameArchive() const {
  bool same = static_cast<std::uint32_t>(archive_->startOfDirInArchive) == before_.start;
  for (std::size_t i = 0; same && i < before_.records.size(); ++i) {
    const std::int32_t offset =
        archive_->d->entries_1[i + 1]->z_Header()->Long(CentralHeader::kLocalHeaderOffset);
    same = static_cast<std::uint32_t>(offset) == before_.records[i].Offset();
  }
  if (!same) throw Failure(ExitCode::kFileError, "was changed by another program meanwhile; nothing is done");
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
  try {
    FinishMoved();
  } catch (const Failure&) {
    Undo();
    throw;
  }
}

void InPlaceEdit::FinishMoved() {
  CloseWritten(archive_);
  if (fsync(file_.Get()) != 0) throw Failure(ExitCode::kFileError, WithCause("cannot be written", errno));
}

bool InPlaceEdit::DirectoryIsThere() const {
  struct stat status {};
  const std::string bytes = before_.Bytes();
  return fstat(file_.Get(), &status) == 0 &&
         static_cast<std::uint64_t>(status.st_size) >= before_.start + bytes.size() &&
         ReadAt(file_.Get(), before_.start, bytes.size()) == bytes;
}

void InPlaceEdit::Undo() {
  // What the engine still holds back comes first, so that nothing of it arrives afterwards.
  if (const Ref<BinaryStream> stream = archive_->d->zipStream) stream->Close();
  archive_->d->zipStream = nil;
  if (DirectoryIsThere()) return;
  try {
    before_.Write(file_.Get());
  } catch (const std::system_error& failure) {
    throw Failure(ExitCode::kFileError,
                  "its old directory cannot be put back: " + std::string(failure.what()));
  }
  fsync(file_.Get());
}

}  // namespace vantorel::forkzip
