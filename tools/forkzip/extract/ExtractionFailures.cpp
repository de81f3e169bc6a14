#include "tools/forkzip/extract/ExtractionFailures.h"

#include <sys/stat.h>

#include <cerrno>

#include "tools/forkzip/cli/FileBytes.h"
#include "tools/forkzip/cli/Printable.h"
#include "tools/forkzip/cli/Problems.h"

namespace vantorel::forkzip {

void FailToPlace(int folder, const std::string& name, int error, bool overwrite) {
  const bool there = error == EEXIST || error == EISDIR;
  if (there && S_ISDIR(KindOf(folder, name))) {
    throw Failure(ExitCode::kFileError, "a folder is there already, and is kept");
  }
  if (error == EEXIST && !overwrite) {
    throw Failure(ExitCode::kFileError, "exists already and is kept; --overwrite replaces it");
  }
  throw Failure(ExitCode::kFileError, WithCause("cannot be written", error));
}

void FailAsEngine(const Ref<ZipEntry>& entry) {
  const Ref<ZipEntry>& companion = entry->appleDoubleEntry;
  const bool is_companions = companion && !companion->ErrorMessage().empty();
  throw Failure(ExitCode::kBadArchive,
                (is_companions ? "its companion: " : "") + Utf8(entry->ErrorMessage()));
}

}  // namespace vantorel::forkzip
