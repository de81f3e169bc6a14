// Type, creator, Finder flags, dates and exact name of an extracted file or folder.
#pragma once

#include "platform/base/Ref.h"
#include "platform/files/FolderItem.h"
#include "platform/files/MemoryBlock.h"
#include "zip/archive/ZipEntry.h"

namespace vantorel::forkzip {

// Whether anything goes with a member: a header block, or type and creator in its extra field.
bool HasMacAttributes(const Ref<ZipEntry>& entry, const Ref<MemoryBlock>& header_block);

// Applies what goes with a member to the item, which may come to bear another name. Does its best; nothing
// is reported.
void ApplyMacAttributes(const Ref<ZipEntry>& entry, const Ref<FolderItem>& item,
                        const Ref<MemoryBlock>& header_block);

}  // namespace vantorel::forkzip
