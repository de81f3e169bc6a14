// Keeps two runs of the tool from changing one archive at the same time, by advisory locks on the files.
#pragma once

#include <string>

#include "tools/forkzip/cli/FileBytes.h"

namespace vantorel::forkzip {

// Locks a file as long as it is open. False if another run has locked it.
bool TryLock(int file);
// What is said then: raises Failure (kFileError).
[[noreturn]] void FailAsInUse();

// Whether an open file is the one that `path` names, itself and not by a symbolic link.
bool IsNamed(int file, const std::string& path);

// Opens the archive that `path` names, or links to, for changes, and locks it. A file that has lost its name
// by then is let go of for the one that took its place. Raises Failure as OpenRegularFile does, or if
// another run has locked it.
Descriptor OpenLocked(const std::string& path);

}  // namespace vantorel::forkzip
