#pragma once

#include <vector>

#include "platform/base/Ref.h"
#include "tools/forkzip/cli/Problems.h"
#include "tools/forkzip/extract/FileExtraction.h"
#include "zip/archive/ZipEntry.h"

namespace vantorel::forkzip {

// What an extraction would do, as far as that shows without reading data and making anything: which of the
// members would be on disk then. Those that would be refused or could not take their place are problems.
// Raises Failure (kFileError) if there could be no such destination.
std::vector<bool> Rehearse(const ExtractionWays& ways, const std::vector<Ref<ZipEntry>>& entries,
                           Problems& problems);

}  // namespace vantorel::forkzip
