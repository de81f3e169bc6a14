// Items of a plan become members at the end of an archive, with what other programs expect beyond the
// engine's own ways: the UTF-8 flag, Unix modes, times to the second, the DOS bit of folders.
#pragma once

#include <cstdint>

#include "tools/forkzip/add/AddPlan.h"
#include "tools/forkzip/cli/Problems.h"
#include "zip/records/RawDirectory.h"

namespace vantorel::forkzip {

// Writes the items as members to `file` from `begin` on, over whatever is there. Returns their records, and
// where the last one ends. An item that cannot be read is a problem and leaves no trace in the archive.
// Raises Failure if the archive itself cannot go on or not all has arrived, and Interrupted.
RawDirectory WriteMembers(int file, std::uint32_t begin, const AddPlan& plan, const AddingOptions& options,
                          Problems& problems);

}  // namespace vantorel::forkzip
