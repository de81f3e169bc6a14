#include "tools/forkzip/extract/Preview.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <vector>

#include "platform/files/FileCalls.h"
#include "tools/forkzip/cli/Problems.h"
#include "tools/forkzip/extract/FileExtraction.h"
#include "tools/forkzip/extract/SafePath.h"

namespace vantorel::forkzip {

void CheckPlace(const std::string& root, const Ref<ZipEntry>& entry, bool overwrite) {
  const std::vector<std::string> path = SafePath(entry);
  std::string at = root;
  for (std::size_t i = 0; i < path.size(); ++i) {
    at += "/" + path[i];
    const mode_t kind = KindOf(AT_FDCWD, at);
    if (kind == 0) return;
    if (i + 1 == path.size() && !entry->IsDirectory()) {
      if (S_ISDIR(kind) || !overwrite) FailToPlace(AT_FDCWD, at, EEXIST, overwrite);
    } else if (S_ISLNK(kind)) {
      throw Failure(ExitCode::kBadArchive, "refused: a symbolic link is in the way: " + at);
    } else if (!S_ISDIR(kind)) {
      throw Failure(ExitCode::kFileError, WithCause("folder " + at, ENOTDIR));
    }
  }
}

}  // namespace vantorel::forkzip
