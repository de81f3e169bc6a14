// What to say where a member cannot be brought to disk.
#pragma once

#include <string>

#include "platform/base/Ref.h"
#include "zip/archive/ZipEntry.h"

namespace vantorel::forkzip {

// Raises Failure (kFileError): `error` is the system's, of putting something under a name in an open folder.
[[noreturn]] void FailToPlace(int folder, const std::string& name, int error, bool overwrite);

// Raises Failure (kBadArchive) with the engine's own message, when it gave up on a member or its companion.
[[noreturn]] void FailAsEngine(const Ref<ZipEntry>& entry);

}  // namespace vantorel::forkzip
