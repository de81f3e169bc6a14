// A second member with the data of a first one, copied as it is stored.
#pragma once

#include <string>

#include "platform/base/Ref.h"
#include "tools/forkzip/edit/ArchiveEdit.h"

namespace vantorel::forkzip {

// Writes a member called `name` (as stored) with the data of `entry`, and likewise a second companion if
// there is one, behind the old members. Returns the directory with their records. Raises Failure, with
// nothing written if `entry` is damaged or the archive would become too large.
RawDirectory DuplicateMember(ArchiveEdit& edit, const Ref<ZipEntry>& entry, const std::string& name);

}  // namespace vantorel::forkzip
