// A guard against archives that make much of little: members whose data overlaps.
#pragma once

#include "platform/base/Ref.h"
#include "zip/archive/ZipArchive.h"

namespace vantorel::forkzip {

// Raises Failure (kBadArchive) if a member's data begins within another's. Records that the engine marks as
// duplicates of another share its data, and may do so as long as they claim no more than a GiB in all. Only
// the directory is looked at, and local headers count at their least size.
void RefuseOverlaps(const Ref<ZipArchive>& archive);

}  // namespace vantorel::forkzip
