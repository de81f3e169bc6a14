// Members moved together without gaps, in the order of the file. Data and headers stay byte for byte what
// they were; in the records only offsets change.
#pragma once

#include <cstdint>
#include <vector>

#include "zip/records/MemberExtents.h"
#include "zip/records/RawDirectory.h"

namespace vantorel::forkzip {

// Copies the members of `extents`, to which `records` belong, from one file to the front of another. Returns
// where the copies end. Raises Failure or Interrupted.
std::uint32_t CopyTogether(int from, const std::vector<MemberExtent>& extents, int to,
                           std::vector<RawRecord>& records);

// The same within a file, which is not to be interrupted. On Failure each record tells where its member is
// then, unless the disk has failed twice.
std::uint32_t CloseGaps(int file, const std::vector<MemberExtent>& extents, std::vector<RawRecord>& records);

}  // namespace vantorel::forkzip
