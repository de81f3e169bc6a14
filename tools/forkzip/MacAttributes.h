// Type, creator, Finder flags, dates and exact name of an extracted file or folder.
#pragma once

#include <string>

#include "platform/base/Ref.h"
#include "platform/files/MemoryBlock.h"
#include "zip/archive/ZipEntry.h"

namespace vantorel::forkzip {

// Applies what goes with a member to the item at `path`: its header block, if it has one, else the type and
// creator in its extra field. Does its best; nothing is reported.
void ApplyMacAttributes(const Ref<ZipEntry>& entry, const std::string& path,
                        const Ref<MemoryBlock>& header_block);

}  // namespace vantorel::forkzip
