#include "tools/forkzip/extract/Preview.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <vector>

#include "platform/files/FileCalls.h"
#include "tools/forkzip/cli/Problems.h"
#include "tools/forkzip/extract/SafePath.h"

namespace vantorel::forkzip {

bool CheckPlace(const std::string& root, const Ref<ZipEntry>& entry, const ExtractionWays& ways) {
  if (IsPassedOver(entry, ways.strip)) return false;
  const std::vector<std::string> path = SafePath(entry, ways.strip);
  std::string at = root;
  for (std::size_t i = 0; i < path.size(); ++i) {
    at += "/" + path[i];
    const mode_t kind = KindOf(AT_FDCWD, at);
    if (kind == 0) return true;
    if (i + 1 == path.size() && !entry->IsDirectory()) {
      if (S_ISDIR(kind) || !ways.overwrite) FailToPlace(AT_FDCWD, at, EEXIST, ways.overwrite);
      return !ways.newer || IsNewerThanThere(entry, AT_FDCWD, at);
    } else if (S_ISLNK(kind)) {
      throw Failure(ExitCode::kBadArchive, "refused: a symbolic link is in the way: " + at);
    } else if (!S_ISDIR(kind)) {
      throw Failure(ExitCode::kFileError, WithCause("folder " + at, ENOTDIR));
    }
  }
  return true;
}

}  // namespace vantorel::forkzip
