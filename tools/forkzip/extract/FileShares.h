#pragma once

#include <vector>

#include "platform/base/Ref.h"
#include "tools/forkzip/extract/FileExtraction.h"
#include "tools/forkzip/jobs/SharedWork.h"
#include "zip/archive/ZipEntry.h"

namespace vantorel::forkzip {

// Shares out the extraction of `entries`, which are the units in their order, so that it comes to the same as
// one after another: members that may meet in one file or side file stay together, and folders and links are
// for the calling process. Where a file lies in the way of a folder there are no shares: all are for one
// process.
void ShareOutFiles(SharedWork& work, const std::vector<Ref<ZipEntry>>& entries, const ExtractionWays& ways);

}  // namespace vantorel::forkzip
