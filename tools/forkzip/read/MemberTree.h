// Members as a tree, for people.
#pragma once

#include <cstdint>
#include <vector>

#include "platform/base/Ref.h"
#include "tools/forkzip/cli/Output.h"
#include "zip/archive/ZipArchive.h"

namespace vantorel::forkzip {

// Writes each member on a line of its own, by its last component, below the folders on the way to it, whether
// those are members or not; sorted by name.
void WriteTree(const Ref<ZipArchive>& archive, const std::vector<std::int32_t>& members, Output& output);

}  // namespace vantorel::forkzip
