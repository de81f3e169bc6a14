#include "tools/forkzip/edit/RunLock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <cerrno>

#include "tools/forkzip/cli/Problems.h"
#include "tools/forkzip/read/OpenArchive.h"

namespace vantorel::forkzip {

namespace {

bool SameFile(const struct stat& a, const struct stat& b) {
  return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

}  // namespace

// A file system without locks has to do without.
bool TryLock(int file) {
  return flock(file, LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK;
}

void FailAsInUse() {
  throw Failure(ExitCode::kFileError, "is being changed by another run of forkzip");
}

bool IsNamed(int file, const std::string& path) {
  struct stat opened {};
  struct stat named {};
  return fstat(file, &opened) == 0 && lstat(path.c_str(), &named) == 0 && SameFile(opened, named);
}

Descriptor OpenLocked(const std::string& path) {
  while (true) {
    Descriptor file = OpenRegularFile(path, O_RDWR);
    if (!TryLock(file.Get())) FailAsInUse();
    struct stat opened {};
    struct stat named {};
    // Whoever held the lock before may have renamed a new archive to the path since it was opened.
    if (fstat(file.Get(), &opened) == 0 && stat(path.c_str(), &named) == 0 && SameFile(opened, named)) {
      return file;
    }
  }
}

}  // namespace vantorel::forkzip
