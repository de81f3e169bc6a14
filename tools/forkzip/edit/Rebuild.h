// A new archive out of some members of an old one, moved together without gaps. Data, headers and records are
// copied byte for byte; only offsets change.
#pragma once

#include <vector>

#include "zip/records/RawDirectory.h"

namespace vantorel::forkzip {

// Writes the members of `kept`, whose offsets are those in the file `from`, and their directory to the empty
// file `to`. Returns that directory. Raises Failure or Interrupted.
RawDirectory Rebuild(int from, RawDirectory kept, int to);

}  // namespace vantorel::forkzip
