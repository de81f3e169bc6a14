#include "tools/forkzip/extract/SideFileGuard.h"

#include <fcntl.h>
#include <sys/stat.h>

#include "platform/files/FileCalls.h"
#include "platform/files/SideFile.h"
#include "tools/forkzip/cli/Problems.h"
#include "tools/forkzip/extract/Destination.h"

namespace vantorel::forkzip {

void SideFileGuard::CheckSideFile(int folder, const std::string& path, const std::string& item) const {
  const std::string name = SideFile::PathFor(item);
  const mode_t kind = KindOf(folder, name);
  if (kind == 0) return;
  if (S_ISLNK(kind)) Refuse("a symbolic link is in the way of its Mac data: " + name);
  if (members_.contains(IdOf(folder, name))) Refuse("the member " + name + " is in the way of its Mac data");
  if (!overwrite_) {
    throw Failure(ExitCode::kFileError,
                  name + ", where its Mac data belong, exists already and is kept; --overwrite replaces it");
  }
  if (!SideFile::IsOne(path + "/" + name)) {
    throw Failure(ExitCode::kFileError,
                  name + ", where its Mac data belong, is something else or cannot be read, and is kept");
  }
}

void SideFileGuard::CheckMember(int folder, const std::string& name) const {
  if (overwrite_ && SideFile::IsNamedLikeOne(name) && side_files_.contains(IdOf(folder, name))) {
    Refuse("the Mac data of another member are in the way");
  }
}

void SideFileGuard::NoteSideFile(int folder, const std::string& item) {
  side_files_.insert(IdOf(folder, SideFile::PathFor(item)));
}

void SideFileGuard::NoteMember(int folder, const std::string& name) {
  if (SideFile::IsNamedLikeOne(name)) members_.insert(IdOf(folder, name));
}

SideFileGuard::FileId SideFileGuard::IdOf(int folder, const std::string& name) {
  struct stat status {};
  if (fstatat(folder, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) return {};
  return {status.st_dev, status.st_ino};
}

}  // namespace vantorel::forkzip
