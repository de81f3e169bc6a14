// A second member with the data of a first one, copied as it is stored.
#pragma once

#include <string>

#include "platform/base/Ref.h"
#include "zip/archive/ZipEntry.h"
#include "zip/records/RawDirectory.h"

namespace vantorel::forkzip {

// Writes a member called `name` (as stored) with the data of `entry`, and likewise a second companion if
// there is one, to the file `to`, where the directory of `from` began. `from` and `to` may be one file.
// Returns the directory that is to be written behind them. Raises Failure, with nothing written if the
// archive would become too large.
RawDirectory AddDuplicate(int from, RawDirectory directory, const Ref<ZipEntry>& entry,
                          const std::string& name, int to);

}  // namespace vantorel::forkzip
