// Members moved together without gaps, in the order of the file. Data and headers stay byte for byte what
// they were; in the records only offsets change.
#pragma once

#include <cstdint>
#include <vector>

#include "zip/records/MemberExtents.h"
#include "zip/records/RawDirectory.h"

namespace vantorel::forkzip {

// Brings the members of a directory, whose extents are `extents`, to the front of a file, and returns where
// they end there. Raises Failure. Copying to another file raises Interrupted too; moving within the file is
// not to be interrupted, and on Failure each record tells where its member is then, unless the disk has
// failed twice.
std::uint32_t MoveTogether(int from, const std::vector<MemberExtent>& extents, int to,
                           RawDirectory& directory);

}  // namespace vantorel::forkzip
