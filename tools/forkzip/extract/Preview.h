// What would become of a member, as far as it shows without its data.
#pragma once

#include <string>

#include "platform/base/Ref.h"
#include "zip/archive/ZipEntry.h"

namespace vantorel::forkzip {

// Raises Failure if the member would be refused or could not take its place below the destination. Nothing is
// made, and what other members would leave in the way is not known.
void CheckPlace(const std::string& root, const Ref<ZipEntry>& entry, bool overwrite);

}  // namespace vantorel::forkzip
