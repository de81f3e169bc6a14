#include "tools/forkzip/ArchiveCopy.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>

#include "tools/forkzip/OpenArchive.h"
#include "tools/forkzip/Problems.h"

namespace vantorel::forkzip {

namespace {

constexpr mode_t kPrivate = 0600;

[[noreturn]] void Fail(const std::string& what, int error) {
  throw Failure(ExitCode::kFileError, WithCause(what, error));
}

std::string RealPath(const std::string& path) {
  std::error_code error;
  const std::filesystem::path real = std::filesystem::weakly_canonical(path, error);
  return error ? path : real.string();
}

std::string PathBeside(const std::string& target) {
  const std::filesystem::path path(target);
  return (path.parent_path() / ("." + path.filename().string() + ".forkzip-new")).string();
}

void SyncFolderOf(const std::string& path) {
  const Descriptor folder(
      open(std::filesystem::path(path).parent_path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (folder.IsOpen()) fsync(folder.Get());
}

bool SameFile(const struct stat& a, const struct stat& b) {
  return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

}  // namespace

void LockAgainstOtherRuns(int file) {
  if (flock(file, LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK) return;
  throw Failure(ExitCode::kFileError, "is being changed by another run of forkzip");
}

ArchiveCopy::ArchiveCopy(const std::string& archive)
    : target_(RealPath(archive)), path_(PathBeside(target_)) {
  original_ = Descriptor(open(target_.c_str(), O_RDONLY | O_CLOEXEC));
  if (!original_.IsOpen()) Fail("cannot be opened", errno);
  LockAgainstOtherRuns(original_.Get());
  fstat(original_.Get(), &original_status_);
  OpenLocked();
}

ArchiveCopy::ArchiveCopy(const std::string& archive, ForNew)
    : target_(RealPath(archive)), path_(PathBeside(target_)) {
  OpenLocked();
  unlink(path_.c_str());
}

std::string ArchiveCopy::PathOfNewFile(const std::string& archive) {
  return PathBeside(RealPath(archive));
}

ArchiveCopy ArchiveCopy::ForNewArchive(const std::string& archive) {
  return {archive, ForNew()};
}

ArchiveCopy::~ArchiveCopy() {
  if (!committed_) unlink(path_.c_str());
}

// A lock counts only while the file still has its name: the run before may just have renamed it.
void ArchiveCopy::OpenLocked() {
  struct stat opened {};
  struct stat named {};
  do {
    file_ = Descriptor(open(path_.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, kPrivate));
    if (!file_.IsOpen()) Fail("no new file can be made beside it", errno);
    LockAgainstOtherRuns(file_.Get());
    fstat(file_.Get(), &opened);
  } while (lstat(path_.c_str(), &named) != 0 || !SameFile(opened, named));
  if (ftruncate(file_.Get(), 0) != 0) Fail("cannot be written", errno);
}

void ArchiveCopy::MakeEmptyArchive(const std::string& comment) {
  unlink(path_.c_str());
  const Ref<ZipArchive> archive = OpenForWriting(path_, "utf-8");
  archive->SetComment(String::Bytes(comment));
  CloseWritten(archive);
}

void ArchiveCopy::CommitAsWritten() {
  file_ = Descriptor(open(path_.c_str(), O_RDWR | O_NOFOLLOW | O_CLOEXEC));
  if (!file_.IsOpen()) Fail("the new file cannot be opened", errno);
  Commit(RawDirectory::Read(file_.Get()));
}

void ArchiveCopy::Commit(const RawDirectory& expected) {
  Check(expected);
  if (original_.IsOpen()) {
    CheckOriginalIsUnchanged();
    // Whoever may write in the folder may not be allowed to give files away.
    const bool given = fchown(file_.Get(), original_status_.st_uid, original_status_.st_gid) == 0;
    const mode_t mode = original_status_.st_mode & (given ? 07777U : 0777U);
    if (fchmod(file_.Get(), mode) != 0) Fail("the new file's mode cannot be set", errno);
  }
  if (fsync(file_.Get()) != 0) Fail("cannot be written", errno);
  Rename();
  committed_ = true;
  SyncFolderOf(target_);
}

void ArchiveCopy::Check(const RawDirectory& expected) const {
  const RawDirectory written = RawDirectory::Read(file_.Get());
  if (written.start != expected.start || written.Bytes() != expected.Bytes()) {
    throw Failure(ExitCode::kFileError,
                  "the new archive does not read back as it was written; nothing is changed");
  }
  OpenForReading(path_, "utf-8");
}

void ArchiveCopy::CheckOriginalIsUnchanged() const {
  struct stat now {};
  const bool same = stat(target_.c_str(), &now) == 0 && SameFile(now, original_status_) &&
                    now.st_size == original_status_.st_size &&
                    now.st_mtim.tv_sec == original_status_.st_mtim.tv_sec &&
                    now.st_mtim.tv_nsec == original_status_.st_mtim.tv_nsec;
  if (!same) throw Failure(ExitCode::kFileError, "was changed by another program meanwhile; nothing is done");
}

void ArchiveCopy::Rename() const {
  const unsigned flags = original_.IsOpen() ? 0 : RENAME_NOREPLACE;
  if (renameat2(AT_FDCWD, path_.c_str(), AT_FDCWD, target_.c_str(), flags) != 0) {
    Fail("the new archive cannot be put in its place", errno);
  }
}

}  // namespace vantorel::forkzip
