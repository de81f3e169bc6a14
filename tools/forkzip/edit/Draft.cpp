#include "tools/forkzip/edit/Draft.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdint>
#include <filesystem>

#include "platform/compress/Crc32.h"
#include "platform/files/FileCalls.h"
#include "tools/forkzip/cli/Problems.h"
#include "tools/forkzip/cli/StandardStreams.h"
#include "tools/forkzip/read/OpenArchive.h"

namespace vantorel::forkzip {

namespace {

[[noreturn]] void FailAsInUse() {
  throw Failure(ExitCode::kFileError, "is being changed by another run of forkzip");
}

// Of a name that leaves no room for more, its sum stands instead.
std::string DraftOf(const std::filesystem::path& archive) {
  constexpr const char* kSuffix = ".forkzip-new";
  const std::string name = archive.filename().string();
  std::string draft = "." + name + kSuffix;
  if (draft.size() > NAME_MAX) {
    draft.replace(1, name.size(), std::to_string(static_cast<std::uint32_t>(Crc32OfBytes(name, 0))));
  }
  return (archive.parent_path() / draft).string();
}

// A lock that lasts as long as the file is open. False if another run has it. A file system without locks has
// to do without.
bool TryLock(int file) {
  return flock(file, LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK;
}

}  // namespace

bool Draft::RemoveStray(const std::string& path) {
  if (path == kStandardStream) return true;
  const std::string draft = DraftOf(path);
  const Descriptor stray(open(draft.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  if (!stray.IsOpen() && errno == ENOENT) return true;
  // While its lock is held, no other run takes the name away and gives it to a draft of its own.
  if (stray.IsOpen() && !(TryLock(stray.Number()) && IsNamed(stray.Number(), draft))) return false;
  unlink(draft.c_str());
  return true;
}

Draft::Draft(const std::string& path, mode_t mode) : target_(path), path_(DraftOf(path)) {
  if (path == kStandardStream) {
    file_ = UnnamedFile();
    return;
  }
  if (!RemoveStray(path)) FailAsInUse();
  file_ = Descriptor(open(path_.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, mode));
  if (!file_.IsOpen()) throw SystemFailure("no new file can be made beside it: " + path_, errno);
  if (!TryLock(file_.Number()) || !IsNamed(file_.Number(), path_)) FailAsInUse();
}

Draft::~Draft() {
  if (!placed_ && target_ != kStandardStream && IsNamed(file_.Number(), path_)) unlink(path_.c_str());
}

void Draft::PutInPlace(bool replace) {
  if (target_ == kStandardStream) return WriteToStandardOutput(file_.Number());
  Sync(file_.Number());
  if (!IsNamed(file_.Number(), path_)) {
    throw Failure(ExitCode::kFileError, "another program took the new file away; nothing is changed");
  }
  const int error = Rename(AT_FDCWD, path_, target_, replace ? IfTaken::kReplace : IfTaken::kRefuse);
  if (error != 0) throw SystemFailure("the new archive cannot be put in its place", error);
  placed_ = true;
  SyncPath(std::filesystem::path(target_).parent_path());  // so that the new name lasts as well
}

Descriptor OpenLocked(const std::string& path) {
  while (true) {
    Descriptor file = OpenRegularFile(path, O_RDWR | O_NOFOLLOW);
    if (!TryLock(file.Number())) FailAsInUse();
    // Whoever held the lock before may have renamed a new archive to the path since it was opened.
    if (IsNamed(file.Number(), path)) return file;
  }
}

bool IsNamed(int file, const std::string& path) {
  struct stat opened {};
  struct stat named {};
  return fstat(file, &opened) == 0 && lstat(path.c_str(), &named) == 0 && opened.st_dev == named.st_dev &&
         opened.st_ino == named.st_ino;
}

void Sync(int file) {
  if (fsync(file) != 0) throw SystemFailure("cannot be written", errno);
}

}  // namespace vantorel::forkzip
