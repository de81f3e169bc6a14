#include "tools/forkzip/edit/ArchiveCopy.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>

#include "tools/forkzip/cli/Problems.h"
#include "tools/forkzip/edit/Draft.h"
#include "tools/forkzip/edit/RunLock.h"
#include "tools/forkzip/read/OpenArchive.h"

namespace vantorel::forkzip {

namespace {

[[noreturn]] void Fail(const std::string& what, int error) {
  throw Failure(ExitCode::kFileError, WithCause(what, error));
}

[[noreturn]] void FailAsUnlike() {
  throw Failure(ExitCode::kFileError,
                "the new archive does not read back as it was written; nothing is changed");
}

void SyncFolderOf(const std::string& path) {
  const Descriptor folder(
      open(std::filesystem::path(path).parent_path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (folder.IsOpen()) fsync(folder.Get());
}

}  // namespace

ArchiveCopy::ArchiveCopy(const std::string& archive)
    : name_(archive), target_(RealPath(archive)), path_(DraftOf(archive)), original_(OpenLocked(target_)) {
  fstat(original_.Get(), &original_status_);
  RemoveStray(path_);
}

ArchiveCopy::ArchiveCopy(const std::string& archive, ForNew /*new*/)
    : name_(archive), target_(RealPath(archive)), path_(DraftOf(archive)) {
  if (!RemoveStray(path_)) FailAsInUse();
}

ArchiveCopy ArchiveCopy::ForNewArchive(const std::string& archive) {
  return {archive, ForNew()};
}

ArchiveCopy::~ArchiveCopy() {
  if (!committed_ && file_.IsOpen() && IsNamed(file_.Get(), path_)) unlink(path_.c_str());
}

void ArchiveCopy::Begin() {
  file_ = MakeDraft(path_);
}

Ref<ZipArchive> ArchiveCopy::BeginByEngine() {
  Ref<ZipArchive> archive = OpenForWriting(path_, "utf-8");
  // The lock is that of the engine's own file, whatever has the name by now, and outlasts its closing.
  Descriptor made(fcntl(archive->d->zipStream->Descriptor(), F_DUPFD_CLOEXEC, 0));
  if (!made.IsOpen()) Fail("the new file cannot be opened", errno);
  LockDraft(made.Get(), path_);
  file_ = std::move(made);
  return archive;
}

void ArchiveCopy::Commit(const RawDirectory& expected) {
  const RawDirectory written = RawDirectory::Read(file_.Get());
  if (written.start != expected.start || written.Bytes() != expected.Bytes()) FailAsUnlike();
  PutInPlace();
}

void ArchiveCopy::CommitByEngine(const std::vector<std::string_view>& names, std::size_t count) {
  const RawDirectory written = RawDirectory::Read(file_.Get());
  if (written.records.size() != count) FailAsUnlike();
  auto next = names.begin();
  for (const RawRecord& record : written.records) {
    next = std::find(next, names.end(), record.Name());
    if (next == names.end()) FailAsUnlike();
    ++next;
  }
  PutInPlace();
}

void ArchiveCopy::CommitEmpty(const std::string& comment) {
  const Ref<ZipArchive> archive = BeginByEngine();
  archive->SetComment(String::Bytes(comment));
  CloseWritten(archive);
  CommitByEngine({"/"}, 1);
}

void ArchiveCopy::PutInPlace() {
  OpenForReading(path_, "utf-8");
  if (original_.IsOpen()) {
    CheckOriginalIsUnchanged();
    TakeOverModeAndOwner();
  }
  if (fsync(file_.Get()) != 0) Fail("cannot be written", errno);
  if (!IsNamed(file_.Get(), path_)) {
    throw Failure(ExitCode::kFileError, "another program took the new file away; nothing is changed");
  }
  const int error = Rename(AT_FDCWD, path_, target_, original_.IsOpen());
  if (error != 0) Fail("the new archive cannot be put in its place", error);
  committed_ = true;
  SyncFolderOf(target_);
}

void ArchiveCopy::CheckOriginalIsUnchanged() const {
  struct stat now {};
  const bool same = IsNamed(original_.Get(), target_) && fstat(original_.Get(), &now) == 0 &&
                    now.st_size == original_status_.st_size &&
                    now.st_mtim.tv_sec == original_status_.st_mtim.tv_sec &&
                    now.st_mtim.tv_nsec == original_status_.st_mtim.tv_nsec;
  if (!same) throw Failure(ExitCode::kFileError, "was changed by another program meanwhile; nothing is done");
}

// Whoever may write in the folder may not be allowed to give files away.
void ArchiveCopy::TakeOverModeAndOwner() const {
  constexpr mode_t kSetId = S_ISUID | S_ISGID;
  const struct stat& old = original_status_;
  const int file = file_.Get();
  if (fchown(file, old.st_uid, old.st_gid) != 0 && fchown(file, static_cast<uid_t>(-1), old.st_gid) != 0) {
    // What came of it shows below.
  }
  struct stat now {};
  fstat(file, &now);
  const bool owner_kept = now.st_uid == old.st_uid;
  const bool group_kept = now.st_gid == old.st_gid;
  mode_t mode = old.st_mode & 07777U;
  if (!owner_kept || !group_kept) mode &= ~kSetId;
  if (!group_kept) mode &= ~static_cast<mode_t>(S_IRWXG);
  if (fchmod(file, mode) != 0) Fail("the new file's mode cannot be set", errno);
  const Problems problems(name_);
  if (!owner_kept) problems.Note("its owner cannot be kept; --in-place would keep it");
  if (!group_kept) problems.Note("its group cannot be kept and loses its rights; --in-place would keep them");
}

}  // namespace vantorel::forkzip
