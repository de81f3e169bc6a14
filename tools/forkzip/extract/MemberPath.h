// Where a member belongs below the folder that an archive is extracted to.
#pragma once

#include <string>
#include <vector>

#include "platform/base/Ref.h"
#include "zip/archive/ZipEntry.h"

namespace vantorel::forkzip {

// The names of the folders on the way and, last, of the member itself; none of them leads anywhere but down.
// Empty for the folder "/", which is the destination itself. Raises Failure (kBadArchive) for a member whose
// name is an absolute path, leads upward, or cannot be that of a file. Unlike the engine's own split, this
// one keeps
// ":", which a file's name may well hold on this system.
std::vector<std::string> SafePath(const Ref<ZipEntry>& entry);

}  // namespace vantorel::forkzip
