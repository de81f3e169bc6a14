// The file beside an archive in which its new content grows, `.NAME.forkzip-new`. The name is always the
// same, so that what a killed run left behind is found by the next one. A run holds a lock on its draft.
#pragma once

#include <string>

#include "tools/forkzip/cli/FileBytes.h"

namespace vantorel::forkzip {

// The path of the draft for the archive at `path`; a symbolic link is followed.
std::string DraftOf(const std::string& path);

// Takes away what a run that was killed left under the name of a draft, or anyone else put there. False if
// another run is at work on it; it stays then.
bool RemoveStray(const std::string& draft);

// Locks a draft that was just made. Raises Failure if another run came between.
void LockDraft(int file, const std::string& draft);

// Makes an empty draft that nobody else can read or has open, and locks it. Raises Failure if another run has
// one, or none can be made.
Descriptor MakeDraft(const std::string& draft);

}  // namespace vantorel::forkzip
