// The data of a member on standard output.
#pragma once

#include "platform/base/Ref.h"
#include "tools/forkzip/cli/Output.h"
#include "tools/forkzip/cli/Problems.h"
#include "zip/archive/ZipEntry.h"

namespace vantorel::forkzip {

// Writes a member's data out, less MacBinary wrapping unless `raw` is set. What is wrong with the member is a
// problem, and what could be read of it is written. Raises Failure if standard output cannot take it.
void WriteMember(const Ref<ZipEntry>& entry, bool raw, Output& output, Problems& problems);

}  // namespace vantorel::forkzip
