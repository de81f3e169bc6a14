#include "tools/forkzip/extract/MacAttributes.h"

namespace vantorel::forkzip {

bool HasMacAttributes(const Ref<ZipEntry>& entry, const Ref<MemoryBlock>& header_block) {
  String type;
  String creator;
  String name;
  return header_block || entry->extra->GetTypeCreatorName(type, creator, name);
}

void ApplyMacAttributes(const Ref<ZipEntry>& entry, const Ref<FolderItem>& item,
                        const Ref<MemoryBlock>& header_block) {
  String type;
  String creator;
  String name;
  if (header_block) {
    entry->ApplyMacBinaryInformation(item, header_block);
  } else if (entry->extra->GetTypeCreatorName(type, creator, name)) {
    item->SetMacType(type);
    item->SetMacCreator(creator);
    if (!name.empty()) entry->z_adjustMacFilename(name, 0, item);
  }
}

}  // namespace vantorel::forkzip
