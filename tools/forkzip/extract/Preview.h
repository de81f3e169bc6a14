// What would become of a member, as far as it shows without its data.
#pragma once

#include <string>

#include "platform/base/Ref.h"
#include "tools/forkzip/extract/FileExtraction.h"
#include "zip/archive/ZipEntry.h"

namespace vantorel::forkzip {

// Raises Failure if the member would be refused or could not take its place below the destination; false if
// it would be passed over. Nothing is made, and what other members would leave in the way is not known.
bool CheckPlace(const std::string& root, const Ref<ZipEntry>& entry, const ExtractionWays& ways);

}  // namespace vantorel::forkzip
