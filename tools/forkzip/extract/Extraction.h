// Members extracted to disk. What may go wrong with a hostile archive or a full disk is looked after here;
// the engine only streams.
#pragma once

#include <cstddef>
#include <vector>

#include "platform/base/Ref.h"
#include "tools/forkzip/extract/FileExtraction.h"
#include "tools/forkzip/jobs/SharedWork.h"
#include "zip/archive/ZipEntry.h"

namespace vantorel::forkzip {

// Extracts members, of which `work` has the sizes, and returns how many are on disk then. Those that are not
// are problems. After a signal it stops, with less done. Raises Failure if the destination or a process
// fails.
std::size_t ExtractAll(const std::vector<Ref<ZipEntry>>& entries, const ExtractionWays& ways, SharedWork work,
                       std::size_t asked_jobs, Progress& progress, Problems& problems);

}  // namespace vantorel::forkzip
